#ifndef NODETREE_TESTS_FAULT_HPP
#define NODETREE_TESTS_FAULT_HPP

#include <functional>

// Makes chosen calls fail. fault.cpp replaces the malloc family and the functions of libc
// that call the system. Calls from the library's own code can fail, also those for the JSON
// parser's memory; calls from libc, PCRE2 and the test itself always succeed.
namespace fault {

// Whether allocations can fail: not with AddressSanitizer, which replaces the malloc family
// itself.
#ifdef __SANITIZE_ADDRESS__
constexpr bool allocations = false;
#else
constexpr bool allocations = true;
#endif

// Whether a call has failed in the current run of the body, or in a child of it.
bool injected();

// While it lives no call fails: for the preparations and checks of a body.
class Granted {
public:
  Granted();
  ~Granted();
  Granted(const Granted &) = delete;
  Granted &operator=(const Granted &) = delete;

private:
  long countdown_;
};

// Runs `body` once undisturbed, so that libraries allocate what they keep. Then runs it
// with its 1st, 2nd, 3rd ... call failing, alone and with all later ones, until no call is
// left to fail. A last run has calls that a signal interrupts, and files that are read and
// written in small portions; that is not a failure, so injected() stays false. Each run
// must release all it allocates, close all it opens and wait for its children. At least
// `at_least` different calls must have failed.
void for_each_failure(const std::function<void()> &body, int at_least = 1);

} // namespace fault

#endif
