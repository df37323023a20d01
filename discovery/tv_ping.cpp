#include "discovery/tv_ping.h"

#include <algorithm>
#include <cstring>

#include "brenholt/brenholt.h"
#include "discovery/beacon.h"
#include "platform/address.h"
#include "platform/clock.h"
#include "platform/text.h"

namespace brenholt {
namespace {

constexpr size_t kDescriptorOffset = kGreeting.size() + 1;
constexpr uint32_t kExpiryMs = 5000;
// From one datagram to the next: what bounds the cost of a flood.
constexpr uint64_t kPassUs = 10'000;

}  // namespace

int CTvPing::Start(int nRetries, int nTimeoutMs, int bAsyncMode) {
    m_nRetries = nRetries;
    m_nTimeoutMs = nTimeoutMs;
    m_bAsyncMode = bAsyncMode;
    if (m_bStopped == 0) {
        return 1;
    }
    Create(BRENHOLT_PORT_BEACON, kBeacons);
    if (!StartWorker(Worker, this)) {
        Close();
        return 0;
    }
    return 1;
}

void CTvPing::Stop() {
    StopWorker([this] { Interrupt(); });
    Close();
}

void CTvPing::AbandonInChild() {
    AbandonWorker();
    Close();
}

unsigned CTvPing::Worker(void* self) {
    auto* ping = static_cast<CTvPing*>(self);
    return ping->RunPasses([ping] { return ping->Step(); }, [ping] { ping->Rest(); });
}

void CTvPing::Rest() {
    const uint64_t start = GetMicroseconds();
    AwaitDatagram(UINT32_MAX);
    const uint64_t rested = GetMicroseconds() - start;
    if (m_bStop == 0 && rested < kPassUs) {
        Sleep(static_cast<uint32_t>((kPassUs - rested + 999) / 1000));
    }
}

int CTvPing::Step() {
    Endpoint from;
    const int n = ReceiveFrom(m_buffer, from, 0);
    if (n > 0) {
        try {
            TakeBeacon({reinterpret_cast<const char*>(m_buffer.data()), static_cast<size_t>(n)},
                       from);
        } catch (const std::bad_alloc&) {
            // This beacon is lost; the panel sends another.
        }
    }
    return m_bStop;
}

void CTvPing::TakeBeacon(std::string_view datagram, const Endpoint& from) {
    if (!EqualNoCase(datagram.substr(0, kGreeting.size()), kGreeting)) {
        return;
    }
    const std::string address = inet_ntoa(from.address);
    const std::u16string ip(address.begin(), address.end());
    CTavrinUnit* unit = FindUnit(ip);
    if (unit == nullptr) {
        auto added = std::make_unique<CTavrinUnit>(ip, from.port);
        unit = added.get();
        const CSingleLock lock(m_lock);
        m_listUnits.push_back(std::move(added));
    }
    const CSingleLock lock(m_lock);
    unit->m_dwLastSeen = GetTickCount();
    if (datagram.size() > kDescriptorOffset) {
        unit->ParseDescriptor(MultiByteToWideChar(UpToNul(datagram.substr(kDescriptorOffset))));
    }
}

CTavrinUnit* CTvPing::FindUnit(std::u16string_view ip) {
    const uint32_t now = GetTickCount();
    const CSingleLock lock(m_lock);
    m_listUnits.remove_if([now](const auto& unit) { return now - unit->m_dwLastSeen > kExpiryMs; });
    const auto found = std::find_if(m_listUnits.begin(), m_listUnits.end(), [ip](const auto& unit) {
        return EqualNoCase(unit->m_strIp, ip);
    });
    return found != m_listUnits.end() ? found->get() : nullptr;
}

int CTvPing::CopyUnits(int nMaxRows, uint8_t* rows) {
    if (rows == nullptr) {
        return 0;
    }
    const CSingleLock lock(m_lock);
    int written = 0;
    for (const auto& unit : m_listUnits) {
        if (written >= nMaxRows) {
            break;
        }
        auto* row = reinterpret_cast<BrenholtUnitRow*>(rows) + written;
        const std::string ip = WideCharToMultiByte(unit->m_strIp);
        std::memcpy(row->szIp, ip.c_str(), std::min(ip.size() + 1, sizeof row->szIp));
        std::string project = WideCharToMultiByte(unit->m_strProject);
        project.resize(sizeof row->szProject);
        std::memcpy(row->szProject, project.data(), project.size());
        row->chEnd = 0;
        ++written;
    }
    return written;
}

int CTvPing::SelectUnit(std::u16string_view ip) {
    const CSingleLock lock(m_lock);
    for (const auto& unit : m_listUnits) {
        if (unit->m_strIp == ip) {
            m_strSelIp = unit->m_strIp;
            m_strSelProject = unit->m_strProject;
            m_nSelCpu = unit->m_nCpu;
            m_nSelVersion = unit->m_nVersion;
            return 1;
        }
    }
    return 0;
}

}  // namespace brenholt
