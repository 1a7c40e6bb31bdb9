/* SPDX-License-Identifier: MIT */

/* Socket services: listening, options and modes, names and addresses, interfaces, datagrams.
 *
 * Handles, addresses, result codes, null and threads are as sockets.h says at its head. */
#ifndef TARVEN_SYS_SOCKET_SERVICES_H_
#define TARVEN_SYS_SOCKET_SERVICES_H_

#include <stdint.h>

#include "sockets.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Listening and accepting ---- */

/* Binds the socket to an address of this machine and listens there. An address whose earlier
 * connections still wind down may be used again (SO_REUSEADDR).
 *
 * address   0 for all of this machine's
 * port      0 lets the system choose; SYS_SOCKET_GetLocalPort tells
 * backlog   how many connections may wait for an accept; the system bounds it
 *
 * Returns 0, or -1. */
int32_t SYS_SOCKET_Listen(int32_t handle, uint32_t address, uint16_t port, int32_t backlog);

/* SYS_SOCKET_Listen for IPv6, but without the reuse of an address that still winds down. */
int32_t SYS_SOCKET_Listen6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port,
                           int32_t backlog);

/* Takes the next connection from a listening socket, waiting for one if the socket blocks.
 *
 * Returns the handle of the connection, with TCP_NODELAY set, for SYS_SOCKET_Close to release; -1
 * on any failure. */
int32_t SYS_SOCKET_Accept(int32_t handle);

/* SYS_SOCKET_Accept that waits no longer than timeout_ms.
 *
 * Returns the handle, -2 when the time passed without a connection, -1 on any failure, which a
 * negative time is. */
int32_t SYS_SOCKET_AcceptTimeout(int32_t handle, int32_t timeout_ms);

/* ---- Options and modes ---- */

/* Lets a datagram socket send to broadcast addresses. Returns 0, or -1. */
int32_t SYS_SOCKET_EnableBroadcast(int32_t handle);

/* Asks for a receive buffer of size bytes; the system may round or bound it. Returns 0, or -1. */
int32_t SYS_SOCKET_SetRxBufferSize(int32_t handle, int32_t size);

/* Lets SYS_SOCKET_Close wait for unsent data, up to a time in whole seconds.
 *
 * time_ms   0 makes the close abortive: unsent data is dropped and the peer sees a reset. 1 to 999
 *           and negative times mean 1 s; from 1000 on the nearest second counts, halves upwards, of
 *           which the low 16 bits are used (65536 s is 0 and thereby abortive). macOS keeps at most
 *           327 s.
 *
 * Returns 0 always. */
int32_t SYS_SOCKET_SetLinger(int32_t handle, int32_t time_ms);

/* Takes SYS_SOCKET_SetLinger back: a close returns at once and the system sends on. Returns 0
 * always. */
int32_t SYS_SOCKET_ClearLinger(int32_t handle);

/* Bounds how long a blocking send and a blocking receive may take; 0 means without limit. A send or
 * receive whose time has passed gives -2.
 *
 * Returns 0, or -1 when the system refuses the receive time; whether it took the send time is not
 * told. */
int32_t SYS_SOCKET_SetTimeouts(int32_t handle, int32_t send_ms, int32_t receive_ms);

/* Lets the system probe an idle connection. Returns 0, or -1. */
int32_t SYS_SOCKET_EnableKeepAlive(int32_t handle);

/* Lets sends and receives wait, as they do on a new socket. Returns 0, or -1. */
int32_t SYS_SOCKET_SetBlocking(int32_t handle);

/* Lets sends and receives that would wait give -2 instead. Returns 0, or -1. */
int32_t SYS_SOCKET_SetNonBlocking(int32_t handle);

/* Returns 1 if at least one received byte waits, else 0, also on an error. It is a flag, no count;
 * the end of the stream is no byte. */
int32_t SYS_SOCKET_HasRxData(int32_t handle);

/* Waits until a send would not block; a connection in progress is then decided.
 *
 * Returns 1 for writable, 0 when timeout_ms passed (0 asks without waiting), -1 on an error, which
 * a negative time is. */
int32_t SYS_SOCKET_IsWritable(int32_t handle, int32_t timeout_ms);

/* ---- Names and addresses ---- */

/* Stores the address and port of the other end; both are 0 when there is none.
 *
 * port   may be null */
void SYS_SOCKET_GetPeerAddr(int32_t handle, uint32_t* address, uint16_t* port);

/* SYS_SOCKET_GetPeerAddr for IPv6. */
void SYS_SOCKET_GetPeerAddr6(int32_t handle, SYS_SOCKET_IP6_ADDR* address, uint16_t* port);

/* Looks up the first IPv4 address of a host; may ask name servers and so take seconds.
 *
 * host      name, or address in dotted form; null means this machine
 * service   name or port number as text; it must be known, though the port is not handed out. One
 *           of the two may be null
 *
 * Returns 0, or -1 and leaves *address alone. */
int32_t SYS_SOCKET_Resolve(const char* host, const char* service, uint32_t* address);

/* SYS_SOCKET_Resolve for IPv6.
 *
 * map_ipv4   non-zero: a host that has IPv4 addresses only yields them IPv4-mapped */
int32_t SYS_SOCKET_Resolve6(const char* host, const char* service, SYS_SOCKET_IP6_ADDR* address,
                            uint8_t map_ipv4);

/* Looks up the name of an address; where there is none, its numeric form counts as its name. May
 * ask name servers and so take seconds.
 *
 * host, service   buffers for the host's name and the name of service 0; either is left out when it
 *                 is null with a capacity of 0
 *
 * Returns 0, or -1, also when a buffer is too small. */
int32_t SYS_SOCKET_GetHostName(uint32_t address, char* host, uint32_t host_capacity, char* service,
                               uint32_t service_capacity);

/* SYS_SOCKET_GetHostName for IPv6. */
int32_t SYS_SOCKET_GetHostName6(SYS_SOCKET_IP6_ADDR address, char* host, uint32_t host_capacity,
                                char* service, uint32_t service_capacity);

/* Stores the port that the socket is bound to, IPv4 or IPv6; 0 when it is not bound yet.
 *
 * Returns 0, or -1 and leaves *port alone. */
int32_t SYS_SOCKET_GetLocalPort(int32_t handle, uint16_t* port);

/* One IPv4 address of one network interface. */
typedef struct SYS_SOCKET_INTERFACE {
  uint32_t address;  /* host byte order */
  uint32_t netmask;  /* host byte order */
  uint32_t reserved; /* 0 */
  uint8_t extra[6];  /* see SYS_SOCKET_GetInterfaces */
  char name[64];     /* 62 characters at most; a longer name ends in "..." behind its first 60 */
  uint8_t pad[2];    /* 0 */
} SYS_SOCKET_INTERFACE;

/* Flag of SYS_SOCKET_GetInterfaces: extra bytes from plain address records alone. */
enum { SYS_SOCKET_INTERFACE_FLAG_PLAIN_EXTRA = 2 };

/* Lists the IPv4 addresses of this machine, in the system's order; one interface may have several.
 *
 * interfaces   may be null when capacity is 0
 * capacity     number of records; all of them are cleared first, then filled from the first on
 *
 * The six extra bytes are those that follow the length and family bytes of the interface's address
 * record in the BSD layout, which is used on every system: two bytes of port, which are 0 here, and
 * the four bytes of the address in network order. They are no hardware address. With
 * SYS_SOCKET_INTERFACE_FLAG_PLAIN_EXTRA they are stored only if the record's first byte has the bit
 * of value 2 clear. That byte is the record's length, 16 for IPv4, so the flag withholds nothing
 * today; other bits of flags are ignored.
 *
 * Returns the number of addresses found, which may exceed capacity; 0 when the system has none or
 * does not tell. */
uint32_t SYS_SOCKET_GetInterfaces(SYS_SOCKET_INTERFACE* interfaces, uint32_t capacity,
                                  uint32_t flags);

/* ---- Datagrams ---- */

/* Binds the socket to an address and port of this machine; 0 for all addresses, 0 for a port of the
 * system's choice. Returns 0, or -1. */
int32_t SYS_SOCKET_Bind(int32_t handle, uint32_t address, uint16_t port);

/* Sends one datagram. Returns its length, or -1 on any failure, would-block included. */
int32_t SYS_SOCKET_SendTo(int32_t handle, const void* data, uint32_t length, uint32_t address,
                          uint16_t port);

/* SYS_SOCKET_SendTo for IPv6. */
int32_t SYS_SOCKET_SendTo6(int32_t handle, const void* data, uint32_t length,
                           SYS_SOCKET_IP6_ADDR address, uint16_t port);

/* Receives one datagram, waiting for it if the socket blocks; what exceeds capacity is lost.
 *
 * address, port   the sender's; either may be null. They are written in any case, with 0 when no
 *                 datagram arrived.
 *
 * Returns the number of bytes stored, which may be 0 for an empty datagram, or
 *   -2  nothing there on a non-blocking socket, or its receive time has passed
 *   -3  ETIMEDOUT
 *   -4  ENETRESET
 *   -1  anything else, an interrupting signal included: unlike SYS_SOCKET_Receive, this has no
 *       code for it */
int32_t SYS_SOCKET_ReceiveFrom(int32_t handle, void* buffer, uint32_t capacity, uint32_t* address,
                               uint16_t* port);

/* SYS_SOCKET_ReceiveFrom for IPv6. */
int32_t SYS_SOCKET_ReceiveFrom6(int32_t handle, void* buffer, uint32_t capacity,
                                SYS_SOCKET_IP6_ADDR* address, uint16_t* port);

#ifdef __cplusplus
}
#endif

#endif
