#include "platform/posix/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace brenholt {

int AboveStandard(int fd) {
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int above = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(fd);
    return above;
}

void CloseFileHandle(intptr_t handle) {
    close(static_cast<int>(handle));
}

void CloseSocketHandle(intptr_t handle) {
    close(static_cast<int>(handle));
}

}  // namespace brenholt
