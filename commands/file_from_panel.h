// Writing a panel file to the host's disk.
#ifndef BRENHOLT_COMMANDS_FILE_FROM_PANEL_H
#define BRENHOLT_COMMANDS_FILE_FROM_PANEL_H

#include <cstdint>
#include <span>
#include <string>

#include "platform/folder.h"

namespace brenholt {

// Appends `data` to the file `name` of the folder; with `create` the file is made or emptied first.
// The file is open, and locked, only during the call. False on any failure.
bool WriteLocalFile(const CFolder& folder, std::u16string_view name, std::span<const uint8_t> data,
                    bool create);

}  // namespace brenholt

#endif
