// The module as a host sees it: loading, starting, choosing, waiting, cancelling.
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>

#include "tests/support/module_host.h"

namespace brenholt {
namespace {

using LifetimeTest = ModuleHost;

TEST_F(LifetimeTest, BeforeStartNothingGoesAndTheTargetHasItsDefault) {
    EXPECT_EQ(table->GetTargetCpu(), 0);
    EXPECT_EQ(table->GetTargetVersion(), 0);
    EXPECT_EQ(std::u16string(table->GetTargetIp()), u"192.168.0.1");
    EXPECT_EQ(table->SelectTarget(0), 0);
    EXPECT_EQ(table->UseUnit(u"127.0.0.2"), 0);
    BrenholtUnitRow row{};
    EXPECT_EQ(table->GetUnits(1, &row), 0);
    table->Stop();
    for (const void* spare : table->reserved) {
        EXPECT_EQ(spare, nullptr);
    }
}

TEST_F(LifetimeTest, StartsOnceAndAgainAfterStop) {
    EXPECT_NE(table->Start(3, 1000, 1), 0);
    EXPECT_EQ(table->Start(1, 10, 0), 0) << "it runs already, but takes the settings";
    const auto start = Clock::now();
    EXPECT_EQ(table->CmdTM(), 0);
    EXPECT_LT(Clock::now() - start, 900ms);
    table->Stop();
    table->Stop();
    EXPECT_NE(table->Start(3, 1000, 1), 0);
}

TEST_F(LifetimeTest, HeardPanelBecomesTheTarget) {
    StartWithPanel(0);
    BrenholtUnitRow rows[2];
    std::memset(rows, 0xAA, sizeof rows);
    ASSERT_EQ(table->GetUnits(2, rows), 1);
    EXPECT_STREQ(rows[0].szIp, "127.0.0.2");
    EXPECT_STREQ(rows[0].szProject, "Line1");
    EXPECT_EQ(table->GetTargetCpu(), BRENHOLT_CPU_ARM);
    EXPECT_EQ(table->GetTargetVersion(), 100);
    EXPECT_EQ(std::u16string(table->GetTargetIp()), u"127.0.0.2");
    EXPECT_EQ(table->UseUnit(u"127.0.0.3"), 0);
    EXPECT_EQ(std::u16string(table->GetTargetIp()), u"127.0.0.2");
}

#ifndef BRENHOLT_SANITIZED  // which has a thread of its own

// How often each thread of the process gave up its core of its own will.
std::map<std::string, long> Rests() {
    std::map<std::string, long> rests;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(thread.path() / "status");
        constexpr std::string_view kKey = "voluntary_ctxt_switches:";
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(kKey)) {
                rests[thread.path()] = std::stol(line.substr(kKey.size()));
            }
        }
    }
    return rests;
}

TEST_F(LifetimeTest, IdleLinkSleeps) {
    const auto others = Rests();
    ASSERT_NE(table->Start(3, 1000, 1), 0);
    std::this_thread::sleep_for(100ms);  // until both threads rest
    const auto before = Rests();
    std::this_thread::sleep_for(5s);
    long passes = 0;
    for (const auto& [thread, rests] : Rests()) {
        passes += others.count(thread) == 0 ? rests - before.at(thread) : 0;
    }
    EXPECT_EQ(before.size(), others.size() + 2);
    EXPECT_LE(passes, 5);
}

#endif

TEST_F(LifetimeTest, SilentWaitCostsNextToNothing) {
    StartWithPanel(1);
    server->Pause(0);
    const std::clock_t before = std::clock();
    EXPECT_EQ(Outcome(table->CmdTM()), 0);
    // Three seconds of waiting; the test's own polling and a sanitizer's share are in it.
    EXPECT_LT(std::clock() - before, 3 * CLOCKS_PER_SEC / 4);
}

TEST_F(LifetimeTest, PostedCommandStartsAtOnce) {
    StartWithPanel(1);
    auto least = std::chrono::nanoseconds(1s);
    for (int round = 0; round < 50; ++round) {
        const auto start = Clock::now();
        EXPECT_EQ(Outcome(table->CmdTM()), 1);
        least = std::min<std::chrono::nanoseconds>(least, Clock::now() - start);
    }
    EXPECT_LT(least, 7ms) << "not with the worker's next pass, 10 ms later";
}

TEST_F(LifetimeTest, CancelAndStopEndARunningCommandAndNotAPostedOne) {
    StartWithPanel(1, 5000);
    server->Pause(0);
    for (const auto end : {table->Cancel, table->Stop}) {
        ASSERT_EQ(table->CmdEX(u"run"), 1);
        EXPECT_EQ(table->GetResult(), 0);
        std::this_thread::sleep_for(50ms);  // into the wait for the reply
        const auto start = Clock::now();
        end();
        EXPECT_TRUE(Eventually([this] { return table->IsBusy() == 0; }));
        EXPECT_LT(Clock::now() - start, 2s) << "not the timeout's five seconds";
        EXPECT_EQ(table->GetResult(), 0);
    }
    server->Resume(0);
    ASSERT_EQ(table->CmdTM(), 1) << "posted while no worker runs: it stays in the slot";
    EXPECT_EQ(table->IsBusy(), 1);
    ASSERT_NE(table->Start(3, 1000, 1), 0);
    EXPECT_EQ(Outcome(1), 1) << "nor does a cancel outlive its command";
}

}  // namespace
}  // namespace brenholt
