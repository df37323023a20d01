// Small programs of a host, gone through in every order in which its threads and the module's may run.
//
// BRENHOLT_PREEMPTIONS is the bound, 1 without it.
#include <gtest/gtest.h>

#include <cstring>
#include <new>

#include "link/tv_udp.h"
#include "platform/clock.h"
#include "tests/interleavings/turns.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/virtual_network/virtual_wire.h"

extern "C" const BrenholtTable FuncTable;

namespace brenholt {

// No program opens a dialog.
int CTvUdp::SelectTarget(int /*reserved*/) {
    return 0;
}

namespace {

enum Workers { kBoth, kLinkOnly, kListenerOnly };
constexpr int kTimeoutMs = 50;
constexpr int kLongTimeoutMs = 200;  // outlasts what two stalls take

void Check(bool holds, const std::string& what) {
    if (!holds) {
        turns::Fail(what);
    }
}

std::string Acknowledge(const std::string& /*request*/) {
    return "ACK";
}
std::string Silent(const std::string& /*request*/) {
    return {};
}

// The module as it is loaded, and a panel that is a function; the table's slots in `table`.
class World {
 public:
    World(bool stalls, const ScratchFolder& scratch) : punctual(!stalls), folder(scratch) {
        wire.Reset();
        g_link.~CTvUdp();
        new (&g_link) CTvUdp;
        for (const void* word :
             {&g_link.m_nPaceMs, &g_link.m_nRetries, &g_link.m_nTimeoutMs, &g_link.m_bAsyncMode}) {
            turns::Ignore(word);
        }
        wire.onSend = [this](const WireDatagram& request) {
            sent.push_back(request);
            if (const std::string reply = answer(request.bytes); !reply.empty()) {
                wire.Arrive(1000, {request.peer, kPanelPort, kCommandPort, reply});
            }
        };
    }
    ~World() { wire.onSend = nullptr; }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    void Start(Workers lively = kLinkOnly, int timeoutMs = kTimeoutMs) {
        turns::Name(&g_link, "worker", lively == kListenerOnly);
        turns::Name(&g_link.m_ping, "listener", lively == kLinkOnly);
        Check(table.Start(1, timeoutMs, 1) == 1, "the link does not start");
        Sleep(20);  // the listener rests
    }
    // Polls until the link is not busy.
    void AwaitIdle() {
        const uint64_t end = NowMs() + 5000;
        while (table.IsBusy() != 0) {
            Sleep(10);
            Check(NowMs() < end, "busy for ever");
        }
    }
    void AwaitResult(int expected) {
        AwaitIdle();
        Check(table.GetResult() == expected, "not the result that was expected");
    }
    void AwaitSent(size_t count) {
        wire.Wait(wire.NowUs() + 5'000'000, [this, count] { return sent.size() >= count; });
        Check(sent.size() >= count, "a command that was posted does not run");
    }
    // Slot 15. The commands sent `count` requests, `interrupted` of them perhaps none, and nothing
    // runs any more.
    void Stop(size_t count, size_t interrupted = 0) {
        const uint64_t start = NowMs();
        table.Stop();
        Check(NowMs() - start <= 150, "a stop waits for a reply");
        Check(table.IsBusy() == 0, "busy after the stop");
        const size_t atStop = sent.size();
        Check(atStop <= count && atStop + interrupted >= count, "a posted command ran not once");
        Sleep(200);
        Check(sent.size() == atStop, "a command runs after the stop");
        Check(wire.astray == 0, "a socket was closed while a thread used it");
    }
    uint64_t NowMs() const { return wire.NowUs() / 1000; }
    // Fails when more than `ms` have passed since `start`, unless time has been let pass.
    void Within(uint64_t start, uint64_t ms, const char* what) const {
        Check(!punctual || NowMs() - start <= ms, what);
    }

    const BrenholtTable& table = FuncTable;
    const bool punctual;  // time passes only when all wait: it can be asserted
    const ScratchFolder& folder;
    VirtualWire& wire = VirtualWire::Get();
    std::function<std::string(const std::string&)> answer = Acknowledge;
    std::vector<WireDatagram> sent;
};

// Another thread of the host.
class Another {
 public:
    explicit Another(std::function<void()> body)
        : m_body(std::move(body)), m_thread(AfxBeginThread(Run, &m_body)) {}
    void Join() { m_thread->Join(); }

 private:
    static unsigned Run(void* body) {
        (*static_cast<std::function<void()>*>(body))();
        return 0;
    }
    std::function<void()> m_body;
    std::unique_ptr<CWinThread> m_thread;
};

void PostAndPoll(World& world) {
    world.Start();
    const uint64_t start = world.NowMs();
    Check(world.table.CmdTM() == 1, "not posted");
    world.AwaitSent(1);
    world.Within(start, 10, "a posted command starts late");
    world.AwaitResult(1);
    world.Stop(1);
}

void TwoPosts(World& world) {
    world.answer = [](const std::string& request) {
        return request.compare(4, 2, "VS") == 0 ? "ACK0001000A00FF" : "ACK";
    };
    world.Start();
    world.table.CmdTM();
    world.AwaitResult(1);
    world.table.Cancel();  // nothing runs: nothing comes of it
    uint16_t words[3] = {};
    world.table.CmdVS(&words[0], &words[1], &words[2]);
    world.AwaitResult(1);
    Check(words[0] == 1 && words[1] == 10 && words[2] == 255, "the words are not in place");
    world.Stop(2);
}

void CancelAtOnce(World& world) {
    world.answer = Silent;
    world.Start(kLinkOnly, kLongTimeoutMs);
    world.table.CmdTM();
    const bool running = !world.sent.empty();
    const uint64_t start = world.NowMs();
    world.table.Cancel();
    world.AwaitResult(0);
    Check(!world.punctual || !running || world.NowMs() - start <= 20, "a cancel has no effect");
    Sleep(2 * kLongTimeoutMs);  // no reply to it is on its way any more
    world.answer = Acknowledge;
    world.table.CmdEX(u"run");
    world.AwaitResult(1);  // a cancel does not outlive its command
    world.Stop(2, 1);
}

// A listing of one file of two packets.
std::string Folder(const std::string& request) {
    if (request.compare(4, 2, "DR") == 0) {
        return Page(' ', {Record("f", 6)});
    }
    return request.compare(6, 8, "00000000") == 0 ? Packet('1', "abc") : Packet('0', "def");
}

void CancelAFetch(World& world) {
    world.answer = Folder;
    world.Start();
    world.table.CmdUP(u"f", world.folder.Text().c_str());
    Another other([&] { world.table.Cancel(); });
    world.AwaitIdle();
    const std::vector<std::string> names = world.folder.Names();
    if (world.table.GetResult() != 0) {
        Check(world.folder.Read("f") == "abcdef", "a result of 1 without the file");
    }
    Check(names.empty() || names == std::vector<std::string>{"f"}, "a file too many");
    other.Join();
    world.Stop(world.sent.size());
}

// While another thread's command waits, or as it is answered.
void PostDuringAnother(World& world, bool answered) {
    world.answer = [answered](const std::string& request) {
        return answered || request.compare(4, 2, "TM") != 0 ? "ACK" : "";
    };
    world.Start(kLinkOnly, kLongTimeoutMs);
    int result = -1;
    Another other([&] { result = g_link.CmdTM(0); });
    world.AwaitSent(1);
    if (answered) {
        Sleep(1);  // the reply comes now
    }
    const uint64_t start = world.NowMs();
    world.table.CmdEX(u"run");
    world.AwaitSent(2);
    world.Within(start, (answered ? 0 : kLongTimeoutMs) + 10, "a posted command starts late");
    world.AwaitResult(1);
    other.Join();
    Check(result == (answered ? 1 : 0) && world.sent[1].bytes.starts_with("Cmd=EX"),
          "the commands are mixed up");
    world.Stop(2);
}

void PostAndStop(World& world) {
    world.answer = Silent;
    world.Start();
    world.table.CmdTM();
    world.Stop(1, 1);
    Check(world.table.GetResult() == 0, "a result without a reply");
}

void PostPostStop(World& world) {
    world.Start();
    world.table.CmdTM();
    world.AwaitResult(1);
    world.table.CmdEX(u"run");
    world.Stop(2, 1);
}

void StopWhileAnotherWaits(World& world) {
    world.answer = Silent;
    world.Start();
    Another other([] { g_link.CmdTM(0); });
    world.AwaitSent(1);
    world.table.CmdEX(u"run");
    world.Stop(2, 1);
    other.Join();
}

void StopStartPost(World& world) {
    world.Start();
    world.table.Stop();
    world.Start();
    world.table.CmdTM();
    world.AwaitResult(1);
    world.Stop(1);
}

// Slot 15 when a walk has sent `requests`, of which the panel answers `answers`, and `afterMs` more.
void StopAWalk(World& world, size_t requests, size_t answers, uint32_t afterMs = 0) {
    world.answer = [&world, answers](const std::string& request) {
        return world.sent.size() <= answers ? Folder(request) : "";
    };
    world.Start(kLinkOnly, kLongTimeoutMs);
    world.table.CmdGF(u"d", world.folder.Text().c_str());
    world.AwaitSent(requests);
    Sleep(afterMs);
    world.Stop(3, 3 - requests);
    const bool whole = world.sent.size() == 3 && world.folder.Read("f") == "abcdef";
    Check(world.table.GetResult() == 0 || (whole && !world.punctual),
          "a walk that was stopped counts as whole");
}

void UseUnitDuringACommand(World& world) {
    world.answer = Silent;
    {
        const CSingleLock lock(g_link.m_ping.m_lock);
        g_link.m_ping.m_listUnits.push_back(std::make_unique<CTavrinUnit>(u"10.0.0.2", 4000));
    }
    world.Start(kLinkOnly, kLongTimeoutMs);
    world.table.CmdTM();
    world.AwaitSent(1);
    const uint64_t start = world.NowMs();
    Another other([&] {
        world.AwaitResult(0);
        world.Within(start, 20, "a cancel has no effect");
    });
    Check(world.table.UseUnit(u"10.0.0.2") == 1, "not adopted");
    Check(world.NowMs() - start >= 1000, "no second to end in");
    other.Join();
    world.answer = Acknowledge;
    world.table.CmdEX(u"run");
    world.AwaitResult(1);
    Check(world.sent[1].peer == "10.0.0.2", "not the new target");
    world.Stop(2);
}

void ReadDuringQueries(World& world) {
    world.answer = [](const std::string& request) {
        return request.compare(4, 2, "DR") == 0 ? Page(' ', {Record("f"), Record("g")})
                                                : "IP ARM 0123 Line";
    };
    world.Start();
    PanelDirEntry entries[2];
    world.table.CmdDR(u"d", 2, entries);
    world.AwaitResult(2);
    std::vector<std::pair<const char16_t*, std::u16string>> texts;
    Another other([&] {
        for (int i = 0; i < 3; ++i) {
            const char16_t* const text = world.table.GetTargetIp();
            texts.emplace_back(text, text);
            const bool busy = world.table.IsBusy() != 0;
            Check(!busy || world.table.GetResult() != 2, "busy with the last command's result");
            Check(world.table.GetTargetCpu() == 0 && world.table.GetTargetVersion() == 0,
                  "a query has changed the target");
            Sleep(1);
        }
    });
    for (const char16_t* address : {u"10.0.0.8", u"10.0.0.9"}) {
        std::u16string project;
        uint16_t version = 0;
        uint16_t cpu = 9;
        Check(g_link.CmdIP(address, 0, project, &version, &cpu) == 1 && project == u"Line",
              "a query failed");
    }
    other.Join();
    for (const auto& [text, copy] : texts) {
        Check(copy == u"192.168.0.1" || copy == u"10.0.0.8" || copy == u"10.0.0.9", "half a text");
        Check(copy == text, "a text of slot 23 did not stay good");
    }
    world.Stop(3);
}

void Beacon(World& world, const char* from, uint64_t delayMs) {
    world.wire.Arrive(delayMs * 1000,
                      {from, 4000, BRENHOLT_PORT_BEACON,
                       std::string("Is there anybody ?Line_") + from + "_ARM_0102"});
}

void HearPanels(World& world) {
    world.Start(kListenerOnly);
    const uint64_t start = world.NowMs();
    Beacon(world, "10.0.0.2", 0);
    Beacon(world, "10.0.0.3", 3);
    Another other([&] {
        if (world.table.UseUnit(u"10.0.0.3") != 0) {
            Check(std::u16string(world.table.GetTargetIp()) == u"10.0.0.3", "half a target");
        }
    });
    BrenholtUnitRow rows[4];
    int count = 0;
    while (count < 2) {
        count = world.table.GetUnits(4, rows);
        for (int i = 0; i < count; ++i) {
            const std::string project = rows[i].szProject;
            Check(project.empty() || project == std::string("Line_") + rows[i].szIp, "half a row");
        }
        Sleep(5);
        Check(world.NowMs() - start < (world.punctual ? 25 : 1000), "a beacon is not heard");
    }
    other.Join();
    Beacon(world, "10.0.0.4", 6000);
    Another reader([&] { world.table.GetUnits(4, rows + 1); });
    Sleep(6100);
    reader.Join();
    Check(world.table.GetUnits(4, rows) == 1 && std::string(rows[0].szIp) == "10.0.0.4",
          "the list does not age");
    world.table.Stop();
}

void BothWorkers(World& world) {
    Beacon(world, "10.0.0.2", 25);
    world.Start(kBoth);
    world.table.CmdTM();
    Sleep(10);
    world.AwaitResult(1);
    BrenholtUnitRow row;
    Check(world.table.GetUnits(1, &row) == 1 || !world.punctual, "a beacon is not heard");
    world.Stop(1);
}

struct Program {
    const char* name;
    void (*run)(World&);
};
constexpr Program kPrograms[] = {
    {"PostAndPoll", PostAndPoll},
    {"TwoPosts", TwoPosts},
    {"CancelAtOnce", CancelAtOnce},
    {"CancelAFetch", CancelAFetch},
    {"PostWhileAnotherWaits", [](World& world) { PostDuringAnother(world, false); }},
    {"PostAsAnotherEnds", [](World& world) { PostDuringAnother(world, true); }},
    {"PostAndStop", PostAndStop},
    {"PostPostStop", PostPostStop},
    {"StopWhileAnotherWaits", StopWhileAnotherWaits},
    {"StopStartPost", StopStartPost},
    {"StopAWalkInItsListing", [](World& world) { StopAWalk(world, 1, 3); }},
    {"StopAWalkInItsFile", [](World& world) { StopAWalk(world, 2, 3); }},
    {"StopAWalkAtItsEnd", [](World& world) { StopAWalk(world, 3, 3); }},
    {"StopASilentWalk", [](World& world) { StopAWalk(world, 1, 0); }},
    {"StopAWalkBetweenSteps", [](World& world) { StopAWalk(world, 1, 1, 1); }},
    {"StopAWalkFallenSilent", [](World& world) { StopAWalk(world, 2, 1); }},
    {"UseUnitDuringACommand", UseUnitDuringACommand},
    {"ReadDuringQueries", ReadDuringQueries},
    {"HearPanels", HearPanels},
    {"BothWorkers", BothWorkers},
};

class ProgramTest : public testing::TestWithParam<std::tuple<Program, bool>> {};

TEST_P(ProgramTest, HoldsInEveryOrder) {
    const Program program = std::get<0>(GetParam());
    const bool stalls = std::get<1>(GetParam());
    const char* const bound = getenv("BRENHOLT_PREEMPTIONS");
    const auto* const test = testing::UnitTest::GetInstance()->current_test_info();
    const size_t orders = turns::RunAll(std::string(test->test_suite_name()) + '.' + test->name(),
                                        {bound != nullptr ? std::stoi(bound) : 1, stalls}, [&] {
                                            const ScratchFolder folder;
                                            World world(stalls, folder);
                                            program.run(world);
                                        });
    std::printf("%zu orders\n", orders);
}

INSTANTIATE_TEST_SUITE_P(Orders, ProgramTest,
                         testing::Combine(testing::ValuesIn(kPrograms), testing::Bool()),
                         [](const auto& info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) ? "Stalled" : "");
                         });

}  // namespace
}  // namespace brenholt
