// SPDX-License-Identifier: MIT

// Signals that interrupt whatever waits.
#ifndef TARVEN_TESTS_SUPPORT_REPEATED_SIGNAL_H_
#define TARVEN_TESTS_SUPPORT_REPEATED_SIGNAL_H_

#include <signal.h>
#include <sys/time.h>

namespace support {

// Lets a signal arrive every few milliseconds while the object lives. Its handler does nothing, but
// system calls are not restarted after it.
class RepeatedSignal {
 public:
  explicit RepeatedSignal(int interval_ms) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &previous_);
    const timeval interval{.tv_sec = 0, .tv_usec = interval_ms * 1000};
    const itimerval timer{.it_interval = interval, .it_value = interval};
    setitimer(ITIMER_REAL, &timer, nullptr);
  }
  ~RepeatedSignal() {
    const itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &previous_, nullptr);
  }
  RepeatedSignal(const RepeatedSignal&) = delete;
  RepeatedSignal& operator=(const RepeatedSignal&) = delete;

 private:
  struct sigaction previous_ {};
};

}  // namespace support

#endif
