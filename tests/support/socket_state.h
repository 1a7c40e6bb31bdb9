// SPDX-License-Identifier: MIT

// What a test asks the system about a socket, and keeps of it.
#ifndef TARVEN_TESTS_SUPPORT_SOCKET_STATE_H_
#define TARVEN_TESTS_SUPPORT_SOCKET_STATE_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include "sys/sockets.h"
#include "tests/support/loopback.h"

#define SKIP_WITHOUT_IPV6() \
  if (!support::HasIpv6Loopback()) GTEST_SKIP() << "this machine has no IPv6 loopback address"

namespace support {

inline constexpr int32_t kLongTime_ms = static_cast<int32_t>(kPatience.count());

inline constexpr SYS_SOCKET_IP6_ADDR kLoopbackAddress6{
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}};

// A handle of the functions under test, closed with the object.
class Handle {
 public:
  explicit Handle(int32_t handle) : handle_(handle) {}
  ~Handle() { Close(); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  int32_t get() const { return handle_; }
  void Close() {
    if (handle_ >= 0) close(handle_);
    handle_ = -1;
  }

 private:
  int32_t handle_;
};

// AF_INET or AF_INET6.
inline int FamilyOf(int32_t handle) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  EXPECT_EQ(getsockname(handle, reinterpret_cast<sockaddr*>(&address), &length), 0);
  return address.ss_family;
}

inline int Option(int32_t handle, int level, int name) {
  int value = -1;
  socklen_t length = sizeof value;
  EXPECT_EQ(getsockopt(handle, level, name, &value, &length), 0);
  return value;
}

inline bool IsNonBlocking(int32_t handle) { return (fcntl(handle, F_GETFL) & O_NONBLOCK) != 0; }

inline void MakeNonBlocking(int32_t handle) {
  ASSERT_EQ(fcntl(handle, F_SETFL, fcntl(handle, F_GETFL) | O_NONBLOCK), 0);
}

// Of either family; 0 when the socket is not bound or there is none.
inline uint16_t LocalPort(int descriptor) {
  sockaddr_in record{};
  socklen_t length = sizeof record;
  if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&record), &length) != 0) return 0;
  return ntohs(record.sin_port);
}

// A number that is no open descriptor.
inline int ClosedDescriptor() {
  const int descriptor = dup(0);
  close(descriptor);
  return descriptor;
}

// While it lives this process can open no descriptor more.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &previous_);
    rlimit limit = previous_;
    limit.rlim_cur = 0;
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &previous_); }
  NoMoreDescriptors(const NoMoreDescriptors&) = delete;
  NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;

 private:
  rlimit previous_{};
};

}  // namespace support

#endif
