// Panels on real sockets.
#include <gtest/gtest.h>
#include <poll.h>

#include <string>
#include <thread>

#include "tests/panel/fixture.h"
#include "tools/panel/fault_text.h"
#include "tools/panel/server.h"
#include "tools/panel/udp.h"

namespace tavrin {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr seconds kLimit{20};
constexpr Endpoint kFirst{0x7F000002, kPanelPort};

class Peer {
 public:
    void Send(const std::string& token, const Endpoint& panel = kFirst) const {
        SendTo(m_socket, panel, ToBytes("Cmd=" + token + '\0'));
    }
    // The next datagram; "(none)" when `limit` passes first.
    std::string Receive(milliseconds limit = kLimit) {
        pollfd waiting{m_socket.get(), POLLIN, 0};
        Bytes buffer(2000);
        if (poll(&waiting, 1, static_cast<int>(limit.count())) <= 0) {
            return "(none)";
        }
        const auto length = ReceiveFrom(m_socket, buffer, m_source);
        return {buffer.begin(), buffer.begin() + static_cast<ptrdiff_t>(length.value_or(0))};
    }
    const Endpoint& source() const { return m_source; }
    Endpoint endpoint() const { return LocalEndpoint(m_socket); }

 private:
    Descriptor m_socket = BindUdp({0x7F000001, 0});
    Endpoint m_source;
};

class ServerTest : public testing::Test {
 protected:
    PanelSettings Settings(const std::string& address) const {
        PanelSettings settings;
        settings.address = address;
        settings.root = m_folder.Path();
        settings.identity.project = "P" + address.substr(address.size() - 1);
        settings.beacon.enabled = false;
        return settings;
    }

    Folder m_folder;
    Peer m_host;
};

TEST_F(ServerTest, PanelsAnswerOnTheirOwnAddresses) {
    Server server({Settings("127.0.0.2"), Settings("127.0.0.3")});
    server.Start();
    m_host.Send("IP");
    EXPECT_EQ(m_host.Receive(), "IP:ARM:0100:P2");
    EXPECT_EQ(m_host.source(), kFirst);
    m_host.Send("IP", {0x7F000003, kPanelPort});
    EXPECT_EQ(m_host.Receive(), "IP:ARM:0100:P3");
    const Log::Entries entries = server.log().Snapshot();
    ASSERT_EQ(entries.size(), 4U);
    EXPECT_EQ(entries[0].event, Event::Request);
    EXPECT_EQ(entries[3].event, Event::Reply);
    EXPECT_EQ(entries[3].panel, 1U);

    try {
        Server second({Settings("127.0.0.4"), Settings("127.0.0.2")});
        second.Start();
        ADD_FAILURE() << "the port is taken";
    } catch (const ServerError& error) {
        EXPECT_NE(std::string(error.what()).find("127.0.0.2:10251"), std::string::npos);
    }
    server.Stop();
    server.Stop();
    server.Start();
    m_host.Send("TM");
    EXPECT_EQ(m_host.Receive(), "ACK") << "a stopped server starts again";
}

TEST_F(ServerTest, RefusesBadSettings) {
    EXPECT_THROW(Server({Settings("127.0.0.256")}), ServerError);
    PanelSettings nowhere = Settings("127.0.0.2");
    nowhere.root = m_folder / "nowhere";
    EXPECT_THROW(Server({nowhere}), ServerError);
}

TEST_F(ServerTest, SendsBeacons) {
    PanelSettings settings = Settings("127.0.0.2");
    settings.beacon.enabled = true;
    settings.beacon.interval = milliseconds(10);
    settings.beacon.host = m_host.endpoint();
    Server server({settings});
    server.Start();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m_host.Receive(), "Is there anybody ?P2_ARM_0100");
        EXPECT_EQ(m_host.source().ip, kFirst.ip);
        EXPECT_NE(m_host.source().port, kFirst.port);
    }
    settings.beacon.enabled = false;
    settings.beacon.raw = ToBytes("raw");
    server.SetBeacon(0, settings.beacon);
    server.SendBeacon(0);
    while (m_host.Receive() != "raw") {
    }
    EXPECT_EQ(m_host.Receive(milliseconds(50)), "(none)");
}

TEST_F(ServerTest, PausedPanelLetsRequestsWait) {
    Server server({Settings("127.0.0.2")});
    server.Start();
    server.Pause(0);
    m_host.Send("TM");
    EXPECT_EQ(m_host.Receive(milliseconds(50)), "(none)");
    EXPECT_TRUE(server.log().Snapshot().empty());
    server.Resume(0);
    EXPECT_EQ(m_host.Receive(), "ACK");
}

TEST_F(ServerTest, FaultsReachTheWire) {
    PanelSettings settings = Settings("127.0.0.2");
    settings.faults = ParseFaults("port=1,delay=1:50ms");
    ServerSettings spinning;
    spinning.spin = std::chrono::microseconds(200);
    Server server({settings}, spinning);
    server.Start();
    const auto start = std::chrono::steady_clock::now();
    m_host.Send("TM");
    EXPECT_EQ(m_host.Receive(), "ACK");
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(50));
    EXPECT_EQ(m_host.source().ip, kFirst.ip);
    EXPECT_NE(m_host.source().port, kFirst.port);

    server.SetFaults(0, ParseFaults("lose=1"));
    m_host.Send("TM");
    ASSERT_TRUE(server.log().WaitForCount(0, Event::LostReply, 1, kLimit));
    EXPECT_EQ(server.log().Snapshot().back().bytes, ToBytes("ACK")) << "what would have been said";
    server.SetFaults(0, {});
    server.SetHook(0, [](Panel&, const Endpoint&, ByteView, Replies& replies) {
        replies.push_back({ToBytes("late"), milliseconds(20)});
        replies.push_back({ToBytes("soon"), {}});
        return true;
    });
    m_host.Send("TM");
    EXPECT_EQ(m_host.Receive(), "soon");
    EXPECT_EQ(m_host.Receive(), "late");
}

// Meant for the thread sanitizer: everything that any thread may call, while the panel is at work.
TEST_F(ServerTest, AnyThreadMaySteer) {
    PanelSettings settings = Settings("127.0.0.2");
    settings.beacon.host = m_host.endpoint();
    Server server({settings});
    server.Start();
    std::thread steering([&] {
        for (int i = 0; i < 200; ++i) {
            server.Pause(0);
            server.SetFaults(0, ParseFaults("double=0.5:1ms"));
            server.SetHook(0, nullptr);
            server.Resume(0);
            server.SetBeacon(0, settings.beacon);
            server.log().Snapshot();
            server.Blocks(0);
        }
    });
    for (int i = 0; i < 200; ++i) {
        m_host.Send("TM");
    }
    steering.join();
    EXPECT_TRUE(server.log().WaitForCount(0, Event::Request, 200, kLimit));
}

}  // namespace
}  // namespace tavrin
