#include "platform/file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/folder.h"
#include "platform/path.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/disk_path.h"
#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kMaxPath = 260;  // characters, the terminator included
constexpr uint8_t kReadOnly = 0x01;
constexpr uint8_t kHidden = 0x02;
constexpr uint8_t kArchive = 0x20;

FileIdentity IdentityOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, static_cast<uint64_t>(status.st_size),
            status.st_mtim.tv_sec, static_cast<uint32_t>(status.st_mtim.tv_nsec)};
}

struct stat StatusOf(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        throw CFileException();
    }
    return status;
}

// Opens and locks it; empty when that fails.
CFileHandle OpenRegular(int folder, const std::string& path, CFile::Mode mode, int flags) {
    flags |= O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    flags |= mode == CFile::modeRead ? O_RDONLY : O_WRONLY;
    flags |= mode == CFile::modeCreate ? O_CREAT : 0;
    CFileHandle file(
        AboveStandard(Uninterrupted([&] { return openat(folder, path.c_str(), flags, 0666); })));
    const int fd = Descriptor(file);
    // A network file system may lack such locks: only one that is held elsewhere refuses.
    if (!file || (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)) {
        return {};
    }
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        return {};
    }
    if (mode == CFile::modeCreate && status.st_size > 0 &&
        Uninterrupted([&] { return ftruncate(fd, 0); }) != 0) {
        return {};
    }
    return file;
}

}  // namespace

bool CFile::Open(std::u16string_view path, Mode mode) {
    m_file = OpenRegular(AT_FDCWD, DiskPath(path), mode, 0);
    return static_cast<bool>(m_file);
}

bool CFile::OpenAt(const CFolder& folder, std::u16string_view name, Mode mode) {
    m_file =
        OpenRegular(static_cast<int>(folder.Get()), WideCharToMultiByte(name), mode, O_NOFOLLOW);
    return static_cast<bool>(m_file);
}

uint64_t CFile::GetLength() const {
    return static_cast<uint64_t>(StatusOf(Descriptor(m_file)).st_size);
}

FileIdentity CFile::GetIdentity() const {
    return IdentityOf(StatusOf(Descriptor(m_file)));
}

void CFile::Seek(uint64_t offset) {
    if (lseek(Descriptor(m_file), static_cast<off_t>(offset), SEEK_SET) < 0) {
        throw CFileException();
    }
}

void CFile::SeekToEnd() {
    if (lseek(Descriptor(m_file), 0, SEEK_END) < 0) {
        throw CFileException();
    }
}

size_t CFile::Read(std::span<uint8_t> buffer) {
    size_t taken = 0;
    while (taken < buffer.size()) {
        const ssize_t n = Uninterrupted(
            [&] { return read(Descriptor(m_file), buffer.data() + taken, buffer.size() - taken); });
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
            Uninterrupted([&] { return write(Descriptor(m_file), data.data(), data.size()); });
        if (n <= 0) {
            throw CFileException();
        }
        data = data.subspan(static_cast<size_t>(n));
    }
}

// The lock belongs to the open file, which a forked child may keep open for longer than we do.
void CFile::Unlock() {
    if (m_file) {
        flock(Descriptor(m_file), LOCK_UN);
    }
}

void CFile::Close() {
    Unlock();
    // The descriptor is closed whatever the call returns, EINTR included.
    const auto fd = static_cast<int>(m_file.Release());
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
    result.m_identity = IdentityOf(status);
    result.m_lastWrite = FileTimeFrom(result.m_identity.lastWrite, result.m_identity.nanoseconds);
    return result;
}

}  // namespace brenholt
