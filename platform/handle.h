// What the system has opened, held as an opaque word: a file descriptor, a HANDLE, a SOCKET.
#ifndef BRENHOLT_PLATFORM_HANDLE_H
#define BRENHOLT_PLATFORM_HANDLE_H

#include <cstdint>
#include <utility>

namespace brenholt {

void CloseFileHandle(intptr_t handle);
void CloseSocketHandle(intptr_t handle);

// Owns one handle, or none (-1). Move only.
template <void (*CloseIt)(intptr_t)>
class CHandle {
 public:
    CHandle() = default;
    explicit CHandle(intptr_t handle) : m_handle(handle) {}
    CHandle(CHandle&& other) noexcept : m_handle(other.Release()) {}
    CHandle& operator=(CHandle&& other) noexcept {
        if (this != &other) {
            Close();
            m_handle = other.Release();
        }
        return *this;
    }
    ~CHandle() { Close(); }

    intptr_t Get() const { return m_handle; }
    explicit operator bool() const { return m_handle != -1; }
    intptr_t Release() { return std::exchange(m_handle, -1); }
    void Close() {
        if (m_handle != -1) {
            CloseIt(Release());
        }
    }

 private:
    intptr_t m_handle = -1;
};

using CFileHandle = CHandle<CloseFileHandle>;
using CSocketHandle = CHandle<CloseSocketHandle>;

}  // namespace brenholt

#endif
