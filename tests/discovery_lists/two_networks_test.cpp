// A host on two networks, in network namespaces of the test's own: a panel on each, and one on a
// network that the host is not on.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "link/tv_udp.h"
#include "platform/address.h"
#include "platform/clock.h"
#include "tests/dialogs/scripted_backend.h"

namespace brenholt {
namespace {

// Called while there is one thread only.
bool Run(const std::string& command) {
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

int BoundSocket(const char* address) {
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = inet_addr(address);
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return bind(fd, reinterpret_cast<sockaddr*>(&local), sizeof local) == 0 ? fd : -1;
}

void SendBeacon(int fd, const char* host, const std::string& project) {
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(BRENHOLT_PORT_BEACON);
    to.sin_addr.s_addr = inet_addr(host);
    const std::string beacon = "Is there anybody ?" + project + "_ARM_0123";
    sendto(fd, beacon.data(), beacon.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
}

// The other end of both networks: beacons until `stop` is closed.
bool PlayPanels(int stop) {
    if (!Run("ip addr add 10.1.0.5/24 dev panel1 && ip addr add 10.9.0.5/32 dev panel1 && "
             "ip addr add 10.2.0.5/24 dev panel2 && ip link set panel1 up && ip link set panel2 "
             "up")) {
        return false;
    }
    const int near = BoundSocket("10.1.0.5");
    const int second = BoundSocket("10.2.0.5");
    const int far = BoundSocket("10.9.0.5");
    pollfd gone{stop, POLLIN, 0};
    while (poll(&gone, 1, 50) == 0) {
        SendBeacon(near, "10.1.0.1", "Near");
        SendBeacon(second, "10.2.0.1", "Second");
        SendBeacon(far, "10.1.0.1", "Far");
    }
    return true;
}

// A process in a namespace of its own that two cables lead to.
class Panels {
 public:
    Panels() {
        int toChild[2];
        int fromChild[2];
        if (pipe2(toChild, O_CLOEXEC) != 0 || pipe2(fromChild, O_CLOEXEC) != 0) {
            return;
        }
        m_child = fork();
        char byte = 0;
        if (m_child == 0) {
            close(toChild[1]);
            const bool apart = unshare(CLONE_NEWNET) == 0;
            const bool told = apart && write(fromChild[1], &byte, 1) == 1;
            _exit(told && read(toChild[0], &byte, 1) == 1 && PlayPanels(toChild[0]) ? 0 : 1);
        }
        close(toChild[0]);
        close(fromChild[1]);
        m_stop = toChild[1];
        const bool apart = read(fromChild[0], &byte, 1) == 1;
        close(fromChild[0]);
        const std::string to = " netns " + std::to_string(m_child);
        // Packets from a network that the host has no route to are not to be dropped on the way.
        m_bReady = apart &&
                   Run("for f in /proc/sys/net/ipv4/conf/*/rp_filter; do echo 0 > $f; done; "
                       "ip link add host1 type veth peer name panel1" +
                       to + " && ip link add host2 type veth peer name panel2" + to +
                       " && echo 0 > /proc/sys/net/ipv4/conf/host1/rp_filter"
                       " && ip addr add 10.1.0.1/24 dev host1 && ip addr add 10.2.0.1/24 dev host2"
                       " && ip link set host1 up && ip link set host2 up") &&
                   write(m_stop, &byte, 1) == 1;
    }
    ~Panels() {
        close(m_stop);
        waitpid(m_child, nullptr, 0);
    }
    Panels(const Panels&) = delete;
    Panels& operator=(const Panels&) = delete;

    bool Ready() const { return m_bReady; }

 private:
    pid_t m_child = -1;
    int m_stop = -1;
    bool m_bReady = false;
};

TEST(TwoNetworksTest, PanelsOnBothAreListedAndAForeignOneIsNoted) {
    if (!EnterNamespace()) {
        GTEST_SKIP() << "this user may not make network namespaces";
    }
    const Panels panels;
    if (!panels.Ready()) {
        GTEST_SKIP() << "no virtual cables here: the ip tool or the kernel's veth is missing";
    }
    CTvUdp link;
    ASSERT_EQ(link.Start(1, 100, 0), 1);
    std::vector<BrenholtUnitRow> rows(8);
    const uint32_t start = GetTickCount();
    while (link.GetUnits(8, reinterpret_cast<uint8_t*>(rows.data())) < 3 &&
           GetTickCount() - start < 20'000) {
        Sleep(10);
    }
    ScriptedBackend backend;
    backend.Then([](ScriptedWindow& window) {
        std::map<std::u16string, std::u16string> listed;
        for (const Cells& row : window.Rows()) {
            listed[row[0]] = row[1] + u' ' + row[3];
        }
        EXPECT_THAT(listed, testing::ElementsAre(std::pair(u"10.1.0.5", u"Near Auto"),
                                                 std::pair(u"10.2.0.5", u"Second Auto")));
        EXPECT_EQ(window.Shown(1008), u"Different network Tavrin : 10.9.0.5  Far\r\n");
        window.Select(window.Rows().at(0).at(1) == u"Second" ? 0 : 1);
        window.Press(IDOK);
    });
    EXPECT_EQ(link.SelectTarget(0), 1);
    EXPECT_EQ(std::u16string(link.m_strTargetIp.c_str()), u"10.2.0.5");
    EXPECT_EQ(link.m_nTargetVersion, 123);
    link.Stop();
}

}  // namespace
}  // namespace brenholt
