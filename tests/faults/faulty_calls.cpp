// SPDX-License-Identifier: MIT

#include "tests/faults/faulty_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace fault_test {

namespace {

struct {
  bool is_armed = false;
  Call call{};
  int error = 0;
  uint32_t first = 0;
  uint32_t last = 0;
  uint32_t calls = 0;
  bool has_happened = false;
} fault;

std::string module_path;

// Tells whether this call is to fail, and how: the error is in errno then.
bool Fails(Call call) {
  if (!fault.is_armed || fault.call != call) return false;
  ++fault.calls;
  if (fault.calls < fault.first || fault.calls > fault.last) return false;
  fault.has_happened = true;
  errno = fault.error;
  return true;
}

}  // namespace

std::span<const CallFaults> AllFaults() {
  static const std::vector<CallFaults> faults = {
#define FAULTY_CALL(name, ...) {Call::name, #name, {__VA_ARGS__}},
#include "tests/faults/faulty_calls.def"
#undef FAULTY_CALL
  };
  return faults;
}

const CallFaults& FaultsOf(Call call) { return AllFaults()[static_cast<size_t>(call)]; }

FaultyCall::FaultyCall(Call call, int error, uint32_t nth, Extent extent) {
  fault = {.is_armed = true,
           .call = call,
           .error = error,
           .first = nth,
           .last = extent == Extent::kOnce ? nth : UINT32_MAX};
}

FaultyCall::~FaultyCall() { fault.is_armed = false; }

bool FaultyCall::Happened() { return fault.has_happened; }

void TellModulePath(const std::string& path) { module_path = path; }

}  // namespace fault_test

namespace {

using fault_test::Call;
using fault_test::Fails;
using fault_test::fault;

}  // namespace

// The linker sends every call of NAME to __wrap_NAME and of __real_NAME to NAME itself.
#define DECLARE(type, name, ...)   \
  type __real_##name(__VA_ARGS__); \
  type __wrap_##name(__VA_ARGS__)

// A function whose failures are one result and errno.
#define FAULTY(type, name, failure, parameters, arguments) \
  type __real_##name parameters;                           \
  type __wrap_##name parameters;                           \
  type __wrap_##name parameters {                          \
    if (Fails(Call::name)) return failure;                 \
    return __real_##name arguments;                        \
  }

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
extern "C" {

// ---- One result and errno ----

FAULTY(int, accept4, -1, (int fd, sockaddr* address, socklen_t* length, int flags),
       (fd, address, length, flags))
FAULTY(int, bind, -1, (int fd, const sockaddr* address, socklen_t length), (fd, address, length))
FAULTY(int, connect, -1, (int fd, const sockaddr* address, socklen_t length), (fd, address, length))
FAULTY(void*, dlopen, nullptr, (const char* path, int mode), (path, mode))
FAULTY(int, fflush, EOF, (FILE * stream), (stream))
FAULTY(int, fstat, -1, (int fd, struct stat* status), (fd, status))
FAULTY(int, ftruncate, -1, (int fd, off_t length), (fd, length))
FAULTY(int, getchar, EOF, (), ())
FAULTY(int, getifaddrs, -1, (ifaddrs * *list), (list))
FAULTY(int, getpeername, -1, (int fd, sockaddr* address, socklen_t* length), (fd, address, length))
FAULTY(int, getsockname, -1, (int fd, sockaddr* address, socklen_t* length), (fd, address, length))
FAULTY(int, listen, -1, (int fd, int backlog), (fd, backlog))
FAULTY(off_t, lseek, -1, (int fd, off_t offset, int origin), (fd, offset, origin))
FAULTY(int, mkdir, -1, (const char* path, mode_t mode), (path, mode))
FAULTY(int, mkostemp, -1, (char* path, int flags), (path, flags))
FAULTY(void*, mmap, MAP_FAILED,
       (void* address, size_t length, int protection, int flags, int fd, off_t offset),
       (address, length, protection, flags, fd, offset))
FAULTY(int, msync, -1, (void* address, size_t length, int flags), (address, length, flags))
FAULTY(DIR*, opendir, nullptr, (const char* path), (path))
FAULTY(int, puts, EOF, (const char* text), (text))
FAULTY(ssize_t, read, -1, (int fd, void* buffer, size_t size), (fd, buffer, size))
FAULTY(dirent*, readdir, nullptr, (DIR * folder), (folder))
FAULTY(ssize_t, readlink, -1, (const char* path, char* target, size_t size), (path, target, size))
FAULTY(ssize_t, recv, -1, (int fd, void* buffer, size_t size, int flags), (fd, buffer, size, flags))
FAULTY(ssize_t, recvfrom, -1,
       (int fd, void* buffer, size_t size, int flags, sockaddr* from, socklen_t* length),
       (fd, buffer, size, flags, from, length))
FAULTY(int, select, -1,
       (int count, fd_set* reading, fd_set* writing, fd_set* errors, timeval* timeout),
       (count, reading, writing, errors, timeout))
FAULTY(ssize_t, send, -1, (int fd, const void* data, size_t size, int flags),
       (fd, data, size, flags))
FAULTY(ssize_t, sendto, -1,
       (int fd, const void* data, size_t size, int flags, const sockaddr* to, socklen_t length),
       (fd, data, size, flags, to, length))
FAULTY(int, setsockopt, -1, (int fd, int level, int name, const void* value, socklen_t size),
       (fd, level, name, value, size))
FAULTY(int, shutdown, -1, (int fd, int direction), (fd, direction))
FAULTY(int, socket, -1, (int family, int type, int protocol), (family, type, protocol))
FAULTY(int, stat, -1, (const char* path, struct stat* status), (path, status))
FAULTY(long, sysconf, -1, (int name), (name))
FAULTY(int, tcflush, -1, (int fd, int queue), (fd, queue))
FAULTY(int, tcgetattr, -1, (int fd, termios* modes), (fd, modes))
FAULTY(int, tcsetattr, -1, (int fd, int when, const termios* modes), (fd, when, modes))
FAULTY(int, unlink, -1, (const char* path), (path))
FAULTY(int, usleep, -1, (useconds_t microseconds), (microseconds))
FAULTY(ssize_t, write, -1, (int fd, const void* data, size_t size), (fd, data, size))

// ---- The error is the result ----

FAULTY(int, getaddrinfo, fault.error,
       (const char* host, const char* service, const addrinfo* hints, addrinfo** results),
       (host, service, hints, results))
FAULTY(int, getnameinfo, fault.error,
       (const sockaddr* address, socklen_t length, char* host, socklen_t host_size, char* service,
        socklen_t service_size, int flags),
       (address, length, host, host_size, service, service_size, flags))
FAULTY(int, posix_spawn, fault.error,
       (pid_t * pid, const char* path, const posix_spawn_file_actions_t* actions,
        const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]),
       (pid, path, actions, attributes, arguments, environment))
FAULTY(int, posix_spawn_file_actions_init, fault.error, (posix_spawn_file_actions_t * actions),
       (actions))
FAULTY(int, posix_spawn_file_actions_addclosefrom_np, fault.error,
       (posix_spawn_file_actions_t * actions, int lowest), (actions, lowest))

// ---- A failure that does something ----

DECLARE(int, close, int fd);
int __wrap_close(int fd) {
  const int result = __real_close(fd);
  return Fails(Call::close) ? -1 : result;
}

DECLARE(int, munmap, void* address, size_t length);
int __wrap_munmap(void* address, size_t length) {
  const int result = __real_munmap(address, length);
  return Fails(Call::munmap) ? -1 : result;
}

DECLARE(int, posix_spawn_file_actions_destroy, posix_spawn_file_actions_t* actions);
int __wrap_posix_spawn_file_actions_destroy(posix_spawn_file_actions_t* actions) {
  const int result = __real_posix_spawn_file_actions_destroy(actions);
  return Fails(Call::posix_spawn_file_actions_destroy) ? fault.error : result;
}

DECLARE(int, getpwuid_r, uid_t user, passwd* entry, char* texts, size_t size, passwd** found);
int __wrap_getpwuid_r(uid_t user, passwd* entry, char* texts, size_t size, passwd** found) {
  if (!Fails(Call::getpwuid_r)) return __real_getpwuid_r(user, entry, texts, size, found);
  *found = nullptr;
  return fault.error;
}

// Another name, so that dlerror has something to tell.
DECLARE(void*, dlsym, void* library, const char* name);
void* __wrap_dlsym(void* library, const char* name) {
  return __real_dlsym(library, Fails(Call::dlsym) ? "no function has this name" : name);
}

DECLARE(int, dladdr, const void* address, Dl_info* info);
int __wrap_dladdr(const void* address, Dl_info* info) {
  if (Fails(Call::dladdr)) return 0;
  const int result = __real_dladdr(address, info);
  if (!fault_test::module_path.empty()) info->dli_fname = fault_test::module_path.c_str();
  return result;
}

// ---- Arguments without a number ----

DECLARE(int, open, const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  return Fails(Call::open) ? -1 : __real_open(path, flags, mode);
}

DECLARE(int, ioctl, int fd, unsigned long request, ...);
int __wrap_ioctl(int fd, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return Fails(Call::ioctl) ? -1 : __real_ioctl(fd, request, argument);
}

DECLARE(int, fcntl, int fd, int command, ...);
int __wrap_fcntl(int fd, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return Fails(Call::fcntl) ? -1 : __real_fcntl(fd, command, argument);
}

int __wrap_printf(const char* format, ...);
int __wrap_printf(const char* format, ...) {
  if (Fails(Call::printf)) return -1;
  va_list arguments;
  va_start(arguments, format);
  const int result = vprintf(format, arguments);
  va_end(arguments);
  return result;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
