#include "tools/panel/request.h"

#include <algorithm>
#include <array>

namespace tavrin {
namespace {

constexpr std::string_view kPrefix = "Cmd=";
constexpr size_t kOffsetDigits = 8;
constexpr std::array<std::string_view, 13> kNames = {"TM", "EX", "CL", "RM", "MD", "FF", "FD",
                                                     "VS", "IP", "DR", "UP", "DL", "ML"};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<uint32_t> ParseOffset(std::string_view digits) {
    uint32_t offset = 0;
    for (const char c : digits) {
        if (!IsDigit(c) && (c < 'A' || c > 'F')) {
            return std::nullopt;
        }
        offset = offset << 4 | static_cast<uint32_t>(IsDigit(c) ? c - '0' : c - 'A' + 10);
    }
    return offset;
}

// Takes what belongs to the command itself off the front of `rest`.
bool ParseToken(Request& request, std::string_view& rest) {
    switch (request.command) {
        case Command::DR:
        case Command::DL:
        case Command::ML: {
            const size_t length = request.command == Command::ML ? 2 : 1;
            if (rest.size() < length || !IsDigit(rest[0])) {
                return false;
            }
            request.digit = rest[0];
            if (length == 2) {
                request.last = rest[1] == '-';
                if (!request.last && rest[1] != '+') {
                    return false;
                }
            }
            rest.remove_prefix(length);
            return true;
        }
        case Command::UP: {
            if (rest.size() < kOffsetDigits) {
                return false;
            }
            const auto offset = ParseOffset(rest.substr(0, kOffsetDigits));
            rest.remove_prefix(kOffsetDigits);
            request.offset = offset.value_or(0);
            return offset.has_value();
        }
        default:
            return true;
    }
}

}  // namespace

std::string_view CommandName(Command command) {
    return kNames[static_cast<size_t>(command)];
}

std::optional<Command> ParseCommand(std::string_view name) {
    const auto* const found = std::find(kNames.begin(), kNames.end(), name);
    if (found == kNames.end()) {
        return std::nullopt;
    }
    return static_cast<Command>(found - kNames.begin());
}

bool HasRequestPrefix(ByteView datagram) {
    return datagram.size() >= kPrefix.size() &&
           std::equal(kPrefix.begin(), kPrefix.end(), datagram.begin());
}

std::optional<Request> ParseRequest(ByteView datagram) {
    if (!HasRequestPrefix(datagram) || datagram.size() > kMaxDatagram) {
        return std::nullopt;
    }
    std::string_view rest(reinterpret_cast<const char*>(datagram.data()), datagram.size());
    rest.remove_prefix(kPrefix.size());
    const auto command = ParseCommand(rest.substr(0, 2));
    if (!command) {
        return std::nullopt;
    }
    rest.remove_prefix(2);
    Request request;
    request.command = *command;
    if (!ParseToken(request, rest)) {
        return std::nullopt;
    }
    const size_t end = rest.find('\0');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    request.text = rest.substr(0, end);
    request.payload = datagram.last(rest.size() - end - 1);
    const bool carries = request.command == Command::DL || request.command == Command::ML;
    if (carries == request.payload.empty()) {
        return std::nullopt;
    }
    return request;
}

}  // namespace tavrin
