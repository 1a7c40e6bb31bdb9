// SPDX-License-Identifier: MIT

// Waiting for one descriptor with select(2), whatever its number.
//
// fd_set ends at descriptor 1023 and is written behind its end by anything larger. These waits size
// the set for the descriptor instead. They use select and not poll, because on macOS poll does not
// know terminals and serial devices.
#ifndef TARVEN_SYS_DESCRIPTOR_WAIT_H_
#define TARVEN_SYS_DESCRIPTOR_WAIT_H_

#include <sys/time.h>

#include <cstdint>

namespace descriptor_wait {

// They return 1 when the descriptor is ready, 0 when the time passed, and -1 with errno set on an
// error: EBADF for a descriptor that is not open, EINVAL for a negative time.
int32_t ForReading(int32_t descriptor, timeval timeout);
int32_t ForWriting(int32_t descriptor, timeval timeout);

// The same without asking first whether the descriptor is open. REQUIRES: the caller has opened it.
int32_t ForWritingOnOpen(int32_t descriptor, timeval timeout);

// Whole seconds and the rest in microseconds; a negative time gives negative parts.
timeval FromMilliseconds(int64_t milliseconds);

}  // namespace descriptor_wait

#endif
