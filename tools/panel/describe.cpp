#include "tools/panel/describe.h"

#include <array>
#include <cstdio>

#include "tools/panel/request.h"

namespace tavrin {
namespace {

template <typename... Args>
std::string Format(const char* format, Args... args) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, args...);
    return text.data();
}

std::string_view AsText(ByteView bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string Quoted(std::string_view text) {
    return '"' + Printable(text) + '"';
}

std::string DescribeRequest(ByteView bytes) {
    const auto request = ParseRequest(bytes);
    if (!request) {
        return "malformed " + Quoted(AsText(bytes).substr(0, AsText(bytes).find('\0')));
    }
    std::string text(CommandName(request->command));
    switch (request->command) {
        case Command::UP:
            text += Format(" %08X", request->offset);
            break;
        case Command::ML:
            text.append(" ").append({request->digit, request->last ? '-' : '+'});
            break;
        case Command::DR:
        case Command::DL:
            text.append(" ").append({request->digit});
            break;
        default:
            break;
    }
    if (!request->text.empty()) {
        text += " " + Quoted(request->text);
    }
    return text;
}

std::string Describe(const LogEntry& entry) {
    switch (entry.event) {
        case Event::Request:
        case Event::LostRequest:
            return DescribeRequest(entry.bytes);
        case Event::Beacon:
            return "beacon " + Quoted(AsText(entry.bytes));
        default: {
            const std::string_view text = AsText(entry.bytes);
            return Quoted(text.substr(0, text.find('\0')));
        }
    }
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    for (const char c : text) {
        if (c < ' ' || c > '~') {
            printable += Format("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
        } else {
            printable += c;
        }
    }
    return printable;
}

std::string DescribeEntry(const LogEntry& entry) {
    const bool lost = entry.event == Event::LostRequest || entry.event == Event::LostReply;
    std::string line = Format("%12.6f  ", std::chrono::duration<double>(entry.time).count()) +
                       EndpointText(entry.source) + (lost ? " -x " : " -> ") +
                       EndpointText(entry.destination) + "  " + Describe(entry) +
                       Format("  %zu bytes", entry.bytes.size());
    if (!entry.faults.Empty()) {
        line += "  [" + entry.faults.Text() + "]";
    }
    return line;
}

}  // namespace tavrin
