// What the program says: data on stdout, messages on stderr.
#ifndef BRENHOLT_TOOLS_HOST_OUTPUT_H
#define BRENHOLT_TOOLS_HOST_OUTPUT_H

#include <brenholt/brenholt.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "tools/host/clock.h"

namespace host {

using Json = nlohmann::ordered_json;

// One line on stdout. It reaches the reader at once: `discover --watch` is read through pipes.
void PrintLine(const std::string& line);
void PrintJson(const Json& object);

// A message on stderr, with the program's name. All but its line breaks is made harmless.
void Say(const std::string& text);

// Whether all that was printed has been written.
bool OutputIsWhole();

// A name, in bytes of the locale's charset, as it may appear in a line on stdout: on a terminal it
// can do no harm; in a pipe bytes outside the charset stay, so that a script can hand the name
// back.
std::string Shown(std::string_view name);

// Puts a name into a JSON object. `key` holds valid text always; a name that is not valid in the
// charset has its bytes beside it, in hexadecimal, as `key`_bytes.
void PutName(Json& object, const std::string& key, std::string_view name);

// "ARM", "X86", or null for a kind that is not known.
const char* ProcessorName(int32_t kind);

// Hundredths as people write them: 123 is "1.23".
std::string VersionText(int32_t hundredths);

// Seconds since 1970, rounded down; nothing for a time that is not set.
std::optional<int64_t> UnixSeconds(PanelFileTime time);

// Bytes for people: "512 B", "1.4 MB".
std::string SizeText(uint64_t bytes);

// A line on stderr that is written over, at most ten times a second, and only if stderr is a
// terminal.
class Progress {
 public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    bool shown() const { return m_terminal; }
    // Whether an update would be shown now.
    bool Due() const;
    void Show(const std::string& text);

 private:
    bool m_terminal;
    bool m_dirty = false;
    Clock::time_point m_last;
};

}  // namespace host

#endif
