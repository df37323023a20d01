// Calls in any order that a host may choose.
#include <atomic>
#include <iostream>
#include <random>

#include "tests/support/module_host.h"
#include "tests/support/scale.h"

namespace brenholt {
namespace {

using Orders = ModuleHost;

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
