#include "tests/support/faulty_calls/faulty_calls.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>

namespace brenholt::faulty {
namespace {

thread_local bool t_counts = false;
std::atomic<int> g_left{0};
std::string_view g_call;
Way g_way = Way::Fail;

// What is to happen to this call, if anything.
std::optional<Way> Struck(std::string_view call) {
    const bool counts =
        t_counts && g_left > 0 && (g_call == kAnyCall ? call != kAllocation : call == g_call);
    return counts && g_left.fetch_sub(1) == 1 ? std::optional(g_way) : std::nullopt;
}

// A call that may move `size` bytes, or less than that; 0 where it moves none.
template <class Real>
auto Run(std::string_view call, int error, size_t size, Real real) {
    const std::optional<Way> way = Struck(call);
    const bool halves = size > 0 && (way == Way::Halve || way == Way::Kill);
    decltype(real(size)) result = -1;
    if (!way || halves || call == "close") {
        result = real(halves ? std::min<size_t>((size + 1) / 2, 1000) : size);
    }
    if (way == Way::Kill) {
        raise(SIGKILL);
    }
    if (way == Way::Fail || way == Way::Interrupt) {
        errno = way == Way::Interrupt ? EINTR : error;
        return decltype(result){-1};
    }
    return result;
}

void* Allocate(size_t size) {
    return Struck(kAllocation) ? nullptr : std::malloc(size > 0 ? size : 1);
}

// Not inlined: the compiler would find fault with free for what operator new gave.
__attribute__((noinline)) void Release(void* memory) {
    std::free(memory);
}

struct ThreadStart {
    void* (*body)(void*);
    void* parameter;
};

void* RunCounted(void* start) {
    const std::unique_ptr<ThreadStart> owned(static_cast<ThreadStart*>(start));
    t_counts = true;
    return owned->body(owned->parameter);
}

}  // namespace

void Arm(std::string_view call, int nth, Way way) {
    g_call = call;
    g_way = way;
    t_counts = true;
    g_left = nth;
}

bool Disarm() {
    t_counts = false;
    return g_left.exchange(0) <= 0;
}

Spared::Spared() : m_before(t_counts) {
    t_counts = false;
}
Spared::~Spared() {
    t_counts = m_before;
}

// The linker leads the module's calls of `name` to __wrap_name, and __real_name to the system's.
#define FAULTY_SIZED(result, name, error, parameters, arguments, size) \
    result __real_##name parameters;                                   \
    result __wrap_##name parameters {                                  \
        return Run(#name, error, size, [&](size_t some) {              \
            static_cast<void>(some);                                   \
            return __real_##name arguments;                            \
        });                                                            \
    }
#define FAULTY(result, name, error, parameters, arguments) \
    FAULTY_SIZED(result, name, error, parameters, arguments, 0)

extern "C" {

FAULTY(int, bind, EADDRINUSE, (int fd, const sockaddr* to, socklen_t size), (fd, to, size))
FAULTY(int, close, EIO, (int fd), (fd))
FAULTY(int, flock, ENOLCK, (int fd, int how), (fd, how))
FAULTY(int, fstat, EIO, (int fd, struct stat* status), (fd, status))
FAULTY(int, mkdirat, ENOSPC, (int at, const char* name, mode_t mode), (at, name, mode))
FAULTY(int, open, EMFILE, (const char* name, int flags, mode_t mode), (name, flags, mode))
FAULTY(int, openat, ENFILE, (int at, const char* name, int flags, mode_t mode),
       (at, name, flags, mode))
FAULTY(int, ppoll, ENOMEM, (pollfd * fds, nfds_t count, const timespec* time, const sigset_t* mask),
       (fds, count, time, mask))
FAULTY_SIZED(ssize_t, read, EIO, (int fd, void* to, size_t size), (fd, to, some), size)
FAULTY(ssize_t, recvfrom, ENOMEM,
       (int fd, void* to, size_t size, int flags, sockaddr* from, socklen_t* length),
       (fd, to, size, flags, from, length))
FAULTY(int, renameat, EIO, (int from, const char* old, int to, const char* name),
       (from, old, to, name))
FAULTY(ssize_t, sendto, ENETUNREACH,
       (int fd, const void* data, size_t size, int flags, const sockaddr* to, socklen_t length),
       (fd, data, size, flags, to, length))
FAULTY(int, setsockopt, ENOMEM, (int fd, int level, int option, const void* value, socklen_t size),
       (fd, level, option, value, size))
FAULTY(int, socket, EMFILE, (int family, int kind, int protocol), (family, kind, protocol))
FAULTY(int, stat, EACCES, (const char* name, struct stat* status), (name, status))
FAULTY(int, timerfd_create, EMFILE, (int clock, int flags), (clock, flags))
FAULTY(int, utimensat, EPERM, (int at, const char* name, const timespec* times, int flags),
       (at, name, times, flags))
FAULTY_SIZED(ssize_t, write, ENOSPC, (int fd, const void* from, size_t size), (fd, from, some),
             size)

void* __real_aligned_alloc(size_t alignment, size_t size);
void* __wrap_aligned_alloc(size_t alignment, size_t size) {
    return Struck(kAllocation) ? nullptr : __real_aligned_alloc(alignment, size);
}

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* parameter) {
    if (Struck("pthread_create")) {
        return EAGAIN;
    }
    if (!t_counts) {
        return __real_pthread_create(thread, attributes, body, parameter);
    }
    const Spared spared;
    auto start = std::make_unique<ThreadStart>(ThreadStart{body, parameter});
    const int error = __real_pthread_create(thread, attributes, RunCounted, start.get());
    static_cast<void>(error == 0 ? start.release() : nullptr);
    return error;
}

}  // extern "C"

}  // namespace brenholt::faulty

void* operator new(size_t size) {
    void* memory = brenholt::faulty::Allocate(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return brenholt::faulty::Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return brenholt::faulty::Allocate(size);
}
void operator delete(void* memory) noexcept {
    brenholt::faulty::Release(memory);
}
void operator delete[](void* memory) noexcept {
    brenholt::faulty::Release(memory);
}
void operator delete(void* memory, size_t) noexcept {
    brenholt::faulty::Release(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    brenholt::faulty::Release(memory);
}
