// The snapshot of the host's adapters, and whether an address is on one of their networks.
#include "platform/adapters.h"

#include "link/tv_udp.h"
#include "platform/address.h"
#include "platform/text.h"

namespace brenholt {

int CTvUdp::LoadAdapters() {
    m_listAdapters.clear();
    const auto records = GetAdaptersInfo();
    if (!records) {
        return 0;
    }
    for (const IP_ADAPTER_INFO& record : *records) {
        auto adapter = std::make_unique<CEAdapterInfo>();
        adapter->m_strName = MultiByteToWideChar(record.AdapterName);
        adapter->m_strDescription = MultiByteToWideChar(record.Description);
        adapter->m_strIp = MultiByteToWideChar(record.IpAddress);
        adapter->m_strMask = MultiByteToWideChar(record.IpMask);
        adapter->m_strGateway = MultiByteToWideChar(record.Gateway);
        m_listAdapters.push_back(std::move(adapter));
    }
    return static_cast<int>(m_listAdapters.size());
}

uint32_t CTvUdp::IpToNumber(const char16_t* text) const {
    return AddressNumber(inet_addr(WideCharToMultiByte(text)));
}

int CTvUdp::IsSameNetwork(const char16_t* ip) const {
    const uint32_t target = IpToNumber(ip);
    if (target == 0) {
        return 0;
    }
    for (const auto& adapter : m_listAdapters) {
        const uint32_t address = IpToNumber(adapter->m_strIp.c_str());
        const uint32_t mask = IpToNumber(adapter->m_strMask.c_str());
        // An adapter without an address would match everything.
        if (address != 0 && mask != 0 && (address & mask) == (target & mask)) {
            return 1;
        }
    }
    return 0;
}

}  // namespace brenholt
