// Beacons: of each datagram one byte of source address, two of length, and its bytes.
#include <cstring>
#include <vector>

#include "brenholt/brenholt.h"
#include "discovery/tv_ping.h"
#include "fuzz/input.h"
#include "tests/support/virtual_network/virtual_wire.h"

using namespace brenholt;

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput input(data, size);
    VirtualWire& wire = VirtualWire::Get();
    wire.Reset();
    CTvPing ping;
    ping.Create(BRENHOLT_PORT_BEACON);
    while (!input.AtEnd()) {
        const std::string host = std::to_string(input.Byte());
        wire.Arrive(0, {"10.0.0." + host, 4000, BRENHOLT_PORT_BEACON, input.Counted()});
        wire.Advance(400'000);
        ping.Step();
    }
    std::vector<BrenholtUnitRow> rows(20);
    const int count = ping.CopyUnits(20, reinterpret_cast<uint8_t*>(rows.data()));
    Require(count >= 0 && count <= 13, "who was silent for five seconds is not listed");
    for (int i = 0; i < count; ++i) {
        const BrenholtUnitRow& row = rows[static_cast<size_t>(i)];
        Require(std::memchr(row.szIp, 0, sizeof row.szIp) != nullptr && row.chEnd == 0,
                "texts end in their fields");
    }
    return 0;
}
