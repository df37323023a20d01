// Canned behaviour from a text: which request gets which reply instead of the usual one.
//
// One line a reply; lines for the same request add up, in their order:
//
//   COMMAND  WHICH  REPLY  [after SPAN]  [from-other-port]
//
//   COMMAND  two letters, or * for every command
//   WHICH    which requests of that command, counted from 1: 3, 3-5, 3-, or * for each
//   REPLY    usual      what the panel would say
//            silent     nothing
//            "text"     these bytes; \xHH, \\ and \" stand for a byte, a backslash and a quote
//   SPAN     a number with its unit: 500us, 300ms, 2s
//
// Empty lines and lines that begin with # are skipped. Example:
//
//   TM 1 silent
//   UP 3 usual after 1200ms
//   UP 3 usual
//   DR * "NAK"
#ifndef BRENHOLT_TOOLS_PANEL_SCRIPT_H
#define BRENHOLT_TOOLS_PANEL_SCRIPT_H

#include <string_view>

#include "tools/panel/panel.h"

namespace tavrin {

// Throws std::invalid_argument with the line's number. Each hook counts the requests it has seen.
Panel::Hook ParseScript(std::string_view text);

}  // namespace tavrin

#endif
