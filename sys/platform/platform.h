// SPDX-License-Identifier: MIT

// What differs between systems, and nothing else. A new system defines all of it in one or two
// sources of its own beside linux.cpp and darwin.cpp, which sys/CMakeLists.txt chooses between;
// everything else in the tree is the same on all of them.
//
// Failures come as the system reports them: -1 (or the stated result) and errno.
#ifndef TARVEN_SYS_PLATFORM_PLATFORM_H_
#define TARVEN_SYS_PLATFORM_PLATFORM_H_

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace platform {

// ---- Time and processors ----

// A counter of nanoseconds that only moves forward, from an origin of the system's choice. It
// stands still while the machine sleeps, so time-outs do not run during sleep.
uint64_t MonotonicNanoseconds();

// The number of logical processors that may run now; 0 when the system does not tell.
int32_t ProcessorCount();

// ---- Paths of the program ----

// Stores the path of the running executable, terminated. Returns its length; 0 when the system does
// not tell or the path does not fit, and then what is in path means nothing. A system may refuse a
// capacity that is not 4096, which is what callers pass.
size_t ExecutablePath(char* path, size_t capacity);

// ---- Sockets ----

// Like socket(2) with the family's default protocol; close-on-exec.
int OpenSocket(int family, int type);

// Like accept(2) without asking for the peer's address; close-on-exec.
int AcceptConnection(int listener);

// Makes sure that a send on this stream socket never raises a signal when the peer has closed.
// Where the system knows no such socket option, Send and SendTo see to it alone.
void DisableBrokenPipeSignal(int descriptor);

// Like send(2) without flags, but a connection that the peer has closed gives EPIPE and no signal.
ssize_t Send(int descriptor, const void* data, size_t length);

// Like sendto(2) without flags, with the same promise.
ssize_t SendTo(int descriptor, const void* data, size_t length, const sockaddr* to,
               socklen_t to_length);

// Switches lingering on close on, with a time in seconds, or off. Results are not looked at.
void SetLinger(int descriptor, bool is_on, uint16_t seconds);

// The address as the BSD record holds it: one byte of record length, one of family, port and
// address in network order, eight zeros.
using BsdAddressRecord = std::array<uint8_t, 16>;
BsdAddressRecord ToBsdAddressRecord(const sockaddr_in& address);

// ---- Processes ----

// Starts the executable at path with the path as its only argument and this process's environment,
// and with no open descriptor at all: 0 to 2 are closed as well. Nobody waits for the child.
// Returns 0, or the bitwise OR of the error numbers of the steps.
int StartProcess(const char* path);

// Keeps the machine from going to sleep by itself while the assertion is held. A system without
// such a facility does nothing.
void CreateIdleSleepAssertion(uint32_t* assertion);
void ReleaseIdleSleepAssertion(uint32_t assertion);

// ---- Serial ports ----

// Sets the speed of a serial device, in both directions, to any number of baud that its driver
// takes, and changes no other setting. Returns 0, or -1.
int SetSerialSpeed(int descriptor, uint32_t speed);

// Gets the path of one device, such as "/dev/cu.usbmodem1", which begins with "/dev/" in upper or
// lower case; path is valid during the call alone.
using SerialDeviceVisitor = void (*)(void* context, const char* path);

// Calls visit for every USB serial device there is, in the system's order. A system that cannot
// tell has none.
void VisitUsbSerialDevices(SerialDeviceVisitor visit, void* context);

}  // namespace platform

#endif
