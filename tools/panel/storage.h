// A panel's storage: a real folder on disk.
//
// Panel paths are 8-bit texts with '\' or '/' between the names, taken from the storage's root;
// empty names and "." count for nothing, and the empty path is the root. No path leaves the root:
// ".." is refused, and symbolic links are neither followed nor shown.
#ifndef BRENHOLT_TOOLS_PANEL_STORAGE_H
#define BRENHOLT_TOOLS_PANEL_STORAGE_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/panel/descriptor.h"
#include "tools/panel/file_record.h"

namespace tavrin {

enum class Kind { None, File, Folder };

struct StorageEntry {
    std::string name;
    FileRecord record;
};

// A file opened for reading. It remembers the state of the file at that moment.
class StoredFile {
 public:
    StoredFile(Descriptor descriptor, uint64_t size, const timespec& time, FileRecord record);

    const FileRecord& record() const { return m_record; }
    uint64_t size() const { return m_size; }
    // Whether size and time are still those of the opening.
    bool Unchanged() const;
    // Bytes read at `offset`; nothing when the disk fails.
    std::optional<size_t> Read(uint64_t offset, std::span<uint8_t> into) const;

 private:
    Descriptor m_descriptor;
    uint64_t m_size;
    timespec m_time;
    FileRecord m_record;
};

// A file on its way into the storage: it appears whole, or not at all. Until then a scratch file
// beside its place holds it.
class NewFile {
 public:
    // `name` is a name in `folder`, no path.
    NewFile(Descriptor folder, std::string name);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    // Whether there is a scratch file.
    explicit operator bool() const { return static_cast<bool>(m_file); }
    bool Append(ByteView data);
    // The file takes its place, with the given time.
    bool Finish(uint64_t time);

 private:
    Descriptor m_folder;
    std::string m_name;
    std::string m_scratch;
    Descriptor m_file;
};

class Storage {
 public:
    // Throws std::system_error when `root` is not a folder that can be opened.
    explicit Storage(const std::filesystem::path& root);

    Kind KindOf(std::string_view path) const;
    // The files and folders of a folder, sorted by the bytes of their names.
    std::optional<std::vector<StorageEntry>> List(std::string_view path) const;
    // Nothing when there is no such file, or when it has 4 GiB or more.
    std::optional<StoredFile> Open(std::string_view path) const;

    // The others give false when it cannot be done.
    bool RemoveFile(std::string_view path) const;
    // A folder that is there already will do.
    bool MakeFolder(std::string_view path) const;
    // Nothing when no file can be stored under this path: its folder does not exist, or a folder
    // has its name.
    std::unique_ptr<NewFile> Create(std::string_view path) const;

 private:
    Descriptor m_root;
};

// Whether the text ends in a separator of panel paths.
bool EndsInSeparator(std::string_view path);

}  // namespace tavrin

#endif
