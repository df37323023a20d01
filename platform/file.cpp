#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/path.h"
#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kMaxPath = 260;  // characters, the terminator included
constexpr uint8_t kReadOnly = 0x01;
constexpr uint8_t kHidden = 0x02;
constexpr uint8_t kArchive = 0x20;

FileIdentity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size), status.st_mtim};
}

struct stat StatusOf(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        throw CFileException();
    }
    return status;
}

}  // namespace

bool FileIdentity::operator==(const FileIdentity& other) const {
    return device == other.device && file == other.file && size == other.size &&
           lastWrite.tv_sec == other.lastWrite.tv_sec &&
           lastWrite.tv_nsec == other.lastWrite.tv_nsec;
}

bool CFile::Open(const std::string& path, Mode mode) {
    return OpenAt(AT_FDCWD, path, mode);
}

bool CFile::OpenAt(int folder, const std::string& name, Mode mode) {
    int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    flags |= mode == modeRead ? O_RDONLY : O_WRONLY;
    flags |= mode == modeCreate ? O_CREAT : 0;
    flags |= folder != AT_FDCWD ? O_NOFOLLOW : 0;
    CDescriptor fd(Uninterrupted([&] { return openat(folder, name.c_str(), flags, 0666); }));
    // A network file system may lack such locks: only a lock that is held elsewhere refuses.
    if (!fd || (flock(fd.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)) {
        return false;
    }
    struct stat status {};
    if (fstat(fd.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    if (mode == modeCreate && status.st_size > 0 &&
        Uninterrupted([&] { return ftruncate(fd.Get(), 0); }) != 0) {
        return false;
    }
    m_fd = std::move(fd);
    return true;
}

uint64_t CFile::GetLength() const {
    return static_cast<uint64_t>(StatusOf(m_fd.Get()).st_size);
}

FileIdentity CFile::GetIdentity() const {
    return IdentityOf(StatusOf(m_fd.Get()));
}

void CFile::Seek(uint64_t offset) {
    if (lseek(m_fd.Get(), static_cast<off_t>(offset), SEEK_SET) < 0) {
        throw CFileException();
    }
}

void CFile::SeekToEnd() {
    if (lseek(m_fd.Get(), 0, SEEK_END) < 0) {
        throw CFileException();
    }
}

size_t CFile::Read(std::span<uint8_t> buffer) {
    size_t taken = 0;
    while (taken < buffer.size()) {
        const ssize_t n = Uninterrupted(
            [&] { return read(m_fd.Get(), buffer.data() + taken, buffer.size() - taken); });
        if (n < 0) {
            throw CFileException();
        }
        if (n == 0) {
            break;
        }
        taken += static_cast<size_t>(n);
    }
    return taken;
}

void CFile::Write(std::span<const uint8_t> data) {
    while (!data.empty()) {
        const ssize_t n =
            Uninterrupted([&] { return write(m_fd.Get(), data.data(), data.size()); });
        if (n <= 0) {
            throw CFileException();
        }
        data = data.subspan(static_cast<size_t>(n));
    }
}

// The lock belongs to the open file, which a forked child may keep open for longer than we do.
void CFile::Unlock() {
    if (m_fd) {
        flock(m_fd.Get(), LOCK_UN);
    }
}

void CFile::Close() {
    Unlock();
    // The descriptor is closed whatever the call returns, EINTR included.
    const int fd = m_fd.Release();
    if (fd >= 0 && close(fd) != 0 && errno != EINTR) {
        throw CFileException();
    }
}

std::optional<CFileStatus> GetStatus(std::u16string_view path) {
    const std::string disk = DiskPath(path);
    struct stat status {};
    if (stat(disk.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    std::error_code error;
    const std::filesystem::path full = std::filesystem::absolute(disk, error).lexically_normal();
    CFileStatus result;
    result.m_szFullName = WidenName(full.native());
    if (error || result.m_szFullName.size() >= kMaxPath) {
        return std::nullopt;
    }
    result.m_size = static_cast<uint64_t>(status.st_size);
    result.m_fileName = LastComponent(result.m_szFullName);
    result.m_attribute = kArchive;
    if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
        result.m_attribute |= kReadOnly;
    }
    if (result.m_fileName.starts_with(u'.')) {
        result.m_attribute |= kHidden;
    }
    result.m_lastWrite = FileTimeFrom(status.st_mtim);
    result.m_identity = IdentityOf(status);
    return result;
}

}  // namespace brenholt
