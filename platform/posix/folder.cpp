#include "platform/folder.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>

#include "platform/path.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/disk_path.h"
#include "platform/text.h"

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
    m_folder =
        CFileHandle(AboveStandard(Uninterrupted([&] { return open(disk.c_str(), kFolderFlags); })));
    return static_cast<bool>(m_folder);
}

bool CFolder::OpenChild(const CFolder& parent, std::u16string_view name) {
    const std::string disk = WideCharToMultiByte(name);
    const int above = Descriptor(parent.m_folder);
    mkdirat(above, disk.c_str(), 0777);
    m_folder = CFileHandle(AboveStandard(
        Uninterrupted([&] { return openat(above, disk.c_str(), kFolderFlags | O_NOFOLLOW); })));
    return static_cast<bool>(m_folder);
}

std::u16string CFolder::MakeTempFile() const {
    for (int i = 0; i < kTempFileTries; ++i) {
        const std::string disk = NextTempName();
        // Before the file: for want of memory, nobody would know of it.
        std::u16string name(disk.begin(), disk.end());
        const CFileHandle file(AboveStandard(Uninterrupted([&] {
            return openat(Descriptor(m_folder), disk.c_str(),
                          O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
        })));
        if (file) {
            return name;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return {};
}

bool CFolder::SetLastWrite(std::u16string_view name, int64_t time) const {
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, timespec{time, 0}};
    return utimensat(Descriptor(m_folder), WideCharToMultiByte(name).c_str(), times.data(),
                     AT_SYMLINK_NOFOLLOW) == 0;
}

bool CFolder::Replace(std::u16string_view from, std::u16string_view to) const {
    const int folder = Descriptor(m_folder);
    return renameat(folder, WideCharToMultiByte(from).c_str(), folder,
                    WideCharToMultiByte(to).c_str()) == 0;
}

void CFolder::DeleteFile(std::u16string_view name) const noexcept {
    try {
        unlinkat(Descriptor(m_folder), WideCharToMultiByte(name).c_str(), 0);
    } catch (const std::bad_alloc&) {
        // Temporary names are too short to need any memory.
    }
}

}  // namespace brenholt
