// Built without ThreadSanitizer, and hides from it what it does: a turn is no synchronisation that the
// module could rely on.
#include "tests/interleavings/turns.h"

#include <execinfo.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "tests/support/virtual_network/virtual_wire.h"

// Of ThreadSanitizer's library, where that is linked.
extern "C" {
[[gnu::weak]] void AnnotateIgnoreReadsBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreReadsEnd(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesBegin(const char* file, int line);
[[gnu::weak]] void AnnotateIgnoreWritesEnd(const char* file, int line);
}

namespace brenholt::turns {

constexpr uint64_t kNever = UINT64_MAX;
struct Thread {
    const char* name;
    bool quiet;
    bool ended = false;
    const std::function<bool()>* ready = nullptr;  // null: it can go on
    uint64_t untilUs = kNever;
    uint32_t turn = 0;  // a futex: 1 when it may go on
};

namespace {

constexpr uint64_t kForeverUs = 1'000'000'000;
constexpr uint64_t kLongestStallUs = 20'000;
constexpr size_t kMostSteps = 50'000;

struct Unseen {
    Unseen() {
        if (AnnotateIgnoreReadsBegin != nullptr) {
            AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
            AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
        }
    }
    ~Unseen() {
        if (AnnotateIgnoreReadsBegin != nullptr) {
            AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
            AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
        }
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};

// One of several ways to go on. The first `free` cost nothing.
struct Decision {
    size_t chosen;
    size_t ways;
    size_t free;
    int Cost() const { return chosen < free ? 0 : 1; }
};

std::set<const void*> g_ignored;
std::map<const void*, Thread> g_names;
std::string g_test;
Bound g_bound{};
std::vector<Decision> g_path;               // of this run, and what it has in common with the next
std::map<size_t, size_t> g_replay;          // the ways at decisions where it is not the first one
std::optional<std::ostringstream> g_trace;  // of a run that is replayed
// Of this run.
std::deque<Thread> g_threads;  // each finds itself while another is added
size_t g_decisions = 0;
size_t g_steps = 0;
thread_local Thread* t_self = nullptr;

VirtualWire& Wire() {
    return VirtualWire::Get();
}

bool CanGoOn(const Thread& thread) {
    return !thread.ended &&
           (thread.ready == nullptr || (*thread.ready)() || thread.untilUs <= Wire().NowUs());
}

// Who can go on, this thread first. A quiet one preempts no other.
std::vector<Thread*> Able() {
    std::vector<Thread*> able;
    const bool goesOn = CanGoOn(*t_self);
    for (Thread& thread : g_threads) {
        if (&thread == t_self ? goesOn : CanGoOn(thread) && !(thread.quiet && goesOn)) {
            able.insert(&thread == t_self ? able.begin() : able.end(), &thread);
        }
    }
    return able;
}

// When the next waiting thread's time comes, or something on the wire.
uint64_t NextUs() {
    uint64_t next = Wire().NextUs();
    for (const Thread& thread : g_threads) {
        next = std::min(next, thread.ready != nullptr ? thread.untilUs : kNever);
    }
    return next;
}

void AdvanceToNext() {
    Wire().Advance(NextUs() - std::min(NextUs(), Wire().NowUs()));
}

size_t Choose(size_t ways, size_t free) {
    const size_t at = g_decisions++;
    if (g_trace) {
        return std::min(g_replay[at], ways - 1);
    }
    if (at == g_path.size()) {
        g_path.push_back({0, ways, free});
    } else if (g_path[at].ways != ways) {
        Fail("the same switches led elsewhere");
    }
    return g_path[at].chosen;
}

bool NextPath() {
    int cost = 0;
    for (const Decision& decision : g_path) {
        cost += decision.Cost();
    }
    for (; !g_path.empty(); g_path.pop_back()) {
        Decision& last = g_path.back();
        cost -= last.Cost();
        ++last.chosen;
        if (last.chosen < last.ways && cost + last.Cost() <= g_bound.preemptions) {
            return true;
        }
    }
    return false;
}

// Notes where this thread switches: the innermost line that is not of this test's own machinery.
void Trace(bool preemption, const Thread& next) {
    std::array<void*, 40> frames{};
    const int count = backtrace(frames.data(), frames.size());
    std::ostringstream command;
    command << "addr2line -ie /proc/" << getpid() << "/exe";
    for (int i = 0; i < count; ++i) {
        const auto call = reinterpret_cast<uintptr_t>(frames.at(static_cast<size_t>(i))) - 1;
        command << std::hex << ' ' << call;
    }
    command
        << " | grep -vE 'interleavings/turns|instrumented/|virtual_wire|pass_worker.h|/usr/|[?]'"
           " | grep -oE '[^/]*/[^/]*:[0-9]+' | head -1";
    std::array<char, 500> line{};
    FILE* const lines = popen(command.str().c_str(), "r");
    const bool known = fgets(line.data(), line.size(), lines) != nullptr;
    pclose(lines);
    const std::string where = known ? line.data() : "its end\n";
    *g_trace << (preemption ? "* " : "  ") << t_self->name << " at "
             << where.substr(0, where.size() - 1) << ", then " << next.name << '\n';
}

void Sit(Thread& self) {
    while (__atomic_exchange_n(&self.turn, 0, __ATOMIC_ACQUIRE) == 0) {
        syscall(SYS_futex, &self.turn, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
}

// This thread is at a point, waits, or has ended: who goes on?
void Decide() {
    if (++g_steps == kMostSteps) {
        Fail("the threads go on for ever");
    }
    std::vector<Thread*> able;
    for (able = Able(); able.empty(); able = Able()) {
        if (NextUs() == kNever) {
            Fail("all threads wait for ever");
        }
        AdvanceToNext();
    }
    const size_t free = able.front() == t_self ? 1 : able.size();
    const bool mayStall =
        g_bound.stalls && NextUs() != kNever && NextUs() <= Wire().NowUs() + kLongestStallUs;
    const size_t ways = able.size() + (mayStall ? 1 : 0);
    const size_t way = ways > 1 ? Choose(ways, free) : 0;
    Thread* next = able[std::min(way, able.size() - 1)];
    if (way == able.size()) {
        AdvanceToNext();
        const std::vector<Thread*> now = Able();
        const auto woken = std::find_if(now.begin(), now.end(), [&able](Thread* thread) {
            return std::find(able.begin(), able.end(), thread) == able.end();
        });
        next = woken != now.end() ? *woken : now.front();
    }
    if (next == t_self) {
        return;
    }
    if (g_trace) {
        Trace(way >= free, *next);
    }
    Thread& self = *t_self;
    const bool ended = self.ended;
    __atomic_store_n(&next->turn, 1, __ATOMIC_RELEASE);
    syscall(SYS_futex, &next->turn, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    if (!ended) {
        Sit(self);
    }
}

void Await(const std::function<bool()>& ready, uint64_t untilUs) {
    if (t_self == nullptr) {
        return;
    }
    const Unseen unseen;
    if (!t_self->quiet) {
        Decide();
    }
    t_self->ready = &ready;
    t_self->untilUs = untilUs < Wire().NowUs() + kForeverUs ? untilUs : kNever;
    if (!CanGoOn(*t_self)) {
        Decide();
    }
    t_self->ready = nullptr;
}

// The wire's calls.
thread_local std::optional<Unseen> t_unseen;
class : public WireTurns {
    void Enter() override {
        Point(nullptr);
        t_unseen.emplace();
    }
    void Leave() override { t_unseen.reset(); }
    void Wait(uint64_t untilUs, const std::function<bool()>& ready) override {
        Await(ready, untilUs);
    }
} g_wireTurns;

void Run(const std::function<void()>& program) {
    g_threads.assign(1, {"host", false});
    g_decisions = 0;
    g_steps = 0;
    t_self = &g_threads.front();
    Wire().turns = &g_wireTurns;
    program();
    if (!std::all_of(g_threads.begin() + 1, g_threads.end(),
                     [](const Thread& thread) { return thread.ended; })) {
        Fail("a thread runs on when the program has ended");
    }
    Wire().turns = nullptr;
    t_self = nullptr;
}

}  // namespace

size_t RunAll(const std::string& name, const Bound& bound, const std::function<void()>& program) {
    g_test = name;
    g_bound = bound;
    g_path.clear();
    if (const char* switches = getenv("BRENHOLT_SWITCHES")) {
        g_trace.emplace();
        std::istringstream in(switches);
        size_t at = 0;
        for (char colon = 0; in >> at >> colon >> g_replay[at];) {
        }
        Run(program);
        return 1;
    }
    size_t runs = 0;
    do {
        Run(program);
        ++runs;
    } while (NextPath());
    return runs;
}

void Fail(const std::string& what) {
    std::printf("%s\n", what.c_str());
    if (g_trace) {
        std::printf("%s", g_trace->str().c_str());
    } else {
        std::string switches;
        for (size_t i = 0; i < g_decisions; ++i) {
            if (g_path[i].chosen != 0) {
                switches += std::to_string(i) + ':' + std::to_string(g_path[i].chosen) + ' ';
            }
        }
        std::printf("BRENHOLT_SWITCHES=\"%s\"\n", switches.c_str());
        std::fflush(stdout);
        // Again, to see where: from the start, since threads of this run may wait for ever.
        setenv("BRENHOLT_SWITCHES", switches.c_str(), 1);
        execl("/proc/self/exe", "again", ("--gtest_filter=" + g_test).c_str(), nullptr);
    }
    std::fflush(stdout);
    _exit(1);
}

void Ignore(const void* word) {
    g_ignored.insert(word);
}
void Name(const void* parameter, const char* name, bool quiet) {
    g_names[parameter] = {name, quiet};
}
void Point(const void* word) {
    if (t_self != nullptr && !t_self->quiet && g_ignored.count(word) == 0) {
        const Unseen unseen;
        Decide();
    }
}
void Await(const std::function<bool()>& ready) {
    Await(ready, kNever);
}
Thread* Register(const void* parameter) {
    const Unseen unseen;
    const auto named = g_names.find(parameter);
    return &g_threads.emplace_back(named != g_names.end() ? named->second
                                                          : Thread{"another", false});
}
void Begin(Thread* thread) {
    t_self = thread;
    const Unseen unseen;
    Sit(*thread);
}
void End() {
    const Unseen unseen;
    t_self->ended = true;
    Decide();
    t_self = nullptr;
}
void AwaitEnd(const Thread* thread) {
    Await([thread] { return thread->ended; }, kNever);
}

}  // namespace brenholt::turns
