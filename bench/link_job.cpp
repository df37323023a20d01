// One job of the module, through its table, in a process of its own:
//   bench_link MODULE JOB [ARGUMENT...]
// prints "seconds cpuSeconds growthKiB wakeups ownKiB" of the job alone: growthKiB is what the peak
// of its memory adds to that before, ownKiB what it then has more that no file backs. Jobs that ask a
// panel ask 127.0.0.2; MODE is "direct" or "posted".
//   fetch MODE FILE FOLDER    send MODE FILE    block MODE BYTES    folder MODE FOLDER TO
//   list MODE FOLDER COUNT    listings in a row
//   silent MS                 one wait for a panel that does not answer
//   cancel MS                 in such a wait, from slot 17 until the command has ended
//   idle SECONDS              a running link that nobody asks for anything
//   load                      dlopen and dlsym, from a process that has loaded what it itself needs
#include <dlfcn.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "brenholt/brenholt.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

const BrenholtTable* table;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench_link: %s\n", what.c_str());
    std::_Exit(1);
}

rusage Usage() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage;
}

double CpuSeconds(const rusage& usage) {
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// A line of /proc/self/status, in KiB.
long StatusKiB(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ':')) {
            return std::strtol(line.c_str() + key.size() + 1, nullptr, 10);
        }
    }
    return 0;
}

class Measure {
 public:
    Measure() {
        // The peak starts anew from here.
        std::ofstream("/proc/self/clear_refs") << 5;
    }
    ~Measure() {
        const std::chrono::duration<double> took = Clock::now() - m_start;
        const rusage now = Usage();
        std::printf("%.6f %.6f %ld %ld %ld\n", took.count(), CpuSeconds(now) - CpuSeconds(m_before),
                    StatusKiB("VmHWM") - m_idleKiB, now.ru_nvcsw - m_before.ru_nvcsw,
                    StatusKiB("RssAnon") - m_ownKiB);
    }
    Measure(const Measure&) = delete;
    Measure& operator=(const Measure&) = delete;

 private:
    const long m_ownKiB = StatusKiB("RssAnon");
    const long m_idleKiB = StatusKiB("VmRSS");
    const rusage m_before = Usage();
    const Clock::time_point m_start = Clock::now();
};

void Load(const char* module) {
    void* const handle = dlopen(module, RTLD_LAZY | RTLD_LOCAL);
    if (handle == nullptr) {
        Fail(dlerror());  // NOLINT(concurrency-mt-unsafe): the only thread
    }
    table = static_cast<const BrenholtTable*>(dlsym(handle, BRENHOLT_TABLE_SYMBOL));
}

std::u16string Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

void Start(int attempts, int timeoutMs, bool posted) {
    if (table->Start(attempts, timeoutMs, posted ? 1 : 0) == 0) {
        Fail("the link does not start");
    }
}

void Choose() {
    const auto end = Clock::now() + 10s;
    while (table->UseUnit(u"127.0.0.2") == 0) {
        if (Clock::now() > end) {
            Fail("no beacon from 127.0.0.2");
        }
        std::this_thread::sleep_for(1ms);
    }
}

// The outcome of a command in either mode.
int Outcome(int result, bool posted) {
    if (!posted) {
        return result;
    }
    // Each look takes a core from the link or the panel for a moment, so not at every millisecond; one
    // that comes late counts against the module too.
    while (table->IsBusy() != 0) {
        std::this_thread::sleep_for(4ms);
    }
    return table->GetResult();
}

// A command on the panel that was heard; what it needs is ready when the clock starts.
int Ask(const std::string& job, const std::vector<std::string>& args) {
    const bool posted = args.at(0) == "posted";
    Start(3, 1000, posted);
    Choose();
    const std::u16string first = Wide(args.at(1));
    const std::u16string second = args.size() > 2 ? Wide(args[2]) : u"";
    const size_t bytes = job == "block" ? std::stoul(args[1]) : 0;
    const std::vector<uint8_t> block(bytes, 'b');
    std::vector<PanelDirEntry> entries(job == "list" ? 1000 : 0);
    const Measure measure;
    if (job == "fetch") {
        return Outcome(table->CmdUP(first.c_str(), second.c_str()), posted);
    }
    if (job == "send") {
        return Outcome(table->CmdDL(first.c_str(), u"sent"), posted);
    }
    if (job == "block") {
        return Outcome(table->CmdML(block.data(), static_cast<int>(block.size()), u"b"), posted);
    }
    if (job == "folder") {
        return Outcome(table->CmdGF(first.c_str(), second.c_str()), posted);
    }
    int count = 0;
    for (long left = std::stol(args.at(2)); left > 0; --left) {
        count = Outcome(table->CmdDR(first.c_str(), 1000, entries.data()), posted);
    }
    return count;
}

// A panel that does not answer to a sign of life.
int WaitInSilence(const std::string& job, const std::vector<std::string>& args) {
    const bool cancel = job == "cancel";
    Start(1, std::stoi(args.at(0)), cancel);
    Choose();
    if (!cancel) {
        const Measure measure;
        return table->CmdTM() == 0 ? 1 : 0;
    }
    table->CmdTM();
    std::this_thread::sleep_for(50ms);
    const Measure measure;
    table->Cancel();
    while (table->IsBusy() != 0) {
        std::this_thread::sleep_for(50us);
    }
    return 1;
}

int Run(const char* module, const std::string& job, const std::vector<std::string>& args) {
    if (job == "load") {
        const Measure measure;
        Load(module);
        return 1;
    }
    Load(module);
    if (job == "silent" || job == "cancel") {
        return WaitInSilence(job, args);
    }
    if (job == "idle") {
        Start(3, 1000, true);
        const Measure measure;
        std::this_thread::sleep_for(std::chrono::seconds(std::stol(args.at(0))));
        return 1;
    }
    return Ask(job, args);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("Usage: bench_link MODULE JOB [ARGUMENT...]\n", stderr);
        return 2;
    }
    const int result = Run(argv[1], argv[2], {argv + 3, argv + argc});
    table->Stop();
    if (result == 0) {
        Fail(std::string(argv[2]) + " failed");
    }
    return 0;
}
