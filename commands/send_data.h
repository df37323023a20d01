// What the datagrams of DL and ML have in common: their data follows a prefix that stays, and the
// sequence digit counts them.
#ifndef BRENHOLT_COMMANDS_SEND_DATA_H
#define BRENHOLT_COMMANDS_SEND_DATA_H

#include <cstddef>

namespace brenholt {

inline constexpr size_t kDigitAt = 6;

}  // namespace brenholt

#endif
