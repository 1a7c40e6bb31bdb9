// SPDX-License-Identifier: MIT

// Calls of the system that fail when a test wants them to.
#ifndef TARVEN_TESTS_FAULTS_FAULTY_CALLS_H_
#define TARVEN_TESTS_FAULTS_FAULTY_CALLS_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace fault_test {

enum class Call {
#define FAULTY_CALL(name, ...) name,
#include "tests/faults/faulty_calls.def"
#undef FAULTY_CALL
};

struct CallFaults {
  Call call;
  const char* name;
  std::vector<int> errors;
};

// The rows of faulty_calls.def, in the order of Call.
std::span<const CallFaults> AllFaults();
const CallFaults& FaultsOf(Call call);

enum class Extent { kOnce, kFromThenOn };

// While the object lives, the nth call, counted from 1, of one function fails with an error, and
// with kFromThenOn all behind it too. Everything else goes to the system. One object at a time.
//
// A failing call does nothing, except that close closes and munmap unmaps all the same, as the
// system does. That concerns the objects that are linked into the test program, not shared
// libraries. The library faulty_calls has the linker redirect the functions.
class FaultyCall {
 public:
  FaultyCall(Call call, int error, uint32_t nth = 1, Extent extent = Extent::kOnce);
  ~FaultyCall();
  FaultyCall(const FaultyCall&) = delete;
  FaultyCall& operator=(const FaultyCall&) = delete;

  // Whether a call has failed already.
  static bool Happened();
};

// What dladdr tells as the file of this module from now on.
void TellModulePath(const std::string& path);

}  // namespace fault_test

#endif
