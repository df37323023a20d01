#include "link/target_address.h"

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

CTargetAddress::CTargetAddress(std::u16string_view text)
    : m_text(std::make_unique<const std::u16string>(text)) {
    Publish();
}

Route CTargetAddress::GetRoute() const {
    const uint64_t route = m_route.load(std::memory_order_acquire);
    return {static_cast<uint32_t>(route), (route & kGiven) != 0, (route & kSendable) != 0,
            (route & kAnswerable) != 0};
}

void CTargetAddress::Set(std::u16string_view text) {
    CTargetAddress next(text);
    Swap(next);
}

void CTargetAddress::Swap(CTargetAddress& other) noexcept {
    m_text.swap(other.m_text);
    const uint64_t route = m_route.load(std::memory_order_relaxed);
    m_route.store(other.m_route.load(std::memory_order_relaxed), std::memory_order_release);
    other.m_route.store(route, std::memory_order_relaxed);
    m_published.store(m_text->c_str(), std::memory_order_release);
    other.m_published.store(other.m_text->c_str(), std::memory_order_relaxed);
}

void CTargetAddress::Publish() {
    m_published.store(m_text->c_str(), std::memory_order_release);
    m_route.store(WorkOutRoute(*m_text), std::memory_order_release);
}

}  // namespace brenholt
