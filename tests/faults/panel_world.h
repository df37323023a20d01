// A panel's storage and a host's folder, with the link and the real simulated panel on the virtual
// wire, and each command once, with what is right afterwards.
#ifndef BRENHOLT_TESTS_FAULTS_PANEL_WORLD_H
#define BRENHOLT_TESTS_FAULTS_PANEL_WORLD_H

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "brenholt/brenholt.h"
#include "link/tv_udp.h"
#include "tests/support/faulty_calls/faulty_calls.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/virtual_network/panel_answers.h"
#include "tests/support/virtual_network/virtual_wire.h"

extern "C" const BrenholtTable FuncTable;

namespace brenholt {

class PanelWorld {
 public:
    PanelWorld() {
        std::filesystem::create_directories(storage.Path() + "/dir/sub");
        storage.Write("f", content);
        storage.Write("dir/a\xFF", "text of a");
        storage.Write("dir/sub/b", "text of b");
        local.Write("f", "old");
        local.Write("up", content);
        wire.Reset();
        wire.onSend = [this](const WireDatagram& request) {
            const faulty::Spared spared;
            for (const std::string& answer : Answers(panel, request.bytes)) {
                wire.Arrive(1000, {request.peer, kPanelPort, kCommandPort, answer});
            }
        };
        g_link.Create(kCommandPort);
    }
    ~PanelWorld() {
        g_link.Close();
        wire.onSend = nullptr;
    }
    PanelWorld(const PanelWorld&) = delete;
    PanelWorld& operator=(const PanelWorld&) = delete;

    struct Command {
        const char* name;
        int (*run)(PanelWorld&);
        bool (*isDone)(PanelWorld&);  // what a result other than 0 promises
    };
    static const std::vector<Command>& Commands();

    // The outcome of a command, direct or by way of the slot.
    int Run(const Command& command, bool posted) {
        g_link.m_bAsyncMode = posted ? 1 : 0;
        g_link.m_nResult = 0;
        const int result = command.run(*this);
        if (posted) {
            g_link.ServiceOnce();
            return g_link.m_nResult;
        }
        return result;
    }

    std::vector<std::string> TempFiles() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(local.Path())) {
            if (entry.path().filename().native().starts_with("TMP")) {
                names.push_back(entry.path());
            }
        }
        return names;
    }

    VirtualWire& wire = VirtualWire::Get();
    const std::string content = std::string(1500, 'x') + std::string(1500, 'y');
    ScratchFolder storage;
    ScratchFolder local;
    const std::u16string folder = local.Text();
    const std::u16string sent = local.Text(u"up");
    tavrin::Panel panel{storage.Path()};
    std::vector<PanelDirEntry> entries{std::vector<PanelDirEntry>(4)};
    uint16_t word = 0;
};

inline const std::vector<PanelWorld::Command>& PanelWorld::Commands() {
    using World = PanelWorld;
    static const std::vector<Command> commands{
        {"TM", [](World&) { return FuncTable.CmdTM(); }, [](World&) { return true; }},
        {"MD", [](World&) { return FuncTable.CmdMD(u"made"); },
         [](World& w) { return std::filesystem::is_directory(w.storage.Path() + "/made"); }},
        {"VS", [](World& w) { return FuncTable.CmdVS(&w.word, nullptr, nullptr); },
         [](World& w) { return w.word == 1; }},
        {"DR", [](World& w) { return FuncTable.CmdDR(u"dir", 4, w.entries.data()); },
         [](World& w) {
             return g_link.m_nResult == 2 && std::string(w.entries[1].szName) == "sub";
         }},
        {"UP", [](World& w) { return FuncTable.CmdUP(u"f", w.folder.c_str()); },
         [](World& w) { return w.local.Read("f") == w.content; }},
        {"GF", [](World& w) { return FuncTable.CmdGF(u"dir", w.folder.c_str()); },
         [](World& w) {
             return w.local.Read("a\xFF") == "text of a" && w.local.Read("sub/b") == "text of b";
         }},
        {"DL", [](World& w) { return FuncTable.CmdDL(w.sent.c_str(), u"sent"); },
         [](World& w) { return w.storage.Read("sent") == w.content; }},
        {"ML",
         [](World& w) {
             return FuncTable.CmdML(reinterpret_cast<const uint8_t*>(w.content.data()),
                                    static_cast<int>(w.content.size()), u"block");
         },
         [](World& w) {
             return !w.panel.blocks().empty() && std::equal(w.content.begin(), w.content.end(),
                                                            w.panel.blocks().back().bytes.begin(),
                                                            w.panel.blocks().back().bytes.end());
         }},
    };
    return commands;
}

}  // namespace brenholt

#endif
