// The user's own list of panels, and its file: one address a line in the system code page, each
// ended by CR LF. Any of CR, LF and CR LF ends a line when it is read; text after the last one is
// ignored.
#include <algorithm>
#include <array>

#include "link/tv_udp.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/text.h"

namespace brenholt {
namespace {

// In the current directory, whichever that is.
constexpr std::u16string_view kUserFile = u"UserTavrinIp.ipc";

std::string_view AsBytes(std::span<const uint8_t> data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

// Calls `take` with each non-empty line of `file`. What is appended meanwhile is not read.
template <class Take>
void ForEachLine(CFile& file, Take take) {
    std::array<uint8_t, 4096> buffer;
    std::u16string line;
    size_t taken = 0;
    for (uint64_t left = file.GetLength(); left > 0; left -= taken) {
        taken = file.Read(std::span(buffer).first(std::min<uint64_t>(left, buffer.size())));
        if (taken == 0) {
            return;
        }
        for (const char byte : AsBytes(std::span(buffer).first(taken))) {
            if (byte != '\r' && byte != '\n') {
                line += ByteToWide(byte);
            } else if (!line.empty()) {
                take(line);
                line.clear();
            }
        }
    }
}

}  // namespace

int CTvUdp::AddUserUnit(const CTavrinUnit* unit) {
    if (unit == nullptr) {
        return -1;
    }
    const int count = KeepUserUnit(*unit);
    if (count > 0) {
        SaveUserUnits();
    }
    return count;
}

int CTvUdp::KeepUserUnit(const CTavrinUnit& unit) {
    const auto isSame = [&unit](const auto& entry) { return entry->m_strIp == unit.m_strIp; };
    if (std::any_of(m_listUserUnits.begin(), m_listUserUnits.end(), isSame)) {
        return 0;
    }
    auto added = std::make_unique<CTavrinUnit>(unit.m_strIp, unit.m_nPort);
    added->m_nCpu = unit.m_nCpu;
    added->m_nVersion = unit.m_nVersion;
    m_listUserUnits.push_back(std::move(added));
    return static_cast<int>(m_listUserUnits.size());
}

int CTvUdp::RemoveUserUnit(const char16_t* ip) {
    const auto found = std::find_if(m_listUserUnits.begin(), m_listUserUnits.end(),
                                    [ip](const auto& entry) { return entry->m_strIp == ip; });
    if (found == m_listUserUnits.end()) {
        return 0;
    }
    m_listUserUnits.erase(found);
    SaveUserUnits();
    return 1;
}

int CTvUdp::LoadUserUnits() {
    m_listUserUnits.clear();
    CFile file;
    if (!file.Open(kUserFile, CFile::modeRead)) {
        return 0;
    }
    try {
        ForEachLine(file, [this](const std::u16string& line) {
            KeepUserUnit(CTavrinUnit(line, kUserUnitPort));
        });
        file.Close();
    } catch (const CFileException&) {
        return 0;
    }
    return 1;
}

int CTvUdp::SaveUserUnits() {
    // Removing the last entry leaves it in the file.
    if (m_listUserUnits.empty()) {
        return 0;
    }
    CFile file;
    if (!file.Open(kUserFile, CFile::modeCreate)) {
        return 0;
    }
    try {
        for (const auto& unit : m_listUserUnits) {
            const std::string line = WideCharToMultiByte(unit->m_strIp) + "\r\n";
            file.Write({reinterpret_cast<const uint8_t*>(line.data()), line.size()});
        }
        file.Close();
    } catch (const CFileException&) {
        return 0;
    }
    return 1;
}

}  // namespace brenholt
