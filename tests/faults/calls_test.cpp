// SPDX-License-Identifier: MIT

// Every call of the system that the system layer and the probe binding make fails once, in each of the
// ways that faulty_calls.def lists: the operation ends with the result that its header tells, leaves no
// descriptor open and, where the result is the system's own, leaves errno to the caller.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>

#include "probe/mbolt_api.h"
#include "probe/probelib.h"
#include "sys/sys.h"
#include "tests/faults/faulty_calls.h"
#include "tests/support/child_process.h"
#include "tests/support/loopback.h"
#include "tests/support/open_descriptors.h"
#include "tests/support/pseudo_terminal.h"
#include "tests/support/replaced_descriptor.h"
#include "tests/support/temporary_home.h"

namespace {

namespace fs = std::filesystem;
using fault_test::Call;
using fault_test::Extent;
using fault_test::FaultsOf;
using fault_test::FaultyCall;

// ---- Cases ----

enum class Errno {
  kTold,     // the failed call's error is in errno afterwards
  kNotTold,  // nothing is said about it
};

struct Case {
  const char* operation;
  Call call;
  std::function<int64_t()> run;
  int64_t expected;
  Errno error = Errno::kTold;
  uint32_t nth = 1;
  Extent extent = Extent::kOnce;
  // Results of their own for some errors.
  std::map<int, int64_t> expected_for = {};
};

// A result that is the error itself.
constexpr int64_t kTheError = -1000;

int64_t ExpectedOf(const Case& c, int error) {
  const auto found = c.expected_for.find(error);
  const int64_t expected = found != c.expected_for.end() ? found->second : c.expected;
  return expected == kTheError ? error : expected;
}

// Closes what was opened; 0 for a handle and -1 for none.
int64_t ClosedAgain(int32_t handle) {
  if (handle < 0) return handle;
  close(handle);
  return 0;
}

void RunCase(const Case& c, int error, std::set<Call>* reached) {
  SCOPED_TRACE(std::string(c.operation) + ": " + FaultsOf(c.call).name + " fails with " +
               std::to_string(error));
  const auto descriptors = support::OpenDescriptors();
  int64_t result = 0;
  int error_told = 0;
  bool has_happened = false;
  {
    const FaultyCall fault(c.call, error, c.nth, c.extent);
    errno = 0;
    result = c.run();
    error_told = errno;
    has_happened = FaultyCall::Happened();
  }
  EXPECT_TRUE(has_happened);
  EXPECT_EQ(result, ExpectedOf(c, error));
  if (c.error == Errno::kTold) {
    EXPECT_EQ(error_told, error);
  }
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
  reached->insert(c.call);
}

class FaultsCalls : public testing::Test {
 protected:
  // A call that hangs ends the test.
  FaultsCalls() { alarm(120); }
  ~FaultsCalls() override { alarm(0); }

  void Run(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
      for (const int error : FaultsOf(c.call).errors) RunCase(c, error, &reached_);
    }
  }

  void RunFiles();
  void RunMaps();
  void RunPaths();
  void RunTemporaryFolder();
  void RunProcesses();
  void RunConsole();
  void RunSerialPorts();
  void RunStreams();
  void RunTimedConnect();
  void RunListening();
  void RunOptions();
  void RunNames();
  void RunDatagrams();
  void RunProbe();

  std::set<Call> reached_;
  const support::TemporaryHome home_;
};

// ---- Files and paths ----

void FaultsCalls::RunFiles() {
  const std::string path = home_.Write("file", "line\nrest");
  const int32_t handle = SYS_FILE_Open(path.c_str(), SYS_FILE_FLAG_READ | SYS_FILE_FLAG_WRITE);
  char buffer[16] = "untouched";
  SYS_TIME time{};
  time.year = 7;
  const auto open_flags = SYS_FILE_FLAG_READ;
  Run({
      {"Open", Call::open, [&] { return SYS_FILE_Open(path.c_str(), open_flags); }, -1},
      {"Open for appending", Call::lseek,
       [&] { return ClosedAgain(SYS_FILE_Open(path.c_str(), SYS_FILE_FLAG_APPEND)); }, 0,
       Errno::kNotTold},
      {"OpenRetry", Call::open,
       [&] { return ClosedAgain(SYS_FILE_OpenRetry(path.c_str(), open_flags, 2, 1)); }, 0,
       Errno::kNotTold},
      {"OpenRetry", Call::open, [&] { return SYS_FILE_OpenRetry(path.c_str(), open_flags, 2, 1); },
       -1, Errno::kTold, 1, Extent::kFromThenOn},
      {"OpenRetry", Call::usleep,
       [&] { return SYS_FILE_OpenRetry("/not there", open_flags, 2, 60'000); }, -1, Errno::kNotTold,
       1, Extent::kFromThenOn},
      {"OpenEx", Call::open, [&] { return SYS_FILE_OpenEx("~/file", open_flags); }, -1},
      {"OpenEx in a new folder", Call::stat,
       [&] { return SYS_FILE_OpenEx("~/new/file", SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE); },
       -1},
      {"OpenEx in a new folder", Call::mkdir,
       [&] { return SYS_FILE_OpenEx("~/new/file", SYS_FILE_FLAG_WRITE | SYS_FILE_FLAG_CREATE); },
       -1},
      {"Close", Call::close,
       [&] {
         SYS_FILE_Close(SYS_FILE_Open(path.c_str(), open_flags));
         return 0;
       },
       0},
      {"Read", Call::read,
       [&] {
         SYS_FILE_Read(handle, buffer, 4);
         return std::string(buffer) == "untouched" ? 0 : 1;
       },
       0},
      {"ReadLine", Call::read, [&] { return SYS_FILE_ReadLine(handle, buffer, 10); }, -1},
      {"ReadLine", Call::read,
       [&] {
         SYS_FILE_Seek(handle, 0, 0);
         return SYS_FILE_ReadLine(handle, buffer, 10);
       },
       -1, Errno::kTold, 3},
      {"Write", Call::write, [&] { return SYS_FILE_Write(handle, "data", 4); }, -1},
      {"Seek", Call::lseek, [&] { return SYS_FILE_Seek(handle, 0, 0); }, -1},
      {"GetSize", Call::lseek, [&] { return SYS_FILE_GetSize(handle); }, -1, Errno::kTold, 2},
      {"Truncate", Call::ftruncate, [&] { return SYS_FILE_Truncate(handle, 5); }, -1},
      {"Delete", Call::unlink, [&] { return SYS_FILE_Delete(path.c_str()); }, 0},
      {"Exists", Call::open, [&] { return SYS_FILE_Exists(path.c_str()); }, 0},
      {"Exists", Call::close, [&] { return SYS_FILE_Exists(path.c_str()); }, 1},
      {"IsReadOnly", Call::stat, [&] { return SYS_FILE_IsReadOnly(path.c_str()); }, -1},
      {"GetTime", Call::fstat, [&] { return SYS_FILE_GetTime(handle, &time, &time); }, -1},
  });
  EXPECT_EQ(time.year, 7);
  EXPECT_EQ(home_.Read("file"), "line\nrest");
  EXPECT_FALSE(fs::exists(home_.At("new/file")));
  SYS_FILE_Close(handle);

  unsetenv("HOME");
  Run({{"OpenEx without HOME", Call::getpwuid_r,
        [&] { return SYS_FILE_OpenEx("~/file", open_flags); }, -1, Errno::kNotTold}});
  setenv("HOME", home_.path().c_str(), 1);
}

void FaultsCalls::RunMaps() {
  const std::string path = home_.Write("map", std::string(4096, 'm'));
  const int32_t handle = SYS_FILE_Open(path.c_str(), SYS_FILE_FLAG_READ | SYS_FILE_FLAG_WRITE);
  const auto is_mapped = [&](uint64_t length) {
    return SYS_FILE_Map(handle, 0, length) == nullptr ? 0 : 1;
  };
  void* const view = SYS_FILE_Map(handle, 0, 4096);
  Run({
      {"Map", Call::mmap, [&] { return is_mapped(100); }, 0},
      // Three seeks take the size.
      {"Map of more than there is", Call::lseek, [&] { return is_mapped(5000); }, 0, Errno::kTold,
       4},
      {"Map of more than there is", Call::write, [&] { return is_mapped(5000); }, 0},
      {"FlushMap", Call::msync, [&] { return SYS_FILE_FlushMap(view, 4096); }, -1},
      {"Unmap", Call::munmap, [&] { return SYS_FILE_Unmap(SYS_FILE_Map(handle, 0, 100), 0, 100); },
       -1},
  });
  EXPECT_EQ(home_.Read("map"), std::string(4096, 'm'));
  EXPECT_EQ(SYS_FILE_Unmap(view, 0, 4096), 0);
  SYS_FILE_Close(handle);
}

void FaultsCalls::RunPaths() {
  const std::string path = home_.Write("file", "");
  const std::string new_folder = home_.At("a/b/c");
  char output[SYS_PATH_CAPACITY];
  const auto length_of = [&](void (*get)(char*, uint32_t)) {
    memset(output, '?', sizeof output);
    get(output, sizeof output);
    return static_cast<int64_t>(strlen(output));
  };
  const auto whole_length = length_of(SYS_GetModulePath);
  EXPECT_GT(whole_length, 0);
  Run({
      {"DirOfPathExists", Call::open, [&] { return SYS_DirOfPathExists(path.c_str()); }, 0},
      {"CreateDirRecursive", Call::stat, [&] { return SYS_CreateDirRecursive(new_folder.c_str()); },
       -1},
      {"CreateDirRecursive", Call::mkdir,
       [&] { return SYS_CreateDirRecursive(new_folder.c_str()); }, -1},
      {"CreateDirRecursive", Call::mkdir,
       [&] {
         fs::remove_all(home_.At("a"));
         return SYS_CreateDirRecursive(new_folder.c_str());
       },
       -1, Errno::kTold, 2},
      {"GetAppSupportDir", Call::stat, [&] { return SYS_GetAppSupportDir(output, sizeof output); },
       -1},
      {"GetAppSupportDir", Call::mkdir, [&] { return SYS_GetAppSupportDir(output, sizeof output); },
       -1},
      {"GetModulePath", Call::dladdr, [&] { return length_of(SYS_GetModulePath); }, 0,
       Errno::kNotTold},
      // What cannot be followed counts as no link.
      {"GetModulePath", Call::readlink, [&] { return length_of(SYS_GetModulePath); }, whole_length},
      {"GetExePath", Call::readlink, [&] { return length_of(SYS_GetExePath); }, 0},
      // A base that cannot be opened counts as it stands.
      {"JoinPath", Call::open,
       [&] {
         SYS_JoinPath(path.c_str(), "x", output, sizeof output);
         return output == path + "x" ? 0 : 1;
       },
       0},
  });
}

// Each call keeps one descriptor, of the file whose name was to be unique.
void FaultsCalls::RunTemporaryFolder() {
  fs::create_directories(home_.At("module"));
  fault_test::TellModulePath(home_.At("module/program"));
  const auto folder = [&] {
    const auto before = support::OpenDescriptors();
    char output[SYS_PATH_CAPACITY];
    SYS_GetTempDir(output, sizeof output);
    const int error = errno;
    for (const int descriptor : support::OpenDescriptors()) {
      if (!std::ranges::binary_search(before, descriptor)) fcntl(descriptor, F_SETFD, 0);
      if (!std::ranges::binary_search(before, descriptor)) close(descriptor);
    }
    errno = error;
    if (output == home_.At("module/")) return 0;
    return output == home_.At(".TARVEN") ? 1 : 2;
  };
  Run({
      {"GetTempDir", Call::mkostemp, folder, 0, Errno::kNotTold},
      {"GetTempDir", Call::open, folder, 1, Errno::kNotTold},
      {"GetTempDir", Call::close, folder, 0, Errno::kNotTold},
      {"GetTempDir", Call::unlink, folder, 0, Errno::kNotTold},
  });
  fs::remove_all(home_.At("module"));
  // Now nothing can be made there, and the other folder, which cannot be made either, is told.
  fs::remove_all(home_.At(".TARVEN"));
  Run({{"GetTempDir", Call::mkdir, folder, 1}});
  EXPECT_FALSE(fs::exists(home_.At(".TARVEN")));
  fault_test::TellModulePath("");
}

// ---- Processes, console, serial ports ----

void FaultsCalls::RunProcesses() {
  char buffer[8];
  const auto start = [] { return SYS_StartProcess(nullptr, "/bin/true"); };
  Run({
      {"GetRandomBytes", Call::open, [&] { return SYS_GetRandomBytes(buffer, 8); }, -1},
      {"GetRandomBytes", Call::read, [&] { return SYS_GetRandomBytes(buffer, 8); }, 0},
      {"GetRandomBytes", Call::close, [&] { return SYS_GetRandomBytes(buffer, 8); }, -1},
      {"StartProcess", Call::posix_spawn, start, kTheError},
      {"StartProcess", Call::posix_spawn_file_actions_init, start, kTheError},
      {"StartProcess", Call::posix_spawn_file_actions_addclosefrom_np, start, kTheError},
      {"StartProcess", Call::posix_spawn_file_actions_destroy, start, kTheError},
      {"GetNumCPUs", Call::sysconf, [] { return SYS_GetNumCPUs(); }, 0},
      {"Sleep", Call::usleep,
       [] {
         SYS_Sleep(60'000);
         return 0;
       },
       0},
  });
  while (waitpid(-1, nullptr, 0) > 0) {
  }
}

void FaultsCalls::RunConsole() {
  const support::PseudoTerminal terminal;
  const support::ReplacedDescriptor input(STDIN_FILENO, terminal.device());
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  {
    const support::ReplacedDescriptor output(STDOUT_FILENO, null_device);
    Run({
        {"KbHit", Call::ioctl, [] { return SYS_ConsoleKbHit(); }, 0},
        {"GetChar", Call::getchar, [] { return SYS_ConsoleGetChar(); }, -1},
        {"ConsoleWrite", Call::fflush, [] { return SYS_ConsoleWrite("text", 4); }, 0,
         Errno::kNotTold},
        // What may still succeed is tried again.
        {"ConsoleWrite",
         Call::write,
         [] { return SYS_ConsoleWrite("text", 4); },
         -1,
         Errno::kNotTold,
         1,
         Extent::kOnce,
         {{EINTR, 0}, {EAGAIN, 0}}},
    });
  }
  close(null_device);
}

void FaultsCalls::RunSerialPorts() {
  support::PseudoTerminal device;
  const std::string name = device.device_path().substr(strlen("/dev/"));
  SYS_COM_PORT* const port = SYS_COM_Open(name.c_str(), 115200);
  ASSERT_NE(port, nullptr);
  ioctl(port->descriptor, TIOCNXCL);
  device.Type("x");
  char buffer[4];
  const auto opens = [&] {
    SYS_COM_PORT* const opened = SYS_COM_Open(name.c_str(), 9600);
    if (opened == nullptr) return 0;
    ioctl(opened->descriptor, TIOCNXCL);
    SYS_COM_Close(opened);
    return 1;
  };
  const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
  {
    const support::ReplacedDescriptor output(STDOUT_FILENO, null_device);
    Run({
        {"COM_SetSpeed", Call::ioctl, [&] { return SYS_COM_SetSpeed(port->descriptor, 9600); }, -1},
        {"COM_Read", Call::fcntl, [&] { return SYS_COM_Read(port, buffer, 4, 10); }, -1},
        {"COM_Read", Call::select, [&] { return SYS_COM_Read(port, buffer, 4, 10); }, -1},
        {"COM_Read", Call::read, [&] { return SYS_COM_Read(port, buffer, 4, 10); }, -1},
        {"COM_Write", Call::write, [&] { return SYS_COM_Write(port, "data", 4); }, -1},
        {"COM_Open", Call::open, opens, 0},
        {"COM_Open that cannot claim", Call::ioctl, opens, 1, Errno::kNotTold},
        {"COM_Open without modes", Call::tcgetattr, opens, 1, Errno::kNotTold},
        {"COM_Open without modes", Call::tcsetattr, opens, 1, Errno::kNotTold},
        {"COM_Open without its speed", Call::ioctl, opens, 0, Errno::kNotTold, 2},
        {"COM_Open without its speed", Call::ioctl, opens, 0, Errno::kNotTold, 3},
        {"COM_Open of no terminal", Call::puts,
         [] { return SYS_COM_Open("null", 9600) == nullptr ? 0 : 1; }, 0, Errno::kNotTold},
        {"COM_Open that cannot clear", Call::tcflush, opens, 1, Errno::kNotTold},
        {"COM_Close", Call::close, opens, 1, Errno::kNotTold},
        {"COM_EnumPorts", Call::opendir, [] { return SYS_COM_EnumPorts(nullptr, 0); }, 0},
        {"COM_EnumPorts", Call::readdir, [] { return SYS_COM_EnumPorts(nullptr, 0); }, 0},
    });
  }
  close(null_device);
  SYS_COM_Close(port);
}

// ---- Sockets ----

const std::map<int, int64_t> kReceiveResults = {
    {ETIMEDOUT, -3}, {ENETRESET, -4}, {EINTR, -5}, {EAGAIN, -2}};
const std::map<int, int64_t> kDatagramResults = {{ETIMEDOUT, -3}, {ENETRESET, -4}, {EAGAIN, -2}};

void FaultsCalls::RunStreams() {
  const support::PeerPair pair = support::Connect();
  const int32_t handle = pair.client.descriptor();
  EXPECT_TRUE(pair.server.Send("data"));
  char buffer[8];
  const SYS_SOCKET_IP6_ADDR address{};
  Run({
      {"Create", Call::socket, [] { return SYS_SOCKET_Create(); }, -1},
      {"Create6", Call::socket, [] { return SYS_SOCKET_Create6(1); }, -1},
      {"CreateUDP", Call::socket, [] { return SYS_SOCKET_CreateUDP(); }, -1},
      {"CreateUDP6", Call::socket, [] { return SYS_SOCKET_CreateUDP6(1); }, -1},
      {"Create", Call::setsockopt, [] { return ClosedAgain(SYS_SOCKET_Create()); }, 0,
       Errno::kNotTold, 1, Extent::kFromThenOn},
      {"Connect", Call::connect, [&] { return SYS_SOCKET_Connect(handle, 0x7F000001, 1); }, -1},
      {"Connect6", Call::connect, [&] { return SYS_SOCKET_Connect6(handle, address, 1); }, -1},
      {"IsReadable", Call::fcntl, [&] { return SYS_SOCKET_IsReadable(handle, 10); }, -1},
      {"IsReadable", Call::select, [&] { return SYS_SOCKET_IsReadable(handle, 10); }, -1},
      {"IsWritable", Call::fcntl, [&] { return SYS_SOCKET_IsWritable(handle, 10); }, -1},
      {"IsWritable", Call::select, [&] { return SYS_SOCKET_IsWritable(handle, 10); }, -1},
      {"Send",
       Call::send,
       [&] { return SYS_SOCKET_Send(handle, "data", 4); },
       -1,
       Errno::kTold,
       1,
       Extent::kOnce,
       {{EAGAIN, -2}}},
      {"Receive", Call::recv, [&] { return SYS_SOCKET_Receive(handle, buffer, 8); }, -1,
       Errno::kTold, 1, Extent::kOnce, kReceiveResults},
      {"ReceiveAll", Call::recv, [&] { return SYS_SOCKET_ReceiveAll(handle, buffer, 8); }, -1},
      {"Shutdown", Call::shutdown,
       [&] {
         SYS_SOCKET_Shutdown(handle, 2);
         return 0;
       },
       0},
      {"Close", Call::close,
       [] {
         SYS_SOCKET_Close(SYS_SOCKET_Create());
         return 0;
       },
       0},
  });
}

// Whatever fails once is made up for by the next pass; what goes on failing ends as the header says.
void FaultsCalls::RunTimedConnect() {
  // Nobody accepts: the clients of all cases have to find room.
  const support::Listener listener(0, support::Family::kIpv4, 128);
  const auto connect_in = [&](int32_t timeout_ms) {
    return SYS_SOCKET_ConnectTimeout(support::kLoopbackAddress, listener.port(), timeout_ms,
                                     nullptr);
  };
  const auto once = [&] { return ClosedAgain(connect_in(5000)); };
  const auto always = [&] { return ClosedAgain(connect_in(30)); };
  const Call answered[] = {Call::connect, Call::select,     Call::send,
                           Call::ioctl,   Call::setsockopt, Call::getsockname};
  Run({{"ConnectTimeout", Call::socket, once, -1}});
  for (const Call call : answered) Run({{"ConnectTimeout", call, once, 0, Errno::kNotTold}});
  for (const Call call : {Call::connect, Call::select, Call::send}) {
    Run({{"ConnectTimeout", call, always, -2, Errno::kNotTold, 1, Extent::kFromThenOn}});
  }
  const support::SilentPort silent;
  const auto refused = [&] {
    return SYS_SOCKET_ConnectTimeout(support::kLoopbackAddress, silent.port(), 30, nullptr);
  };
  Run({
      {"ConnectTimeout that is refused", Call::close, refused, -2, Errno::kNotTold, 1,
       Extent::kFromThenOn},
      {"ConnectTimeout that is refused", Call::socket, refused, -1, Errno::kTold, 2},
      {"ConnectTimeout that is refused", Call::usleep, refused, -2, Errno::kNotTold, 1,
       Extent::kFromThenOn},
  });
}

void FaultsCalls::RunListening() {
  const support::Listener listener;
  const support::Peer client = support::ConnectTo(listener.port());
  const support::Peer another_client = support::ConnectTo(listener.port());
  const int32_t listening = listener.descriptor();
  const SYS_SOCKET_IP6_ADDR any{};
  const int32_t fresh = SYS_SOCKET_Create();
  Run({
      {"Listen", Call::setsockopt, [&] { return SYS_SOCKET_Listen(fresh, 0, 0, 1); }, -1},
      {"Listen", Call::bind, [&] { return SYS_SOCKET_Listen(fresh, 0, 0, 1); }, -1},
      {"Listen6", Call::bind, [&] { return SYS_SOCKET_Listen6(fresh, any, 0, 1); }, -1},
      {"Listen", Call::listen,
       [&] {
         const int32_t handle = SYS_SOCKET_Create();
         const int32_t result = SYS_SOCKET_Listen(handle, support::kLoopbackAddress, 0, 1);
         SYS_SOCKET_Close(handle);
         return result;
       },
       -1},
      {"Accept", Call::accept4, [&] { return SYS_SOCKET_Accept(listening); }, -1},
      {"AcceptTimeout", Call::fcntl, [&] { return SYS_SOCKET_AcceptTimeout(listening, 10); }, -1},
      {"AcceptTimeout", Call::select, [&] { return SYS_SOCKET_AcceptTimeout(listening, 10); }, -1},
      {"AcceptTimeout", Call::accept4, [&] { return SYS_SOCKET_AcceptTimeout(listening, 10); }, -1},
  });
  const support::Peer third_client = support::ConnectTo(listener.port());
  Run({{"Accept", Call::setsockopt, [&] { return ClosedAgain(SYS_SOCKET_Accept(listening)); }, 0,
        Errno::kNotTold}});
  SYS_SOCKET_Close(fresh);
}

void FaultsCalls::RunOptions() {
  const support::PeerPair pair = support::Connect();
  const int32_t handle = pair.client.descriptor();
  Run({
      {"EnableBroadcast", Call::setsockopt, [&] { return SYS_SOCKET_EnableBroadcast(handle); }, -1},
      {"SetRxBufferSize", Call::setsockopt,
       [&] { return SYS_SOCKET_SetRxBufferSize(handle, 4096); }, -1},
      {"SetLinger", Call::setsockopt, [&] { return SYS_SOCKET_SetLinger(handle, 1000); }, 0},
      {"ClearLinger", Call::setsockopt, [&] { return SYS_SOCKET_ClearLinger(handle); }, 0},
      {"SetTimeouts for sending", Call::setsockopt,
       [&] { return SYS_SOCKET_SetTimeouts(handle, 1, 1); }, 0},
      {"SetTimeouts for receiving", Call::setsockopt,
       [&] { return SYS_SOCKET_SetTimeouts(handle, 1, 1); }, -1, Errno::kTold, 2},
      {"EnableKeepAlive", Call::setsockopt, [&] { return SYS_SOCKET_EnableKeepAlive(handle); }, -1},
      {"SetBlocking", Call::ioctl, [&] { return SYS_SOCKET_SetBlocking(handle); }, -1},
      {"SetNonBlocking", Call::ioctl, [&] { return SYS_SOCKET_SetNonBlocking(handle); }, -1},
      {"HasRxData", Call::ioctl, [&] { return SYS_SOCKET_HasRxData(handle); }, 0},
  });
}

void FaultsCalls::RunNames() {
  const support::PeerPair pair = support::Connect();
  const int32_t handle = pair.client.descriptor();
  uint32_t address = 7;
  uint16_t port = 7;
  SYS_SOCKET_IP6_ADDR address6{};
  SYS_SOCKET_INTERFACE interfaces[4];
  char host[64];
  Run({
      {"GetPeerAddr", Call::getpeername,
       [&] {
         uint32_t peer = 9;
         uint16_t peer_port = 9;
         SYS_SOCKET_GetPeerAddr(handle, &peer, &peer_port);
         return int64_t{peer} + peer_port;
       },
       0},
      {"GetLocalPort", Call::getsockname, [&] { return SYS_SOCKET_GetLocalPort(handle, &port); },
       -1},
      {"Resolve", Call::getaddrinfo,
       [&] { return SYS_SOCKET_Resolve("127.0.0.1", nullptr, &address); }, -1, Errno::kNotTold},
      {"Resolve6", Call::getaddrinfo,
       [&] { return SYS_SOCKET_Resolve6("::1", nullptr, &address6, 1); }, -1, Errno::kNotTold},
      {"GetHostName", Call::getnameinfo,
       [&] { return SYS_SOCKET_GetHostName(0x7F000001, host, sizeof host, nullptr, 0); }, -1,
       Errno::kNotTold},
      {"GetHostName6", Call::getnameinfo,
       [&] { return SYS_SOCKET_GetHostName6(address6, host, sizeof host, nullptr, 0); }, -1,
       Errno::kNotTold},
      {"GetInterfaces", Call::getifaddrs,
       [&] { return SYS_SOCKET_GetInterfaces(interfaces, 4, 0); }, 0},
  });
  EXPECT_EQ(address, 7U);
  EXPECT_EQ(port, 7);
}

void FaultsCalls::RunDatagrams() {
  const support::DatagramPeer peer;
  const support::DatagramPeer sender;
  EXPECT_TRUE(sender.SendTo(peer.port(), "datagram"));
  const int32_t handle = peer.descriptor();
  char buffer[16];
  uint32_t address = 0;
  uint16_t port = 0;
  SYS_SOCKET_IP6_ADDR address6{};
  Run({
      {"Bind", Call::bind, [&] { return SYS_SOCKET_Bind(handle, 0, 0); }, -1},
      {"SendTo", Call::sendto,
       [&] { return SYS_SOCKET_SendTo(handle, "data", 4, 0x7F000001, peer.port()); }, -1},
      {"SendTo6", Call::sendto,
       [&] { return SYS_SOCKET_SendTo6(handle, "data", 4, address6, peer.port()); }, -1},
      {"ReceiveFrom", Call::recvfrom,
       [&] { return SYS_SOCKET_ReceiveFrom(handle, buffer, 16, &address, &port); }, -1,
       Errno::kTold, 1, Extent::kOnce, kDatagramResults},
      {"ReceiveFrom6", Call::recvfrom,
       [&] { return SYS_SOCKET_ReceiveFrom6(handle, buffer, 16, &address6, &port); }, -1,
       Errno::kTold, 1, Extent::kOnce, kDatagramResults},
  });
}

// ---- The probe's library ----

// Each in a process of its own: an opened library stays open.
int32_t OpenLibraryInChild(Call call, int error, uint32_t nth, Extent extent) {
  return support::RunInChild([&] {
    const support::ReplacedDescriptor output(STDOUT_FILENO, -1);
    const FaultyCall fault(call, error, nth, extent);
    const int32_t result = PROBELIB_Open();
    return FaultyCall::Happened() ? result & 1 : 77;
  });
}

void FaultsCalls::RunProbe() {
  fs::create_directories(home_.At("probe"));
  fs::copy(PROBE_LIBRARY_PATH, home_.At("probe/libmboltarm.dylib"));
  fault_test::TellModulePath(home_.At("probe/program"));
  EXPECT_EQ(support::RunInChild([] { return PROBELIB_Open(); }), 0);
  // Without one place the library is not found here, for only the module's folder has it.
  EXPECT_EQ(OpenLibraryInChild(Call::dladdr, ENOENT, 1, Extent::kOnce), 1);
  EXPECT_EQ(OpenLibraryInChild(Call::dlopen, ENOENT, 1, Extent::kOnce), 1);
  EXPECT_EQ(OpenLibraryInChild(Call::dlopen, ENOENT, 1, Extent::kFromThenOn), 1);
  reached_.insert({Call::dladdr, Call::dlopen});

  // The entry point says that it is missing and ends the process, also when nobody hears it.
  for (const int error : FaultsOf(Call::dlsym).errors) {
    EXPECT_EQ(support::RunInChild([&] {
                const support::ReplacedDescriptor output(STDOUT_FILENO, -1);
                const FaultyCall fault(Call::dlsym, error);
                MBOLT_Configure(0);
                return 77;
              }),
              1);
  }
  reached_.insert(Call::dlsym);

  fs::create_directories(home_.At("without"));
  fs::copy(LIBRARY_WITHOUT_OPEN_PATH, home_.At("without/libmboltarm.dylib"));
  fault_test::TellModulePath(home_.At("without/program"));
  for (const int error : FaultsOf(Call::printf).errors) {
    EXPECT_EQ(support::RunInChild([&] {
                const FaultyCall fault(Call::printf, error);
                MBOLT_Open();
                return 77;
              }),
              1);
  }
  reached_.insert(Call::printf);

  fault_test::TellModulePath(home_.At("program"));
  for (const int error : FaultsOf(Call::readlink).errors) {
    EXPECT_EQ(OpenLibraryInChild(Call::readlink, error, 1, Extent::kFromThenOn), 1);
  }
  for (const int error : FaultsOf(Call::puts).errors) {
    EXPECT_EQ(OpenLibraryInChild(Call::puts, error, 1, Extent::kOnce), 1);
  }
  fault_test::TellModulePath("");
}

TEST_F(FaultsCalls, EndWithTheDocumentedResult) {
  RunFiles();
  RunMaps();
  RunPaths();
  RunTemporaryFolder();
  RunProcesses();
  RunConsole();
  RunSerialPorts();
  RunStreams();
  RunTimedConnect();
  RunListening();
  RunOptions();
  RunNames();
  RunDatagrams();
  RunProbe();
  for (const auto& row : fault_test::AllFaults()) {
    EXPECT_TRUE(reached_.contains(row.call)) << row.name << " has not failed in any case";
  }
}

}  // namespace
