// One network adapter of the host.
#ifndef BRENHOLT_DISCOVERY_ADAPTER_INFO_H
#define BRENHOLT_DISCOVERY_ADAPTER_INFO_H

#include <string>

namespace brenholt {

class CEAdapterInfo {
 public:
    virtual ~CEAdapterInfo() = default;

    std::u16string m_strName;
    std::u16string m_strDescription;
    std::u16string m_strIp;       // first IPv4 address, dotted decimal; "0.0.0.0" without one
    std::u16string m_strMask;     // of that address
    std::u16string m_strGateway;  // first gateway
};

}  // namespace brenholt

#endif
