#include "platform/folder.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/path.h"

namespace brenholt {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kTempFileTries = 100;

uint32_t RandomNumber() {
    uint32_t number = 0;
    if (getrandom(&number, sizeof number, GRND_NONBLOCK) != sizeof number) {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        number = static_cast<uint32_t>(now.tv_nsec);
    }
    return number;
}

// Another one each time, and hardly one that another process has.
std::string NextTempName() {
    static std::atomic<uint32_t> next{RandomNumber()};
    std::array<char, 24> name{};
    std::snprintf(name.data(), name.size(), "TMP%08X.tmp", static_cast<unsigned>(next++));
    return name.data();
}

}  // namespace

bool CFolder::Open(std::u16string_view path) {
    const std::string disk = DiskPath(FolderPath(path));
    m_fd = CDescriptor(Uninterrupted([&] { return open(disk.c_str(), kFolderFlags); }));
    return static_cast<bool>(m_fd);
}

bool CFolder::OpenChild(const CFolder& parent, const std::string& name) {
    mkdirat(parent.Get(), name.c_str(), 0777);
    m_fd = CDescriptor(Uninterrupted(
        [&] { return openat(parent.Get(), name.c_str(), kFolderFlags | O_NOFOLLOW); }));
    return static_cast<bool>(m_fd);
}

std::string CFolder::MakeTempFile() const {
    for (int i = 0; i < kTempFileTries; ++i) {
        std::string name = NextTempName();
        const CDescriptor file(Uninterrupted([&] {
            return openat(m_fd.Get(), name.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        }));
        if (file) {
            return name;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return {};
}

bool CFolder::SetLastWrite(const std::string& name, time_t time) const {
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{time, 0}};
    return utimensat(m_fd.Get(), name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW) == 0;
}

bool CFolder::Replace(const std::string& from, const std::string& to) const {
    return renameat(m_fd.Get(), from.c_str(), m_fd.Get(), to.c_str()) == 0;
}

void CFolder::DeleteFile(const std::string& name) const {
    unlinkat(m_fd.Get(), name.c_str(), 0);
}

}  // namespace brenholt
