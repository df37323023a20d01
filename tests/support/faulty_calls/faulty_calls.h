// Calls into the system, and allocations, that go wrong when a test says so: link this library into
// it. The module's own calls count, on the thread that armed and on the threads that the module
// makes; those of the run-time libraries do not.
#ifndef BRENHOLT_TESTS_SUPPORT_FAULTY_CALLS_FAULTY_CALLS_H
#define BRENHOLT_TESTS_SUPPORT_FAULTY_CALLS_FAULTY_CALLS_H

#include <string_view>

namespace brenholt::faulty {

// What goes wrong.
enum class Way {
    Fail,       // the call does nothing and says so; a close closes, and says it went wrong
    Interrupt,  // a signal comes first: the call does nothing
    Halve,      // a read or a write moves half of the bytes, 1000 at most
    Kill,       // the process is killed instead; a write has got such a part of its bytes out
};
inline constexpr std::string_view kAllocation = "allocation";
inline constexpr std::string_view kAnyCall;  // but an allocation

// The `nth` call of that name goes wrong, counted from 1.
void Arm(std::string_view call, int nth, Way way);
// Whether it happened; from now on everything is well.
bool Disarm();

// In its scope the calls of this thread are a test's own: neither counted nor failed.
class Spared {
 public:
    Spared();
    ~Spared();
    Spared(const Spared&) = delete;
    Spared& operator=(const Spared&) = delete;

 private:
    bool m_before;
};

}  // namespace brenholt::faulty

#endif
