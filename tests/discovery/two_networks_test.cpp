// A host on two networks, in a network namespace of the test's own: a panel on each, and one on a
// network that the host is not on. The panels' addresses are on the loopback interface.
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "link/tv_udp.h"
#include "platform/clock.h"
#include "tests/dialogs/scripted_backend.h"
#include "tools/panel/beacon.h"
#include "tools/panel/udp.h"

namespace brenholt {
namespace {

// Called while there is one thread only.
bool Shell(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;  // NOLINT(concurrency-mt-unsafe)
}

// Makes this process the root of a network of its own; false where that is not allowed.
bool EnterNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWNET) == 0) {
        return true;
    }
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        return false;
    }
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
    std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
    return true;
}

// The case of its greeting does not matter.
void SendBeacon(uint32_t panel, uint32_t host, const std::string& project) {
    tavrin::Bytes beacon = tavrin::MakeBeacon(project + "_ARM_0123");
    std::transform(beacon.begin(), beacon.begin() + 16, beacon.begin(), toupper);
    tavrin::SendTo(tavrin::BindUdp({panel, 0}), {host, BRENHOLT_PORT_BEACON}, beacon);
}

TEST(TwoNetworksTest, PanelsOnBothAreListedAndAForeignOneIsNoted) {
    if (!EnterNamespace()) {
        GTEST_SKIP() << "this user may not make network namespaces";
    }
    if (!Shell("ip link set lo up && ip link add net1 type veth peer name net2 && "
               "ip addr add 10.1.0.1/24 dev net1 && ip addr add 10.2.0.1/24 dev net2 && "
               "ip link set net1 up && ip link set net2 up && ip addr add 10.1.0.5/32 dev lo && "
               "ip addr add 10.2.0.5/32 dev lo && ip addr add 10.9.0.5/32 dev lo && "
               "ip route add 172.16.0.0/16 via 10.1.0.9")) {
        GTEST_SKIP() << "the ip tool or the kernel's veth is missing";
    }
    const std::string longest(1400 - 18 - 9, 'n');
    CTvUdp link;
    ASSERT_EQ(link.Start(1, 100, 0), 1);
    std::vector<BrenholtUnitRow> rows(8);
    for (int round = 0; round < 400; ++round) {
        SendBeacon(0x0A010005, 0x0A010001, longest);
        SendBeacon(0x0A020005, 0x0A020001, "Second");
        SendBeacon(0x0A090005, 0x0A010001, "Far");
        if (link.GetUnits(8, reinterpret_cast<uint8_t*>(rows.data())) == 3) {
            break;
        }
        Sleep(50);
    }
    ScriptedBackend backend;
    backend.Then([&](ScriptedWindow& window) {
        std::map<std::u16string, std::u16string> listed;
        for (const Cells& row : window.Rows()) {
            listed[row[0]] = row[1] + u' ' + row[3];
        }
        const std::u16string near(longest.begin(), longest.end());
        EXPECT_THAT(listed, testing::ElementsAre(std::pair(u"10.1.0.5", near + u" Auto"),
                                                 std::pair(u"10.2.0.5", u"Second Auto")));
        EXPECT_EQ(window.Shown(1008), u"Different network Tavrin : 10.9.0.5  Far\r\n");
        window.Select(window.Rows().at(0).at(1) == u"Second" ? 0 : 1);
        window.Press(IDOK);
    });
    EXPECT_EQ(link.SelectTarget(0), 1);
    EXPECT_EQ(std::u16string(link.m_strTargetIp.c_str()), u"10.2.0.5");
    EXPECT_EQ(link.m_nTargetVersion, 123);
    for (const auto& adapter : link.m_listAdapters) {
        EXPECT_EQ(adapter->m_strGateway, adapter->m_strName == u"net1" ? u"10.1.0.9" : u"0.0.0.0");
    }
    link.Stop();
}

}  // namespace
}  // namespace brenholt
