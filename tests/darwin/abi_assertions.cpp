// SPDX-License-Identifier: MIT

// What the macOS half takes for granted of the system it was never run on: sizes, offsets and
// values, as the system's headers have them on x86-64. Compiled with every cross build and never
// run.
#include <IOKit/serial/ioss.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <libproc.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <spawn.h>
#include <stddef.h>
#include <sys/ioctl.h>
#include <sys/proc_info.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <syslog.h>
#include <termios.h>

// ---- Terminals ----

static_assert(sizeof(tcflag_t) == 8 && sizeof(speed_t) == 8 && sizeof(termios) == 72);
static_assert(NCCS == 20 && VEOF == 0 && VINTR == 8 && VMIN == 16 && VTIME == 17);
static_assert(ECHOKE == 0x1 && ECHOE == 0x2 && ECHOK == 0x4 && ECHO == 0x8 && ECHONL == 0x10);
static_assert(ECHOPRT == 0x20 && ECHOCTL == 0x40 && ISIG == 0x80 && ICANON == 0x100);
static_assert(IEXTEN == 0x400 && PENDIN == 0x20000000);
static_assert(OPOST == 0x1 && ONLCR == 0x2 && OXTABS == 0x4 && ONOEOT == 0x8);
static_assert(OCRNL == 0x10 && ONOCR == 0x20 && ONLRET == 0x40 && OFILL == 0x80);
static_assert(IGNBRK == 0x1 && BRKINT == 0x2 && IGNPAR == 0x4 && PARMRK == 0x8 && INPCK == 0x10);
static_assert(ISTRIP == 0x20 && INLCR == 0x40 && IGNCR == 0x80 && ICRNL == 0x100);
static_assert(IXON == 0x200 && IXOFF == 0x400 && IXANY == 0x800 && IMAXBEL == 0x2000);
static_assert(CSIZE == 0x300 && CS8 == 0x300 && CSTOPB == 0x400 && CREAD == 0x800);
static_assert(PARENB == 0x1000 && PARODD == 0x2000 && HUPCL == 0x4000 && CLOCAL == 0x8000);
static_assert(CCTS_OFLOW == 0x10000 && CRTS_IFLOW == 0x20000);
static_assert(CRTSCTS == (CCTS_OFLOW | CRTS_IFLOW));
static_assert(TCSANOW == 0 && TCIOFLUSH == 3 && B9600 == 9600 && B115200 == 115200);
static_assert(FIONREAD == 0x4004667f && FIONBIO == 0x8004667e && TIOCEXCL == 0x2000740d);
// The driver reads all eight bytes of a speed_t.
static_assert(IOSSIOSPEED == 0x80085402);

// ---- Sockets ----

static_assert(SOL_SOCKET == 0xffff && SO_NOSIGPIPE == 0x1022);
static_assert(SO_LINGER == 0x80 && SO_LINGER_SEC == 0x1080);
static_assert(SO_RCVTIMEO == 0x1006 && SO_SNDTIMEO == 0x1005);
static_assert(TCP_NODELAY == 1 && IPV6_V6ONLY == 27 && AF_INET6 == 30 && FD_SETSIZE == 1024);
static_assert(sizeof(sockaddr_in) == 16 && offsetof(sockaddr_in, sin_len) == 0);
static_assert(offsetof(sockaddr_in, sin_family) == 1 && offsetof(sockaddr_in, sin_port) == 2);
static_assert(offsetof(sockaddr_in, sin_addr) == 4);
static_assert(EAGAIN == 35 && EINPROGRESS == 36 && ENETRESET == 52 && ECONNRESET == 54);
static_assert(ETIMEDOUT == 60 && ECONNREFUSED == 61);

// ---- Files, processes, threads, the log ----

static_assert(O_CREAT == 0x200 && O_TRUNC == 0x400 && O_EXCL == 0x800);
static_assert(O_NOCTTY == 0x20000 && O_CLOEXEC == 0x1000000);
static_assert(POSIX_SPAWN_CLOEXEC_DEFAULT == 0x4000 && PROC_PIDPATHINFO_MAXSIZE == 4096);
static_assert(RTLD_LAZY == 1 && PTHREAD_MUTEX_RECURSIVE == 2 && (LOG_USER | LOG_DEBUG) == 15);
static_assert(sizeof(pthread_t) == 8);
