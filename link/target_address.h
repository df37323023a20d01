// The target's address: a text for the host and the dialogs, a route for the exchange.
#ifndef BRENHOLT_LINK_TARGET_ADDRESS_H
#define BRENHOLT_LINK_TARGET_ADDRESS_H

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "platform/thread.h"

namespace brenholt {

// Where datagrams go and from where replies count, worked out once for each text.
struct Route {
    uint32_t address = 0;   // network byte order, as inet_addr reads the text
    bool given = false;     // the text is not empty
    bool sendable = false;  // the text is 1 to 20 bytes in the code page
    bool answerable =
        false;  // the text is what inet_ntoa gives for the address; else no reply matches
};

// Changes under the link's lock only; GetRoute and c_str may be called at any time from any thread
// and see one address or the other, never a mixture.
class CTargetAddress {
 public:
    explicit CTargetAddress(std::u16string_view text);

    Route GetRoute() const;
    // Good until the next Set.
    const char16_t* c_str() const { return m_published.load(std::memory_order_acquire); }

    void Set(std::u16string_view text);
    // Shows `text` in the place of the address, until GiveBack.
    void Lend(std::u16string_view text);
    void GiveBack() noexcept { Publish(*m_own); }

 private:
    struct Address {
        explicit Address(std::u16string_view text);
        std::u16string text;
        uint64_t route;  // address, and the flags above it
    };
    void Publish(const Address& address) noexcept;

    std::unique_ptr<const Address> m_own;
    // Kept when they were given back: a reader may hold their text.
    std::list<Address> m_lent;
    Shared<const char16_t*> m_published{nullptr};
    Shared<uint64_t> m_route{0};
};

}  // namespace brenholt

#endif
