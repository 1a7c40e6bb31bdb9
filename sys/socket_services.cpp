#include "sys/socket_services.h"

#include <ifaddrs.h>
#include <netdb.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "sys/descriptor_wait.h"
#include "sys/interface_name.h"
#include "sys/platform/platform.h"
#include "sys/socket_address.h"
#include "sys/socket_setup.h"
#include "util/text.h"

static_assert(sizeof(SYS_SOCKET_INTERFACE) == 84);
static_assert(offsetof(SYS_SOCKET_INTERFACE, extra) == 12);
static_assert(offsetof(SYS_SOCKET_INTERFACE, name) == 18);

namespace {

using socket_address::SystemAddress;

int32_t Enable(int32_t handle, int option) {
  const int on = 1;
  return setsockopt(handle, SOL_SOCKET, option, &on, sizeof on);
}

template <typename Record>
int32_t BindAndListen(int32_t handle, SystemAddress<Record> local, int32_t backlog) {
  if (bind(handle, local.get(), local.length) != 0) return -1;
  return listen(handle, backlog);
}

int32_t SetTimeout(int32_t handle, int option, int32_t milliseconds) {
  const timeval time = descriptor_wait::FromMilliseconds(milliseconds);
  return setsockopt(handle, SOL_SOCKET, option, &time, sizeof time);
}

template <typename Record, typename Address>
void GetPeer(int32_t handle, Address* address, uint16_t* port) {
  SystemAddress<Record> peer;
  getpeername(handle, peer.get(), &peer.length);  // a failure leaves the record zero
  *address = socket_address::AddressOf(peer.record);
  if (port != nullptr) *port = socket_address::PortOf(peer.record);
}

template <typename Record, typename Address>
int32_t ResolveFirst(const char* host, const char* service, int family, int flags,
                     Address* address) {
  addrinfo hints{};
  hints.ai_family = family;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags;
  addrinfo* results = nullptr;
  if (getaddrinfo(host, service, &hints, &results) != 0) return -1;
  Record record;
  memcpy(&record, results->ai_addr, sizeof record);
  *address = socket_address::AddressOf(record);
  freeaddrinfo(results);
  return 0;
}

template <typename Record>
int32_t NameOf(SystemAddress<Record> address, char* host, uint32_t host_capacity, char* service,
               uint32_t service_capacity) {
  const int result =
      getnameinfo(address.get(), address.length, host, host_capacity, service, service_capacity, 0);
  return result == 0 ? 0 : -1;
}

// ---- Interfaces ----

// Both systems give an interface without a netmask a null one.
uint32_t AddressOrZero(const sockaddr* address) {
  if (address == nullptr) return 0;
  sockaddr_in record;
  memcpy(&record, address, sizeof record);
  return socket_address::AddressOf(record);
}

void FillInterface(SYS_SOCKET_INTERFACE& record, const ifaddrs& entry, uint32_t flags) {
  constexpr uint32_t kFlagPlainAddressOnly = 2;
  constexpr uint8_t kSpecialBit = 2;
  constexpr size_t kExtraOffset = 2;  // behind length and family

  record.address = AddressOrZero(entry.ifa_addr);
  record.netmask = AddressOrZero(entry.ifa_netmask);
  sockaddr_in address;
  memcpy(&address, entry.ifa_addr, sizeof address);
  const platform::BsdAddressRecord bytes = platform::ToBsdAddressRecord(address);
  if ((flags & kFlagPlainAddressOnly) == 0 || (bytes[0] & kSpecialBit) == 0) {
    memcpy(record.extra, &bytes[kExtraOffset], sizeof record.extra);
  }
  interface_name::Copy(record.name, entry.ifa_name);
}

// ---- Datagrams ----

template <typename Record>
int32_t SendDatagram(int32_t handle, const void* data, uint32_t length, SystemAddress<Record> to) {
  return static_cast<int32_t>(platform::SendTo(handle, data, length, to.get(), to.length));
}

// Unlike a stream's receive this one has no code for EINTR.
int32_t ReceiveFromResultOf(int error) {
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
  SystemAddress<Record> sender;
  const auto received =
      static_cast<int32_t>(recvfrom(handle, buffer, capacity, 0, sender.get(), &sender.length));
  const int error = errno;
  // A failed call leaves the record zero.
  if (address != nullptr) *address = socket_address::AddressOf(sender.record);
  if (port != nullptr) *port = socket_address::PortOf(sender.record);
  return received >= 0 ? received : ReceiveFromResultOf(error);
}

}  // namespace

void interface_name::Copy(char (&to)[64], const char* name) {
  constexpr size_t kKept = 60;
  UTIL_CopyString(to, name, sizeof to);
  if (strlen(name) >= sizeof to - 1) memcpy(to + kKept, "...", sizeof "...");
}

int32_t SYS_SOCKET_Listen(int32_t handle, uint32_t address, uint16_t port, int32_t backlog) {
  if (Enable(handle, SO_REUSEADDR) != 0) return -1;
  return BindAndListen(handle, socket_address::From(address, port), backlog);
}

int32_t SYS_SOCKET_Listen6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port,
                           int32_t backlog) {
  return BindAndListen(handle, socket_address::From(address, port), backlog);
}

int32_t SYS_SOCKET_Accept(int32_t handle) {
  const int32_t client = accept(handle, nullptr, nullptr);
  if (client >= 0) socket_setup::ForKeyStrokes(client);
  return client;
}

int32_t SYS_SOCKET_AcceptTimeout(int32_t handle, int32_t timeout_ms) {
  const int32_t ready =
      descriptor_wait::ForReading(handle, descriptor_wait::FromMilliseconds(timeout_ms));
  if (ready < 0) return SYS_SOCKET_ERR_GENERIC;
  if (ready == 0) return SYS_SOCKET_ERR_WOULDBLOCK;
  return SYS_SOCKET_Accept(handle);
}

int32_t SYS_SOCKET_EnableBroadcast(int32_t handle) { return Enable(handle, SO_BROADCAST); }

int32_t SYS_SOCKET_SetRxBufferSize(int32_t handle, int32_t size) {
  return setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
}

int32_t SYS_SOCKET_SetLinger(int32_t handle, int32_t time_ms) {
  int64_t seconds = 0;
  if (time_ms != 0) seconds = time_ms < 1000 ? 1 : (int64_t{time_ms} + 500) / 1000;
  platform::SetLinger(handle, true, static_cast<uint16_t>(seconds));
  return 0;
}

int32_t SYS_SOCKET_ClearLinger(int32_t handle) {
  platform::SetLinger(handle, false, 0);
  return 0;
}

int32_t SYS_SOCKET_SetTimeouts(int32_t handle, int32_t send_ms, int32_t receive_ms) {
  SetTimeout(handle, SO_SNDTIMEO, send_ms);
  return SetTimeout(handle, SO_RCVTIMEO, receive_ms);
}

int32_t SYS_SOCKET_EnableKeepAlive(int32_t handle) { return Enable(handle, SO_KEEPALIVE); }

int32_t SYS_SOCKET_SetBlocking(int32_t handle) { return socket_setup::SetBlocking(handle, true); }

int32_t SYS_SOCKET_SetNonBlocking(int32_t handle) {
  return socket_setup::SetBlocking(handle, false);
}

int32_t SYS_SOCKET_HasRxData(int32_t handle) {
  int waiting = 0;
  ioctl(handle, FIONREAD, &waiting);
  return waiting > 0 ? 1 : 0;
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
  return NameOf(socket_address::From(address, 0), host, host_capacity, service, service_capacity);
}

int32_t SYS_SOCKET_GetHostName6(SYS_SOCKET_IP6_ADDR address, char* host, uint32_t host_capacity,
                                char* service, uint32_t service_capacity) {
  return NameOf(socket_address::From(address, 0), host, host_capacity, service, service_capacity);
}

int32_t SYS_SOCKET_GetLocalPort(int32_t handle, uint16_t* port) {
  // Port and family stand in the same place in both families' records.
  SystemAddress<sockaddr_in6> local;
  if (getsockname(handle, local.get(), &local.length) != 0) return -1;
  *port = socket_address::PortOf(local.record);
  return 0;
}

uint32_t SYS_SOCKET_GetInterfaces(SYS_SOCKET_INTERFACE* interfaces, uint32_t capacity,
                                  uint32_t flags) {
  if (capacity > 0) memset(interfaces, 0, sizeof *interfaces * size_t{capacity});
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return 0;
  uint32_t count = 0;
  for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
    if (count < capacity) FillInterface(interfaces[count], *entry, flags);
    ++count;
  }
  freeifaddrs(list);
  return count;
}

int32_t SYS_SOCKET_Bind(int32_t handle, uint32_t address, uint16_t port) {
  auto local = socket_address::From(address, port);
  return bind(handle, local.get(), local.length);
}

int32_t SYS_SOCKET_SendTo(int32_t handle, const void* data, uint32_t length, uint32_t address,
                          uint16_t port) {
  return SendDatagram(handle, data, length, socket_address::From(address, port));
}

int32_t SYS_SOCKET_SendTo6(int32_t handle, const void* data, uint32_t length,
                           SYS_SOCKET_IP6_ADDR address, uint16_t port) {
  return SendDatagram(handle, data, length, socket_address::From(address, port));
}

int32_t SYS_SOCKET_ReceiveFrom(int32_t handle, void* buffer, uint32_t capacity, uint32_t* address,
                               uint16_t* port) {
  return ReceiveDatagram<sockaddr_in>(handle, buffer, capacity, address, port);
}

int32_t SYS_SOCKET_ReceiveFrom6(int32_t handle, void* buffer, uint32_t capacity,
                                SYS_SOCKET_IP6_ADDR* address, uint16_t* port) {
  return ReceiveDatagram<sockaddr_in6>(handle, buffer, capacity, address, port);
}
