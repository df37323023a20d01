// UP: a panel file to the host. Each request names the offset of the bytes that it wants next.
//
//    request: 0 "Cmd=UP", 6 offset as eight upper-case hexadecimal digits, 14 remote path, NUL
//    reply:   0-2 anything, 3 '0' in the last packet, 9 last-write time (high word, low word),
//             37 data
#include "commands/file_from_panel.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "commands/file_record.h"
#include "commands/packet_offset.h"
#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"
#include "platform/file.h"
#include "platform/memory.h"
#include "platform/path.h"

namespace brenholt {
namespace {

constexpr size_t kOffsetAt = 6;
constexpr size_t kTimeAt = 9;
constexpr size_t kTimeSize = 8;
constexpr char16_t kLastPacket = u'0';

// How many packets in a row a panel may send that hold no data and are not the last.
constexpr int kMaxEmptyPackets = 1000;

// A new temporary file. The destructor deletes it, unless Become has renamed it.
class TempFile {
 public:
    explicit TempFile(const CFolder& folder) : m_folder(folder), m_name(folder.MakeTempFile()) {}
    ~TempFile() {
        if (!m_name.empty()) {
            m_folder.DeleteFile(m_name);
        }
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    explicit operator bool() const { return !m_name.empty(); }

    bool Append(std::span<const uint8_t> data) {
        const bool first = std::exchange(m_first, false);
        return WriteLocalFile(m_folder, m_name, data, first);
    }

    // Renames the file to `name`, its time set first: it appears there whole, in one step. Without
    // a valid time, or one that can be set, the time of writing stays.
    bool Become(std::u16string_view name, FILETIME time) {
        if (const std::optional<int64_t> seconds = ToTime(time)) {
            m_folder.SetLastWrite(m_name, *seconds);
        }
        if (!m_folder.Replace(m_name, name)) {
            return false;
        }
        m_name.clear();
        return true;
    }

 private:
    const CFolder& m_folder;
    std::u16string m_name;
    bool m_first = true;
};

// Data on its way to the temporary file. Most files are small: the whole block is allocated only
// for a file that outgrows the first, small one.
class Staging {
 public:
    explicit Staging(TempFile& file) : m_file(file), m_block(AllocateBlock(m_room)) {}
    explicit operator bool() const { return m_block != nullptr; }

    // Flushes while there is still room for the data of the largest reply.
    bool Add(std::span<const uint8_t> data) {
        if (m_staged + data.size() > m_room && !Widen()) {
            return false;
        }
        std::memcpy(m_block.get() + m_staged, data.data(), data.size());
        m_staged += data.size();
        return m_staged + kMaxDatagram <= kTransferBlock || Flush();
    }
    bool Flush() {
        const size_t staged = std::exchange(m_staged, 0);
        return staged == 0 || m_file.Append({m_block.get(), staged});
    }

 private:
    bool Widen() {
        MemoryBlock block = AllocateBlock(kTransferBlock);
        if (!block) {
            return false;
        }
        std::memcpy(block.get(), m_block.get(), m_staged);
        m_block = std::move(block);
        m_room = kTransferBlock;
        return true;
    }

    TempFile& m_file;
    size_t m_room = 64 << 10;
    MemoryBlock m_block;
    size_t m_staged = 0;
};

std::span<const uint8_t> DataOf(const Reply& reply) {
    return reply.Datagram().subspan(kPacketHead);
}

bool FitsPacket(const Reply& reply) {
    return reply.Datagram().size() >= kPacketHead || IsNoCase(reply, kNak);
}

// The parts that are read: marker, time, data.
uint64_t PacketKey(const Reply& reply) {
    if (reply.Datagram().size() < kPacketHead) {
        return WholeKey(reply);
    }
    const std::string_view bytes(reinterpret_cast<const char*>(reply.Datagram().data()),
                                 reply.Datagram().size());
    const std::hash<std::string_view> hash;
    return hash(bytes.substr(kPacketHead)) * 31 + hash(bytes.substr(kTimeAt, kTimeSize)) * 7 +
           static_cast<unsigned char>(bytes[kMarkerPosition]);
}

constexpr ReplyKind kPackets{FitsPacket, PacketKey};
constexpr ExchangeRules kRules{kPackets, kPaceGently, kPaceSteeply};

Verdict JudgePacket(const Reply& reply) {
    if (IsNoCase(reply, kNak)) {
        return Verdict::Failed;
    }
    if (reply.Datagram().size() < kPacketHead) {
        return Verdict::Again;
    }
    return reply.Marker() ? Verdict::Done : Verdict::Unread;
}

}  // namespace

bool WriteLocalFile(const CFolder& folder, std::u16string_view name, std::span<const uint8_t> data,
                    bool create) {
    CFile file;
    if (!file.OpenAt(folder, name, create ? CFile::modeCreate : CFile::modeWrite)) {
        return false;
    }
    try {
        if (!create) {
            file.SeekToEnd();
        }
        file.Write(data);
        file.Close();
        return true;
    } catch (const CFileException&) {
        return false;
    }
}

int CTvUdp::CmdUP(const char16_t* remote, const char16_t* local, int async) {
    // Copies: the texts may be the slot's own, which the command overwrites.
    const std::u16string path = remote != nullptr ? remote : u"";
    const std::u16string destination = local != nullptr ? local : u"";
    if (const std::optional<int> early = Enter(u"UP00000000", async, remote, local)) {
        return *early;
    }
    CommandRun run(*this);
    CFolder folder;
    return run.End(folder.Open(destination) && FetchFile(path, folder) ? 1 : 0);
}

bool CTvUdp::FetchFile(std::u16string_view remote, const CFolder& folder) {
    for (int tries = 0; tries < kMaxTransferTries; ++tries) {
        if (const std::optional<bool> fetched = FetchOnce(remote, folder)) {
            return *fetched;
        }
    }
    return false;
}

std::optional<bool> CTvUdp::FetchOnce(std::u16string_view remote, const CFolder& folder) {
    const std::u16string_view name = LastComponent(remote);
    const int header = BuildHeader();
    if (!IsPlainName(name) || header == 0) {
        return false;
    }
    TempFile file(folder);
    Staging staging(file);
    if (!file || !staging) {
        return false;
    }
    m_account.BeginTransfer();
    const Judge judge = JudgePacket;
    Reply reply;
    PacketOffset offset;
    int emptyPackets = 0;
    for (bool last = false; !last;) {
        std::ranges::copy(offset.Digits(), m_txBuf.begin() + kOffsetAt);
        const Outcome outcome = Exchange(header, kRules, judge, reply);
        if (outcome == Outcome::Refused && m_account.MayBeOutOfStep()) {
            return std::nullopt;
        }
        if (outcome != Outcome::Done) {
            return false;
        }
        const std::span<const uint8_t> data = DataOf(reply);
        last = reply.Marker() == kLastPacket;
        emptyPackets = data.empty() ? emptyPackets + 1 : 0;
        if (!offset.Advance(data.size()) || emptyPackets > kMaxEmptyPackets || !staging.Add(data) ||
            (!last && Interrupted())) {
            return false;
        }
    }
    const FILETIME time = ReadTime(reply.Datagram().subspan<kTimeAt, kTimeSize>());
    if (!EndsInStep()) {
        return std::nullopt;
    }
    return staging.Flush() && file.Become(name, time) && !Interrupted();
}

}  // namespace brenholt
