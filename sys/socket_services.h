/* Socket services: listening, options, names and addresses, datagrams.
 *
 * What sockets.h says at its head of handles, addresses, ports, results and threads holds here too.
 * Time-outs are milliseconds. */
#ifndef TARVEN_SYS_SOCKET_SERVICES_H_
#define TARVEN_SYS_SOCKET_SERVICES_H_

#include <stdint.h>

#include "sockets.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Listening and accepting ---- */

/* Binds a stream socket and listens. The IPv4 form lets a server start again on a port whose old
 * connections still linger (SO_REUSEADDR); the IPv6 form does not. Return 0 or -1. */
int32_t SYS_SOCKET_Listen(int32_t handle, uint32_t address, uint16_t port, int32_t backlog);
int32_t SYS_SOCKET_Listen6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port,
                           int32_t backlog);

/* Waits for a client of a listening socket. Returns a handle set up as SYS_SOCKET_Create sets it
 * up, or -1. */
int32_t SYS_SOCKET_Accept(int32_t handle);

/* SYS_SOCKET_Accept with a limit. Returns the new handle, -2 when the time passed, or -1. */
int32_t SYS_SOCKET_AcceptTimeout(int32_t handle, int32_t timeout_ms);

/* ---- Options and modes ---- */

/* Allows datagrams to broadcast addresses. Returns 0 or -1. */
int32_t SYS_SOCKET_EnableBroadcast(int32_t handle);

/* Asks for a receive buffer of that many bytes. Returns 0 or -1. */
int32_t SYS_SOCKET_SetRxBufferSize(int32_t handle, int32_t size);

/* Makes a close wait until sent data has arrived, but not longer than time_ms.
 *
 * time_ms   counted in whole seconds: 1 to 999 ms and negative times give 1 s, longer ones are
 *           rounded, halves up, and cut to 16 bits. 0 makes a close reset the connection at once.
 *
 * Returns 0 whatever the system says. macOS holds at most 327 s. */
int32_t SYS_SOCKET_SetLinger(int32_t handle, int32_t time_ms);

/* Makes a close return at once again, with sent data on its way. Returns 0 always. */
int32_t SYS_SOCKET_ClearLinger(int32_t handle);

/* Limits how long a send and a receive may block; 0 is no limit. A receive that runs out of time
 * gives -2. Returns the result of setting the receive limit, 0 or -1. */
int32_t SYS_SOCKET_SetTimeouts(int32_t handle, int32_t send_ms, int32_t receive_ms);

/* Makes the system probe silent connections. Returns 0 or -1. */
int32_t SYS_SOCKET_EnableKeepAlive(int32_t handle);

/* Chooses whether calls on the socket wait. Return 0 or -1. */
int32_t SYS_SOCKET_SetBlocking(int32_t handle);
int32_t SYS_SOCKET_SetNonBlocking(int32_t handle);

/* Returns 1 if any byte waits to be received, else 0. */
int32_t SYS_SOCKET_HasRxData(int32_t handle);

/* Waits until a send would not block. Returns 1, or 0 when the time passed, or -1. */
int32_t SYS_SOCKET_IsWritable(int32_t handle, int32_t timeout_ms);

/* ---- Names and addresses ---- */

/* Stores the address of the other side, and its port unless port is null. Both are 0 where there is
 * no other side. */
void SYS_SOCKET_GetPeerAddr(int32_t handle, uint32_t* address, uint16_t* port);
void SYS_SOCKET_GetPeerAddr6(int32_t handle, SYS_SOCKET_IP6_ADDR* address, uint16_t* port);

/* Looks a host up and stores its first address.
 *
 * host, service   names or numbers; one of them may be null
 * map_ipv4        other than 0: a host with IPv4 addresses alone gives a mapped one
 *
 * Return 0, or -1 with nothing stored. May ask name servers and take as long as they do. */
int32_t SYS_SOCKET_Resolve(const char* host, const char* service, uint32_t* address);
int32_t SYS_SOCKET_Resolve6(const char* host, const char* service, SYS_SOCKET_IP6_ADDR* address,
                            uint8_t map_ipv4);

/* Looks an address up and stores the host's name, or the address as text where it has none, and the
 * name of service 0. Each buffer may be null with a capacity of 0, but not both. Return 0, or -1,
 * also when a name does not fit. */
int32_t SYS_SOCKET_GetHostName(uint32_t address, char* host, uint32_t host_capacity, char* service,
                               uint32_t service_capacity);
int32_t SYS_SOCKET_GetHostName6(SYS_SOCKET_IP6_ADDR address, char* host, uint32_t host_capacity,
                                char* service, uint32_t service_capacity);

/* Stores the port that the socket is bound to. Returns 0, or -1 with nothing stored. */
int32_t SYS_SOCKET_GetLocalPort(int32_t handle, uint16_t* port);

/* One IPv4 interface, 84 bytes. */
typedef struct SYS_SOCKET_INTERFACE {
  uint32_t address;
  uint32_t netmask;
  uint32_t reserved; /* 0 */
  uint8_t extra[6];  /* the six bytes behind length and family of the BSD address record: the port,
                        0,  and the address, in network order. Not a hardware address. */
  char name[64];     /* one of 63 characters or more is cut to 60 and "..." */
  uint8_t pad[2];    /* 0 */
} SYS_SOCKET_INTERFACE;

/* Lists the IPv4 interfaces in the system's order.
 *
 * interfaces, capacity   an array and its number of records; records without an interface are zero.
 *                        The array may be null when the capacity is 0.
 * flags                  value 2: fills extra only where the first byte of the BSD address record,
 * its length, has that bit clear; it always has. Other bits mean nothing.
 *
 * Returns how many there are, which may be more than the capacity; 0 when the system tells none. */
uint32_t SYS_SOCKET_GetInterfaces(SYS_SOCKET_INTERFACE* interfaces, uint32_t capacity,
                                  uint32_t flags);

/* ---- Datagrams ---- */

/* Binds a socket to a local address. Returns 0 or -1. */
int32_t SYS_SOCKET_Bind(int32_t handle, uint32_t address, uint16_t port);

/* Sends one datagram. Return how many bytes, or -1. */
int32_t SYS_SOCKET_SendTo(int32_t handle, const void* data, uint32_t length, uint32_t address,
                          uint16_t port);
int32_t SYS_SOCKET_SendTo6(int32_t handle, const void* data, uint32_t length,
                           SYS_SOCKET_IP6_ADDR address, uint16_t port);

/* Receives one datagram; what does not fit is lost.
 *
 * address, port   null, or get the sender's; 0 when none arrived
 *
 * Return how many bytes, or -1 to -4 as SYS_SOCKET_Receive does, but an interrupted call gives -1.
 */
int32_t SYS_SOCKET_ReceiveFrom(int32_t handle, void* buffer, uint32_t capacity, uint32_t* address,
                               uint16_t* port);
int32_t SYS_SOCKET_ReceiveFrom6(int32_t handle, void* buffer, uint32_t capacity,
                                SYS_SOCKET_IP6_ADDR* address, uint16_t* port);

#ifdef __cplusplus
}
#endif

#endif
