#ifndef NODETREE_TESTS_FAULT_HPP
#define NODETREE_TESTS_FAULT_HPP

#include <functional>

// Failing allocations on purpose. A program that links fault.cpp has its own malloc family,
// in which a chosen allocation asked for by the library's own code fails; what libc, the
// JSON parser and the test itself ask for is always granted.
namespace fault {

// Whether an allocation of the body that is running has been failed.
bool injected();

// Grants every allocation while it lives: for what a body prepares and what it checks.
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
// and then with its 1st, 2nd, 3rd ... allocation failing, alone and with all that follow
// it, until it ends before the failure comes. Each run must release all it allocates. At
// least `at_least` different allocations must have failed.
void for_each_failure(const std::function<void()> &body, int at_least = 1);

} // namespace fault

#endif
