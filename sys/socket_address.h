// SPDX-License-Identifier: MIT

// The system's address records, from and to the forms that the socket functions take.
#ifndef TARVEN_SYS_SOCKET_ADDRESS_H_
#define TARVEN_SYS_SOCKET_ADDRESS_H_

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>

#include <cstdint>

#include "sys/sockets.h"

namespace socket_address {

static_assert(sizeof(SYS_SOCKET_IP6_ADDR) == 16);

// Family, port and address; everything else is 0, a length byte included where the system has one.
inline sockaddr_in ToRecord(uint32_t address, uint16_t port) {
  sockaddr_in record{};
  record.sin_family = AF_INET;
  record.sin_port = htons(port);
  record.sin_addr.s_addr = htonl(address);
  return record;
}

inline sockaddr_in6 ToRecord(const SYS_SOCKET_IP6_ADDR& address, uint16_t port) {
  sockaddr_in6 record{};
  record.sin6_family = AF_INET6;
  record.sin6_port = htons(port);
  memcpy(&record.sin6_addr, address.bytes, sizeof address.bytes);
  return record;
}

inline uint32_t AddressOf(const sockaddr_in& record) { return ntohl(record.sin_addr.s_addr); }

inline SYS_SOCKET_IP6_ADDR AddressOf(const sockaddr_in6& record) {
  SYS_SOCKET_IP6_ADDR address;
  memcpy(address.bytes, &record.sin6_addr, sizeof address.bytes);
  return address;
}

inline uint16_t PortOf(const sockaddr_in& record) { return ntohs(record.sin_port); }

inline uint16_t PortOf(const sockaddr_in6& record) { return ntohs(record.sin6_port); }

// The form that the system's calls take.
template <typename Record>
sockaddr* Generic(Record& record) {
  return reinterpret_cast<sockaddr*>(&record);
}

template <typename Record>
const sockaddr* Generic(const Record& record) {
  return reinterpret_cast<const sockaddr*>(&record);
}

}  // namespace socket_address

#endif
