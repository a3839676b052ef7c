#ifndef NODETREE_TESTS_FAULT_HPP
#define NODETREE_TESTS_FAULT_HPP

#include <functional>

// Failing calls on purpose. A program that links fault.cpp has its own malloc family and its
// own doors to the system, in which a chosen call made by the library's own code fails, and
// what that asks for on behalf of the JSON parser; what libc, PCRE2 and the test itself ask
// for is always granted.
namespace fault {

// Whether allocations fail as well: not where AddressSanitizer has its own malloc family.
#ifdef __SANITIZE_ADDRESS__
constexpr bool allocations = false;
#else
constexpr bool allocations = true;
#endif

// Whether a call has been failed in the body that is running, or in a child of it.
bool injected();

// Grants every call while it lives: for what a body prepares and what it checks.
class Granted {
public:
  Granted();
  ~Granted();
  Granted(const Granted &) = delete;
  Granted &operator=(const Granted &) = delete;

private:
  long countdown_;
};

// Runs `body` once undisturbed, so that what libraries set up once and keep is in place,
// and then with its 1st, 2nd, 3rd ... call failing, alone and with all that follow it, until
// it ends before the failure comes; and once more with calls that a signal interrupts and
// with files read and written in small portions, which is no failure: injected() stays false.
// Each run must release all it allocates, close all it opens and wait for its children. At
// least `at_least` different calls must have failed.
void for_each_failure(const std::function<void()> &body, int at_least = 1);

} // namespace fault

#endif
