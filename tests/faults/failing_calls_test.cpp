// Each call into the system and each allocation of each command fails once, one after the other;
// and the process is killed at each of them.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>

#include "tests/faults/panel_world.h"

namespace brenholt {
namespace {

using faulty::Way;

struct Trouble {
    Way way;
    bool shows;  // may spoil the result
    std::vector<std::string_view> calls;
};

const std::vector<Trouble> kTroubles{
    {Way::Fail,
     true,
     {faulty::kAllocation, "close", "flock", "fstat", "mkdirat", "open", "openat", "read",
      "renameat", "stat", "utimensat", "write"}},
    {Way::Interrupt, false, {"open", "openat", "read", "write"}},
    {Way::Halve, false, {"read", "write"}},
};

// Runs the command with its `nth` such call in trouble; false when it has no so many.
bool Strike(const PanelWorld::Command& command, bool posted, std::string_view call, int nth,
            const Trouble& trouble) {
    SCOPED_TRACE(testing::Message()
                 << command.name << (posted ? " posted, " : " direct, ") << call << ' ' << nth);
    PanelWorld world;
    faulty::Arm(call, nth, trouble.way);
    const int result = world.Run(command, posted);
    const bool struck = faulty::Disarm();
    EXPECT_EQ(g_link.m_bBusy, 0);
    EXPECT_EQ(g_link.m_bPosted, 0);
    if (result != 0) {
        EXPECT_TRUE(command.isDone(world));
    } else {
        EXPECT_TRUE(trouble.shows && struck);
        EXPECT_EQ(world.local.Read("f"), "old");
    }
    EXPECT_TRUE(world.TempFiles().empty());
    const int again = world.Run(command, posted);
    EXPECT_TRUE(again != 0 && command.isDone(world)) << "and then all is well: " << again;
    return struck;
}

TEST(FailingCalls, EachOfEachCommand) {
    int all = 0;
    for (const Trouble& trouble : kTroubles) {
        for (const std::string_view call : trouble.calls) {
            const int before = all;
            for (const PanelWorld::Command& command : PanelWorld::Commands()) {
                for (const bool posted : {false, true}) {
                    for (int nth = 1; Strike(command, posted, call, nth, trouble); ++nth, ++all) {
                        ASSERT_LT(nth, 5000) << "no end of calls";
                    }
                }
            }
            EXPECT_GT(all, before) << call << " is not called";
        }
    }
    std::cout << "    " << all << " calls went wrong\n";
}

// The host fetches a file over another and is killed at the `nth` call; false when there are fewer.
bool KilledFetch(PanelWorld& world, int nth) {
    const std::vector<PanelWorld::Command>& commands = PanelWorld::Commands();
    const auto fetch = std::find_if(commands.begin(), commands.end(), [](const auto& command) {
        return std::string(command.name) == "UP";
    });
    world.local.Write("f", "old");
    const pid_t child = fork();
    if (child == 0) {
        faulty::Arm(faulty::kAnyCall, nth, Way::Kill);
        world.Run(*fetch, false);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    const std::string found = world.local.Read("f");
    EXPECT_TRUE(found == "old" || found == world.content) << found.size() << " bytes";
    EXPECT_EQ(world.local.Read("up"), world.content);
    const std::vector<std::string> temporary = world.TempFiles();
    EXPECT_LE(temporary.size(), 1U);
    for (const std::string& path : temporary) {
        std::filesystem::remove(path);
    }
    return WIFSIGNALED(status);
}

TEST(KilledHost, AtEachCall) {
    PanelWorld world;
    int nth = 1;
    while (KilledFetch(world, nth)) {
        ASSERT_LT(++nth, 100);
    }
    std::cout << "    " << nth - 1 << " calls\n";
    EXPECT_GT(nth, 10);
}

}  // namespace
}  // namespace brenholt
