// SPDX-License-Identifier: MIT

#include "client/client.h"

#include <algorithm>
#include <cstring>

#include "sys/clock.h"
#include "sys/console.h"
#include "sys/memory.h"
#include "sys/sockets.h"
#include "util/format.h"
#include "util/text.h"

uint8_t _QuitRequested = 0;
char _RxBuffer[kRxBufferSize];

namespace {

constexpr uint32_t kLoopbackAddress = 0x7F000001;
constexpr int32_t kConnectTimeoutMs = 500;
constexpr int32_t kWelcomeTimeoutMs = 50;
constexpr int32_t kReceiveTimeoutMs = 10;
constexpr uint32_t kPauseMs = 1;

constexpr char kRefusal[] = "ERROR";
constexpr int32_t kRefusalLength = sizeof kRefusal - 1;
// The refusal's reason stands behind the word and two more characters, such as ": ".
constexpr int32_t kReasonOffset = 7;

// The keys of one pass, until the server has taken them all.
class KeyBuffer {
 public:
  bool is_empty() const { return sent_ == count_; }
  const char* pending() const { return keys_ + sent_; }
  uint32_t pending_count() const { return count_ - sent_; }

  void Remove(uint32_t count) { sent_ += count; }
  void CollectFromConsole();

 private:
  static constexpr uint32_t kCapacity = 64;

  char ReadKey();
  void Echo();

  char keys_[kCapacity];
  uint32_t count_ = 0;
  uint32_t echoed_ = 0;
  uint32_t sent_ = 0;
};

// Reads only while bytes wait, so that it does not block; the second byte of a two-byte key code
// follows its zero at once.
void KeyBuffer::CollectFromConsole() {
  count_ = echoed_ = sent_ = 0;
  while (count_ < kCapacity && _CountWaitingKeys() > 0) {
    if (ReadKey() != '\0' || count_ == kCapacity) continue;
    Echo();
    ReadKey();
  }
  Echo();
}

char KeyBuffer::ReadKey() {
  const auto typed = static_cast<char>(SYS_ConsoleGetChar());
  const char key = typed == '\r' ? '\n' : typed;
  keys_[count_++] = key;
  return key;
}

// Shows what was read since the last echo.
void KeyBuffer::Echo() {
  if (_LocalEchoOn == 1 && echoed_ < count_) SYS_ConsoleWrite(keys_ + echoed_, count_ - echoed_);
  echoed_ = count_;
}

// One connection after another, and what there is to say about the last one.
class Session {
 public:
  // The three stages. Each returns whether the session goes on to the next one (after Relay: to
  // the next connection).
  bool Connect();
  bool CheckWelcome();
  bool Relay();

  const char* error_message() const { return error_message_; }

 private:
  void SendKeys(KeyBuffer& keys);
  bool ReceiveText();
  int32_t ReceiveIntoBuffer();
  void Close();
  bool Fail(const char* error_message);

  int32_t socket_ = -1;
  const char* error_message_ = nullptr;
};

// Waits for the server for as long as it takes, a dot for every attempt that times out. Nothing
// sets _QuitRequested meanwhile; the loop asks all the same.
bool Session::Connect() {
  char line[128];
  UTIL_snprintf(line, sizeof line, "Connecting to M-Bolt VQX Server via localhost:%d ...", _Port);
  _PrintStatus(line);
  while (_QuitRequested == 0) {
    socket_ = SYS_SOCKET_ConnectTimeout(kLoopbackAddress, _Port, kConnectTimeoutMs, nullptr);
    if (socket_ >= 0) return true;
    if (socket_ != SYS_SOCKET_ERR_WOULDBLOCK) {
      _Print("\r\n");
      _QuitRequested = 1;
      return Fail("Failed to connect to session. VQX Client will be closed.\r\n");
    }
    _Print(".");
  }
  return false;
}

// A connection that fails here is left open on purpose: the program ends.
bool Session::CheckWelcome() {
  if (SYS_SOCKET_IsReadable(socket_, kWelcomeTimeoutMs) != 1) {
    return Fail("M-Bolt DLL did not send welcome string in time.");
  }
  const int32_t received = ReceiveIntoBuffer();
  if (received < kRefusalLength) return Fail("Unexpected welcome string from M-Bolt DLL.");
  if (memcmp(_RxBuffer, kRefusal, kRefusalLength) == 0) {
    _Print("\r\n\r\n");
    // A refusal that ends before its reason has an empty one.
    return Fail(received >= kReasonOffset ? _RxBuffer + kReasonOffset : "");
  }
  _Print("\r\n");
  _PrintStatus("Connected.\r\n\r\n");
  _PrintRxData();
  return true;
}

bool Session::Relay() {
  KeyBuffer keys;
  bool is_connected = true;
  while (is_connected && _QuitRequested == 0) {
    if (keys.is_empty()) keys.CollectFromConsole();
    if (!keys.is_empty()) SendKeys(keys);
    is_connected = ReceiveText();
  }
  Close();
  return _QuitRequested == 0;
}

// Keys that the server does not take now stay pending. After an error the pass still receives.
void Session::SendKeys(KeyBuffer& keys) {
  const int32_t sent = SYS_SOCKET_Send(socket_, keys.pending(), keys.pending_count());
  if (sent >= 0) {
    keys.Remove(static_cast<uint32_t>(sent));
  } else if (sent != SYS_SOCKET_ERR_WOULDBLOCK) {
    _PrintError("Socket error while sending. VQX Client will be closed.\r\n");
    _QuitRequested = 1;
  }
}

// Prints what arrives within the time; false when the connection is lost.
bool Session::ReceiveText() {
  bool is_connected = true;
  if (SYS_SOCKET_IsReadable(socket_, kReceiveTimeoutMs) >= 1) {
    is_connected = ReceiveIntoBuffer() >= 1;
    if (is_connected) {
      _PrintRxData();
    } else {
      _Print("\r\n");
      _PrintStatus("Connection lost. Going to reconnect.\r\n");
    }
  }
  SYS_Sleep(kPauseMs);
  return is_connected;
}

// Returns what SYS_SOCKET_Receive does; the bytes in the buffer end in a zero.
int32_t Session::ReceiveIntoBuffer() {
  const int32_t received = SYS_SOCKET_Receive(socket_, _RxBuffer, kRxBufferSize - 1);
  if (received >= 0) _RxBuffer[received] = '\0';
  return received;
}

void Session::Close() {
  SYS_SOCKET_Close(socket_);
  socket_ = -1;
}

bool Session::Fail(const char* error_message) {
  error_message_ = error_message;
  return false;
}

// Copies text without every CR that stands immediately before an LF. Returns the copy's length; the
// text ends in a zero, so the character behind a last CR may be looked at.
uint32_t CopyWithoutCrBeforeLf(char* copy, const char* text, uint32_t length) {
  char* next = copy;
  const char* const end = text + length;
  const auto find_cr = [&] {
    return static_cast<const char*>(memchr(text, '\r', static_cast<size_t>(end - text)));
  };
  while (const char* const cr = find_cr()) {
    next = std::copy(text, cr, next);
    if (cr[1] != '\n') *next++ = '\r';
    text = cr + 1;
  }
  next = std::copy(text, end, next);
  return static_cast<uint32_t>(next - copy);
}

}  // namespace

void _PrintRxData() {
  const auto length = static_cast<uint32_t>(UTIL_strlen(_RxBuffer));
  auto* const copy = static_cast<char*>(SYS_MEM_Alloc(length + 1));
  if (copy == nullptr) return;
  const uint32_t copied = CopyWithoutCrBeforeLf(copy, _RxBuffer, length);
  if (copied > 0) SYS_ConsoleWrite(copy, copied);
  SYS_MEM_Free(copy);
}

const char* _RunSession() {
  _QuitRequested = 0;
  Session session;
  while (session.Connect() && session.CheckWelcome() && session.Relay()) {
  }
  return session.error_message();
}
