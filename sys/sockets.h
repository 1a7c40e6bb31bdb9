/* SPDX-License-Identifier: MIT */

/* Stream sockets: create, connect, wait, send, receive, close; and the creation of datagram
 * sockets.
 *
 * Conventions of the whole family, SYS_SOCKET_ in socket_services.h included:
 *
 *   handle     the system's descriptor as a number, close-on-exec; -1 means that there is no socket.
 *              Any descriptor number can be waited for, also beyond 1023.
 *   address    IPv4 in host byte order: 127.0.0.1 is 0x7F000001. IPv6 as the 16 bytes of network order,
 *              by value; the scope identifier is 0.
 *   port       host byte order
 *   results    0 or more is success: a handle or a number of bytes. Below 0 stands one of the codes
 *              below; nobody has to look at errno. Failures to set an option or a mode on the way are
 *              ignored.
 *   pointers   must not be null unless the function says so
 *   threads    the functions keep no state of their own and may run on any number of threads at once,
 *              on the same handle too
 *
 * Nothing is printed. A send to a peer that has closed gives -1 and never raises a signal. */
#ifndef TARVEN_SYS_SOCKETS_H_
#define TARVEN_SYS_SOCKETS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What the functions return instead of a handle or a number. */
enum {
  SYS_SOCKET_ERR_GENERIC = -1,    /* anything that has no code of its own */
  SYS_SOCKET_ERR_WOULDBLOCK = -2, /* EAGAIN; for timed calls, the time passed */
  SYS_SOCKET_ERR_TIMEOUT = -3,    /* a receive met ETIMEDOUT; for the timed connect, stopped */
  SYS_SOCKET_ERR_RESET = -4,      /* a receive met ENETRESET; ECONNRESET is -1 */
  SYS_SOCKET_ERR_INTR = -5        /* a stream receive was interrupted by a signal */
};

/* An IPv6 address. */
typedef struct SYS_SOCKET_IP6_ADDR {
  uint8_t bytes[16]; /* network order */
} SYS_SOCKET_IP6_ADDR;

/* Asked by the timed connect; non-zero means that it is to stop. */
typedef int32_t (*SYS_SOCKET_ABORT_FUNC)(void);

/* Creates an IPv4 datagram socket; -1 on failure. SYS_SOCKET_Close releases it. */
int32_t SYS_SOCKET_CreateUDP(void);

/* Creates an IPv6 datagram socket; -1 on failure.
 *
 * dual_stack   non-zero admits IPv4 peers, as IPv4-mapped addresses; 0 leaves the system's default */
int32_t SYS_SOCKET_CreateUDP6(uint8_t dual_stack);

/* Creates an IPv4 stream socket that sends small pieces at once (TCP_NODELAY); -1 on failure.
 * SYS_SOCKET_Close releases it. */
int32_t SYS_SOCKET_Create(void);

/* SYS_SOCKET_Create for IPv6.
 *
 * dual_stack   non-zero admits IPv4 peers, as IPv4-mapped addresses; 0 leaves the system's default */
int32_t SYS_SOCKET_Create6(uint8_t dual_stack);

/* Connects to a listener, once, and waits for the answer as long as the socket's mode says.
 *
 * Returns 0, or -1 on any failure. A non-blocking socket gives -1 while the connection is in
 * progress; SYS_SOCKET_IsWritable then tells when it is decided. On a datagram socket it sets the
 * peer of SYS_SOCKET_Send and SYS_SOCKET_Receive. */
int32_t SYS_SOCKET_Connect(int32_t handle, uint32_t address, uint16_t port);

/* SYS_SOCKET_Connect for IPv6. */
int32_t SYS_SOCKET_Connect6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port);

/* Creates an IPv4 stream socket and connects it, trying again until a listener is there.
 *
 * timeout_ms     limit for the whole call; with 0 or less it ends after one pass of about 10 ms
 * should_abort   asked after each pass, about every 10 ms; may be null
 *
 * Returns a connected handle in blocking mode with TCP_NODELAY for SYS_SOCKET_Close to release, or
 *   SYS_SOCKET_ERR_GENERIC     (-1)  no socket could be created
 *   SYS_SOCKET_ERR_WOULDBLOCK  (-2)  the time passed
 *   SYS_SOCKET_ERR_TIMEOUT     (-3)  should_abort asked to stop
 * and then leaves no descriptor open. A refused attempt is repeated about every 10 ms with a new
 * socket, so a listener that starts late is found within that time; an attempt without an answer
 * goes on waiting.
 *
 * A socket that found no listener but itself is not handed out: the system may pick the wanted port
 * as the source port on this machine, and TCP then lets both ends be the same socket (RFC 9293,
 * 3.5, simultaneous initiation). Such an attempt counts as refused. */
int32_t SYS_SOCKET_ConnectTimeout(uint32_t address, uint16_t port, int32_t timeout_ms,
                                  SYS_SOCKET_ABORT_FUNC should_abort);

/* Waits until a receive or an accept would not block: data, a connection, the peer's end of the
 * stream or an error is there.
 *
 * Returns 1 for readable, 0 when timeout_ms passed (0 asks without waiting), -1 on an error, which
 * a negative time is. */
int32_t SYS_SOCKET_IsReadable(int32_t handle, int32_t timeout_ms);

/* Sends what the system takes in one call, which may be less than length.
 *
 * Returns the number of bytes taken, -2 when the send would block (a non-blocking socket, or one
 * whose send time has passed), -1 on any other failure. */
int32_t SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);

/* Receives what is there in one call, waiting for the first byte if the socket blocks.
 *
 * Returns the number of bytes, 0 when the peer has closed its side (or capacity is 0), or
 *   -2  nothing there on a non-blocking socket, or its receive time has passed
 *   -3  the connection timed out (ETIMEDOUT)
 *   -4  the network dropped the connection (ENETRESET)
 *   -5  a signal interrupted the call
 *   -1  anything else, a connection that the peer has reset included */
int32_t SYS_SOCKET_Receive(int32_t handle, void* buffer, uint32_t capacity);

/* Receives exactly length bytes.
 *
 * Returns length when they are all there; 0 for a length of 0; -1 when the stream ends or a receive
 * fails first, interrupted and would-block ones included. What had arrived is then in the buffer,
 * uncounted. A negative length gives -1. */
int32_t SYS_SOCKET_ReceiveAll(int32_t handle, void* buffer, int32_t length);

/* Ends one or both directions of a connection, for all duplicates of the handle.
 *
 * direction   0 receiving, 1 sending (the peer sees the end of the stream), 2 both; any other value
 *             does nothing */
void SYS_SOCKET_Shutdown(int32_t handle, int32_t direction);

/* Releases the socket; what is still unsent goes out unless SYS_SOCKET_SetLinger says otherwise.
 * Errors are ignored, so -1 does no harm. */
void SYS_SOCKET_Close(int32_t handle);

#ifdef __cplusplus
}
#endif

#endif
