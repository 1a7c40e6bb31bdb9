// SPDX-License-Identifier: MIT

// A process that is killed while it writes its settings.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <string>
#include <thread>

#include "tests/faults/settings_fixture.h"

namespace {

using registry_test::kEmptyFile;
using registry_test::Key;

constexpr int kKills = 125;

class SettingsKills : public fault_test::SettingsFaults {
 protected:
  // A text of many pages, so that its write takes a while.
  static constexpr size_t kLength = 200'000;
  static std::string Text(char letter) {
    return FileWithKey("S=\"" + std::string(kLength, letter) +
                       "\" S_TARVENRegType=\"SYS_REG_TYPE_SZ\"");
  }

  // Turns the file of one letter into that of the other and back, without end.
  [[noreturn]] static void ChangeForEver() {
    const std::string values[] = {std::string(kLength, 'a'), std::string(kLength, 'b')};
    for (int turn = 1;; turn = 1 - turn) {
      Key().SetString("S", values[turn]);
      SYS_REG_Flush();
    }
  }

  // Lets a child work and kills it after a time that the dice tell.
  static void WorkAndDie(std::chrono::microseconds lifetime) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) ChangeForEver();
    std::this_thread::sleep_for(lifetime);
    kill(child, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
  }

  // The file is one of the two texts or, because it is written in place, the beginning of one.
  void KillOftenAndUseWhatIsLeft(uint32_t seed) const {
    const std::string first = Text('a');
    const std::string second = Text('b');
    std::minstd_rand dice(seed);
    std::uniform_int_distribution<int> microseconds(0, 12'000);
    int unchanged = 0;
    int changed = 0;
    int cut = 0;
    for (int kill = 0; kill < kKills; ++kill) {
      SCOPED_TRACE(kill);
      PutFile(first);
      ASSERT_NO_FATAL_FAILURE(WorkAndDie(std::chrono::microseconds(microseconds(dice))));
      const std::string left = File();
      ASSERT_TRUE(first.starts_with(left) || second.starts_with(left)) << left.size() << " bytes";
      ++(left == first ? unchanged : left == second ? changed : cut);
      ExpectWorks();
      ASSERT_FALSE(HasFailure());
    }
    RecordProperty("unchanged", unchanged);
    RecordProperty("changed", changed);
    RecordProperty("cut", cut);
    // The kills came at different moments.
    EXPECT_GT(unchanged, 0);
    EXPECT_GT(changed, 0);
  }
};

TEST_F(SettingsKills, LeaveAUsableFileWithSeed1) { KillOftenAndUseWhatIsLeft(1); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed2) { KillOftenAndUseWhatIsLeft(2); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed3) { KillOftenAndUseWhatIsLeft(3); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed4) { KillOftenAndUseWhatIsLeft(4); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed5) { KillOftenAndUseWhatIsLeft(5); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed6) { KillOftenAndUseWhatIsLeft(6); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed7) { KillOftenAndUseWhatIsLeft(7); }
TEST_F(SettingsKills, LeaveAUsableFileWithSeed8) { KillOftenAndUseWhatIsLeft(8); }

}  // namespace
