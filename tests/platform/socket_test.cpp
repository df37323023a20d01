#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "platform/address.h"
#include "platform/clock.h"
#include "platform/socket.h"

namespace brenholt {
namespace {

// A port that was free a moment ago.
uint16_t FreePort() {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in any{};
    any.sin_family = AF_INET;
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&any), sizeof any), 0);
    socklen_t length = sizeof any;
    getsockname(fd, reinterpret_cast<sockaddr*>(&any), &length);
    close(fd);
    return ntohs(any.sin_port);
}

Endpoint Loopback(uint16_t port) {
    return {inet_addr("127.0.0.1"), port};
}

class SocketTest : public testing::Test {
 protected:
    void SetUp() override {
        port = FreePort();
        ASSERT_TRUE(receiver.Create(port));
        ASSERT_TRUE(sender.Create(FreePort()));
    }
    void Send(size_t size) {
        EXPECT_EQ(sender.SendTo(std::vector<uint8_t>(size, 'x'), Loopback(port)),
                  static_cast<int>(size));
    }
    int Receive(uint32_t waitMs = 1000) {
        return receiver.ReceiveFrom(buffer, from, waitMs * 1000);
    }

    uint16_t port = 0;
    CAsyncSocket receiver;
    CAsyncSocket sender;
    std::vector<uint8_t> buffer = std::vector<uint8_t>(100);
    Endpoint from;
};

TEST_F(SocketTest, OversizedDatagramIsLostWhole) {
    Send(100);
    Send(101);
    Send(0);
    EXPECT_EQ(Receive(), 100);
    EXPECT_EQ(inet_ntoa(from.address), "127.0.0.1");
    EXPECT_EQ(Receive(0), -1);
    EXPECT_EQ(Receive(), 0) << "an empty datagram is one";
    EXPECT_EQ(Receive(0), -1);
}

TEST_F(SocketTest, PortIsNotShared) {
    CAsyncSocket second;
    EXPECT_FALSE(second.Create(port));
    EXPECT_EQ(second.SendTo(buffer, Loopback(port)), -1);
    EXPECT_EQ(second.ReceiveFrom(buffer, from, 1), -1);
    receiver.Close();
    receiver.Close();
    EXPECT_TRUE(second.Create(port));
}

TEST_F(SocketTest, WaitEndsWithTheDatagramOrTheTime) {
    std::thread late([this] {
        Sleep(20);
        Send(7);
    });
    EXPECT_EQ(Receive(10'000), 7);
    late.join();
    const uint32_t start = GetTickCount();
    EXPECT_EQ(Receive(20), -1);
    Sleep(20);
    EXPECT_GE(GetTickCount() - start, 39U);
}

TEST_F(SocketTest, InterruptEndsOneWait) {
    constexpr uint32_t kLongMs = 60'000;
    const uint32_t start = GetTickCount();
    std::thread other([this] {
        Sleep(20);
        receiver.Interrupt();
    });
    EXPECT_EQ(Receive(kLongMs), -1);
    other.join();
    receiver.Interrupt();
    receiver.Interrupt();
    EXPECT_EQ(Receive(kLongMs), -1) << "the next wait, when none is under way";
    EXPECT_LT(GetTickCount() - start, kLongMs / 2);
    const uint32_t quiet = GetTickCount();
    EXPECT_EQ(Receive(20), -1);
    EXPECT_GE(GetTickCount() - quiet, 19U);
    Send(7);
    receiver.Interrupt();
    EXPECT_EQ(Receive(kLongMs), 7) << "a datagram that is there comes first";
    receiver.Close();
    receiver.Interrupt();
}

}  // namespace
}  // namespace brenholt
