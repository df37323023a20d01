// Built without ThreadSanitizer, and hides from it what it does: a turn is no synchronisation that the
// module could rely on.
#include "tests/interleavings/turns.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <vector>

#include "tests/support/virtual_network/virtual_wire.h"

#ifdef BRENHOLT_THREAD_SANITIZER
extern "C" {
void AnnotateIgnoreReadsBegin(const char* file, int line);
void AnnotateIgnoreReadsEnd(const char* file, int line);
void AnnotateIgnoreWritesBegin(const char* file, int line);
void AnnotateIgnoreWritesEnd(const char* file, int line);
}
#endif

namespace brenholt::turns {
namespace {

constexpr uint64_t kNever = UINT64_MAX;
constexpr uint64_t kForeverUs = 1'000'000'000;
constexpr uint64_t kLongestStallUs = 20'000;
constexpr size_t kMostThreads = 16;
constexpr std::array<std::string_view, 6> kMachinery{
    "interleavings/turns.", "instrumented/", "virtual_wire.", "pass_worker.h", "/usr/", "?"};
constexpr size_t kMostSteps = 50'000;

class [[maybe_unused]] Unseen {
 public:
#ifdef BRENHOLT_THREAD_SANITIZER
    Unseen() {
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~Unseen() {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
#else
    Unseen() = default;
    ~Unseen() = default;
#endif
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
};

struct Thread {
    const char* name;
    bool quiet;
    bool ended = false;
    const std::function<bool()>* ready = nullptr;  // null: it can go on
    uint64_t untilUs = kNever;
    uint32_t turn = 0;  // a futex: 1 when it may go on
};

// One of several ways to go on. The first `free` cost nothing.
struct Decision {
    size_t chosen;
    size_t ways;
    size_t free;
    int Cost(size_t way) const { return way < free ? 0 : 1; }
};

thread_local int t_self = -1;

class Turns : public WireTurns {
 public:
    size_t RunAll(const std::string& name, const Bound& bound,
                  const std::function<void()>& program) {
        m_name = name;
        m_bound = bound;
        m_path.clear();
        if (const char* text = getenv("BRENHOLT_SWITCHES")) {
            m_traced = true;
            std::istringstream in(text);
            size_t at = 0;
            for (char colon = 0; in >> at >> colon >> m_replay[at];) {
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

    [[noreturn]] void Fail(const std::string& what) {
        if (m_traced) {
            std::printf("%s\n%s", what.c_str(), m_trace.c_str());
            std::fflush(stdout);
            _exit(1);
        }
        std::string switches;
        for (size_t i = 0; i < m_decisions; ++i) {
            if (m_path[i].chosen != 0) {
                switches += std::to_string(i) + ':' + std::to_string(m_path[i].chosen) + ' ';
            }
        }
        std::printf("%s\nBRENHOLT_SWITCHES=\"%s\"\n", what.c_str(), switches.c_str());
        std::fflush(stdout);
        // Again, to see where: from the start, since threads of this run may wait for ever.
        setenv("BRENHOLT_SWITCHES", switches.c_str(), 1);
        execl("/proc/self/exe", "again", ("--gtest_filter=" + m_name).c_str(), nullptr);
        _exit(1);
    }

    void Point(const void* word) {
        if (t_self < 0 || Self().quiet || m_ignored.count(word) != 0) {
            return;
        }
        const Unseen unseen;
        Decide();
    }
    void Await(const std::function<bool()>& ready, uint64_t untilUs) {
        if (t_self < 0) {
            return;
        }
        const Unseen unseen;
        if (!Self().quiet) {
            Decide();
        }
        Self().ready = &ready;
        Self().untilUs = untilUs < VirtualWire::Get().NowUs() + kForeverUs ? untilUs : kNever;
        if (!CanGoOn(t_self)) {
            Decide();
        }
        Self().ready = nullptr;
        Self().untilUs = kNever;
    }

    int Register(const void* parameter) {
        const Unseen unseen;
        const auto named = m_names.find(parameter);
        m_threads.push_back(std::make_unique<Thread>(
            named != m_names.end() ? named->second : Thread{"another", false}));
        return static_cast<int>(m_threads.size()) - 1;
    }
    void Begin(int thread) {
        t_self = thread;
        const Unseen unseen;
        Sit();
    }
    void End() {
        const Unseen unseen;
        Self().ended = true;
        Decide();
        t_self = -1;
    }
    bool HasEnded(int thread) const { return m_threads[static_cast<size_t>(thread)]->ended; }

    // The wire's calls.
    void Enter() override {
        Point(nullptr);
        m_unseen.emplace();
    }
    void Leave() override { m_unseen.reset(); }
    void Wait(uint64_t untilUs, const std::function<bool()>& ready) override {
        Await(ready, untilUs);
    }

    std::set<const void*> m_ignored;
    std::map<const void*, Thread> m_names;

 private:
    Thread& Self() const { return *m_threads[static_cast<size_t>(t_self)]; }

    void Run(const std::function<void()>& program) {
        m_threads.clear();
        m_threads.reserve(kMostThreads);  // each finds itself while another is added
        m_threads.push_back(std::make_unique<Thread>(Thread{"host", false}));
        m_decisions = 0;
        m_steps = 0;
        t_self = 0;
        VirtualWire::Get().turns = this;
        program();
        const bool allEnded = std::all_of(m_threads.begin() + 1, m_threads.end(),
                                          [](const auto& thread) { return thread->ended; });
        if (!allEnded) {
            Fail("a thread runs on when the program has ended");
        }
        VirtualWire::Get().turns = nullptr;
        t_self = -1;
    }

    bool CanGoOn(int number) const {
        const Thread& thread = *m_threads[static_cast<size_t>(number)];
        return !thread.ended && (thread.ready == nullptr || (*thread.ready)() ||
                                 thread.untilUs <= VirtualWire::Get().NowUs());
    }
    // When the next waiting thread's time comes, or something on the wire.
    uint64_t NextUs() const {
        uint64_t next = VirtualWire::Get().NextUs();
        for (const auto& thread : m_threads) {
            const bool waits = thread->ready != nullptr && !thread->ended;
            next = std::min(next, waits ? thread->untilUs : kNever);
        }
        return next;
    }

    // This thread is at a point, waits, or has ended: who goes on?
    void Decide() {
        VirtualWire& wire = VirtualWire::Get();
        if (++m_steps == kMostSteps) {
            Fail("the threads go on for ever");
        }
        std::vector<int> able;
        for (;;) {
            able = Able();
            if (!able.empty()) {
                break;
            }
            if (NextUs() == kNever) {
                Fail("all threads wait for ever");
            }
            wire.Advance(NextUs() - std::min(NextUs(), wire.NowUs()));
        }
        const bool preempts = able.front() == t_self;
        const bool mayStall =
            m_bound.stalls && NextUs() != kNever && NextUs() <= wire.NowUs() + kLongestStallUs;
        const size_t ways = able.size() + (mayStall ? 1 : 0);
        const size_t way = ways > 1 ? Choose(ways, preempts ? 1 : able.size()) : 0;
        int next = able[std::min(way, able.size() - 1)];
        if (way == able.size()) {
            const std::vector<int> before = able;
            wire.Advance(NextUs() - std::min(NextUs(), wire.NowUs()));
            able = Able();
            const auto woken = std::find_if(able.begin(), able.end(), [&](int thread) {
                return std::find(before.begin(), before.end(), thread) == before.end();
            });
            next = woken != able.end() ? *woken : able.front();
        }
        if (next != t_self) {
            Trace(way >= (preempts ? 1 : able.size()), next);
            Thread& other = *m_threads[static_cast<size_t>(next)];
            const bool last = Self().ended;
            __atomic_store_n(&other.turn, 1, __ATOMIC_RELEASE);
            syscall(SYS_futex, &other.turn, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
            if (!last) {
                Sit();
            }
        }
    }

    // Who can go on, this thread first. A quiet one preempts no other.
    std::vector<int> Able() const {
        std::vector<int> able;
        const bool goesOn = CanGoOn(t_self);
        for (int i = 0; i < static_cast<int>(m_threads.size()); ++i) {
            const bool quiet = m_threads[static_cast<size_t>(i)]->quiet;
            if (i == t_self ? goesOn : CanGoOn(i) && !(quiet && goesOn)) {
                able.insert(i == t_self ? able.begin() : able.end(), i);
            }
        }
        return able;
    }

    size_t Choose(size_t ways, size_t free) {
        const size_t at = m_decisions++;
        if (m_traced) {
            const auto chosen = m_replay.find(at);
            return chosen != m_replay.end() ? std::min(chosen->second, ways - 1) : 0;
        }
        if (at == m_path.size()) {
            m_path.push_back({0, ways, free});
        } else if (m_path[at].ways != ways) {
            Fail("the same switches led elsewhere");
        }
        return m_path[at].chosen;
    }

    bool NextPath() {
        int cost = 0;
        for (const Decision& decision : m_path) {
            cost += decision.Cost(decision.chosen);
        }
        while (!m_path.empty()) {
            Decision& last = m_path.back();
            cost -= last.Cost(last.chosen);
            ++last.chosen;
            if (last.chosen < last.ways && cost + last.Cost(last.chosen) <= m_bound.preemptions) {
                return true;
            }
            m_path.pop_back();
        }
        return false;
    }

    void Sit() {
        Thread& self = Self();
        while (__atomic_exchange_n(&self.turn, 0, __ATOMIC_ACQUIRE) == 0) {
            syscall(SYS_futex, &self.turn, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
        }
    }

    // Notes where this thread switches: the innermost line that is not of this test's own machinery.
    void Trace(bool preemption, int next) {
        if (!m_traced) {
            return;
        }
        std::array<void*, 40> frames{};
        const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
        Dl_info program{};
        dladdr(reinterpret_cast<const void*>(&turns::RunAll), &program);
        std::ostringstream command;
        command << "addr2line -ie /proc/" << getpid() << "/exe" << std::hex;
        for (int i = 0; i < count; ++i) {
            Dl_info frame{};
            if (dladdr(frames[static_cast<size_t>(i)], &frame) != 0 &&
                frame.dli_fbase == program.dli_fbase) {
                command << ' '
                        << static_cast<char*>(frames[static_cast<size_t>(i)]) -
                               static_cast<char*>(frame.dli_fbase) - 1;
            }
        }
        std::string where;
        FILE* const lines = popen(command.str().c_str(), "r");
        for (char line[500]; lines != nullptr && fgets(line, sizeof line, lines) != nullptr;) {
            const std::string_view file(line, std::strcspn(line, " \n"));
            if (where.empty() && std::none_of(kMachinery.begin(), kMachinery.end(), [&](auto own) {
                    return file.find(own) != std::string_view::npos;
                })) {
                const size_t name = file.find_last_of('/');
                where = file.substr(file.find_last_of('/', name - 1) + 1);
            }
        }
        if (lines != nullptr) {
            pclose(lines);
        }
        m_trace += std::string(preemption ? "* " : "  ") + Self().name + " at " +
                   (where.empty() ? "its end" : where) + ", then " +
                   m_threads[static_cast<size_t>(next)]->name + '\n';
    }

    std::string m_name;
    Bound m_bound{};
    std::vector<Decision> m_path;
    size_t m_decisions = 0;
    size_t m_steps = 0;
    std::map<size_t, size_t> m_replay;
    bool m_traced = false;
    std::string m_trace;
    std::vector<std::unique_ptr<Thread>> m_threads;
    static thread_local std::optional<Unseen> m_unseen;
};

thread_local std::optional<Unseen> Turns::m_unseen;

Turns& Get() {
    static Turns turns;
    return turns;
}

}  // namespace

size_t RunAll(const std::string& name, const Bound& bound, const std::function<void()>& program) {
    return Get().RunAll(name, bound, program);
}
void Fail(const std::string& what) {
    Get().Fail(what);
}
void Ignore(const void* word) {
    Get().m_ignored.insert(word);
}
void Name(const void* parameter, const char* name, bool quiet) {
    Get().m_names[parameter] = {name, quiet};
}
void Point(const void* word) {
    Get().Point(word);
}
void Await(bool (*ready)(void* what), void* what) {
    Get().Await([=] { return ready(what); }, kNever);
}
int Register(const void* parameter) {
    return Get().Register(parameter);
}
void Begin(int thread) {
    Get().Begin(thread);
}
void End() {
    Get().End();
}
void AwaitEnd(int thread) {
    Get().Await([=] { return Get().HasEnded(thread); }, kNever);
}

}  // namespace brenholt::turns
