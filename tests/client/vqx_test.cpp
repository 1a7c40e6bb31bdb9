// SPDX-License-Identifier: MIT

// The vqx script on a real terminal, under each shell it is meant for.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/client/client_run.h"
#include "tests/support/child_process.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/stream_reader.h"
#include "tests/support/temporary_folder.h"
#include "tests/tools/server_run.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kQuitKey[] = "\x1D";  // Ctrl-]

bool IsAlive(pid_t process) { return kill(process, 0) == 0; }

bool WaitUntilGone(pid_t process) {
  const auto deadline = std::chrono::steady_clock::now() + support::kPatience;
  while (IsAlive(process) && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  return !IsAlive(process);
}

void ExpectSameModes(const termios& now, const termios& before) {
  EXPECT_EQ(now.c_iflag, before.c_iflag);
  EXPECT_EQ(now.c_oflag, before.c_oflag);
  EXPECT_EQ(now.c_cflag, before.c_cflag);
  EXPECT_EQ(now.c_lflag, before.c_lflag);
  EXPECT_TRUE(std::equal(std::begin(now.c_cc), std::end(now.c_cc), std::begin(before.c_cc)));
  EXPECT_EQ(cfgetispeed(&now), cfgetispeed(&before));
  EXPECT_EQ(cfgetospeed(&now), cfgetospeed(&before));
}

support::ChildOptions Environment(const std::string& pair) {
  support::ChildOptions options;
  options.environment = {pair};
  return options;
}

support::ChildOptions FirstInPath(const std::string& folder) {
  return Environment("PATH=" + folder + ":" + std::getenv("PATH"));
}

// Inherited by everything that starts there: the hang-up that follows the end of a session's first
// process then ends no client that the wrapper has forgotten.
support::ChildOptions IgnoringHangUps() {
  support::ChildOptions options;
  options.prepare = [] { signal(SIGHUP, SIG_IGN); };
  return options;
}

support::ChildOptions Streams(int input, int output, int error) {
  support::ChildOptions options;
  options.streams = {.input = input, .output = output, .error = error};
  return options;
}

// A folder of its own, with a blank in its name.
class Folder {
 public:
  std::string path() const { return folder_.path(); }

  // Copies the wrapper here and returns its path.
  std::string AddWrapper() const {
    std::filesystem::copy_file(VQX_PATH, folder_.path() / "vqx");
    return folder_.path() / "vqx";
  }

  // Puts a shell script in the client's place.
  void AddClient(const std::string& script) const {
    const std::filesystem::path client = folder_.path() / "vqxclient";
    std::ofstream(client) << "#!/bin/sh\n" << script;
    std::filesystem::permissions(client, std::filesystem::perms::owner_all);
  }

  // A client that says its process number and goes on as the real one.
  void AddRealClient() const {
    AddClient("echo \"process $$\"\nexec '" VQXCLIENT_PATH "' \"$@\"\n");
  }

 private:
  const support::TemporaryFolder folder_{"vqx test"};
};

// A run of the wrapper on a terminal that it controls, as a person's shell would start it.
class VqxRun {
 public:
  // words: the interpreter, the script and its arguments.
  explicit VqxRun(const std::vector<std::string>& words, const support::ChildOptions& options = {})
      : VqxRun(words, options, nullptr) {}

  // Modes other than those of a new terminal.
  VqxRun(const std::vector<std::string>& words, const support::ChildOptions& options,
         const termios* modes) {
    if (modes != nullptr) terminal_.SetModes(*modes);
    modes_before_ = terminal_.Modes();
    support::ChildOptions all_options = options;
    const int device = terminal_.device();
    all_options.streams = {.input = device, .output = device, .error = device};
    all_options.controls_terminal = true;
    process_ = std::make_unique<support::ChildProcess>(words, all_options);
  }

  support::PseudoTerminal& terminal() { return terminal_; }
  support::ChildProcess& process() { return *process_; }
  support::StreamReader& screen() { return screen_; }
  const termios& modes_before() const { return modes_before_; }

  // The process number that a client of Folder::AddRealClient has said.
  pid_t ClientProcess() {
    EXPECT_TRUE(screen_.WaitFor("process "));
    EXPECT_TRUE(screen_.WaitFor("###VQX Client"));
    return std::atoi(screen_.text().c_str() + screen_.text().find("process ") + 8);
  }

  void ExpectEndWith(int status) {
    EXPECT_EQ(process_->WaitForExit(), status);
    ExpectSameModes(terminal_.Modes(), modes_before_);
  }

 private:
  support::PseudoTerminal terminal_;
  termios modes_before_{};
  std::unique_ptr<support::ChildProcess> process_;
  support::StreamReader screen_{terminal_.controller()};
};

// The other side of the connection has been closed: the client is gone.
bool IsClosed(const ScriptedServer& server) {
  char byte;
  return recv(server.connection(), &byte, 1, MSG_DONTWAIT) == 0;
}

class VqxTest : public testing::TestWithParam<const char*> {
 protected:
  // The command line that runs a script with the shell under test.
  static std::vector<std::string> Words(const std::string& script,
                                        const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> words = {GetParam(), script};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
  }

  // Lets the client in and waits until it shows the welcome and has switched the terminal.
  static void Welcome(ScriptedServer& server, VqxRun& vqx) {
    ASSERT_TRUE(server.Accept());
    ASSERT_TRUE(server.Send("Welcome\r\n"));
    ASSERT_TRUE(vqx.screen().WaitFor("Welcome\r\n"));
    WaitForSingleKeys(vqx);
  }

  // Until then the terminal itself shows what is typed.
  static void WaitForSingleKeys(VqxRun& vqx) {
    const auto deadline = std::chrono::steady_clock::now() + support::kPatience;
    while ((vqx.terminal().Modes().c_lflag & ICANON) != 0) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the client never took the terminal";
      std::this_thread::sleep_for(milliseconds(1));
    }
  }
};

INSTANTIATE_TEST_SUITE_P(Shells, VqxTest, testing::Values(DASH_PATH, BASH_PATH),
                         [](const auto& shell) {
                           return std::filesystem::path(shell.param).filename().string();
                         });

// ---- Keys ----

TEST_P(VqxTest, ControlKeysReachTheTarget) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  Welcome(server, vqx);
  const struct {
    const char* name;
    const char* key;
  } keys[] = {
      {"Ctrl-C", "\x03"},  {"Ctrl-Z", "\x1A"}, {"Ctrl-S", "\x13"}, {"Ctrl-Q", "\x11"},
      {"Ctrl-\\", "\x1C"}, {"Ctrl-V", "\x16"}, {"Ctrl-O", "\x0F"}, {"Ctrl-Y", "\x19"},
      {"Ctrl-R", "\x12"},  {"Ctrl-W", "\x17"}, {"Ctrl-U", "\x15"}, {"Ctrl-D", "\x04"},
      {"Delete", "\x7F"},
  };
  for (const auto& key : keys) {
    SCOPED_TRACE(key.name);
    vqx.terminal().Type(key.key);
    EXPECT_EQ(server.Receive(1), key.key);
  }
  EXPECT_TRUE(vqx.process().IsRunning());
}

TEST_P(VqxTest, NoKeyButTheQuitKeyMeansAnythingToTheTerminal) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  Welcome(server, vqx);
  const termios modes = vqx.terminal().Modes();
  EXPECT_EQ(modes.c_lflag & (ISIG | IEXTEN), static_cast<tcflag_t>(ISIG));
  EXPECT_EQ(modes.c_iflag & IXON, 0U);
  EXPECT_EQ(modes.c_cc[VINTR], 0x1D);
  for (const int key : {VQUIT, VSUSP, VLNEXT, VDISCARD}) {
    EXPECT_EQ(modes.c_cc[key], _POSIX_VDISABLE) << key;
  }
}

TEST_P(VqxTest, OutputGoesOnAfterControlS) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  Welcome(server, vqx);
  vqx.terminal().Type("\x13");
  EXPECT_EQ(server.Receive(1), "\x13");
  server.Send("still shown\r\n");
  EXPECT_TRUE(vqx.screen().WaitFor("still shown"));
}

TEST_P(VqxTest, QuitKeyEndsItWithStatusZero) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  Welcome(server, vqx);
  vqx.terminal().Type(kQuitKey);
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(IsClosed(server));
}

TEST_P(VqxTest, QuitKeyEndsItWhileThereIsNoServer) {
  ScriptedServer silent;
  VqxRun vqx(Words(VQX_PATH, PortArguments(silent)));
  ASSERT_TRUE(vqx.screen().WaitFor("via localhost:"));
  vqx.terminal().Type(kQuitKey);
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, QuitKeyLeavesTheCursorInANewRow) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  Welcome(server, vqx);
  server.Send("> ");
  ASSERT_TRUE(vqx.screen().WaitFor("> "));
  vqx.terminal().Type(kQuitKey);
  EXPECT_TRUE(vqx.screen().WaitFor("> \r\n"));
}

TEST_P(VqxTest, AnotherQuitKeyCanBeChosen) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)), Environment("VQX_QUIT=^A"));
  Welcome(server, vqx);
  EXPECT_THAT(vqx.screen().text(), StartsWith("vqx: press ^A to quit\r\n"));
  vqx.terminal().Type(kQuitKey);
  EXPECT_EQ(server.Receive(1), kQuitKey);
  vqx.terminal().Type("\x01");
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, EmptyQuitKeyMeansTheUsualOne) {
  ScriptedServer silent;
  VqxRun vqx(Words(VQX_PATH, PortArguments(silent)), Environment("VQX_QUIT="));
  ASSERT_TRUE(vqx.screen().WaitFor("vqx: press ^] to quit\r\n"));
  ASSERT_TRUE(vqx.screen().WaitFor("via localhost:"));
  vqx.terminal().Type(kQuitKey);
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, QuitKeyThatIsNoneIsRefusedBeforeAnythingChanges) {
  Folder folder;
  folder.AddClient("echo started\n");
  const std::string vqx_path = folder.AddWrapper();
  for (const char* key : {"nonsense", "300", "undef", "^-"}) {
    SCOPED_TRACE(key);
    VqxRun vqx(Words(vqx_path), Environment(std::string("VQX_QUIT=") + key));
    vqx.ExpectEndWith(2);
    vqx.screen().ReadFor(milliseconds(50));
    EXPECT_EQ(vqx.screen().text(),
              std::string("vqx: VQX_QUIT=") + key + " is no key that stty knows; try ^] or ^A\r\n");
  }
}

// ---- The ends ----

TEST_P(VqxTest, TerminalIsWholeAfterARefusal) {
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
  ASSERT_TRUE(server.Accept());
  server.Send("ERROR: Busy");
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(vqx.screen().WaitFor("Shutting down..."));
}

TEST_P(VqxTest, TerminalIsWholeAfterABadCommandLine) {
  VqxRun vqx(Words(VQX_PATH, {"nonsense"}));
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, TerminalIsWholeAfterTheQuitKeyWhateverItsModesWere) {
  termios modes = support::PseudoTerminal().Modes();
  modes.c_iflag ^= IXON | IXANY | INLCR;
  modes.c_lflag ^= IEXTEN | ECHOK | NOFLSH;
  modes.c_cc[VINTR] = 'X' & 0x1F;
  modes.c_cc[VQUIT] = _POSIX_VDISABLE;
  modes.c_cc[VSUSP] = 'G' & 0x1F;
  modes.c_cc[VLNEXT] = 'P' & 0x1F;
  modes.c_cc[VDISCARD] = 'T' & 0x1F;
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(VQX_PATH, PortArguments(server)), {}, &modes);
  Welcome(server, vqx);
  vqx.terminal().Type(kQuitKey);
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, TerminalIsWholeAfterSignalsToTheWrapper) {
  const struct {
    int signal;
    int status;
  } cases[] = {{SIGTERM, 143}, {SIGHUP, 129}, {SIGQUIT, 131}, {SIGINT, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.signal);
    ScriptedServer server;
    server.Listen();
    VqxRun vqx(Words(VQX_PATH, PortArguments(server)));
    Welcome(server, vqx);
    vqx.process().Signal(c.signal);
    vqx.ExpectEndWith(c.status);
    EXPECT_TRUE(IsClosed(server));
  }
}

TEST_P(VqxTest, TerminalIsWholeAfterTheClientWasKilled) {
  Folder folder;
  folder.AddRealClient();
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(folder.AddWrapper(), PortArguments(server)));
  Welcome(server, vqx);
  kill(vqx.ClientProcess(), SIGKILL);
  vqx.ExpectEndWith(137);
  vqx.screen().ReadFor(milliseconds(50));
  EXPECT_THAT(vqx.screen().text(), Not(HasSubstr("Killed")));
}

TEST_P(VqxTest, ExitStatusIsTheClients) {
  Folder folder;
  const std::string vqx_path = folder.AddWrapper();
  for (const int status : {0, 1, 7, 127, 255}) {
    folder.AddClient("exit " + std::to_string(status) + "\n");
    VqxRun vqx(Words(vqx_path));
    vqx.ExpectEndWith(status);
  }
}

TEST_P(VqxTest, EndsWhenTheTerminalHangsUp) {
  Folder folder;
  folder.AddRealClient();
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(folder.AddWrapper(), PortArguments(server)));
  Welcome(server, vqx);
  const pid_t client = vqx.ClientProcess();
  vqx.terminal().CloseController();
  EXPECT_EQ(vqx.process().WaitForExit(), 129);
  EXPECT_TRUE(WaitUntilGone(client));
}

// ---- No client stays behind ----

TEST_P(VqxTest, NoClientIsLeftBehindAfterTheQuitKeyOrASignal) {
  for (const int signal : {0, SIGTERM, SIGQUIT}) {
    SCOPED_TRACE(signal);
    Folder folder;
    folder.AddRealClient();
    ScriptedServer server;
    server.Listen();
    VqxRun vqx(Words(folder.AddWrapper(), PortArguments(server)), IgnoringHangUps());
    Welcome(server, vqx);
    const pid_t client = vqx.ClientProcess();
    EXPECT_TRUE(IsAlive(client));
    if (signal == 0) {
      vqx.terminal().Type(kQuitKey);
    } else {
      vqx.process().Signal(signal);
    }
    ASSERT_TRUE(vqx.process().WaitForExit().has_value());
    EXPECT_FALSE(IsAlive(client));
  }
}

TEST_P(VqxTest, NoClientIsLeftBehindAfterAHangUpThatItIgnores) {
  Folder folder;
  folder.AddClient("trap '' HUP\necho \"process $$\"\nexec '" VQXCLIENT_PATH "' \"$@\"\n");
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(folder.AddWrapper(), PortArguments(server)));
  Welcome(server, vqx);
  const pid_t client = vqx.ClientProcess();
  vqx.process().Signal(SIGHUP);
  vqx.ExpectEndWith(129);
  EXPECT_FALSE(IsAlive(client));
}

TEST_P(VqxTest, NoClientIsLeftBehindWhenItWasStopped) {
  Folder folder;
  folder.AddRealClient();
  ScriptedServer server;
  server.Listen();
  VqxRun vqx(Words(folder.AddWrapper(), PortArguments(server)), IgnoringHangUps());
  Welcome(server, vqx);
  const pid_t client = vqx.ClientProcess();
  kill(client, SIGSTOP);
  vqx.process().Signal(SIGTERM);
  vqx.ExpectEndWith(143);
  EXPECT_FALSE(IsAlive(client));
}

TEST_P(VqxTest, ModesGoBackOnlyWhenTheClientIsGone) {
  Folder folder;
  // Takes its time to end, and then spoils the modes once more.
  folder.AddClient(
      "trap 'sleep 0.3; stty -echo -icanon; echo gone; exit' TERM\n"
      "echo ready\n"
      "while :; do sleep 0.02; done\n");
  VqxRun vqx(Words(folder.AddWrapper()));
  ASSERT_TRUE(vqx.screen().WaitFor("ready"));
  vqx.process().Signal(SIGTERM);
  std::this_thread::sleep_for(milliseconds(50));
  vqx.terminal().Type(kQuitKey);  // an impatient user changes nothing
  vqx.ExpectEndWith(143);
  vqx.screen().ReadFor(milliseconds(50));
  EXPECT_THAT(vqx.screen().text(), HasSubstr("gone"));
}

// ---- The user's hint ----

TEST_P(VqxTest, HintComesOnceAndOnStandardErrorOnly) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  support::StreamReader error(ends[0]);
  Folder folder;
  folder.AddClient("echo client\n");
  support::PseudoTerminal terminal;
  support::ChildOptions options = Streams(terminal.device(), terminal.device(), ends[1]);
  options.controls_terminal = true;
  support::ChildProcess vqx(Words(folder.AddWrapper()), options);
  close(ends[1]);
  support::StreamReader screen(terminal.controller());
  EXPECT_EQ(vqx.WaitForExit(), 0);
  EXPECT_TRUE(screen.WaitFor("client\r\n"));
  EXPECT_EQ(screen.text(), "client\r\n");
  ASSERT_TRUE(error.WaitForEnd());
  EXPECT_EQ(error.text(), "vqx: press ^] to quit\n");
  close(ends[0]);
}

// ---- Standard input not a terminal ----

TEST_P(VqxTest, WithoutATerminalItIsTheClientAndNothingElse) {
  Folder folder;
  folder.AddClient("echo \"process $$\"; cat; exit 5\n");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  support::PseudoTerminal terminal;
  const termios before = terminal.Modes();
  support::ChildProcess vqx(Words(folder.AddWrapper()),
                            Streams(ends[0], terminal.device(), terminal.device()));
  close(ends[0]);
  support::StreamReader screen(terminal.controller());
  ASSERT_TRUE(support::WriteAll(ends[1], "keys\n"));
  ASSERT_TRUE(screen.WaitFor("keys\r\n"));
  ExpectSameModes(terminal.Modes(), before);
  // The same process: a signal to it reaches the client itself.
  EXPECT_EQ(screen.text(), "process " + std::to_string(vqx.pid()) + "\r\nkeys\r\n");
  close(ends[1]);
  EXPECT_EQ(vqx.WaitForExit(), 5);
}

// ---- Finding and starting the client ----

TEST_P(VqxTest, ArgumentsReachTheClientUnchanged) {
  Folder folder;
  folder.AddClient("printf '<%s>' \"$@\"\n");
  VqxRun vqx(Words(folder.AddWrapper(), {"a b", "", "*", "-?", "$HOME", "\\n"}));
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(vqx.screen().WaitFor("<a b><><*><-?><$HOME><\\n>"));
}

TEST_P(VqxTest, ClientInTheOwnFolderComesBeforeThatInPath) {
  Folder own;
  own.AddClient("echo own\n");
  Folder other;
  other.AddClient("echo other\n");
  VqxRun vqx(Words(own.AddWrapper()), FirstInPath(other.path()));
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(vqx.screen().WaitFor("own\r\n"));
}

TEST_P(VqxTest, ClientInPathIsFoundWhenThereIsNoneInTheOwnFolder) {
  Folder own;
  Folder other;
  other.AddClient("echo other\n");
  VqxRun vqx(Words(own.AddWrapper()), FirstInPath(other.path()));
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(vqx.screen().WaitFor("other\r\n"));
}

TEST_P(VqxTest, MissingClientEndsItWithStatus127AndAMessage) {
  Folder folder;
  VqxRun vqx(Words(folder.AddWrapper()), Environment("PATH=" + folder.path()));
  vqx.ExpectEndWith(127);
  EXPECT_TRUE(vqx.screen().WaitFor("\n"));
  EXPECT_EQ(vqx.screen().text(), "vqx: there is no vqxclient beside this script or in PATH\r\n");
}

TEST(Vqx, FileIsExecutableByItself) {
  EXPECT_EQ(access(VQX_PATH, X_OK), 0);
  VqxRun vqx({VQX_PATH, "nonsense"});
  vqx.ExpectEndWith(0);
  EXPECT_TRUE(vqx.screen().WaitFor("Unknown command line parameter nonsense found."));
}

// ---- Everything together ----

TEST_P(VqxTest, PersonTalksToTheDemoTarget) {
  server_test::ServerRun server({"--port", "0"});
  const std::string port = std::to_string(server.Port());
  VqxRun vqx(Words(VQX_PATH, {"-VQXTelnetPort", port}));
  ASSERT_TRUE(vqx.screen().WaitFor("Type \"help\" for the commands.\r\n> "));
  vqx.terminal().Type("led on\r");
  ASSERT_TRUE(vqx.screen().WaitFor("led on\r\nLED is on.\r\n> "));
  vqx.terminal().Type("\x1A");
  ASSERT_TRUE(vqx.screen().WaitFor("^Z\r\n> "));
  vqx.terminal().Type("reboot\r");
  ASSERT_TRUE(vqx.screen().WaitFor("Rebooting ...\r\n"));
  ASSERT_TRUE(vqx.screen().WaitFor("Type \"help\" for the commands.\r\n> ", 2));
  vqx.terminal().Type("\x03");
  ASSERT_TRUE(vqx.screen().WaitFor("^C\r\n> "));
  vqx.terminal().Type(kQuitKey);
  vqx.ExpectEndWith(0);
}

TEST_P(VqxTest, PersonSeesWhatTheTargetEchoesOnceWithoutTheLocalEcho) {
  server_test::ServerRun server({"--port", "0", "--echo"});
  const std::string port = std::to_string(server.Port());
  VqxRun vqx(Words(VQX_PATH, {"-VQXTelnetPort", port, "-LocalEcho", "Off"}));
  ASSERT_TRUE(vqx.screen().WaitFor("Type \"help\" for the commands.\r\n> "));
  WaitForSingleKeys(vqx);
  vqx.terminal().Type("led on\r");
  EXPECT_TRUE(vqx.screen().WaitFor("> led on\r\nLED is on.\r\n> "));
}

}  // namespace
}  // namespace client_test
