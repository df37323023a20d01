#include "tools/panel/storage.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <limits>
#include <memory>
#include <system_error>

namespace tavrin {
namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::string_view kScratchPrefix = ".tavrin-";

// The folder that holds the last name of a path. The name is empty when the path is the root.
struct Place {
    Descriptor folder;
    std::string name;
};

Descriptor OpenFolder(int parent, const std::string& name, int mode) {
    return Descriptor(openat(parent, name.c_str(), mode | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// The names of a path; nothing when one of them leads upwards or cannot be a name on disk.
std::optional<std::vector<std::string>> Split(std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const size_t end = std::min(path.find_first_of(kSeparators), path.size());
        const std::string_view name = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (name == ".." || name.find('\0') != std::string_view::npos) {
            return std::nullopt;
        }
        if (!name.empty() && name != ".") {
            names.emplace_back(name);
        }
    }
    return names;
}

// Steps down one folder at a time, so that a folder swapped for a link meanwhile leads nowhere.
std::optional<Place> Locate(int root, std::string_view path) {
    const auto names = Split(path);
    if (!names) {
        return std::nullopt;
    }
    Place place{OpenFolder(root, ".", O_PATH), {}};
    for (const std::string& name : *names) {
        if (!place.name.empty()) {
            place.folder = OpenFolder(place.folder.get(), place.name, O_PATH);
        }
        if (!place.folder) {
            return std::nullopt;
        }
        place.name = name;
    }
    return place;
}

FileRecord RecordOf(const struct stat& status) {
    FileRecord record;
    const bool folder = S_ISDIR(status.st_mode);
    record.size = folder ? 0 : static_cast<uint32_t>(status.st_size);
    record.time = WireTime(status.st_mtim);
    record.attributes = folder ? kAttributeFolder : kAttributeArchive;
    if ((status.st_mode & S_IWUSR) == 0) {
        record.attributes |= kAttributeReadOnly;
    }
    return record;
}

Kind KindAt(int folder, const std::string& name, struct stat& status) {
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return Kind::None;
    }
    if (S_ISREG(status.st_mode)) {
        return Kind::File;
    }
    return S_ISDIR(status.st_mode) ? Kind::Folder : Kind::None;
}

Kind KindAt(const Place& place) {
    struct stat status {};
    return place.name.empty() ? Kind::Folder : KindAt(place.folder.get(), place.name, status);
}

bool WriteAll(int file, ByteView content) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content = content.subspan(static_cast<size_t>(std::max<ssize_t>(written, 0)));
    }
    return true;
}

}  // namespace

StoredFile::StoredFile(Descriptor descriptor, uint64_t size, const timespec& time,
                       FileRecord record)
    : m_descriptor(std::move(descriptor)), m_size(size), m_time(time), m_record(record) {
}

bool StoredFile::Unchanged() const {
    struct stat status {};
    return fstat(m_descriptor.get(), &status) == 0 &&
           static_cast<uint64_t>(status.st_size) == m_size &&
           status.st_mtim.tv_sec == m_time.tv_sec && status.st_mtim.tv_nsec == m_time.tv_nsec;
}

std::optional<size_t> StoredFile::Read(uint64_t offset, std::span<uint8_t> into) const {
    const ssize_t count =
        pread(m_descriptor.get(), into.data(), into.size(), static_cast<off_t>(offset));
    if (count < 0) {
        return std::nullopt;
    }
    return static_cast<size_t>(count);
}

NewFile::NewFile(Descriptor folder, std::string name)
    : m_folder(std::move(folder)), m_name(std::move(name)) {
    static std::atomic<unsigned> counter{0};
    m_scratch =
        std::string(kScratchPrefix) + std::to_string(getpid()) + "-" + std::to_string(++counter);
    m_file = Descriptor(openat(m_folder.get(), m_scratch.c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
}

NewFile::~NewFile() {
    if (m_file) {
        unlinkat(m_folder.get(), m_scratch.c_str(), 0);
    }
}

bool NewFile::Append(ByteView data) {
    return WriteAll(m_file.get(), data);
}

bool NewFile::Finish(uint64_t time) {
    const timespec written = DiskTime(time);
    const std::array<timespec, 2> times = {written, written};
    if (futimens(m_file.get(), times.data()) != 0 ||
        renameat(m_folder.get(), m_scratch.c_str(), m_folder.get(), m_name.c_str()) != 0) {
        return false;
    }
    m_file = Descriptor();
    return true;
}

Storage::Storage(const std::filesystem::path& root)
    : m_root(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
    if (!m_root) {
        throw std::system_error(errno, std::generic_category(), root.string());
    }
}

Kind Storage::KindOf(std::string_view path) const {
    const auto place = Locate(m_root.get(), path);
    return place ? KindAt(*place) : Kind::None;
}

std::optional<std::vector<StorageEntry>> Storage::List(std::string_view path) const {
    const auto place = Locate(m_root.get(), path);
    if (!place) {
        return std::nullopt;
    }
    const std::string name = place->name.empty() ? "." : place->name;
    Descriptor descriptor = OpenFolder(place->folder.get(), name, O_RDONLY);
    if (!descriptor) {
        return std::nullopt;
    }
    const auto closeFolder = [](DIR* folder) { closedir(folder); };
    const std::unique_ptr<DIR, decltype(closeFolder)> folder(fdopendir(descriptor.get()),
                                                             closeFolder);
    if (!folder) {
        return std::nullopt;
    }
    const int handle = descriptor.release();  // the folder stream owns it now
    std::vector<StorageEntry> entries;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the stream belongs to this call.
    while (const dirent* const item = readdir(folder.get())) {
        StorageEntry entry{static_cast<const char*>(item->d_name), {}};
        struct stat status {};
        if (entry.name != "." && entry.name != ".." && !entry.name.starts_with(kScratchPrefix) &&
            KindAt(handle, entry.name, status) != Kind::None) {
            entry.record = RecordOf(status);
            entries.push_back(std::move(entry));
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const StorageEntry& a, const StorageEntry& b) { return a.name < b.name; });
    return entries;
}

std::optional<StoredFile> Storage::Open(std::string_view path) const {
    const auto place = Locate(m_root.get(), path);
    if (!place || place->name.empty()) {
        return std::nullopt;
    }
    // Non-blocking, or a FIFO of that name would hold the panel up.
    Descriptor file(openat(place->folder.get(), place->name.c_str(),
                           O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > std::numeric_limits<uint32_t>::max()) {
        return std::nullopt;
    }
    return StoredFile(std::move(file), static_cast<uint64_t>(status.st_size), status.st_mtim,
                      RecordOf(status));
}

bool Storage::RemoveFile(std::string_view path) const {
    const auto place = Locate(m_root.get(), path);
    return place && KindAt(*place) == Kind::File &&
           unlinkat(place->folder.get(), place->name.c_str(), 0) == 0;
}

bool Storage::MakeFolder(std::string_view path) const {
    const auto place = Locate(m_root.get(), path);
    return place && (KindAt(*place) == Kind::Folder ||
                     mkdirat(place->folder.get(), place->name.c_str(), 0777) == 0);
}

std::unique_ptr<NewFile> Storage::Create(std::string_view path) const {
    auto place = Locate(m_root.get(), path);
    if (!place || KindAt(*place) == Kind::Folder) {
        return nullptr;
    }
    auto file = std::make_unique<NewFile>(std::move(place->folder), std::move(place->name));
    return *file ? std::move(file) : nullptr;
}

bool EndsInSeparator(std::string_view path) {
    return !path.empty() && kSeparators.find(path.back()) != std::string_view::npos;
}

}  // namespace tavrin
