#include "tools/panel/fault_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace tavrin {
namespace {

constexpr Time kDefaultDelay = std::chrono::milliseconds(300);
constexpr Time kDefaultStall = std::chrono::seconds(1);
constexpr double kLongestSpan = 1e9;  // in the unit given; far from any overflow

[[noreturn]] void Reject(std::string_view what, std::string_view text) {
    throw std::invalid_argument(std::string(what) + ": '" + std::string(text) + "'");
}

double ParseNumber(std::string_view text, std::string_view whole) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(number) ||
        number < 0) {
        Reject("not a number", whole);
    }
    return number;
}

uint64_t ParseSeed(std::string_view text) {
    uint64_t seed = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
    if (error != std::errc{} || end != text.data() + text.size()) {
        Reject("not a seed", text);
    }
    return seed;
}

bool HasSpan(Fault fault) {
    return fault == Fault::Silence || fault == Fault::Stall || fault == Fault::Double ||
           fault == Fault::Delay;
}

Fault ParseFault(std::string_view name) {
    for (size_t i = 0; i < kFaultCount; ++i) {
        if (FaultName(static_cast<Fault>(i)) == name) {
            return static_cast<Fault>(i);
        }
    }
    Reject("no such fault", name);
}

void ParseItem(std::string_view item, FaultSettings& settings) {
    const size_t equals = item.find('=');
    if (equals == std::string_view::npos) {
        Reject("expected NAME=VALUE", item);
    }
    const std::string_view name = item.substr(0, equals);
    const std::string_view value = item.substr(equals + 1);
    if (name == "seed") {
        settings.seed = ParseSeed(value);
        return;
    }
    const Fault fault = ParseFault(name);
    const size_t colon = value.find(':');
    FaultRate& rate = settings[fault];
    rate.probability = ParseNumber(value.substr(0, colon), item);
    if (rate.probability > 1) {
        Reject("a probability is 0 to 1", item);
    }
    if (colon != std::string_view::npos) {
        if (!HasSpan(fault)) {
            Reject("this fault takes no span", item);
        }
        rate.span = ParseSpan(value.substr(colon + 1));
    }
}

}  // namespace

Time ParseSpan(std::string_view text) {
    const size_t end = std::min(text.find_first_not_of("0123456789."), text.size());
    const std::string_view unit = text.substr(end);
    const double factor = unit == "us" ? 1e3 : unit == "ms" ? 1e6 : unit == "s" ? 1e9 : 0;
    if (factor == 0) {
        Reject("a span needs a unit (us, ms, s)", text);
    }
    const double number = ParseNumber(text.substr(0, end), text);
    if (number > kLongestSpan) {
        Reject("span too long", text);
    }
    return Time{static_cast<Time::rep>(number * factor)};
}

FaultSettings ParseFaults(std::string_view text) {
    FaultSettings settings;
    settings[Fault::Delay].span = kDefaultDelay;
    settings[Fault::Stall].span = kDefaultStall;
    while (!text.empty()) {
        const size_t end = std::min(text.find(','), text.size());
        ParseItem(text.substr(0, end), settings);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return settings;
}

}  // namespace tavrin
