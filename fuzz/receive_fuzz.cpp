// SPDX-License-Identifier: MIT

// The session against a server that the input plays: all that is printed is what a plain telling of
// the conversation says, without the CR of a CR LF, and no more is received than the buffer holds.
//
// Input: the byte of AllocationChoice, then what happens at the other end, a byte each (Doing) and
// for a text its length in two bytes and the text itself.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "client/client.h"
#include "fuzz/support/allocation_choice.h"
#include "fuzz/support/byte_source.h"
#include "fuzz/support/check.h"

namespace {

using fuzz::Require;

constexpr int32_t kHandle = 5;
constexpr size_t kMostReceived = kRxBufferSize - 1;

// ---- The other end ----

// Plays one input. The session and the telling have one each, and so meet the same server.
class Server {
 public:
  explicit Server(fuzz::ByteSource bytes) : bytes_(bytes) {}

  // What SYS_SOCKET_ConnectTimeout gives: an input that has ended lets no socket be created.
  int32_t Connect() {
    waiting_ = {};
    is_gone_ = false;
    if (bytes_.is_empty()) return -1;
    return bytes_.Byte() % 4 == 0 ? -2 : kHandle;
  }

  // What SYS_SOCKET_IsReadable gives.
  int32_t Wait() {
    if (!waiting_.empty() || is_gone_) return 1;
    if (bytes_.is_empty()) return TurnGone();
    switch (bytes_.Byte() % 4) {
      case 0:
        return 0;
      case 1:
        return TurnGone();
      default:
        waiting_ = bytes_.Bytes(bytes_.Number<uint16_t>());
        return waiting_.empty() ? TurnGone() : 1;
    }
  }

  // What is received with room for so many bytes; nothing when the peer is gone.
  std::string_view Receive(size_t room) {
    const std::string_view received = waiting_.substr(0, room);
    waiting_.remove_prefix(received.size());
    return received;
  }

 private:
  int32_t TurnGone() {
    is_gone_ = true;
    return 1;
  }

  fuzz::ByteSource bytes_;
  std::string_view waiting_;
  bool is_gone_ = false;
};

Server server{fuzz::ByteSource(nullptr, 0)};
std::string printed;

}  // namespace

extern "C" {

int32_t __wrap_SYS_SOCKET_ConnectTimeout(uint32_t, uint16_t, int32_t, int32_t (*)()) {
  return server.Connect();
}

int32_t __wrap_SYS_SOCKET_IsReadable(int32_t, int32_t) { return server.Wait(); }

int32_t __wrap_SYS_SOCKET_Receive(int32_t, void* buffer, uint32_t size) {
  Require(size <= kMostReceived, "there is room for a terminator behind what is received");
  const std::string_view received = server.Receive(size);
  std::copy(received.begin(), received.end(), static_cast<char*>(buffer));
  return static_cast<int32_t>(received.size());
}

void __wrap_SYS_SOCKET_Close(int32_t) {}

int32_t __wrap_SYS_ConsoleWrite(const void* data, uint32_t length) {
  printed.append(static_cast<const char*>(data), length);
  return 0;
}

void __wrap_SYS_Sleep(uint32_t) {}

int32_t __wrap__Z17_CountWaitingKeysv() { return 0; }

}  // extern "C"

namespace {

// ---- The plain telling ----

constexpr char kStatus[] = "###VQX Client: ";

// Which texts are lost for want of memory: each takes one allocation.
class LostTexts {
 public:
  explicit LostTexts(uint8_t byte) : nth_(byte / 2), all_behind_(byte % 2 != 0) {}

  bool LosesNext() {
    ++count_;
    return nth_ != 0 && (count_ == nth_ || (all_behind_ && count_ > nth_));
  }

 private:
  uint32_t nth_;
  bool all_behind_;
  uint32_t count_ = 0;
};

class Telling {
 public:
  Telling(Server peer, LostTexts lost) : peer_(peer), lost_(lost) {}

  // Returns the error to show.
  std::string Run() {
    for (;;) {
      Print(kStatus);
      Print("Connecting to M-Bolt VQX Server via localhost:19021 ...");
      int32_t handle = peer_.Connect();
      for (; handle == -2; handle = peer_.Connect()) Print(".");
      if (handle < 0) {
        Print("\r\n");
        return "Failed to connect to session. VQX Client will be closed.\r\n";
      }
      std::string error;
      if (!TakeWelcome(&error)) return error;
      Relay();
    }
  }

  const std::string& printed() const { return printed_; }

 private:
  void Print(std::string_view text) { printed_ += text; }

  // A zero ends the text.
  void PrintReceived(std::string_view text) {
    if (lost_.LosesNext()) return;
    text = text.substr(0, text.find('\0'));
    for (size_t i = 0; i < text.size(); ++i) {
      const bool is_cr_before_lf = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
      if (!is_cr_before_lf) printed_ += text[i];
    }
  }

  bool TakeWelcome(std::string* error) {
    if (peer_.Wait() != 1) {
      *error = "M-Bolt DLL did not send welcome string in time.";
      return false;
    }
    const std::string_view welcome = peer_.Receive(kMostReceived);
    if (welcome.size() < 5) {
      *error = "Unexpected welcome string from M-Bolt DLL.";
      return false;
    }
    if (welcome.starts_with("ERROR")) {
      Print("\r\n\r\n");
      const std::string_view reason = welcome.substr(std::min<size_t>(7, welcome.size()));
      *error = reason.substr(0, reason.find('\0'));
      return false;
    }
    Print("\r\n");
    Print(kStatus);
    Print("Connected.\r\n\r\n");
    PrintReceived(welcome);
    return true;
  }

  void Relay() {
    for (;;) {
      if (peer_.Wait() != 1) continue;
      const std::string_view text = peer_.Receive(kMostReceived);
      if (text.empty()) break;
      PrintReceived(text);
    }
    Print("\r\n");
    Print(kStatus);
    Print("Connection lost. Going to reconnect.\r\n");
  }

  Server peer_;
  LostTexts lost_;
  std::string printed_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::ByteSource bytes(data, size);
  const uint8_t allocation = bytes.Byte();
  Telling telling{Server(bytes), LostTexts(allocation)};
  const std::string expected_error = telling.Run();

  server = Server(bytes);
  printed.clear();
  // What an earlier text may have left behind.
  std::fill_n(_RxBuffer, kRxBufferSize, '?');
  _Port = 19021;
  const fuzz::AllocationChoice choice(allocation);
  const char* const error = _RunSession();
  Require(error != nullptr && error == expected_error, "the session ends with its error");
  Require(printed == telling.printed(), "what is printed is what was received, CR LF as LF");
  return 0;
}
