// Files on the disk.
#ifndef BRENHOLT_PLATFORM_FILE_H
#define BRENHOLT_PLATFORM_FILE_H

#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/file_time.h"
#include "platform/handle.h"

namespace brenholt {

class CFolder;

// Thrown by the operations of an open CFile that fail.
class CFileException : public std::exception {
 public:
    const char* what() const noexcept override { return "file operation failed"; }
};

// Which file, and in what state: two equal values mean that nothing was written or replaced in between.
struct FileIdentity {
    uint64_t device = 0;
    uint64_t file = 0;
    uint64_t size = 0;
    int64_t lastWrite = 0;     // seconds since 1970
    uint32_t nanoseconds = 0;  // and of the next one

    bool operator==(const FileIdentity&) const = default;
};

// A regular file, open and locked: no other CFile can open it meanwhile, in this process or another,
// except on a file system without such locks. Closed by its destructor.
class CFile {
 public:
    CFile() = default;
    ~CFile() { Unlock(); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    enum Mode {
        modeRead,    // an existing file, for reading
        modeWrite,   // an existing file, for writing
        modeCreate,  // for writing, made if it is missing; emptied once the lock is held
    };

    // False when there is no such file, it is not a regular file (a FIFO or device is never waited for), it
    // may not be opened that way, or it is open elsewhere.
    bool Open(std::u16string_view path, Mode mode);
    // The same for the file `name` of a held folder. A link is not followed.
    bool OpenAt(const CFolder& folder, std::u16string_view name, Mode mode);

    // The following throw CFileException.
    uint64_t GetLength() const;
    void Seek(uint64_t offset);
    void SeekToEnd();
    // Bytes read; fewer than asked for only at the end of the file.
    size_t Read(std::span<uint8_t> buffer);
    // Writes all, or throws.
    void Write(std::span<const uint8_t> data);
    // Closes the file; throws when the system reports a write that failed late.
    void Close();

    FileIdentity GetIdentity() const;

 private:
    void Unlock();

    CFileHandle m_file;
};

// What GetStatus finds out about a file.
struct CFileStatus {
    uint64_t m_size = 0;
    uint8_t m_attribute = 0;      // 0x01 read-only, 0x02 hidden, 0x10 directory, 0x20 archive
    std::u16string m_szFullName;  // absolute path, at most 259 characters
    std::u16string m_fileName;    // last component
    FILETIME m_lastWrite;
    FileIdentity m_identity;
};

// Nothing when there is no such regular file or its absolute path has 260 characters or more.
std::optional<CFileStatus> GetStatus(std::u16string_view path);

}  // namespace brenholt

#endif
