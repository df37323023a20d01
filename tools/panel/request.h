// The request datagram of a host, taken apart.
//
//   0        4    "Cmd="
//   4        2    command
//   6             DR, DL: sequence digit
//                 ML: sequence digit and '+' (more follows) or '-' (last)
//                 UP: file offset, eight upper-case hexadecimal digits
//   then     N    text, ended by a zero byte
//   then     P    payload (DL and ML only)
#ifndef BRENHOLT_TOOLS_PANEL_REQUEST_H
#define BRENHOLT_TOOLS_PANEL_REQUEST_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "tools/panel/wire.h"

namespace tavrin {

enum class Command { TM, EX, CL, RM, MD, FF, FD, VS, IP, DR, UP, DL, ML };

std::string_view CommandName(Command command);
std::optional<Command> ParseCommand(std::string_view name);

// Views into the datagram; good as long as its bytes are.
struct Request {
    Command command = Command::TM;
    char digit = 0;       // DR, DL, ML
    bool last = false;    // ML: the block ends with this datagram
    uint32_t offset = 0;  // UP
    std::string_view text;
    ByteView payload;
};

// Whether the datagram claims to be a request at all.
bool HasRequestPrefix(ByteView datagram);

// Nothing when the datagram breaks a rule of the layout: unknown command, bad digits, no zero byte,
// bytes after it where no payload belongs, more than 1400 bytes.
std::optional<Request> ParseRequest(ByteView datagram);

}  // namespace tavrin

#endif
