// SPDX-License-Identifier: MIT

// Names and interfaces of sys/socket_services.cpp.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "sys/interface_record.h"
#include "sys/socket_services.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/private_network.h"
#include "tests/support/socket_state.h"

namespace {

using support::GuardedBuffer;
using support::kLoopbackAddress6;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;

const auto kIp6LoopbackBytes = ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1);

// ---- Names ----

TEST(SysSocketResolve, StoresTheAddressInHostOrder) {
  const struct {
    const char* host;
    const char* service;
    uint32_t expected;
  } cases[] = {
      {"localhost", "80", 0x7F000001},
      {"127.0.0.1", "80", 0x7F000001},
      {"192.0.2.33", nullptr, 0xC0000221},
      {nullptr, "80", 0x7F000001},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.host != nullptr ? c.host : "(null)");
    uint32_t address = 0;
    EXPECT_EQ(SYS_SOCKET_Resolve(c.host, c.service, &address), 0);
    EXPECT_EQ(address, c.expected);
  }
}

// None of these gets as far as a name server.
TEST(SysSocketResolve, GivesMinusOneAndStoresNothingOnAFailure) {
  const struct {
    const char* host;
    const char* service;
  } cases[] = {
      {"no such host", "80"},
      {"127.0.0.1", "no such service"},
      {"::1", "80"},  // not of this family
      {nullptr, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.host != nullptr ? c.host : "(null)");
    uint32_t address = 1;
    EXPECT_EQ(SYS_SOCKET_Resolve(c.host, c.service, &address), -1);
    EXPECT_EQ(address, 1U);
  }
}

TEST(SysSocketResolve6, StoresTheAddressInNetworkOrder) {
  SYS_SOCKET_IP6_ADDR address{};
  ASSERT_EQ(SYS_SOCKET_Resolve6("2001:db8::ff00:42:8329", "80", &address, 0), 0);
  EXPECT_THAT(address.bytes, ElementsAre(0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0xFF, 0x00, 0x00,
                                         0x42, 0x83, 0x29));
  ASSERT_EQ(SYS_SOCKET_Resolve6("::1", nullptr, &address, 1), 0);
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
}

TEST(SysSocketResolve6, MapsIpv4AddressesWithTheFlagAlone) {
  for (const uint8_t flag : {uint8_t{1}, uint8_t{0x80}}) {
    SYS_SOCKET_IP6_ADDR address{};
    ASSERT_EQ(SYS_SOCKET_Resolve6("192.0.2.33", "80", &address, flag), 0);
    EXPECT_THAT(address.bytes,
                ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 192, 0, 2, 33));
  }
  SYS_SOCKET_IP6_ADDR address = kLoopbackAddress6;
  EXPECT_EQ(SYS_SOCKET_Resolve6("192.0.2.33", "80", &address, 0), -1);
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
}

TEST(SysSocketResolve6, GivesMinusOneAndStoresNothingOnAFailure) {
  SYS_SOCKET_IP6_ADDR address = kLoopbackAddress6;
  EXPECT_EQ(SYS_SOCKET_Resolve6("no such host", "80", &address, 1), -1);
  EXPECT_EQ(SYS_SOCKET_Resolve6("::1", "no such service", &address, 1), -1);
  EXPECT_THAT(address.bytes, kIp6LoopbackBytes);
}

TEST(SysSocketGetHostName, StoresTheNamesOfTheAddressAndOfServiceZero) {
  GuardedBuffer host(64);
  GuardedBuffer service(16);
  ASSERT_EQ(SYS_SOCKET_GetHostName(0x7F000001, host.data(), 64, service.data(), 16), 0);
  EXPECT_STREQ(host.data(), "localhost");
  EXPECT_STREQ(service.data(), "0");
}

TEST(SysSocketGetHostName, EitherNameMayBeLeftOut) {
  GuardedBuffer host(64);
  EXPECT_EQ(SYS_SOCKET_GetHostName(0x7F000001, host.data(), 64, nullptr, 0), 0);
  EXPECT_STREQ(host.data(), "localhost");
  GuardedBuffer service(16);
  EXPECT_EQ(SYS_SOCKET_GetHostName(0x7F000001, nullptr, 0, service.data(), 16), 0);
  EXPECT_STREQ(service.data(), "0");
}

TEST(SysSocketGetHostName, GivesMinusOneWhenTheNameDoesNotFit) {
  GuardedBuffer small(4);
  EXPECT_EQ(SYS_SOCKET_GetHostName(0x7F000001, small.data(), 4, nullptr, 0), -1);
}

// Machines differ in whether they have a name for it; without one the number is the name.
TEST(SysSocketGetHostName6, StoresTheNamesOfTheAddressAndOfServiceZero) {
  GuardedBuffer host(64);
  GuardedBuffer service(16);
  ASSERT_EQ(SYS_SOCKET_GetHostName6(kLoopbackAddress6, host.data(), 64, service.data(), 16), 0);
  EXPECT_THAT(std::string(host.data()), AnyOf("::1", "localhost", "ip6-localhost"));
  EXPECT_STREQ(service.data(), "0");
}

TEST(SysSocketGetHostName6, GivesMinusOneWhenTheNameDoesNotFit) {
  GuardedBuffer small(2);
  EXPECT_EQ(SYS_SOCKET_GetHostName6(kLoopbackAddress6, small.data(), 2, nullptr, 0), -1);
}

// ---- Interfaces ----

struct Interface {
  std::string name;
  uint32_t address;
  uint32_t netmask;
};

bool operator==(const Interface& a, const Interface& b) {
  return a.name == b.name && a.address == b.address && a.netmask == b.netmask;
}

// Straight from the system.
std::vector<Interface> SystemInterfaces() {
  const auto address_of = [](const sockaddr* address) {
    sockaddr_in record;
    memcpy(&record, address, sizeof record);
    return ntohl(record.sin_addr.s_addr);
  };
  std::vector<Interface> interfaces;
  ifaddrs* list = nullptr;
  EXPECT_EQ(getifaddrs(&list), 0);
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    interfaces.push_back(
        {entry->ifa_name, address_of(entry->ifa_addr), address_of(entry->ifa_netmask)});
  }
  freeifaddrs(list);
  return interfaces;
}

SYS_SOCKET_INTERFACE FilledRecord() {
  SYS_SOCKET_INTERFACE record;
  memset(&record, 0xA5, sizeof record);
  return record;
}

bool IsAll(const SYS_SOCKET_INTERFACE& record, uint8_t byte) {
  const auto* const bytes = reinterpret_cast<const uint8_t*>(&record);
  return std::all_of(bytes, bytes + sizeof record, [byte](uint8_t b) { return b == byte; });
}

TEST(SysSocketGetInterfaces, ListsWhatTheSystemListsInItsOrder) {
  std::vector<SYS_SOCKET_INTERFACE> records(64, FilledRecord());
  const uint32_t count = SYS_SOCKET_GetInterfaces(records.data(), 64, 0);
  ASSERT_LE(count, 64U);
  std::vector<Interface> listed;
  for (uint32_t i = 0; i < count; ++i) {
    listed.push_back({records[i].name, records[i].address, records[i].netmask});
  }
  EXPECT_TRUE(listed == SystemInterfaces());
}

TEST(SysSocketGetInterfaces, ClearsTheRecordsThatStayEmpty) {
  std::vector<SYS_SOCKET_INTERFACE> records(64, FilledRecord());
  const uint32_t count = SYS_SOCKET_GetInterfaces(records.data(), 64, 0);
  ASSERT_LT(count, 64U);
  for (uint32_t i = count; i < 64; ++i) EXPECT_TRUE(IsAll(records[i], 0));
}

void ExpectLoopbackRecord(const SYS_SOCKET_INTERFACE& record) {
  EXPECT_STREQ(record.name, "lo");
  EXPECT_EQ(record.address, 0x7F000001U);
  EXPECT_EQ(record.netmask, 0xFF000000U);
  EXPECT_EQ(record.reserved, 0U);
  EXPECT_THAT(record.extra, ElementsAre(0, 0, 127, 0, 0, 1));  // port 0 and the address
  EXPECT_THAT(std::vector<char>(record.name + 2, record.name + 64), Each('\0'));
  EXPECT_THAT(record.pad, ElementsAre(0, 0));
}

TEST(SysSocketGetInterfaces, FillsEveryFieldOfTheLoopbackInterface) {
  SYS_SOCKET_INTERFACE records[64];
  std::ranges::fill(records, FilledRecord());
  const uint32_t count = std::min(SYS_SOCKET_GetInterfaces(records, 64, 0), 64U);
  const auto* const loopback = std::find_if(
      records, records + count, [](const auto& record) { return record.address == 0x7F000001; });
  ASSERT_NE(loopback, records + count);
  ExpectLoopbackRecord(*loopback);
}

// The record's first byte is its length, 16, on every system, so no flag withholds the extra bytes.
TEST(SysSocketGetInterfaces, FlagsChangeNothing) {
  std::vector<SYS_SOCKET_INTERFACE> expected(64);
  const uint32_t count = SYS_SOCKET_GetInterfaces(expected.data(), 64, 0);
  for (const uint32_t flags : {1U, 2U, 4U, 0xFFFFFFFFU}) {
    SCOPED_TRACE(flags);
    std::vector<SYS_SOCKET_INTERFACE> records(64, FilledRecord());
    EXPECT_EQ(SYS_SOCKET_GetInterfaces(records.data(), 64, flags), count);
    EXPECT_EQ(memcmp(records.data(), expected.data(), 64 * sizeof records[0]), 0);
  }
}

TEST(SysSocketGetInterfaces, CapacityZeroCountsAndWritesNothing) {
  const auto expected = static_cast<uint32_t>(SystemInterfaces().size());
  EXPECT_EQ(SYS_SOCKET_GetInterfaces(nullptr, 0, 0), expected);
  SYS_SOCKET_INTERFACE record = FilledRecord();
  EXPECT_EQ(SYS_SOCKET_GetInterfaces(&record, 0, 0), expected);
  EXPECT_TRUE(IsAll(record, 0xA5));
}

TEST(SysSocketGetInterfaces, CountsBeyondTheCapacityButFillsNoRecordThere) {
  const bool has_run = support::RunInPrivateNetwork([] {
    ASSERT_TRUE(support::AddLoopbackAddress("lo:1", 0x0A010203, 0xFFFFFF00));
    ASSERT_TRUE(support::AddLoopbackAddress("lo:2", 0x0A020304, 0xFFFF0000));
    SYS_SOCKET_INTERFACE records[3] = {FilledRecord(), FilledRecord(), FilledRecord()};
    EXPECT_EQ(SYS_SOCKET_GetInterfaces(records, 2, 0), 3U);
    ExpectLoopbackRecord(records[0]);
    EXPECT_STREQ(records[1].name, "lo:1");
    EXPECT_EQ(records[1].address, 0x0A010203U);
    EXPECT_EQ(records[1].netmask, 0xFFFFFF00U);
    EXPECT_THAT(records[1].extra, ElementsAre(0, 0, 10, 1, 2, 3));
    EXPECT_TRUE(IsAll(records[2], 0xA5));
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

TEST(SysSocketGetInterfaces, GivesZeroWhenNoInterfaceHasAnIpv4Address) {
  const bool has_run = support::RunInPrivateNetwork([] {
    ASSERT_TRUE(support::RemoveLoopbackAddress());
    SYS_SOCKET_INTERFACE record = FilledRecord();
    EXPECT_EQ(SYS_SOCKET_GetInterfaces(&record, 1, 0), 0U);
    EXPECT_TRUE(IsAll(record, 0));
  });
  if (!has_run) GTEST_SKIP() << "a private network is not allowed here";
}

TEST(InterfaceRecord, NamesOfSixtyThreeCharactersAndMoreEndInThreeDots) {
  const std::string dots = std::string(60, 'n') + "...";
  const struct {
    size_t length;
    std::string expected;
  } cases[] = {
      {0, ""},
      {3, "nnn"},
      {60, std::string(60, 'n')},
      {61, std::string(61, 'n')},
      {62, std::string(62, 'n')},
      {63, dots},
      {64, dots},
      {200, dots},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.length);
    SYS_SOCKET_INTERFACE record{};
    interface_record::CopyName(record.name, std::string(c.length, 'n'));
    EXPECT_STREQ(record.name, c.expected.c_str());
    EXPECT_THAT(record.pad, ElementsAre(0, 0));
  }
}

TEST(InterfaceRecord, TheFlagWithholdsTheExtraBytesWhereTheFirstByteHasItsBit) {
  const struct {
    uint8_t first_byte;
    uint32_t flags;
    bool are_copied;
  } cases[] = {
      {16, 0, true}, {16, 2, true},   {2, 0, true},   {2, 1, true},
      {2, 2, false}, {2, 3, false},   {18, 2, false}, {0xFF, 0xFFFFFFFD, true},
      {0, 2, true},  {0xFD, 2, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << int{c.first_byte} << " with " << c.flags);
    const platform::BsdAddressRecord address{c.first_byte, 2, 1, 2, 10, 20, 30, 40, 99};
    SYS_SOCKET_INTERFACE record{};
    interface_record::CopyExtraBytes(record.extra, address, c.flags);
    if (c.are_copied) {
      EXPECT_THAT(record.extra, ElementsAre(1, 2, 10, 20, 30, 40));
    } else {
      EXPECT_THAT(record.extra, Each(0));
    }
  }
}

}  // namespace
