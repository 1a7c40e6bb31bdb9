/* Stream sockets: connect, wait, send, receive and close over IPv4 and IPv6.
 *
 * What the socket functions share:
 *
 *   handle    the system's descriptor; -1 means that there is no socket. Every wait takes any
 *             descriptor number; for one that is not open it gives -1.
 *   address   IPv4 in host byte order, 127.0.0.1 is 0x7F000001; IPv6 as 16 bytes in network order,
 *             with scope identifier 0
 *   port      host byte order
 *   results   0 or more for success, else one of the codes below; errno is for the curious
 *
 * The functions print nothing, keep no state and may run on any number of threads at once. What
 * setsockopt and ioctl answer is not looked at unless the function says so. A send on a connection
 * that the peer has closed raises no signal. Buffers must not be null where their length is not 0.
 */
#ifndef TARVEN_SYS_SOCKETS_H_
#define TARVEN_SYS_SOCKETS_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
  SYS_SOCKET_ERR_GENERIC = -1,    /* any failure without a code of its own */
  SYS_SOCKET_ERR_WOULDBLOCK = -2, /* EAGAIN; a connect or accept whose time passed */
  SYS_SOCKET_ERR_TIMEOUT = -3,    /* ETIMEDOUT; a connect that its callback stopped */
  SYS_SOCKET_ERR_RESET = -4,      /* ENETRESET */
  SYS_SOCKET_ERR_INTR = -5        /* EINTR */
};

/* An IPv6 address in network order. */
typedef struct SYS_SOCKET_IP6_ADDR {
  uint8_t bytes[16];
} SYS_SOCKET_IP6_ADDR;

/* Asked while a connect waits; non-zero ends it. */
typedef int32_t (*SYS_SOCKET_ABORT_FUNC)(void);

/* Creates a datagram socket; dual_stack other than 0 lets IPv4-mapped peers in. Return the handle
 * or -1. */
int32_t SYS_SOCKET_CreateUDP(void);
int32_t SYS_SOCKET_CreateUDP6(uint8_t dual_stack);

/* Creates a stream socket that sends at once what it is given (TCP_NODELAY); dual_stack as above.
 * Return the handle or -1. */
int32_t SYS_SOCKET_Create(void);
int32_t SYS_SOCKET_Create6(uint8_t dual_stack);

/* Connects a socket as the system's connect does. Return 0 or -1. */
int32_t SYS_SOCKET_Connect(int32_t handle, uint32_t address, uint16_t port);
int32_t SYS_SOCKET_Connect6(int32_t handle, SYS_SOCKET_IP6_ADDR address, uint16_t port);

/* Connects an IPv4 stream socket, trying again until a listener is there.
 *
 * timeout_ms      limit for the whole call; 0 or less makes one attempt of about 10 ms
 * should_abort    asked about every 10 ms; may be null
 *
 * Returns a connected, blocking handle for SYS_SOCKET_Close to release, or
 *   SYS_SOCKET_ERR_GENERIC     (-1)  no socket could be created
 *   SYS_SOCKET_ERR_WOULDBLOCK  (-2)  the time passed
 *   SYS_SOCKET_ERR_TIMEOUT     (-3)  should_abort asked to stop
 * and then leaves no descriptor open. A refused attempt is repeated about every 10 ms, so a
 * listener that starts late is found within that time. On loopback a socket can meet itself when
 * the port is one that the system hands out to clients; that counts as refused. */
int32_t SYS_SOCKET_ConnectTimeout(uint32_t address, uint16_t port, int32_t timeout_ms,
                                  SYS_SOCKET_ABORT_FUNC should_abort);

/* Waits until a receive would not block: bytes, the peer's end or an error are there.
 *
 * Returns 1, or 0 when timeout_ms passed, or -1 (also for a negative time). */
int32_t SYS_SOCKET_IsReadable(int32_t handle, int32_t timeout_ms);

/* Sends once. Returns how many bytes the system took, which may be fewer than length, or -2 when
 * the socket would block, or -1. */
int32_t SYS_SOCKET_Send(int32_t handle, const void* data, uint32_t length);

/* Receives once, at most capacity bytes. Returns how many, 0 when the peer has closed, or -1 to -5.
 * A connection that the peer has reset gives -1. */
int32_t SYS_SOCKET_Receive(int32_t handle, void* buffer, uint32_t capacity);

/* Receives until length bytes are there. Returns length (0 at once for 0), or -1 when the peer
 * closes or a receive fails first; what came before is in the buffer. */
int32_t SYS_SOCKET_ReceiveAll(int32_t handle, void* buffer, int32_t length);

/* Ends one direction of a connection: 0 receiving, 1 sending, 2 both; any other value does nothing.
 */
void SYS_SOCKET_Shutdown(int32_t handle, int32_t direction);

/* Closes the descriptor; -1 is ignored like any other that is not open. */
void SYS_SOCKET_Close(int32_t handle);

#ifdef __cplusplus
}
#endif

#endif
