// SPDX-License-Identifier: MIT

#include "sys/socket_services.h"

#include <ifaddrs.h>
#include <netdb.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <span>

#include "sys/descriptor_wait.h"
#include "sys/interface_record.h"
#include "sys/platform/platform.h"
#include "sys/socket_address.h"
#include "sys/socket_option.h"
#include "sys/sockets.h"

namespace {

using socket_address::AddressOf;
using socket_address::Generic;
using socket_address::PortOf;
using socket_address::ToRecord;

static_assert(sizeof(SYS_SOCKET_INTERFACE) == 84);
static_assert(offsetof(SYS_SOCKET_INTERFACE, address) == 0);
static_assert(offsetof(SYS_SOCKET_INTERFACE, netmask) == 4);
static_assert(offsetof(SYS_SOCKET_INTERFACE, reserved) == 8);
static_assert(offsetof(SYS_SOCKET_INTERFACE, extra) == 12);
static_assert(offsetof(SYS_SOCKET_INTERFACE, name) == 18);
static_assert(offsetof(SYS_SOCKET_INTERFACE, pad) == 82);

// Record is sockaddr_in or sockaddr_in6 from here on, and Address what the caller knows of it.

template <typename Record>
int32_t BindTo(int32_t handle, const Record& local) {
  return bind(handle, Generic(local), sizeof local);
}

template <typename Record, typename Address>
void StoreEnd(const Record& record, Address* address, uint16_t* port) {
  if (address != nullptr) *address = AddressOf(record);
  if (port != nullptr) *port = PortOf(record);
}

// The record stays zero when there is no other end, and so do the outputs.
template <typename Record, typename Address>
void GetPeer(int32_t handle, Address* address, uint16_t* port) {
  Record peer{};
  socklen_t length = sizeof peer;
  getpeername(handle, Generic(peer), &length);
  StoreEnd(peer, address, port);
}

// Stores the first result of a look-up. A list exists only after a success.
template <typename Record, typename Address>
int32_t ResolveFirst(const char* host, const char* service, int family, int flags,
                     Address* address) {
  addrinfo request{};
  request.ai_family = family;
  request.ai_socktype = SOCK_STREAM;
  request.ai_flags = flags;
  addrinfo* results = nullptr;
  if (getaddrinfo(host, service, &request, &results) != 0) return -1;
  Record first;
  memcpy(&first, results->ai_addr, sizeof first);
  freeaddrinfo(results);
  *address = AddressOf(first);
  return 0;
}

template <typename Record>
int32_t GetName(const Record& record, char* host, uint32_t host_capacity, char* service,
                uint32_t service_capacity) {
  const int result = getnameinfo(Generic(record), sizeof record, host, host_capacity, service,
                                 service_capacity, 0);
  return result == 0 ? 0 : -1;
}

// ---- Interfaces ----

sockaddr_in Ipv4RecordOf(const sockaddr* address) {
  sockaddr_in record{};
  if (address != nullptr) memcpy(&record, address, sizeof record);
  return record;
}

bool IsIpv4(const ifaddrs& entry) {
  return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_INET;
}

void FillInterface(SYS_SOCKET_INTERFACE& record, const ifaddrs& entry, uint32_t flags) {
  const sockaddr_in address = Ipv4RecordOf(entry.ifa_addr);
  record.address = AddressOf(address);
  record.netmask = AddressOf(Ipv4RecordOf(entry.ifa_netmask));
  interface_record::CopyExtraBytes(record.extra, platform::ToBsdAddressRecord(address), flags);
  interface_record::CopyName(record.name, entry.ifa_name);
}

// ---- Datagrams ----

template <typename Record>
int32_t SendDatagram(int32_t handle, const void* data, uint32_t length, const Record& to) {
  return static_cast<int32_t>(platform::SendTo(handle, data, length, Generic(to), sizeof to));
}

// EINTR has no code here, unlike in the stream receive: an interrupted call gives -1.
int32_t DatagramResultOf(int error) {
  switch (error) {
    case EAGAIN:
      return SYS_SOCKET_ERR_WOULDBLOCK;
    case ETIMEDOUT:
      return SYS_SOCKET_ERR_TIMEOUT;
    case ENETRESET:
      return SYS_SOCKET_ERR_RESET;
    default:
      return SYS_SOCKET_ERR_GENERIC;
  }
}

template <typename Record, typename Address>
int32_t ReceiveDatagram(int32_t handle, void* buffer, uint32_t capacity, Address* address,
                        uint16_t* port) {
  Record sender{};
  socklen_t length = sizeof sender;
  const ssize_t received = recvfrom(handle, buffer, capacity, 0, Generic(sender), &length);
  const int32_t result = received >= 0 ? static_cast<int32_t>(received) : DatagramResultOf(errno);
  StoreEnd(sender, address, port);
  return result;
}

}  // namespace

int32_t SYS_SOCKET_Listen(int32_t handle, uint32_t address, uint16_t port, int32_t backlog) {
  if (socket_option::Set(handle, SOL_SOCKET, SO_REUSEADDR, 1) != 0) return -1;
  if (BindTo(handle, ToRecord(address, port)) != 0) return -1;
  return listen(handle, backlog);
}

// No SO_REUSEADDR here, unlike for IPv4: a port whose connections still wind down is refused.
int32_t SYS_SOCKET_Listen6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port,
                           int32_t backlog) {
  if (BindTo(handle, ToRecord(address, port)) != 0) return -1;
  return listen(handle, backlog);
}

int32_t SYS_SOCKET_Accept(int32_t handle) {
  const int connection = platform::AcceptConnection(handle);
  if (connection < 0) return -1;
  socket_option::SetStreamDefaults(connection);
  return connection;
}

int32_t SYS_SOCKET_AcceptTimeout(int32_t handle, int32_t timeout_ms) {
  const int32_t readable = SYS_SOCKET_IsReadable(handle, timeout_ms);
  if (readable < 0) return SYS_SOCKET_ERR_GENERIC;
  if (readable == 0) return SYS_SOCKET_ERR_WOULDBLOCK;
  return SYS_SOCKET_Accept(handle);
}

int32_t SYS_SOCKET_EnableBroadcast(int32_t handle) {
  return socket_option::Set(handle, SOL_SOCKET, SO_BROADCAST, 1);
}

int32_t SYS_SOCKET_SetRxBufferSize(int32_t handle, int32_t size) {
  return socket_option::Set(handle, SOL_SOCKET, SO_RCVBUF, size);
}

int32_t SYS_SOCKET_SetLinger(int32_t handle, int32_t time_ms) {
  const int64_t rounded_s = (int64_t{time_ms} + 500) / 1000;
  const int64_t seconds = time_ms == 0 ? 0 : std::max<int64_t>(rounded_s, 1);
  // The cut to 16 bits is kept: 65536 s become 0, an abortive close.
  platform::SetLinger(handle, true, static_cast<uint16_t>(seconds));
  return 0;
}

int32_t SYS_SOCKET_ClearLinger(int32_t handle) {
  platform::SetLinger(handle, false, 0);
  return 0;
}

int32_t SYS_SOCKET_SetTimeouts(int32_t handle, int32_t send_ms, int32_t receive_ms) {
  const timeval send_time = descriptor_wait::FromMilliseconds(send_ms);
  const timeval receive_time = descriptor_wait::FromMilliseconds(receive_ms);
  setsockopt(handle, SOL_SOCKET, SO_SNDTIMEO, &send_time, sizeof send_time);
  return setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &receive_time, sizeof receive_time);
}

int32_t SYS_SOCKET_EnableKeepAlive(int32_t handle) {
  return socket_option::Set(handle, SOL_SOCKET, SO_KEEPALIVE, 1);
}

int32_t SYS_SOCKET_SetBlocking(int32_t handle) {
  return socket_option::SetMode(handle, socket_option::Mode::kBlocking);
}

int32_t SYS_SOCKET_SetNonBlocking(int32_t handle) {
  return socket_option::SetMode(handle, socket_option::Mode::kNonBlocking);
}

int32_t SYS_SOCKET_HasRxData(int32_t handle) {
  int waiting_bytes = 0;
  ioctl(handle, FIONREAD, &waiting_bytes);
  return waiting_bytes > 0 ? 1 : 0;
}

int32_t SYS_SOCKET_IsWritable(int32_t handle, int32_t timeout_ms) {
  return descriptor_wait::ForWriting(handle, descriptor_wait::FromMilliseconds(timeout_ms));
}

void SYS_SOCKET_GetPeerAddr(int32_t handle, uint32_t* address, uint16_t* port) {
  GetPeer<sockaddr_in>(handle, address, port);
}

void SYS_SOCKET_GetPeerAddr6(int32_t handle, SYS_SOCKET_IP6_ADDR* address, uint16_t* port) {
  GetPeer<sockaddr_in6>(handle, address, port);
}

int32_t SYS_SOCKET_Resolve(const char* host, const char* service, uint32_t* address) {
  return ResolveFirst<sockaddr_in>(host, service, AF_INET, 0, address);
}

int32_t SYS_SOCKET_Resolve6(const char* host, const char* service, SYS_SOCKET_IP6_ADDR* address,
                            uint8_t map_ipv4) {
  const int flags = map_ipv4 != 0 ? AI_V4MAPPED : 0;
  return ResolveFirst<sockaddr_in6>(host, service, AF_INET6, flags, address);
}

int32_t SYS_SOCKET_GetHostName(uint32_t address, char* host, uint32_t host_capacity, char* service,
                               uint32_t service_capacity) {
  return GetName(ToRecord(address, 0), host, host_capacity, service, service_capacity);
}

int32_t SYS_SOCKET_GetHostName6(SYS_SOCKET_IP6_ADDR address, char* host, uint32_t host_capacity,
                                char* service, uint32_t service_capacity) {
  return GetName(ToRecord(address, 0), host, host_capacity, service, service_capacity);
}

int32_t SYS_SOCKET_GetLocalPort(int32_t handle, uint16_t* port) {
  // The port stands at the same place in the longer record of IPv6.
  sockaddr_in local{};
  socklen_t length = sizeof local;
  if (getsockname(handle, Generic(local), &length) != 0) return -1;
  *port = PortOf(local);
  return 0;
}

uint32_t SYS_SOCKET_GetInterfaces(SYS_SOCKET_INTERFACE* interfaces, uint32_t capacity,
                                  uint32_t flags) {
  const std::span records(interfaces, capacity);
  std::ranges::fill(records, SYS_SOCKET_INTERFACE{});
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return 0;
  uint32_t count = 0;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (!IsIpv4(*entry)) continue;
    if (count < capacity) FillInterface(records[count], *entry, flags);
    ++count;
  }
  freeifaddrs(list);
  return count;
}

int32_t SYS_SOCKET_Bind(int32_t handle, uint32_t address, uint16_t port) {
  return BindTo(handle, ToRecord(address, port));
}

int32_t SYS_SOCKET_SendTo(int32_t handle, const void* data, uint32_t length, uint32_t address,
                          uint16_t port) {
  return SendDatagram(handle, data, length, ToRecord(address, port));
}

int32_t SYS_SOCKET_SendTo6(int32_t handle, const void* data, uint32_t length,
                           SYS_SOCKET_IP6_ADDR address, uint16_t port) {
  return SendDatagram(handle, data, length, ToRecord(address, port));
}

int32_t SYS_SOCKET_ReceiveFrom(int32_t handle, void* buffer, uint32_t capacity, uint32_t* address,
                               uint16_t* port) {
  return ReceiveDatagram<sockaddr_in>(handle, buffer, capacity, address, port);
}

int32_t SYS_SOCKET_ReceiveFrom6(int32_t handle, void* buffer, uint32_t capacity,
                                SYS_SOCKET_IP6_ADDR* address, uint16_t* port) {
  return ReceiveDatagram<sockaddr_in6>(handle, buffer, capacity, address, port);
}
