// SPDX-License-Identifier: MIT

#include "tests/support/fake_iokit.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/pwr_mgt/IOPMLib.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <set>

// The system's opaque records, as far as they matter here.
struct __CFString {
  std::string text;
};
struct __CFDictionary {
  std::string class_name;
};

namespace fake_iokit {

System system;
Matching matching;
std::vector<Assertion> created_assertions;
std::vector<uint32_t> released_assertions;

namespace {

constexpr io_object_t kIterator = 1000;
constexpr io_object_t kFirstService = 1;

std::set<const void*> strings;
std::set<const void*> dictionaries;
std::multiset<io_object_t> io_objects;
size_t next_service = 0;

template <typename Set, typename Object>
void ReleaseFrom(Set& handed_out, Object object) {
  const auto found = handed_out.find(object);
  ASSERT_NE(found, handed_out.end()) << "released what was not handed out";
  handed_out.erase(found);
}

}  // namespace

const __CFString* Constant(const char* text) {
  static std::map<std::string, std::unique_ptr<__CFString>> constants;
  auto& constant = constants[text];
  if (!constant) constant = std::make_unique<__CFString>(__CFString{text});
  return constant.get();
}

void Reset() {
  system = {};
  matching = {};
  created_assertions.clear();
  released_assertions.clear();
  next_service = 0;
}

int OpenReferences() {
  return static_cast<int>(strings.size() + dictionaries.size() + io_objects.size());
}

}  // namespace fake_iokit

// The system's own functions.
using namespace fake_iokit;

void CFRelease(CFTypeRef object) {
  ReleaseFrom(strings, object);
  delete static_cast<const __CFString*>(object);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  EXPECT_TRUE(dictionaries.contains(dictionary));
  matching.key = static_cast<CFStringRef>(key)->text;
  matching.value = static_cast<CFStringRef>(value)->text;
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex capacity,
                           CFStringEncoding encoding) {
  EXPECT_EQ(encoding, 0x08000100u);
  // What fits is stored all the same, as the real one may do.
  const auto room = static_cast<size_t>(capacity) - 1;
  strncpy(buffer, string->text.c_str(), room);
  buffer[room] = '\0';
  return string->text.size() <= room;
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
  if (!fake_iokit::system.has_memory_for_dictionary) return nullptr;
  matching.class_name = name;
  auto* const dictionary = new __CFDictionary{name};
  dictionaries.insert(dictionary);
  return dictionary;
}

int IOServiceGetMatchingServices(unsigned int main_port, CFDictionaryRef dictionary,
                                 io_iterator_t* existing) {
  EXPECT_EQ(main_port, 0u);
  ReleaseFrom(dictionaries, dictionary);  // also when the call fails
  delete dictionary;
  *existing = fake_iokit::system.gives_iterator ? kIterator : 0;
  if (*existing != 0) io_objects.insert(kIterator);
  return fake_iokit::system.matching_result;
}

io_object_t IOIteratorNext(io_iterator_t iterator) {
  EXPECT_EQ(iterator, kIterator);
  if (next_service == fake_iokit::system.services.size()) return 0;
  const auto service = static_cast<io_object_t>(kFirstService + next_service++);
  io_objects.insert(service);
  return service;
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key,
                                          CFAllocatorRef, IOOptionBits options) {
  EXPECT_TRUE(io_objects.contains(entry));
  EXPECT_EQ(key->text, "IOCalloutDevice");
  EXPECT_EQ(options, 0u);
  const auto& path = fake_iokit::system.services[entry - kFirstService];
  if (!path) return nullptr;
  auto* const string = new __CFString{*path};
  strings.insert(string);
  return string;
}

int IOObjectRelease(io_object_t object) {
  ReleaseFrom(io_objects, object);
  return 0;
}

IOReturn IOPMAssertionCreate(CFStringRef type, IOPMAssertionLevel level,
                             IOPMAssertionID* assertion) {
  created_assertions.push_back({type->text, level});
  *assertion = 77;
  return 0;
}

IOReturn IOPMAssertionRelease(IOPMAssertionID assertion) {
  released_assertions.push_back(assertion);
  return 0;
}
