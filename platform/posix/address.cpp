#include "platform/address.h"

#include <arpa/inet.h>

namespace brenholt {

uint32_t inet_addr(std::string_view text) {
    const std::string terminated(text);
    return ::inet_addr(terminated.c_str());
}

}  // namespace brenholt
