// IPv4 addresses, as words in network byte order and as text.
#ifndef BRENHOLT_PLATFORM_ADDRESS_H
#define BRENHOLT_PLATFORM_ADDRESS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace brenholt {

// Where a datagram goes to or comes from.
struct Endpoint {
    uint32_t address = 0;  // network byte order
    uint16_t port = 0;
};

// Dotted text to an address in network byte order: four decimal, octal (0..) or hexadecimal (0x..)
// numbers, or fewer with the last one filling the rest. All ones for text that is not an address.
uint32_t inet_addr(std::string_view text);

// An address in network byte order as dotted decimal text.
std::string inet_ntoa(uint32_t address);

// An address in network byte order as a number whose highest byte is the first field.
uint32_t AddressNumber(uint32_t address);

}  // namespace brenholt

#endif
