// Reading a host file for the panel.
#ifndef BRENHOLT_COMMANDS_FILE_TO_PANEL_H
#define BRENHOLT_COMMANDS_FILE_TO_PANEL_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/file.h"

namespace brenholt {

// Reads up to `buffer.size()` bytes at `offset` of the file; gives their number. 0 at the end of the
// file, when it cannot be opened or read, or when it is no longer the file of `expected`: written or
// replaced since. The file is open, and locked, only during the call.
size_t ReadLocalFile(std::u16string_view path, std::span<uint8_t> buffer, uint64_t offset,
                     const FileIdentity& expected);

}  // namespace brenholt

#endif
