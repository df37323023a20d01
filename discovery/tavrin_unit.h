// One panel: what is known of it from its beacon, or from the user's list.
#ifndef BRENHOLT_DISCOVERY_TAVRIN_UNIT_H
#define BRENHOLT_DISCOVERY_TAVRIN_UNIT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace brenholt {

// Processor kinds, the values of m_nCpu and m_nTargetCpu.
enum : int32_t { kCpuUnknown = -1, kCpuArm = 0, kCpuX86 = 1 };

class CTavrinUnit {
 public:
    CTavrinUnit(std::u16string_view ip, int32_t port) : m_strIp(ip), m_nPort(port) {}
    virtual ~CTavrinUnit() = default;

    // Takes project, processor kind and version from a beacon's descriptor text,
    // "<project>_<ARM|X86>_<dddd>" with the version in hundredths. It is read from its end, so that the
    // project may hold underscores. Never fails: of a malformed text it takes what is at those positions.
    // The caller holds the lock that guards the unit.
    void ParseDescriptor(std::u16string_view text);

    std::u16string m_strProject;
    uint32_t m_dwLastSeen = 0;  // tick of the last beacon; for the listener only
    std::u16string m_strIp;     // dotted decimal; the key in both lists
    int32_t m_nPort;            // source port of the first beacon, or kUserUnitPort
    int32_t m_nVersion = 0;     // hundredths
    int32_t m_nCpu = kCpuUnknown;
};

// Port that every entry of the user's list carries. Shown only; nothing connects to it.
inline constexpr int32_t kUserUnitPort = 1028;

}  // namespace brenholt

#endif
