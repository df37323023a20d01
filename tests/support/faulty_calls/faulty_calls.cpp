#include "tests/support/faulty_calls/faulty_calls.h"

#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <new>
#include <optional>

namespace brenholt::faulty {
namespace {

struct Kind {
    const char* name;
    int error;
};
// In the order of Call.
constexpr std::array kKinds{
    Kind{"allocation", ENOMEM},     Kind{"bind", EADDRINUSE},    Kind{"close", EIO},
    Kind{"flock", ENOLCK},          Kind{"fstat", EIO},          Kind{"ftruncate", EIO},
    Kind{"getrandom", EAGAIN},      Kind{"lseek", EINVAL},       Kind{"mkdirat", ENOSPC},
    Kind{"open", EMFILE},           Kind{"openat", ENFILE},      Kind{"ppoll", ENOMEM},
    Kind{"pthread_create", EAGAIN}, Kind{"read", EIO},           Kind{"recvfrom", ENOMEM},
    Kind{"renameat", EIO},          Kind{"sendto", ENETUNREACH}, Kind{"setsockopt", ENOMEM},
    Kind{"socket", EMFILE},         Kind{"stat", EACCES},        Kind{"timerfd_create", EMFILE},
    Kind{"unlinkat", EIO},          Kind{"utimensat", EPERM},    Kind{"write", ENOSPC},
};
const Kind& KindOf(Call call) {
    return kKinds.at(static_cast<size_t>(call));
}

thread_local bool t_counts = false;
std::atomic<int> g_left{0};
Call g_call = Call::Allocation;
bool g_anyCall = false;
Way g_way = Way::Fail;

// What is to happen to this call, if anything.
std::optional<Way> Struck(Call call) {
    const bool counts =
        t_counts && g_left > 0 && (g_anyCall ? call != Call::Allocation : call == g_call);
    if (!counts || g_left.fetch_sub(1) != 1) {
        return std::nullopt;
    }
    if (g_way == Way::Kill && call != Call::Write) {
        raise(SIGKILL);
    }
    return g_way;
}

void ArmAs(Call call, bool any, int nth, Way way) {
    g_call = call;
    g_anyCall = any;
    g_way = way;
    t_counts = true;
    g_left = nth;
}

template <class Real>
auto Run(Call call, Real real) {
    const std::optional<Way> way = Struck(call);
    if (!way || *way == Way::Halve) {
        return real();
    }
    if (call == Call::Close) {
        real();
    }
    errno = *way == Way::Interrupt ? EINTR : KindOf(call).error;
    return static_cast<decltype(real())>(-1);
}

// The same for calls that may move less than they were asked to.
template <class Real>
ssize_t RunSized(Call call, size_t size, Real real) {
    const std::optional<Way> way = Struck(call);
    if (!way) {
        return real(size);
    }
    if (*way == Way::Halve || *way == Way::Kill) {
        const ssize_t moved = real((size + 1) / 2);
        if (*way == Way::Kill) {
            raise(SIGKILL);
        }
        return moved;
    }
    errno = *way == Way::Interrupt ? EINTR : KindOf(call).error;
    return -1;
}

void* Allocate(size_t size) {
    return Struck(Call::Allocation) ? nullptr : std::malloc(size > 0 ? size : 1);
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

const char* NameOf(Call call) {
    return KindOf(call).name;
}

void Arm(Call call, int nth, Way way) {
    ArmAs(call, false, nth, way);
}
void ArmKill(int nth) {
    ArmAs(Call::Allocation, true, nth, Way::Kill);
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

}  // namespace brenholt::faulty

using brenholt::faulty::Call;
using brenholt::faulty::Run;
using brenholt::faulty::RunSized;

// The linker leads the module's calls of `name` to __wrap_name, and __real_name to the system's.
// NOLINTBEGIN(bugprone-reserved-identifier)
#define FAULTY(result, call, name, parameters, arguments)                \
    result __real_##name parameters;                                     \
    result __wrap_##name parameters {                                    \
        return Run(Call::call, [&] { return __real_##name arguments; }); \
    }

extern "C" {

FAULTY(int, Bind, bind, (int fd, const sockaddr* to, socklen_t size), (fd, to, size))
FAULTY(int, Close, close, (int fd), (fd))
FAULTY(int, Flock, flock, (int fd, int how), (fd, how))
FAULTY(int, Fstat, fstat, (int fd, struct stat* status), (fd, status))
FAULTY(int, Ftruncate, ftruncate, (int fd, off_t size), (fd, size))
FAULTY(ssize_t, Getrandom, getrandom, (void* to, size_t size, unsigned flags), (to, size, flags))
FAULTY(off_t, Lseek, lseek, (int fd, off_t at, int from), (fd, at, from))
FAULTY(int, Mkdirat, mkdirat, (int at, const char* name, mode_t mode), (at, name, mode))
FAULTY(int, Open, open, (const char* name, int flags, mode_t mode), (name, flags, mode))
FAULTY(int, Openat, openat, (int at, const char* name, int flags, mode_t mode),
       (at, name, flags, mode))
FAULTY(int, Ppoll, ppoll, (pollfd * fds, nfds_t count, const timespec* time, const sigset_t* mask),
       (fds, count, time, mask))
FAULTY(ssize_t, Recvfrom, recvfrom,
       (int fd, void* to, size_t size, int flags, sockaddr* from, socklen_t* length),
       (fd, to, size, flags, from, length))
FAULTY(int, Renameat, renameat, (int from, const char* old, int to, const char* name),
       (from, old, to, name))
FAULTY(ssize_t, Sendto, sendto,
       (int fd, const void* data, size_t size, int flags, const sockaddr* to, socklen_t length),
       (fd, data, size, flags, to, length))
FAULTY(int, Setsockopt, setsockopt,
       (int fd, int level, int option, const void* value, socklen_t size),
       (fd, level, option, value, size))
FAULTY(int, Socket, socket, (int family, int kind, int protocol), (family, kind, protocol))
FAULTY(int, Stat, stat, (const char* name, struct stat* status), (name, status))
FAULTY(int, TimerfdCreate, timerfd_create, (int clock, int flags), (clock, flags))
FAULTY(int, Unlinkat, unlinkat, (int at, const char* name, int flags), (at, name, flags))
FAULTY(int, Utimensat, utimensat, (int at, const char* name, const timespec* times, int flags),
       (at, name, times, flags))

ssize_t __real_read(int fd, void* to, size_t size);
ssize_t __wrap_read(int fd, void* to, size_t size) {
    return RunSized(Call::Read, size, [&](size_t some) { return __real_read(fd, to, some); });
}
ssize_t __real_write(int fd, const void* from, size_t size);
ssize_t __wrap_write(int fd, const void* from, size_t size) {
    return RunSized(Call::Write, size, [&](size_t some) { return __real_write(fd, from, some); });
}

void* __real_aligned_alloc(size_t alignment, size_t size);
void* __wrap_aligned_alloc(size_t alignment, size_t size) {
    return brenholt::faulty::Struck(Call::Allocation) ? nullptr
                                                      : __real_aligned_alloc(alignment, size);
}

int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                          void* parameter) {
    if (brenholt::faulty::Struck(Call::PthreadCreate)) {
        return EAGAIN;
    }
    if (!brenholt::faulty::t_counts) {
        return __real_pthread_create(thread, attributes, body, parameter);
    }
    const brenholt::faulty::Spared spared;
    std::unique_ptr<brenholt::faulty::ThreadStart> start(
        new brenholt::faulty::ThreadStart{body, parameter});
    const int error =
        __real_pthread_create(thread, attributes, brenholt::faulty::RunCounted, start.get());
    if (error == 0) {
        static_cast<void>(start.release());
    }
    return error;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

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
