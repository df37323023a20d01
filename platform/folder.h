// A folder of the host, held open: what is done in it stays in it, even when its path or a name in it is
// swapped for a link in the meantime.
#ifndef BRENHOLT_PLATFORM_FOLDER_H
#define BRENHOLT_PLATFORM_FOLDER_H

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/handle.h"

namespace brenholt {

// Names are one component each (IsPlainName). No operation follows a link.
class CFolder {
 public:
    // Opens the folder that the host named (an empty text names the root). False when that fails.
    bool Open(std::u16string_view path);
    // Opens the folder `name` in `parent`, made if it is missing (CreateDirectoryW). False when it
    // cannot be made, or is not a folder; a link to one is not.
    bool OpenChild(const CFolder& parent, std::u16string_view name);

    intptr_t Get() const { return m_folder.Get(); }

    // GetTempFileNameW: makes a new empty file whose name begins with "TMP", with the permissions that
    // the umask gives a new file; its name, or an empty text.
    std::u16string MakeTempFile() const;

    // Sets the last-write time, in seconds since 1970; the other times stay. False when it cannot be set.
    bool SetLastWrite(std::u16string_view name, int64_t time) const;

    // Puts the file `from` in the place of `to` in one step: at any moment `to` is the old file or the
    // new one, whole. False when that fails (a folder has that name, for instance), and both are as before.
    bool Replace(std::u16string_view from, std::u16string_view to) const;

    // DeleteFileW: deletes the file, if it is there. Throws nothing.
    void DeleteFile(std::u16string_view name) const noexcept;

 private:
    CFileHandle m_folder;
};

}  // namespace brenholt

#endif
