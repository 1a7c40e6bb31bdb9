// SPDX-License-Identifier: MIT

// An IOKit and Core Foundation of the tests' own, behind the declarations of cmake/darwin/sdk: they
// hand out what a test puts in and count every reference.
//
// Compiled in front of the code under test (-include), because string constants are laid out by the
// compiler on macOS and made by a function here.
#ifndef TARVEN_TESTS_SUPPORT_FAKE_IOKIT_H_
#define TARVEN_TESTS_SUPPORT_FAKE_IOKIT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct __CFString;

namespace fake_iokit {

const __CFString* Constant(const char* text);

// What the system has and does. Reset before each test.
struct System {
  bool has_memory_for_dictionary = true;
  int matching_result = 0;
  bool gives_iterator = true;
  // One serial device each: its callout path, or nothing for a service without the property.
  std::vector<std::optional<std::string>> services;
};
extern System system;

// What was asked for: the class and the one key with its value.
struct Matching {
  std::string class_name;
  std::string key;
  std::string value;
};
extern Matching matching;

struct Assertion {
  std::string type;
  uint32_t level = 0;
};
extern std::vector<Assertion> created_assertions;
extern std::vector<uint32_t> released_assertions;

void Reset();

// References handed out and not released yet; releases of what was not handed out fail the test.
int OpenReferences();

}  // namespace fake_iokit

#define CFSTR(text) fake_iokit::Constant(text)

#endif
