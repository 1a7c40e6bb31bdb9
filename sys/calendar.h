// SPDX-License-Identifier: MIT

// From the system's seconds to a calendar time.
#ifndef TARVEN_SYS_CALENDAR_H_
#define TARVEN_SYS_CALENDAR_H_

#include <time.h>

#include "sys/clock.h"

namespace calendar {

// The instant in the time zone of the process, and in Coordinated Universal Time. Milliseconds are
// always 0: parts of a second are not provided, on purpose.
SYS_TIME Local(time_t instant);
SYS_TIME Utc(time_t instant);

}  // namespace calendar

#endif
