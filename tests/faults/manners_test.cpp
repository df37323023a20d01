// The module as a guest in the host's process: descriptors, signals, null pointers, fork,
// unloading.
#include <fcntl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "tests/support/module_host.h"
#include "tests/support/panel_replies.h"

namespace brenholt {
namespace {

class Manners : public ModuleHost {
 protected:
    static bool IsMapped() {
        std::ifstream maps("/proc/self/maps");
        const std::string text{std::istreambuf_iterator<char>(maps), {}};
        return text.find("brenholt.so") != std::string::npos;
    }
};

// What is open, with its flags.
std::map<int, int> Descriptors() {
    std::map<int, int> open;
    for (int fd = 0; fd < 1024; ++fd) {
        if (const int flags = fcntl(fd, F_GETFD); flags >= 0) {
            open[fd] = flags;
        }
    }
    return open;
}

TEST_F(Manners, DescriptorsAreNeitherInheritedNorStandard) {
    StartWithPanel(0);
    table->Stop();
    const std::map<int, int> before = Descriptors();
    std::map<int, int> own;
    for (const int first : {0, 1, 2}) {  // of the standard ones, those from here on are free
        AnswerWith([&own](const std::string&) {
            own = Descriptors();
            return Packet('0', "data");
        });
        int saved[3];
        for (int fd = first; fd < 3; ++fd) {
            saved[fd] = fcntl(fd, F_DUPFD_CLOEXEC, 500);
            close(fd);
        }
        const int started = table->Start(3, 1000, 0);
        const int fetched = table->CmdUP(u"f", local.Text().c_str());
        table->Stop();
        for (int fd = first; fd < 3; ++fd) {
            dup2(saved[fd], fd);
            close(saved[fd]);
        }
        EXPECT_EQ(started + fetched, 2);
        server->SetHook(0, {});  // `own` is this thread's from here on
        std::erase_if(own, [&](const auto& open) {
            return open.first >= 500 || (open.first >= first && before.count(open.first) != 0);
        });
        EXPECT_EQ(own.size(), 5U + static_cast<size_t>(first))
            << "two sockets and their wakers, the folder";
        for (const auto& [fd, flags] : own) {
            EXPECT_TRUE(fd < first || (fd > 2 && flags == FD_CLOEXEC)) << fd;
        }
    }
}

TEST_F(Manners, NullPointersAreFailures) {
    const auto callAll = [this](const char* when) {
        SCOPED_TRACE(when);
        for (const auto slot :
             {table->CmdMD, table->CmdFF, table->CmdFD, table->CmdEX, table->CmdCL, table->CmdRM}) {
            EXPECT_EQ(Outcome(slot(nullptr)), 0);
        }
        EXPECT_EQ(Outcome(table->CmdVS(nullptr, nullptr, nullptr)), 0);
        EXPECT_EQ(Outcome(table->CmdML(nullptr, 5, nullptr)), 0);
        EXPECT_EQ(Outcome(table->CmdDR(nullptr, 5, nullptr)), 0);
        EXPECT_EQ(Outcome(table->CmdDL(nullptr, nullptr)), 0);
        EXPECT_EQ(Outcome(table->CmdUP(nullptr, nullptr)), 0);
        Outcome(table->CmdGF(nullptr, nullptr));  // a folder that is not listed is empty
        EXPECT_EQ(table->GetUnits(5, nullptr), 0);
        EXPECT_EQ(table->UseUnit(nullptr), 0);
    };
    StartWithPanel(0);
    table->Stop();
    table->Start(1, 10, 0);
    table->Stop();
    callAll("stopped");
    AnswerWith([](const std::string&) { return ""; });
    for (const int posted : {0, 1}) {
        table->Start(1, 10, posted);
        isPosted = posted != 0;
        callAll(posted != 0 ? "posted" : "direct");
        table->Stop();
    }
}

pid_t g_mainThread;
std::atomic<int> g_signals{0};
std::atomic<int> g_elsewhere{0};

TEST_F(Manners, SignalsDoNotShow) {
    const std::string data(300 * 1363, 'x');
    storage.Write("f", data);
    sigset_t alarms;
    sigemptyset(&alarms);
    sigaddset(&alarms, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarms, nullptr);  // for the panel's thread
    StartWithPanel(0);
    table->Stop();
    pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    // The module's threads are made by a thread that takes signals.
    table->Start(3, 1000, 0);
    g_mainThread = gettid();
    struct sigaction action {};
    action.sa_handler = [](int) { ++(gettid() == g_mainThread ? g_signals : g_elsewhere); };
    sigaction(SIGALRM, &action, nullptr);
    pthread_sigmask(SIG_BLOCK, &alarms, nullptr);
    kill(getpid(), SIGALRM);
    std::this_thread::sleep_for(20ms);  // for a thread that would take it
    EXPECT_EQ(g_elsewhere, 0) << "the module's threads take no signals";
    pthread_sigmask(SIG_UNBLOCK, &alarms, nullptr);
    const itimerval storm{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &storm, nullptr);
    for (int round = 0; round < 200 && g_signals < 100; ++round) {
        EXPECT_EQ(table->CmdUP(u"f", local.Text().c_str()), 1);
        EXPECT_EQ(table->CmdDL(local.Text(u"f").c_str(), u"g"), 1);
    }
    table->Stop();
    const itimerval calm{};
    setitimer(ITIMER_REAL, &calm, nullptr);
    signal(SIGALRM, SIG_DFL);
    EXPECT_GE(g_signals, 100);
    EXPECT_EQ(g_elsewhere, 0) << "the module's threads take no signals";
    EXPECT_TRUE(storage.Read("g") == data);
}

TEST_F(Manners, ForkedChildIsStoppedAndTheParentGoesOn) {
    StartWithPanel(1, 5000);
    server->Pause(0);
    ASSERT_EQ(table->CmdTM(), 1);
    std::this_thread::sleep_for(30ms);  // into the wait for the reply
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        const auto start = Clock::now();
        const bool idle = table->IsBusy() == 0;
        table->Stop();
        dlclose(module);
        _exit(idle && Clock::now() - start < 1s ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(table->IsBusy(), 1);
    server->Resume(0);
    EXPECT_EQ(Outcome(1), 1);
}

TEST_F(Manners, UnloadingWithoutStopLeavesTheThreadsTheirCode) {
    StartWithPanel(1, 50);
    server->Pause(0);
    ASSERT_EQ(table->CmdTM(), 1);
    dlclose(module);
    EXPECT_TRUE(IsMapped());
    std::this_thread::sleep_for(100ms);  // both threads make some passes
    SetUp();
    EXPECT_EQ(table->Start(3, 1000, 1), 0) << "it runs still";
    server->Resume(0);
    EXPECT_TRUE(Eventually([this] { return table->IsBusy() == 0; }));
    EXPECT_EQ(Outcome(table->CmdTM()), 1);
    table->Stop();
    dlclose(module);
    EXPECT_FALSE(IsMapped());
    SetUp();
    EXPECT_EQ(std::u16string(table->GetTargetIp()), u"192.168.0.1") << "afresh";
    EXPECT_NE(table->Start(3, 1000, 1), 0);
}

#if defined(__OPTIMIZE__) && !defined(BRENHOLT_SANITIZED)
TEST_F(Manners, StopAfterUnloadingReturns) {
    StartWithPanel(1, 1000);
    const auto stop = table->Stop;
    dlclose(module);
    stop();
    EXPECT_FALSE(IsMapped());
    SetUp();
}
#endif

TEST_F(Manners, HostThatLeavesWithoutStopLeavesInPeace) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(10);
        table->Start(3, 1000, 1);
        table->CmdTM();
        exit(0);  // NOLINT(concurrency-mt-unsafe): with the exit handlers, which are under test
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace brenholt
