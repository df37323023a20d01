// Reading a host file for the panel.
#ifndef BRENHOLT_COMMANDS_FILE_TO_PANEL_H
#define BRENHOLT_COMMANDS_FILE_TO_PANEL_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/file.h"

namespace brenholt {

// Reads up to `buffer.size()` bytes at `offset` of the file; their number. 0 when there are none
// there, the file cannot be opened or read, or it is no longer in the state that `expected` tells:
// it was written or replaced meanwhile. The file is open only during the call, and shared with
// nobody.
size_t ReadLocalFile(const std::string& path, std::span<uint8_t> buffer, uint64_t offset,
                     const FileIdentity& expected);

}  // namespace brenholt

#endif
