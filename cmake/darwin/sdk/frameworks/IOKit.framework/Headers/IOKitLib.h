// SPDX-License-Identifier: MIT

// Stands for <IOKit/IOKitLib.h> where Apple's SDK is not at hand: what this project uses and
// nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_IOKITLIB_H_
#define TARVEN_DARWIN_SDK_IOKITLIB_H_

#include <CoreFoundation/CoreFoundation.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// IOKit/IOTypes.h: all of them are Mach port names.
typedef unsigned int io_object_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_service_t;
typedef io_object_t io_registry_entry_t;
typedef uint32_t IOOptionBits;

// IOKit/IOKitLib.h; the main port is a mach_port_t, the results are of kern_return_t, 0 for
// success.
CFMutableDictionaryRef IOServiceMatching(const char* name);
int IOServiceGetMatchingServices(unsigned int mainPort, CFDictionaryRef matching,
                                 io_iterator_t* existing);
io_object_t IOIteratorNext(io_iterator_t iterator);
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef allocator, IOOptionBits options);
int IOObjectRelease(io_object_t object);

#ifdef __cplusplus
}
#endif

#endif
