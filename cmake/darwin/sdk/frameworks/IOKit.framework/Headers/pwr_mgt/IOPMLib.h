// SPDX-License-Identifier: MIT

// Stands for <IOKit/pwr_mgt/IOPMLib.h> where Apple's SDK is not at hand: what this project uses and
// nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_IOPMLIB_H_
#define TARVEN_DARWIN_SDK_IOPMLIB_H_

#include <CoreFoundation/CoreFoundation.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// IOKit/IOReturn.h
typedef int IOReturn;

// pwr_mgt/IOPMLib.h
typedef uint32_t IOPMAssertionID;
typedef uint32_t IOPMAssertionLevel;

enum { kIOPMAssertionLevelOn = 255 };

IOReturn IOPMAssertionCreate(CFStringRef AssertionType, IOPMAssertionLevel AssertionLevel,
                             IOPMAssertionID* AssertionID)
    __attribute__((deprecated("since macOS 10.6: IOPMAssertionCreateWithName")));

IOReturn IOPMAssertionRelease(IOPMAssertionID AssertionID);

#ifdef __cplusplus
}
#endif

#endif
