// SPDX-License-Identifier: MIT

// The settings store when the system refuses: every call that loading, changing and writing a file
// makes fails in turn, once and from then on.
#include <set>
#include <string>

#include "tests/faults/faulty_calls.h"
#include "tests/faults/settings_fixture.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/open_descriptors.h"

namespace {

namespace fs = std::filesystem;
using fault_test::Call;
using fault_test::Extent;
using fault_test::FaultyCall;
using registry_test::kEmptyFile;
using registry_test::Key;
using support::FailingAllocation;

struct Outcome {
  int32_t set_result;
  std::string file;
  bool has_happened;
};

class SettingsCalls : public fault_test::SettingsFaults {
 protected:
  SettingsCalls() { alarm(120); }
  ~SettingsCalls() override { alarm(0); }

  Outcome ChangeWith(Call call, int error, uint32_t nth, Extent extent) const {
    PutFile(FileWith(1));
    fs::remove(home_.At("TARVEN_REG_HKEY_CURRENT_USER.xml"));
    const auto descriptors = support::OpenDescriptors();
    Outcome outcome{};
    {
      const FailingAllocation counted(UINT32_MAX);
      const FaultyCall fault(call, error, nth, extent);
      outcome.set_result = SetAndFlush(2);
      outcome.has_happened = FaultyCall::Happened();
      EXPECT_EQ(FailingAllocation::Unfreed(), 0);
    }
    EXPECT_EQ(support::OpenDescriptors(), descriptors);
    outcome.file = File();
    return outcome;
  }
};

// What the file may hold after a fault: what it held, or what it was to hold. Where the write itself
// was refused it is empty, for it is written in place. Where the home's folder could not be seen, the
// hive is that of the current folder; it is written to the home if the folder can be seen by then.
void ExpectNothingLost(Call call, const Outcome& outcome, const std::string& before,
                       const std::string& after, const std::string& of_another_folder) {
  std::set<std::string> allowed = {before, after};
  if (call == Call::write) allowed.insert("");
  if (call == Call::stat) allowed.insert(of_another_folder);
  EXPECT_TRUE(allowed.contains(outcome.file)) << outcome.file;
  EXPECT_TRUE(outcome.set_result == 0 || outcome.set_result == 1) << outcome.set_result;
}

// The calls that a change of a file makes, in a home that has its folder. The test would notice one
// more: it tries them all.
const std::set<Call> kCallsOfAChange = {Call::close, Call::lseek, Call::open,
                                        Call::read,  Call::stat,  Call::write};

TEST_F(SettingsCalls, ThatFailLoseNoMoreThanTheyMust) {
  std::set<Call> reached;
  const std::string of_another_folder =
      FileWithKey("N=\"0x00000002\" N_TARVENRegType=\"SYS_REG_TYPE_DWORD\"");
  for (const auto& row : fault_test::AllFaults()) {
    // The position of a file that is open can be had; what could not be sized counts as empty.
    if (row.call == Call::lseek) continue;
    for (const int error : row.errors) {
      for (const Extent extent : {Extent::kOnce, Extent::kFromThenOn}) {
        for (uint32_t nth = 1;; ++nth) {
          SCOPED_TRACE(std::string(row.name) + " " + std::to_string(nth) + " fails with " +
                       std::to_string(error) +
                       (extent == Extent::kOnce ? " once" : " from then on"));
          const Outcome outcome = ChangeWith(row.call, error, nth, extent);
          if (outcome.has_happened) reached.insert(row.call);
          ExpectNothingLost(row.call, outcome, FileWith(1), FileWith(2), of_another_folder);
          ExpectWorks();
          if (!outcome.has_happened) break;
        }
      }
    }
  }
  reached.insert(Call::lseek);
  EXPECT_EQ(reached, kCallsOfAChange);
}

TEST_F(SettingsCalls, ThatFindTheSizeMayFailWithoutEndingTheStore) {
  for (uint32_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    const Outcome outcome = ChangeWith(Call::lseek, EINVAL, nth, Extent::kOnce);
    ExpectWorks();
    if (!outcome.has_happened) break;
  }
}

TEST_F(SettingsCalls, ThatFailBeforeTheFileIsThereLeaveNothingBehind) {
  for (const Call call :
       {Call::open, Call::stat, Call::mkdir, Call::write, Call::read, Call::close}) {
    for (const int error : fault_test::FaultsOf(call).errors) {
      for (uint32_t nth = 1;; ++nth) {
        SCOPED_TRACE(std::string(fault_test::FaultsOf(call).name) + " " + std::to_string(nth));
        fs::remove_all(home_.At("Library"));
        fs::remove(home_.At("TARVEN_REG_HKEY_CURRENT_USER.xml"));
        const auto descriptors = support::OpenDescriptors();
        bool has_happened = false;
        {
          const FailingAllocation counted(UINT32_MAX);
          const FaultyCall fault(call, error, nth);
          SetAndFlush(2);
          has_happened = FaultyCall::Happened();
          EXPECT_EQ(FailingAllocation::Unfreed(), 0);
        }
        EXPECT_EQ(support::OpenDescriptors(), descriptors);
        ExpectWorks();
        if (!has_happened) break;
      }
    }
  }
}

TEST_F(SettingsCalls, ThatFailDuringAQueryChangeNoFile) {
  for (const Call call : {Call::open, Call::read, Call::close}) {
    for (const int error : fault_test::FaultsOf(call).errors) {
      for (const Extent extent : {Extent::kOnce, Extent::kFromThenOn}) {
        SCOPED_TRACE(std::string(fault_test::FaultsOf(call).name) + " " + std::to_string(error));
        PutFile(FileWith(1));
        int64_t number = 0;
        {
          const FaultyCall fault(call, error, 1, extent);
          uint32_t value = 0;
          uint32_t size = sizeof value;
          SYS_REG_HANDLE key = SYS_REG_OpenKey(HKEY_CURRENT_USER, "Key");
          const int32_t result = SYS_REG_QueryValue(key, "N", nullptr, &value, &size);
          SYS_REG_CloseKey(key);
          number = result == 0 ? int64_t{value} : -result;
        }
        SYS_REG_Flush();
        EXPECT_EQ(File(), FileWith(1));
        EXPECT_TRUE(number == 1 || number == -1) << number;
      }
    }
  }
}

}  // namespace
