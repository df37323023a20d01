#include "platform/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace brenholt {

CDescriptor::CDescriptor(int fd) : m_fd(fd) {
    if (fd >= 0 && fd <= STDERR_FILENO) {
        m_fd = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(fd);
    }
}

CDescriptor& CDescriptor::operator=(CDescriptor&& other) noexcept {
    if (this != &other) {
        Close();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

void CDescriptor::Close() {
    if (m_fd >= 0) {
        close(std::exchange(m_fd, -1));
    }
}

}  // namespace brenholt
