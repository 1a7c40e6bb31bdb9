// SPDX-License-Identifier: MIT

// Stands for <CoreFoundation/CoreFoundation.h> where Apple's SDK is not at hand: what this project
// uses and nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_COREFOUNDATION_H_
#define TARVEN_DARWIN_SDK_COREFOUNDATION_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// CFBase.h
typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef long CFIndex;
typedef unsigned char Boolean;
void CFRelease(CFTypeRef object);

// CFDictionary.h
typedef const struct __CFDictionary* CFDictionaryRef;
typedef struct __CFDictionary* CFMutableDictionaryRef;
void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value);

// CFString.h: a constant string is an object that the compiler lays out. (Tests on other systems
// bring a CFSTR of their own.)
typedef uint32_t CFStringEncoding;
enum { kCFStringEncodingUTF8 = 0x08000100 };
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);
#ifndef CFSTR
#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))
#endif

#ifdef __cplusplus
}
#endif

#endif
