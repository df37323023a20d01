// A folder of the host, held open: what is done in it stays in it, even when its path or a name in it is
// swapped for a link in the meantime.
#ifndef BRENHOLT_PLATFORM_FOLDER_H
#define BRENHOLT_PLATFORM_FOLDER_H

#include <string>
#include <string_view>

#include "platform/descriptor.h"
#include "platform/file_time.h"

namespace brenholt {

// Names are 8-bit text, one component each (IsPlainName). No operation follows a link.
class CFolder {
 public:
    // Opens the folder that the host named (an empty text names the root). False when that fails.
    bool Open(std::u16string_view path);
    // Opens the folder `name` in `parent`, made if it is missing (CreateDirectoryW). False when it
    // cannot be made, or is not a folder; a link to one is not.
    bool OpenChild(const CFolder& parent, const std::string& name);

    int Get() const { return m_fd.Get(); }

    // GetTempFileNameW: makes a new empty file whose name begins with "TMP", with the permissions that
    // the umask gives a new file; its name, or an empty text.
    std::string MakeTempFile() const;

    // Sets the last-write time; the other times stay. False when it cannot be set.
    bool SetLastWrite(const std::string& name, time_t time) const;

    // Puts the file `from` in the place of `to` in one step: at any moment `to` is the old file or the
    // new one, whole. False when that fails (a folder has that name, for instance), and both are as before.
    bool Replace(const std::string& from, const std::string& to) const;

    // DeleteFileW: deletes the file, if it is there.
    void DeleteFile(const std::string& name) const;

 private:
    CDescriptor m_fd;
};

}  // namespace brenholt

#endif
