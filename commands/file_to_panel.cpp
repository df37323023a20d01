// DL: a host file to the panel. Every datagram repeats header and record:
//
//    0      "Cmd=DL"
//    6      sequence digit
//    7      remote text, NUL
//    H      PanelFileRecord, 25 bytes; byNameLen is the low byte of L, the length in characters of
//           the file's absolute path on the host
//    H+25   name area, L + 1 bytes: the file's short name, zeros up to the end
//    P      data, P = H + 26 + L
#include "commands/file_to_panel.h"

#include <algorithm>

#include "commands/file_record.h"
#include "commands/reply_words.h"
#include "commands/send_data.h"
#include "link/command_run.h"
#include "link/tv_udp.h"
#include "platform/memory.h"

namespace brenholt {
namespace {

constexpr size_t kMaxShortName = 255;
constexpr uint64_t kMaxSize = 0x7FFFFFFF;
constexpr ExchangeRules kRules{kWord, kPaceGently, kPaceGently};

}  // namespace

size_t ReadLocalFile(std::u16string_view path, std::span<uint8_t> buffer, uint64_t offset,
                     const FileIdentity& expected) {
    CFile file;
    if (!file.Open(path, CFile::modeRead)) {
        return 0;
    }
    try {
        if (!(file.GetIdentity() == expected) || offset >= file.GetLength()) {
            return 0;
        }
        if (offset > 0) {
            file.Seek(offset);
        }
        const size_t count = file.Read(buffer);
        file.Close();
        return count;
    } catch (const CFileException&) {
        return 0;
    }
}

int CTvUdp::CmdDL(const char16_t* local, const char16_t* remote, int async) {
    if (const std::optional<int> early = Enter(u"DL0", async, remote, local)) {
        return *early;
    }
    CommandRun run(*this);
    const std::optional<CFileStatus> file = GetStatus(local != nullptr ? local : u"");
    return run.End(file && file->m_size <= kMaxSize && SendFile(*file) ? 1 : 0);
}

bool CTvUdp::SendFile(const CFileStatus& file) {
    const std::string name = WideCharToMultiByte(file.m_fileName);
    const auto header = static_cast<size_t>(BuildHeader());
    if (header == 0 || name.size() > kMaxShortName) {
        return false;
    }
    const size_t nameArea = file.m_szFullName.size() + 1;
    const size_t prefix = header + kRecordSize + nameArea;
    const PanelFileRecord record{static_cast<uint32_t>(file.m_size), file.m_lastWrite,
                                 file.m_attribute, static_cast<uint8_t>(file.m_szFullName.size())};
    WriteRecord(std::span(m_txBuf).subspan(header).first<kRecordSize>(), record);
    // The area counts characters, which may be fewer than the name's bytes: it does not fit then.
    if (name.size() >= nameArea) {
        return false;
    }
    const auto area = m_txBuf.begin() + static_cast<ptrdiff_t>(header + kRecordSize);
    std::fill(std::copy(name.begin(), name.end(), area),
              m_txBuf.begin() + static_cast<ptrdiff_t>(prefix), uint8_t{0});

    const Judge judge = [this](const Reply& reply) {
        const bool acknowledged =
            reply.Bytes().starts_with(kAck) && reply.Marker() == m_txBuf[kDigitAt];
        return acknowledged ? Verdict::Done : Verdict::Again;
    };
    const auto room = static_cast<size_t>(std::min<uint64_t>(file.m_size, kTransferBlock));
    const MemoryBlock memory = AllocateBlock(room);
    if (!memory) {
        return false;
    }
    const std::span<uint8_t> block(memory.get(), room);
    for (uint64_t offset = 0; offset < file.m_size || offset == 0;) {
        const std::span<const uint8_t> data =
            block.first(ReadLocalFile(file.m_szFullName, block, offset, file.m_identity));
        if (data.empty() || !SendData(prefix, data, kRules, judge)) {
            return false;
        }
        offset += data.size();
    }
    // A file that was written or replaced after the last block was read was not sent as it now is.
    const std::optional<CFileStatus> now = GetStatus(file.m_szFullName);
    return now && now->m_identity == file.m_identity;
}

}  // namespace brenholt
