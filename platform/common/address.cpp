#include "platform/address.h"

#include <array>
#include <bit>

namespace brenholt {
namespace {

std::array<uint8_t, 4> Fields(uint32_t address) {
    return std::bit_cast<std::array<uint8_t, 4>>(address);
}

}  // namespace

std::string inet_ntoa(uint32_t address) {
    std::string text;
    for (const uint8_t field : Fields(address)) {
        text += (text.empty() ? "" : ".") + std::to_string(field);
    }
    return text;
}

uint32_t AddressNumber(uint32_t address) {
    uint32_t number = 0;
    for (const uint8_t field : Fields(address)) {
        number = number << 8 | field;
    }
    return number;
}

}  // namespace brenholt
