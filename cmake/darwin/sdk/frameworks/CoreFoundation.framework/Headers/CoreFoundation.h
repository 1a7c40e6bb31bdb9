// Stands for <CoreFoundation/CoreFoundation.h> where Apple's SDK is not at hand: what this project uses
// and nothing else, with the system's names and values.
#ifndef TARVEN_DARWIN_SDK_COREFOUNDATION_H_
#define TARVEN_DARWIN_SDK_COREFOUNDATION_H_

// CFBase.h
typedef const struct __CFString* CFStringRef;

// CFString.h: a constant string is an object that the compiler lays out.
#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))

#endif
