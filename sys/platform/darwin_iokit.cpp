// SPDX-License-Identifier: MIT

// The part of platform.h that macOS answers through IOKit.
#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
#include <IOKit/serial/IOSerialKeys.h>
#include <strings.h>

#include <string_view>

#include "sys/platform/platform.h"

namespace {

// The default main port. Its constant has changed its name over the systems served; its value has
// not.
constexpr unsigned int kDefaultMainPort = 0;

constexpr std::string_view kUsbPrefix = "/dev/cu.usb";

// Returns all serial devices, for IOObjectRelease to release; 0 when there are none to be had.
io_iterator_t FindSerialServices() {
  const CFMutableDictionaryRef matching = IOServiceMatching(kIOSerialBSDServiceValue);
  if (matching == nullptr) return 0;
  CFDictionarySetValue(matching, CFSTR(kIOSerialBSDTypeKey), CFSTR(kIOSerialBSDAllTypes));
  io_iterator_t services = 0;
  // The call releases the dictionary, also when it fails.
  if (IOServiceGetMatchingServices(kDefaultMainPort, matching, &services) == 0) return services;
  if (services != 0) IOObjectRelease(services);
  return 0;
}

// Stores the path for outgoing calls. It is empty for a service without one and for one that does
// not fit.
void ReadCalloutPath(io_service_t service, char (&path)[512]) {
  path[0] = '\0';
  const CFTypeRef property =
      IORegistryEntryCreateCFProperty(service, CFSTR(kIOCalloutDeviceKey), nullptr, 0);
  if (property == nullptr) return;
  const auto text = static_cast<CFStringRef>(property);
  if (!CFStringGetCString(text, path, sizeof path, kCFStringEncodingUTF8)) path[0] = '\0';
  CFRelease(property);
}

}  // namespace

// IOPMAssertionCreate is deprecated, but it is the call that every system served has and that needs
// no name text; power tools list it as "Nameless (via IOPMAssertionCreate)".
void platform::CreateIdleSleepAssertion(uint32_t* assertion) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  IOPMAssertionCreate(CFSTR("NoIdleSleepAssertion"), kIOPMAssertionLevelOn, assertion);
#pragma GCC diagnostic pop
}

void platform::ReleaseIdleSleepAssertion(uint32_t assertion) { IOPMAssertionRelease(assertion); }

void platform::VisitUsbSerialDevices(SerialDeviceVisitor visit, void* context) {
  const io_iterator_t services = FindSerialServices();
  if (services == 0) return;
  while (const io_service_t service = IOIteratorNext(services)) {
    char path[512];
    ReadCalloutPath(service, path);
    if (strncasecmp(path, kUsbPrefix.data(), kUsbPrefix.size()) == 0) visit(context, path);
    IOObjectRelease(service);
  }
  IOObjectRelease(services);
}
