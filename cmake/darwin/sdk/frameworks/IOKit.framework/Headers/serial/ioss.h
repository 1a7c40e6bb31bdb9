// SPDX-License-Identifier: MIT

// Stands for <IOKit/serial/ioss.h> where Apple's SDK is not at hand: what this project uses and
// nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_IOSS_H_
#define TARVEN_DARWIN_SDK_IOSS_H_

#include <sys/ioccom.h>
#include <sys/termios.h>

#define IOSSIOSPEED _IOW('T', 2, speed_t)

#endif
