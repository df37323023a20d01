// A link of its own on the virtual wire, with a panel that is a function.
#ifndef BRENHOLT_TESTS_SUPPORT_LINK_FIXTURE_H
#define BRENHOLT_TESTS_SUPPORT_LINK_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "link/tv_udp.h"
#include "tests/support/virtual_network/virtual_wire.h"

namespace brenholt {

class LinkFixture : public testing::Test {
 protected:
    static constexpr const char* kPanel = "192.168.0.1";  // the target at load

    void SetUp() override {
        wire.Reset();
        link = std::make_unique<CTvUdp>();
        link->Create(kCommandPort);
        wire.onSend = [this](const WireDatagram& request) {
            sent.push_back(request.bytes);
            if (const auto reply = answer ? answer(request.bytes) : std::nullopt) {
                Reply(*reply);
            }
        };
    }

    // The panel sends `bytes`, to arrive after `delayMs`.
    void Reply(const std::string& bytes, uint64_t delayMs = 1, const char* from = kPanel,
               uint16_t port = kPanelPort) {
        wire.Arrive(delayMs * 1000, {from, port, kCommandPort, bytes});
    }
    // The panel gives these replies in turn; nothing where one is empty, and nothing at the end.
    void AnswerInTurn(std::vector<std::string> replies) {
        answer = [this, replies](const std::string&) -> std::optional<std::string> {
            const size_t turn = sent.size() - 1;
            return turn < replies.size() && !replies[turn].empty() ? std::optional(replies[turn])
                                                                   : std::nullopt;
        };
    }
    void AnswerAlways(const std::string& reply) {
        answer = [reply](const std::string&) { return reply; };
    }
    uint64_t ElapsedMs() const { return wire.NowUs() / 1000 - 1'000'000; }

    VirtualWire& wire = VirtualWire::Get();
    std::unique_ptr<CTvUdp> link;
    std::vector<std::string> sent;
    std::function<std::optional<std::string>(const std::string&)> answer;
};

inline std::string WithNul(std::string_view text) {
    return std::string(text) + '\0';
}

}  // namespace brenholt

#endif
