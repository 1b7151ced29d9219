#include "FaultyCalls.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace vyn::test {

namespace {

Fault current;
bool armed = false;
int calls = 0;
bool happened = false;
constexpr long long kSecond = 1000000000;
long long slept = 0;  // nanoseconds

// The error of this call, 0 when it is to succeed. Doesn't return when the process ends here.
int Due(Call call) {
    if (!armed || (current.call != Call::Any && current.call != call)) {
        return 0;
    }
    ++calls;
    if (calls < current.nth || (calls > current.nth && !current.forGood)) {
        return 0;
    }
    happened = true;
    if (current.error == kKill && call != Call::Write) {
        raise(SIGKILL);
    }
    return current.error;
}

bool Fails(Call call) {
    const int error = Due(call);
    if (error) {
        errno = error;
    }
    return error != 0;
}

// The function that these here hide, of the same type.
template <class Function>
Function* Real(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void Arm(const Fault& fault) {
    current = fault;
    calls = 0;
    happened = false;
    armed = true;
}

bool Disarm() {
    armed = false;
    return happened;
}

}  // namespace vyn::test

using namespace vyn::test;

#define REAL(function) vyn::test::Real(&::function, #function)
#define PASS(call, function, ...) (Fails(call) ? -1 : REAL(function)(__VA_ARGS__))

#pragma GCC visibility push(default)
extern "C" {

int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(list, mode_t) : 0;
    va_end(list);
    return PASS(Call::Open, open, path, flags, mode);
}

ssize_t read(int fd, void* buffer, size_t size) {
    const int error = Due(Call::Read);
    if (error > 0) {
        errno = error;
        return -1;
    }
    return REAL(read)(fd, buffer, error == kShort ? (size + 1) / 2 : size);
}

ssize_t writev(int fd, const iovec* pieces, int count) {
    const int error = Due(Call::Write);
    if (error > 0) {
        errno = error;
        return -1;
    }
    if (error == 0) {
        return REAL(writev)(fd, pieces, count);
    }
    const ssize_t written = write(fd, pieces[0].iov_base, (pieces[0].iov_len + 1) / 2);
    if (error == kKill) {
        raise(SIGKILL);
    }
    return written;
}

// The descriptor is free in any case, as the system has it.
int close(int fd) {
    const int error = Due(Call::Close);
    const int result = REAL(close)(fd);
    errno = error ? error : errno;
    return error ? -1 : result;
}

int posix_fallocate(int fd, off_t start, off_t size) {
    const int error = Due(Call::Resize);
    return error ? error : REAL(posix_fallocate)(fd, start, size);
}

// What was to be made sure of is lost when that fails; a directory can't be cut.
int fsync(int fd) {
    if (!Fails(Call::Sync)) {
        return REAL(fsync)(fd);
    }
    const int error = errno;
    if (error == EINTR || REAL(ftruncate)(fd, 1) != 0) {
        errno = error;
    }
    return -1;
}

// Sleeping takes no time, and the clock shows it all the same.
int nanosleep(const timespec* time, timespec* left) {
    if (!armed) {
        return REAL(nanosleep)(time, left);
    }
    slept += time->tv_sec * kSecond + time->tv_nsec;
    return 0;
}

int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const int result = REAL(clock_gettime)(clock, now);
    now->tv_sec += slept / kSecond;
    return result;
}

int rename(const char* from, const char* to) noexcept {
    if (armed && current.inPlace && to[strlen(to) - 1] != '~') {
        errno = EXDEV;
        return -1;
    }
    return PASS(Call::Rename, rename, from, to);
}

// clang-format off
int ftruncate(int fd, off_t size) noexcept { return PASS(Call::Resize, ftruncate, fd, size); }
int unlink(const char* path) noexcept { return PASS(Call::Unlink, unlink, path); }
int flock(int fd, int operation) noexcept { return PASS(Call::Lock, flock, fd, operation); }
int access(const char* path, int mode) noexcept { return PASS(Call::Look, access, path, mode); }
int stat(const char* path, struct stat* status) noexcept { return PASS(Call::Look, stat, path, status); }
int fstat(int fd, struct stat* status) noexcept { return PASS(Call::Look, fstat, fd, status); }
ssize_t readlink(const char* path, char* to, size_t n) noexcept { return PASS(Call::Look, readlink, path, to, n); }
int fchmod(int fd, mode_t mode) noexcept { return PASS(Call::Mark, fchmod, fd, mode); }
int fchown(int fd, uid_t owner, gid_t group) noexcept { return PASS(Call::Mark, fchown, fd, owner, group); }
// clang-format on

}  // extern "C"
#pragma GCC visibility pop
