// The part of platform.h that macOS answers through IOKit.
#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/pwr_mgt/IOPMLib.h>

#include "sys/platform/platform.h"

// IOPMAssertionCreate is deprecated, but it is the call that every system served has and that needs
// no name text; power tools list it as "Nameless (via IOPMAssertionCreate)".
void platform::CreateIdleSleepAssertion(uint32_t* assertion) {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
  IOPMAssertionCreate(CFSTR("NoIdleSleepAssertion"), kIOPMAssertionLevelOn, assertion);
#pragma clang diagnostic pop
}

void platform::ReleaseIdleSleepAssertion(uint32_t assertion) { IOPMAssertionRelease(assertion); }
