// SPDX-License-Identifier: MIT

#include "tests/support/private_network.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "tests/support/child_process.h"

namespace support {

namespace {

constexpr int kNotAllowed = 77;

// A request about one interface, made through a socket that is open for that long.
bool Request(unsigned long code, const ifreq& request) {
  const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  ifreq copy = request;
  const bool is_done = ioctl(descriptor, code, &copy) == 0;
  close(descriptor);
  return is_done;
}

ifreq RequestAbout(const std::string& interface) {
  ifreq request{};
  interface.copy(request.ifr_name, sizeof request.ifr_name - 1);
  return request;
}

ifreq RequestWithAddress(const std::string& interface, uint32_t address) {
  ifreq request = RequestAbout(interface);
  sockaddr_in record{};
  record.sin_family = AF_INET;
  record.sin_addr.s_addr = htonl(address);
  memcpy(&request.ifr_addr, &record, sizeof record);
  return request;
}

bool EnterPrivateNetwork() {
  if (unshare(CLONE_NEWNET) != 0) return false;
  ifreq request = RequestAbout("lo");
  request.ifr_flags = IFF_UP | IFF_LOOPBACK | IFF_RUNNING;
  return Request(SIOCSIFFLAGS, request);
}

}  // namespace

bool RunInPrivateNetwork(const std::function<void()>& function) {
  const int result = RunInChild([&function] {
    if (!EnterPrivateNetwork()) return kNotAllowed;
    function();
    return testing::Test::HasFailure() ? 1 : 0;
  });
  if (result == kNotAllowed) return false;
  EXPECT_EQ(result, 0) << "see above what failed in the private network";
  return true;
}

bool WriteNetworkSetting(const std::string& name, const std::string& value) {
  FILE* const file = fopen(("/proc/sys/net/" + name).c_str(), "w");
  if (file == nullptr) return false;
  const bool is_written = fputs(value.c_str(), file) >= 0;
  return fclose(file) == 0 && is_written;
}

bool AddLoopbackAddress(const std::string& label, uint32_t address, uint32_t netmask) {
  return Request(SIOCSIFADDR, RequestWithAddress(label, address)) &&
         Request(SIOCSIFNETMASK, RequestWithAddress(label, netmask));
}

bool RemoveLoopbackAddress() { return Request(SIOCSIFADDR, RequestWithAddress("lo", 0)); }

}  // namespace support
