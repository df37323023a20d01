// A link on the virtual wire whose panel says what an input has:
//
//    offset  width  content of each reply
//         0      1  0..3 bits: ms until it comes, in steps of 8
//                   0x10: another comes for the same request
//                   0x20: it comes from another port, 0x40: from another host
//         1      2  length, lower byte first
//         3      -  the datagram
//
// After the input's end the panel is silent.
#ifndef BRENHOLT_FUZZ_FUZZED_PANEL_H
#define BRENHOLT_FUZZ_FUZZED_PANEL_H

#include "fuzz/input.h"
#include "link/tv_udp.h"
#include "tests/support/virtual_network/virtual_wire.h"

namespace brenholt {

inline constexpr uint8_t kAnotherReply = 0x10;

class FuzzedPanel {
 public:
    explicit FuzzedPanel(FuzzInput& input) : m_input(input) {
        VirtualWire::Get().Reset();
        VirtualWire::Get().onSend = [this](const WireDatagram& request) { Take(request.bytes); };
        link.Create(kCommandPort);
        link.m_nRetries = 2;
        link.m_nTimeoutMs = 40;
    }
    ~FuzzedPanel() {
        Require(link.m_bBusy == 0, "a command that has ended is not busy");
        VirtualWire::Get().onSend = nullptr;
    }
    FuzzedPanel(const FuzzedPanel&) = delete;
    FuzzedPanel& operator=(const FuzzedPanel&) = delete;

    CTvUdp link;
    size_t requests = 0;

 private:
    void Take(const std::string& request) {
        ++requests;
        Require(request.starts_with("Cmd=") && request.size() <= kMaxDatagram,
                "what goes out is a command");
        uint8_t control = kAnotherReply;
        while ((control & kAnotherReply) != 0 && !m_input.AtEnd()) {
            control = m_input.Byte();
            VirtualWire::Get().Arrive(
                1000 + (control & 0x0FU) * 8000U,
                {(control & 0x40) != 0 ? "192.168.0.2" : "192.168.0.1",
                 static_cast<uint16_t>((control & 0x20) != 0 ? kPanelPort + 1 : kPanelPort),
                 kCommandPort, m_input.Counted()});
        }
    }

    FuzzInput& m_input;
};

}  // namespace brenholt

#endif
