// Stop in the midst of commands without end, and calls in any order that a host may choose.
#include <atomic>
#include <iostream>
#include <random>

#include "tests/support/module_host.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scale.h"

namespace brenholt {
namespace {

constexpr int kTimeoutMs = 300;

class Orders : public ModuleHost {};

TEST_F(Orders, StopEndsWhatHasNoEnd) {
    local.Write("f", std::string(1 << 20, 'x'));
    const std::string block(1 << 20, 'x');
    std::vector<PanelDirEntry> entries(20'000);
    const std::u16string file = local.Text(u"f");
    const std::u16string folder = local.Text();
    int packets = 0;
    const auto panel = [&packets](const std::string& request) {
        const std::string token = request.substr(4, 2);
        const std::string number = std::to_string(++packets);
        return token == "UP"   ? Packet('+', std::string(1000, 'x') + number)
               : token == "DL" ? std::string("ACK") + request[6]
               : token == "ML" ? std::string("ACK")
               : request.find("walk") != std::string::npos
                   ? Page('0', {Record("a", 0, 0x10), Record("b", 0, 0x10)})
                   : Page('+', {Record("n" + number)});
    };
    const auto silence = [](const std::string&) { return std::string(); };
    const struct {
        const char* name;  // of the file or folder on the panel
        std::function<int()> post;
        std::function<std::string(const std::string&)> answer;
        int after;  // requests
    } cases[] = {
        {"walk", [&] { return table->CmdGF(u"walk", folder.c_str()); }, panel, 20},
        {"silent folder", [&] { return table->CmdGF(u"silent folder", folder.c_str()); }, silence,
         1},
        {"list", [&] { return table->CmdDR(u"list", 20'000, entries.data()) + 1; }, panel, 20},
        {"fetched", [&] { return table->CmdUP(u"fetched", folder.c_str()); }, panel, 20},
        {"silent file", [&] { return table->CmdUP(u"silent file", folder.c_str()); }, silence, 2},
        {"sent", [&] { return table->CmdDL(file.c_str(), u"sent"); }, panel, 20},
        {"block",
         [&] {
             return table->CmdML(reinterpret_cast<const uint8_t*>(block.data()),
                                 static_cast<int>(block.size()), u"block");
         },
         panel, 20},
    };
    StartWithPanel(1, kTimeoutMs);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::atomic<int> requests{0};
        AnswerWith(
            [&](const std::string& request) {
                requests += request.find(c.name) != std::string::npos ? 1 : 0;  // of this command
                return c.answer(request);
            },
            2ms);
        table->Start(1000, kTimeoutMs, 1);
        ASSERT_EQ(c.post(), 1);
        ASSERT_TRUE(Eventually([&] { return requests >= c.after; }));
        const auto start = Clock::now();
        table->Stop();
        EXPECT_LT(Clock::now() - start,
                  std::chrono::milliseconds(kTimeoutMs) + (kSanitized ? 1000ms : 100ms));
        EXPECT_EQ(table->IsBusy(), 0);
        EXPECT_EQ(table->GetResult(), 0);
        server->SetHook(0, {});
    }
    for (const std::string& name : local.Names()) {
        EXPECT_FALSE(name.starts_with("TMP")) << name;
    }
}

TEST_F(Orders, AnyOrderOfCallsEndsIdle) {
    storage.Write("f", std::string(3000, 'x'));
    StartWithPanel(1, 20);
    std::vector<PanelDirEntry> entries(4);
    std::vector<BrenholtUnitRow> rows(4);
    const std::u16string folder = local.Text();
    const std::string block(3000, 'x');
    uint16_t word = 0;
    const std::vector<std::function<void()>> commands{
        [&] { table->CmdTM(); },
        [&] { table->CmdEX(u"x"); },
        [&] { table->CmdVS(&word, nullptr, nullptr); },
        [&] { table->CmdDR(u"", 4, entries.data()); },
        [&] { table->CmdUP(u"f", folder.c_str()); },
        [&] { table->CmdGF(u"", folder.c_str()); },
        [&] {
            table->CmdML(reinterpret_cast<const uint8_t*>(block.data()),
                         static_cast<int>(block.size()), u"g");
        },
    };
    // What any thread may call at any time.
    std::atomic<bool> end{false};
    std::atomic<bool> mayCancel{true};
    std::thread bystander([&] {
        for (unsigned turn = 0; !end; ++turn) {
            table->IsBusy();
            table->GetResult();
            table->GetTargetCpu();
            table->GetTargetVersion();
            table->GetTargetIp();
            if (turn % 16 == 0 && mayCancel) {
                table->Cancel();
            }
            std::this_thread::sleep_for(1ms);
        }
    });
    std::mt19937_64 random(11);
    const int orders = Scaled(100);
    for (int i = 0; i < orders; ++i) {
        for (auto calls = 2 + random() % 8; calls > 0; --calls) {
            switch (random() % 10) {
                case 0:
                    table->Stop();
                    break;
                case 1:
                    table->Start(2, 20, static_cast<int32_t>(random() % 2));
                    break;
                case 2:
                    table->Cancel();
                    break;
                case 3:
                    table->GetUnits(4, rows.data());
                    break;
                case 4:
                    // While a command runs it waits for a second.
                    if (table->IsBusy() == 0 || random() % 20 == 0) {
                        table->UseUnit(random() % 2 != 0 ? u"127.0.0.2" : u"127.0.0.3");
                    }
                    break;
                default:
                    // One command at a time is the host's duty.
                    if (table->IsBusy() == 0) {
                        commands[random() % commands.size()]();
                    }
            }
        }
    }
    mayCancel = false;
    table->Start(3, 1000, 1);
    EXPECT_TRUE(Eventually([this] { return table->IsBusy() == 0; }));
    EXPECT_TRUE(Eventually([this] { return table->UseUnit(u"127.0.0.2") == 1; }));
    table->Start(3, 1000, 1);
    isPosted = true;
    EXPECT_EQ(Outcome(table->CmdUP(u"f", folder.c_str())), 1) << "and then all is well";
    table->Stop();
    end = true;
    bystander.join();
    EXPECT_EQ(local.Names(), std::vector<std::string>{"f"});
    std::cout << "    " << orders << " orders\n";
}

}  // namespace
}  // namespace brenholt
