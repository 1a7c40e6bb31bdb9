// Socket addresses between the layer's forms and the system's records, for the sources of this
// folder.
#ifndef TARVEN_SYS_SOCKET_ADDRESS_H_
#define TARVEN_SYS_SOCKET_ADDRESS_H_

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>

#include "sys/sockets.h"

namespace socket_address {

// A system's record with the pointer and length that its calls take.
template <typename Record>
struct SystemAddress {
  Record record{};
  socklen_t length = sizeof(Record);

  sockaddr* get() { return reinterpret_cast<sockaddr*>(&record); }
};

inline SystemAddress<sockaddr_in> From(uint32_t address, uint16_t port) {
  SystemAddress<sockaddr_in> result;
  result.record.sin_family = AF_INET;
  result.record.sin_port = htons(port);
  result.record.sin_addr.s_addr = htonl(address);
  return result;
}

inline SystemAddress<sockaddr_in6> From(const SYS_SOCKET_IP6_ADDR& address, uint16_t port) {
  SystemAddress<sockaddr_in6> result;
  result.record.sin6_family = AF_INET6;
  result.record.sin6_port = htons(port);
  memcpy(&result.record.sin6_addr, address.bytes, sizeof address.bytes);
  return result;
}

inline uint32_t AddressOf(const sockaddr_in& record) { return ntohl(record.sin_addr.s_addr); }

inline SYS_SOCKET_IP6_ADDR AddressOf(const sockaddr_in6& record) {
  SYS_SOCKET_IP6_ADDR address;
  memcpy(address.bytes, &record.sin6_addr, sizeof address.bytes);
  return address;
}

inline uint16_t PortOf(const sockaddr_in& record) { return ntohs(record.sin_port); }

inline uint16_t PortOf(const sockaddr_in6& record) { return ntohs(record.sin6_port); }

}  // namespace socket_address

#endif
