#include "platform/address.h"

#include <arpa/inet.h>

#include <array>

namespace brenholt {

uint32_t inet_addr(std::string_view text) {
    const std::string terminated(text);
    return ::inet_addr(terminated.c_str());
}

std::string inet_ntoa(uint32_t address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

}  // namespace brenholt
