#include "tools/panel/script.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>

#include "tools/panel/fault_text.h"

namespace tavrin {
namespace {

constexpr size_t kCommands = static_cast<size_t>(Command::ML) + 1;

enum class Action { Usual, Silent, Text };

struct Rule {
    std::optional<Command> command;  // nothing: every command
    size_t first = 1;
    size_t last = std::numeric_limits<size_t>::max();
    Action action = Action::Usual;
    Reply reply;
};

// The next word of a line; a quoted text is one word and keeps its quotes. Empty at the line's end.
std::string_view NextWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t\r"), line.size()));
    size_t end = 0;
    if (!line.empty() && line[0] == '"') {
        for (end = 1; end < line.size() && line[end] != '"'; ++end) {
            end += line[end] == '\\' ? 1 : 0;
        }
        ++end;
    } else {
        end = line.find_first_of(" \t\r");
    }
    const std::string_view word = line.substr(0, end);
    line.remove_prefix(word.size());
    return word;
}

template <typename Number>
Number ParseWhole(std::string_view text, int base) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc{} || end != text.data() + text.size()) {
        throw std::invalid_argument("not a number: '" + std::string(text) + "'");
    }
    return number;
}

Bytes Unquote(std::string_view word) {
    if (word.size() < 2 || word.back() != '"') {
        throw std::invalid_argument("a quote is not closed");
    }
    const std::string_view text = word.substr(1, word.size() - 2);
    Bytes bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes.push_back(static_cast<uint8_t>(text[i]));
        } else if (text.substr(i, 2) == "\\x") {
            bytes.push_back(ParseWhole<uint8_t>(text.substr(std::min(i + 2, text.size()), 2), 16));
            i += 3;
        } else {
            if (++i == text.size()) {
                throw std::invalid_argument("a quote is not closed");
            }
            bytes.push_back(static_cast<uint8_t>(text[i]));
        }
    }
    return bytes;
}

void ParseWhich(std::string_view word, Rule& rule) {
    if (word == "*") {
        return;
    }
    const size_t dash = word.find('-');
    rule.first = ParseWhole<size_t>(word.substr(0, dash), 10);
    if (dash == std::string_view::npos) {
        rule.last = rule.first;
    } else if (dash + 1 < word.size()) {
        rule.last = ParseWhole<size_t>(word.substr(dash + 1), 10);
    }
    if (rule.first == 0 || rule.last < rule.first) {
        throw std::invalid_argument("requests count from 1 upwards: '" + std::string(word) + "'");
    }
}

void ParseReply(std::string_view word, Rule& rule) {
    if (word == "silent") {
        rule.action = Action::Silent;
    } else if (word.starts_with('"')) {
        rule.action = Action::Text;
        rule.reply.bytes = Unquote(word);
    } else if (word != "usual") {
        throw std::invalid_argument("expected usual, silent or a quoted text: '" +
                                    std::string(word) + "'");
    }
}

Rule ParseRule(std::string_view line) {
    Rule rule;
    const std::string_view command = NextWord(line);
    if (command != "*") {
        rule.command = ParseCommand(command);
        if (!rule.command) {
            throw std::invalid_argument("no such command: '" + std::string(command) + "'");
        }
    }
    ParseWhich(NextWord(line), rule);
    ParseReply(NextWord(line), rule);
    for (std::string_view word = NextWord(line); !word.empty(); word = NextWord(line)) {
        if (word == "after") {
            rule.reply.delay = ParseSpan(NextWord(line));
        } else if (word == "from-other-port") {
            rule.reply.otherPort = true;
        } else {
            throw std::invalid_argument("not understood: '" + std::string(word) + "'");
        }
    }
    return rule;
}

class Script {
 public:
    explicit Script(std::vector<Rule> rules) : m_rules(std::move(rules)) {}

    bool operator()(Panel& panel, const Endpoint& host, ByteView datagram, Replies& replies) {
        const auto request = ParseRequest(datagram);
        if (!request) {
            return false;
        }
        const size_t nth = ++m_seen[static_cast<size_t>(request->command)];
        const size_t nthOfAll = ++m_allSeen;
        std::optional<Bytes> usual;
        bool matched = false;
        for (const Rule& rule : m_rules) {
            const size_t number = rule.command ? nth : nthOfAll;
            if (number < rule.first || number > rule.last ||
                (rule.command && rule.command != request->command)) {
                continue;
            }
            matched = true;
            if (rule.action == Action::Silent) {
                continue;
            }
            Reply reply = rule.reply;
            if (rule.action == Action::Usual) {
                if (!usual) {  // once for all lines: the answer may change what is stored
                    panel.Answer(host, datagram, usual.emplace());
                }
                reply.bytes = *usual;
            }
            replies.push_back(std::move(reply));
        }
        return matched;
    }

 private:
    std::vector<Rule> m_rules;
    std::array<size_t, kCommands> m_seen{};
    size_t m_allSeen = 0;
};

}  // namespace

Panel::Hook ParseScript(std::string_view text) {
    std::vector<Rule> rules;
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const size_t start = line.find_first_not_of(" \t\r");
        if (start == std::string_view::npos || line[start] == '#') {
            continue;
        }
        try {
            rules.push_back(ParseRule(line));
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument("line " + std::to_string(number) + ": " + error.what());
        }
    }
    return Script(std::move(rules));
}

}  // namespace tavrin
