// Start, commands and Stop on real sockets and threads, with each call into the system failing
// once.
#include <gtest/gtest.h>

#include <filesystem>
#include <iostream>

#include "brenholt/brenholt.h"
#include "link/tv_udp.h"
#include "platform/clock.h"
#include "tests/support/faulty_calls/faulty_calls.h"
#include "tests/support/scratch_folder.h"
#include "tools/panel/fault_text.h"
#include "tools/panel/server.h"

extern "C" const BrenholtTable FuncTable;

namespace brenholt {
namespace {

using faulty::Way;

class FailingSockets : public testing::Test {
 protected:
    void SetUp() override {
        storage.Write("f", content);
        tavrin::PanelSettings panel;
        panel.address = "127.0.0.2";
        panel.root = storage.Path();
        server = std::make_unique<tavrin::Server>(std::vector{panel});
        server->Start();
        g_link.m_strTargetIp.Set(u"127.0.0.2");
        // What is opened once and kept is open from here on.
        ASSERT_NE(FuncTable.Start(3, 1000, 0), 0);
        ASSERT_EQ(FuncTable.CmdUP(u"f", folder.c_str()), 1);
        FuncTable.Stop();
        // Later than the spin of a wait, so that each wait comes to its poll.
        server->SetFaults(0, tavrin::ParseFaults("delay=1:1ms"));
    }
    void TearDown() override { FuncTable.Stop(); }

    static auto OpenDescriptors() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    int Outcome(int result) {
        while (FuncTable.IsBusy() != 0) {
            Sleep(1);
        }
        return g_link.m_bAsyncMode != 0 && result != 0 ? FuncTable.GetResult() : result;
    }

    // Runs the module once through; false when it has not so many calls of that kind.
    bool Strike(std::string_view call, int nth, Way way, int posted) {
        SCOPED_TRACE(testing::Message() << call << ' ' << nth);
        const auto descriptors = OpenDescriptors();
        faulty::Arm(call, nth, way);
        if (FuncTable.Start(3, 100, posted) != 0) {
            const int answered = Outcome(FuncTable.CmdTM());
            const int fetched = Outcome(FuncTable.CmdUP(u"f", folder.c_str()));
            EXPECT_EQ(FuncTable.IsBusy(), 0);
            const faulty::Spared spared;
            EXPECT_TRUE(way == Way::Fail || answered + fetched == 2);
            EXPECT_TRUE(fetched == 0 || local.Read("f") == content);
        }
        FuncTable.Stop();
        const bool struck = faulty::Disarm();
        EXPECT_EQ(OpenDescriptors(), descriptors);
        EXPECT_EQ(local.Names().size(), local.Read("f").empty() ? 0U : 1U);
        return struck;
    }

    const std::string content = std::string(5000, 'x');
    ScratchFolder storage;
    ScratchFolder local;
    const std::u16string folder = local.Text();
    std::unique_ptr<tavrin::Server> server;
};

TEST_F(FailingSockets, EachFromStartToStop) {
    // Of those that are called over and over the first few have to do.
    const struct {
        Way way;
        int most;
        std::vector<std::string_view> calls;
    } troubles[] = {
        {Way::Fail,
         9,
         {"socket", "setsockopt", "bind", "timerfd_create", "pthread_create", "sendto", "close"}},
        {Way::Fail, 60, {faulty::kAllocation}},
        {Way::Fail, 12, {"recvfrom"}},
        {Way::Fail, 5, {"ppoll"}},
        {Way::Interrupt, 9, {"recvfrom", "sendto"}},
        {Way::Interrupt, 5, {"ppoll"}},
    };
    int count = 0;
    for (const int posted : {0, 1}) {
        for (const auto& trouble : troubles) {
            for (const std::string_view call : trouble.calls) {
                int nth = 1;
                while (nth <= trouble.most && Strike(call, nth, trouble.way, posted)) {
                    ++nth;
                }
                EXPECT_GT(nth, 1) << call << " is not called";
                count += nth - 1;
            }
        }
    }
    std::cout << "    " << count << " calls went wrong\n";
    ASSERT_NE(FuncTable.Start(3, 1000, 0), 0);
    EXPECT_EQ(FuncTable.CmdUP(u"f", folder.c_str()), 1) << "and then all is well";
}

}  // namespace
}  // namespace brenholt
