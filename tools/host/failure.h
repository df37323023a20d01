// How a run of the program ends.
#ifndef BRENHOLT_TOOLS_HOST_FAILURE_H
#define BRENHOLT_TOOLS_HOST_FAILURE_H

#include <stdexcept>
#include <string>

namespace host {

// Exit codes: a contract with scripts, listed in the manual page.
enum class ExitCode : int {
    Done = 0,
    Failed = 1,      // the command failed
    Usage = 2,       // the command line makes no sense
    NoPanel = 3,     // no such panel, or none or several where one was meant
    NoLink = 4,      // the link cannot run: no module, a port taken
    Cancelled = 130  // Ctrl-C
};

// Ends the run with a code and a sentence for stderr. An empty sentence is not printed.
class Failure : public std::runtime_error {
 public:
    Failure(ExitCode code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    ExitCode code() const { return m_code; }

 private:
    ExitCode m_code;
};

}  // namespace host

#endif
