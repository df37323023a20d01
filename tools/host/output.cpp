#include "tools/host/output.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "tools/host/text.h"

namespace host {
namespace {

constexpr auto kProgressInterval = std::chrono::milliseconds(100);
constexpr uint64_t kTicksPerSecond = 10'000'000;    // a PanelFileTime counts 100 ns
constexpr int64_t kSecondsTo1970 = 11'644'473'600;  // from 1 January 1601

}  // namespace

void PrintLine(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void PrintJson(const Json& object) {
    PrintLine(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

void Say(const std::string& text) {
    std::string shown = "brenholt: ";
    for (size_t from = 0; from <= text.size();) {
        const size_t end = std::min(text.find('\n', from), text.size());
        shown += Harmless(text.substr(from, end - from), true) + "\n";
        from = end + 1;
    }
    std::fwrite(shown.data(), 1, shown.size(), stderr);
}

bool OutputIsWhole() {
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

std::string Shown(std::string_view name) {
    static const bool terminal = isatty(STDOUT_FILENO) != 0;
    return Harmless(name, terminal);
}

void PutName(Json& object, const std::string& key, std::string_view name) {
    const std::u16string wide = ToWide(name);
    object[key] = ToUtf8(wide);
    if (!IsText(wide)) {
        std::string hex;
        for (const char c : name) {
            hex += Format("%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        }
        object[key + "_bytes"] = hex;
    }
}

const char* ProcessorName(int32_t kind) {
    switch (kind) {
        case BRENHOLT_CPU_ARM:
            return "ARM";
        case BRENHOLT_CPU_X86:
            return "X86";
        default:
            return nullptr;
    }
}

std::string VersionText(int32_t hundredths) {
    const int64_t size = std::abs(static_cast<int64_t>(hundredths));
    return Format("%s%lld.%02lld", hundredths < 0 ? "-" : "", static_cast<long long>(size / 100),
                  static_cast<long long>(size % 100));
}

std::optional<int64_t> UnixSeconds(PanelFileTime time) {
    const uint64_t ticks = static_cast<uint64_t>(time.dwHigh) << 32 | time.dwLow;
    if (ticks == 0) {
        return std::nullopt;
    }
    return static_cast<int64_t>(ticks / kTicksPerSecond) - kSecondsTo1970;
}

std::string SizeText(uint64_t bytes) {
    if (bytes < 1000) {
        return Format("%llu B", static_cast<unsigned long long>(bytes));
    }
    double size = static_cast<double>(bytes) / 1000;
    const char* unit = "kB";
    for (const char* next : {"MB", "GB", "TB"}) {
        if (size < 999.95) {
            break;
        }
        size /= 1000;
        unit = next;
    }
    return Format("%.1f %s", size, unit);
}

Progress::Progress() : m_terminal(isatty(STDERR_FILENO) != 0) {
}

Progress::~Progress() {
    if (m_dirty) {
        std::fputs("\r\x1b[K", stderr);
    }
}

bool Progress::Due() const {
    return m_terminal && Clock::now() - m_last >= kProgressInterval;
}

void Progress::Show(const std::string& text) {
    if (Due()) {
        m_last = Clock::now();
        m_dirty = true;
        std::fprintf(stderr, "\r%s\x1b[K", text.c_str());
    }
}

}  // namespace host
