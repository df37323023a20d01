// The target's address: a text for the host and the dialogs, a route for the exchange.
#ifndef BRENHOLT_LINK_TARGET_ADDRESS_H
#define BRENHOLT_LINK_TARGET_ADDRESS_H

#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

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
// and see the old target or the new one, never a mixture.
class CTargetAddress {
 public:
    explicit CTargetAddress(std::u16string_view text);

    Route GetRoute() const;
    // Good until the text is next changed for good (an exchange with Swap does not count).
    const char16_t* c_str() const { return m_published.load(std::memory_order_acquire); }

    void Set(std::u16string_view text);
    // Exchanges the texts themselves, not copies: a pointer from c_str stays good.
    void Swap(CTargetAddress& other) noexcept;

 private:
    void Publish();

    std::unique_ptr<const std::u16string> m_text;
    std::atomic<const char16_t*> m_published{nullptr};
    std::atomic<uint64_t> m_route{0};  // address, and the flags above it
};

}  // namespace brenholt

#endif
