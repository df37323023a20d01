// Floods of datagrams at both ports of the module.
#include <netinet/in.h>
#include <sys/socket.h>

#include <atomic>
#include <iostream>
#include <set>

#include "tests/support/module_host.h"
#include "tests/support/scale.h"
#include "tools/panel/beacon.h"
#include "tools/panel/udp.h"

namespace brenholt {
namespace {

// Sends datagrams to a port of the host at an even pace until it is destroyed.
class Flood {
 public:
    static constexpr std::chrono::microseconds kEvery{100};

    // `make(n)` gives the nth datagram; it comes from the address `source(n)`.
    Flood(uint16_t port, std::function<std::string(unsigned)> make,
          std::function<uint32_t(unsigned)> source)
        : m_thread([=, this] {
              const auto start = Clock::now();
              while (!m_end) {
                  const auto due = (Clock::now() - start) / kEvery;
                  for (; m_sent < static_cast<unsigned>(due); ++m_sent) {
                      Send(port, make(m_sent), source(m_sent));
                  }
                  std::this_thread::sleep_for(1ms);
              }
              m_seconds = std::chrono::duration<double>(Clock::now() - start).count();
          }) {}
    ~Flood() { End(); }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

    // Datagrams a second that went out.
    double End() {
        m_end = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_sent / m_seconds;
    }

 private:
    void Send(uint16_t port, const std::string& bytes, uint32_t source) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        iovec part{const_cast<char*>(bytes.data()), bytes.size()};
        alignas(cmsghdr) char room[CMSG_SPACE(sizeof(in_pktinfo))] = {};
        msghdr message{};
        message.msg_name = &to;
        message.msg_namelen = sizeof to;
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = room;
        message.msg_controllen = sizeof room;
        cmsghdr* header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = IPPROTO_IP;
        header->cmsg_type = IP_PKTINFO;
        header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
        auto* from = reinterpret_cast<in_pktinfo*>(CMSG_DATA(header));
        from->ipi_spec_dst.s_addr = htonl(source);
        sendmsg(m_socket.get(), &message, 0);
    }

    const tavrin::Descriptor m_socket = tavrin::BindUdp({INADDR_ANY, 0});
    std::atomic<bool> m_end{false};
    unsigned m_sent = 0;
    double m_seconds = 1;
    std::thread m_thread;
};

constexpr uint32_t Loopback(uint32_t host) {
    return 0x7F000000 + host;
}

std::string Junk(unsigned n) {
    return std::string(n % 3 == 0 ? "Is there anyone " : "Cmd=") + std::string(n % 1300, 'j');
}

class Floods : public ModuleHost {
 protected:
    static constexpr int kPanels = 4;

    void StartWithFour() {
        std::vector<tavrin::PanelSettings> panels(kPanels);
        for (int i = 0; i < kPanels; ++i) {
            panels[i].address = "127.0.0." + std::to_string(i + 2);
            panels[i].root = storage.Path();
            panels[i].identity.project = "Line" + std::to_string(i);
        }
        server = std::make_unique<tavrin::Server>(panels);
        server->Start();
        const std::set<std::string> before = Threads();
        ASSERT_NE(table->Start(3, 1000, 0), 0);
        ASSERT_TRUE(Eventually([this] { return Listed() == kPanels; }));
        ASSERT_EQ(table->UseUnit(u"127.0.0.2"), 1);
        own = Threads();
        for (const std::string& thread : before) {
            own.erase(thread);
        }
    }
    int Listed() {
        rows.resize(100'000);
        return table->GetUnits(static_cast<int32_t>(rows.size()), rows.data());
    }
    static std::set<std::string> Threads() {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
            names.insert(entry.path());
        }
        return names;
    }
    // Of the module's threads, in seconds.
    double Cpu() const {
        double seconds = 0;
        for (const std::string& thread : own) {
            uint64_t ns = 0;
            std::ifstream(thread + "/schedstat") >> ns;
            seconds += static_cast<double>(ns) / 1e9;
        }
        return seconds;
    }

    const std::chrono::seconds length{std::min(Scaled(3), 30)};
    std::vector<BrenholtUnitRow> rows;
    std::set<std::string> own;
};

TEST_F(Floods, JunkPushesNoPanelOut) {
    StartWithFour();
    ASSERT_EQ(own.size(), 2U);
    const double before = Cpu();
    const auto start = Clock::now();
    Flood flood(BRENHOLT_PORT_BEACON, Junk, [](unsigned n) { return Loopback(100 + n % 50); });
    int least = kPanels;
    // Longer than a panel may stay silent.
    const auto end = start + length + 6s;
    while (Clock::now() < end) {
        least = std::min(least, Listed());
        std::this_thread::sleep_for(20ms);
    }
    const double share = (Cpu() - before) / std::chrono::duration<double>(end - start).count();
    const double rate = flood.End();
    std::cout << "    " << rate << " datagrams a second; the module's threads take " << 100 * share
              << " % of a core\n";
    EXPECT_EQ(least, kPanels);
    EXPECT_LT(share, 0.05);
}

TEST_F(Floods, ForgedBeaconsFillNoMemory) {
    StartWithFour();
    const tavrin::Bytes bytes = tavrin::MakeBeacon(std::string(1300, 'p') + "_ARM_0100");
    const std::string beacon(bytes.begin(), bytes.end());
    int most = 0;
    {
        Flood flood(
            BRENHOLT_PORT_BEACON, [&beacon](unsigned) { return beacon; },
            [](unsigned n) { return Loopback(0x10000 + n % 0xFF0000); });
        const auto end = Clock::now() + length;
        while (Clock::now() < end) {
            most = std::max(most, Listed());
            std::this_thread::sleep_for(20ms);
        }
        EXPECT_EQ(table->CmdTM(), 1);
    }
    std::cout << "    " << most << " units at most\n";
    EXPECT_GT(most, kPanels);
    EXPECT_LT(most, 1000) << "one a pass, for five seconds";
    EXPECT_TRUE(Eventually([this] { return Listed() == kPanels; }, 30s)) << "and then, in peace";
}

TEST_F(Floods, JunkAtTheCommandPortChangesNothing) {
    const std::string data(1 << 20, 'd');
    storage.Write("f", data);
    StartWithFour();
    const Flood flood(BRENHOLT_PORT_COMMAND, Junk,
                      [](unsigned n) { return Loopback(100 + n % 50); });
    const auto end = Clock::now() + length;
    while (Clock::now() < end) {
        EXPECT_EQ(table->CmdUP(u"f", local.Text().c_str()), 1);
        EXPECT_TRUE(local.Read("f") == data);
        EXPECT_EQ(table->CmdDL(local.Text(u"f").c_str(), u"g"), 1);
    }
    server->Pause(0);
    table->Start(2, 250, 0);
    const auto start = Clock::now();
    EXPECT_EQ(table->CmdTM(), 0);
    const auto waited = Clock::now() - start;
    EXPECT_GE(waited, 500ms);
    EXPECT_LT(waited, 600ms);
}

}  // namespace
}  // namespace brenholt
