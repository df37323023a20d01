// A link with panels on the virtual wire, and a user who follows a script.
#ifndef BRENHOLT_TESTS_DIALOGS_DIALOG_FIXTURE_H
#define BRENHOLT_TESTS_DIALOGS_DIALOG_FIXTURE_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "dialogs/resources.h"
#include "tests/dialogs/scripted_backend.h"
#include "tests/support/link_fixture.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {

class DialogFixture : public LinkFixture {
 protected:
    void SetUp() override {
        LinkFixture::SetUp();
        std::filesystem::current_path(folder.Path());
        link->m_bStopped = 0;
        link->m_ping.m_bStopped = 0;
        wire.onSend = [this](const WireDatagram& request) {
            asked.push_back(request.peer);
            EXPECT_EQ(backend.waiting, 1) << "the user does not see that he has to wait";
            if (const auto found = panels.find(request.peer); found != panels.end()) {
                wire.Arrive(1000, {request.peer, kPanelPort, kCommandPort, found->second});
            }
        };
        auto& adapter = link->m_listAdapters.emplace_back(std::make_unique<CEAdapterInfo>());
        adapter->m_strIp = u"10.0.0.1";
        adapter->m_strMask = u"255.255.255.0";
    }
    void TearDown() override {
        EXPECT_TRUE(backend.scripts.empty()) << "a dialog did not open";
        EXPECT_EQ(backend.windows, 0);
        EXPECT_EQ(backend.rowsLeft, 0U) << "rows outlived their records";
        EXPECT_EQ(backend.waiting, 0);
        std::filesystem::current_path("/");
    }

    void Hear(std::u16string_view ip, std::u16string_view project, int32_t cpu, int32_t version) {
        const CSingleLock lock(link->m_ping.m_lock);
        auto& units = link->m_ping.m_listUnits;
        auto& unit = units.emplace_back(std::make_unique<CTavrinUnit>(ip, 4000));
        unit->m_strProject = project;
        unit->m_nCpu = cpu;
        unit->m_nVersion = version;
    }
    void Forget() {
        const CSingleLock lock(link->m_ping.m_lock);
        link->m_ping.m_listUnits.clear();
    }
    void Enter(std::u16string_view ip, int32_t cpu = kCpuUnknown, int32_t version = 0) {
        CTavrinUnit unit(ip, kUserUnitPort);
        unit.m_nCpu = cpu;
        unit.m_nVersion = version;
        link->AddUserUnit(&unit);
    }
    std::u16string TargetIp() const { return link->m_strTargetIp.c_str(); }
    // Opens `dialog` on the link, with a user who follows `script`.
    template <class Dialog>
    int Run(Dialog& dialog, ScriptedBackend::Script script) {
        dialog.m_pLink = link.get();
        backend.Then(std::move(script));
        return dialog.DoModal();
    }
    std::vector<std::u16string> UserList() const {
        std::vector<std::u16string> ips;
        for (const auto& unit : link->m_listUserUnits) {
            ips.push_back(unit->m_strIp);
        }
        return ips;
    }

    ScratchFolder folder;
    ScriptedBackend backend;
    std::map<std::string, std::string> panels;  // replies to the identity query, by address
    std::vector<std::string> asked;             // whom datagrams went to
};

}  // namespace brenholt

#endif
