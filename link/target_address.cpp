#include "link/target_address.h"

#include <algorithm>

#include "platform/address.h"
#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kMaxAddressBytes = 20;
constexpr uint64_t kGiven = uint64_t{1} << 32;
constexpr uint64_t kSendable = uint64_t{1} << 33;
constexpr uint64_t kAnswerable = uint64_t{1} << 34;

uint64_t WorkOutRoute(std::u16string_view text) {
    if (text.empty()) {
        return 0;
    }
    const std::string bytes = WideCharToMultiByte(text);
    if (bytes.size() > kMaxAddressBytes) {
        return kGiven;
    }
    const uint32_t address = inet_addr(bytes);
    return kGiven | kSendable | (inet_ntoa(address) == bytes ? kAnswerable : 0) | address;
}

}  // namespace

CTargetAddress::Address::Address(std::u16string_view address)
    : text(address), route(WorkOutRoute(address)) {
}

CTargetAddress::CTargetAddress(std::u16string_view text)
    : m_own(std::make_unique<const Address>(text)) {
    Publish(*m_own);
}

Route CTargetAddress::GetRoute() const {
    const uint64_t route = m_route.load(std::memory_order_acquire);
    return {static_cast<uint32_t>(route), (route & kGiven) != 0, (route & kSendable) != 0,
            (route & kAnswerable) != 0};
}

void CTargetAddress::Set(std::u16string_view text) {
    auto next = std::make_unique<const Address>(text);
    Publish(*next);
    m_own = std::move(next);
    m_lent.clear();
}

void CTargetAddress::Lend(std::u16string_view text) {
    const auto same = std::find_if(m_lent.begin(), m_lent.end(),
                                   [text](const Address& lent) { return lent.text == text; });
    Publish(same != m_lent.end() ? *same : m_lent.emplace_back(text));
}

void CTargetAddress::Publish(const Address& address) noexcept {
    m_published.store(address.text.c_str(), std::memory_order_release);
    m_route.store(address.route, std::memory_order_release);
}

}  // namespace brenholt
