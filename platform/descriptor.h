// An owned file descriptor.
#ifndef BRENHOLT_PLATFORM_DESCRIPTOR_H
#define BRENHOLT_PLATFORM_DESCRIPTOR_H

#include <cerrno>
#include <utility>

namespace brenholt {

// The result of a system call, repeated for as long as a signal interrupts it.
template <class Call>
auto Uninterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

// Owns one descriptor, or none (-1). Move only.
class CDescriptor {
 public:
    CDescriptor() = default;
    // Takes `fd` over, which may be -1. A descriptor among the standard three is moved above them (the
    // host may have closed those, and would then write its messages into our file); close-on-exec is
    // kept. When no other descriptor is free, it is closed and the object is empty.
    explicit CDescriptor(int fd);
    CDescriptor(CDescriptor&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept;
    ~CDescriptor() { Close(); }

    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    int Release() { return std::exchange(m_fd, -1); }
    void Close();

 private:
    int m_fd = -1;
};

}  // namespace brenholt

#endif
