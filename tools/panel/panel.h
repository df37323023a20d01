// A simulated Tavrin panel without sockets and without a clock: requests go in, replies come out.
//
// The panel is careful: what breaks a rule of the protocol is refused with "NAK", so that a fault
// of the host shows as a failed transfer and not as a tolerant success.
//
//   TM, EX, CL   "ACK"
//   RM           removes a file; MD makes a folder (one that is there already will do)
//   FF, FD       "ACK" if the file (FF) or the folder (FD) exists, else "NAK"
//   VS           "ACK" and the three version words, four hexadecimal digits each
//   IP           "IP:ARM:0123:Project"
//   DR           pages of a listing (listing.h)
//   UP           37 bytes of head, then file data from the offset asked for (file_fetch.h)
//   DL           gathers a file (file_upload.h)
//   ML           gathers a memory block (block_upload.h)
//
// A datagram that does not begin with "Cmd=" is not a request and gets no answer. Each host address
// has transfers of its own; when more than kMaxHosts talk to the panel, the longest silent one is
// forgotten.
#ifndef BRENHOLT_TOOLS_PANEL_PANEL_H
#define BRENHOLT_TOOLS_PANEL_PANEL_H

#include <array>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/panel/block_upload.h"
#include "tools/panel/endpoint.h"
#include "tools/panel/file_fetch.h"
#include "tools/panel/file_upload.h"
#include "tools/panel/listing.h"
#include "tools/panel/request.h"
#include "tools/panel/storage.h"
#include "tools/panel/wire.h"

namespace tavrin {

// What a panel says about itself, in beacons and to IP and VS.
struct Identity {
    std::string project = "Demo";
    std::string cpu = "ARM";  // "ARM" or "X86"
    int version = 100;        // hundredths, 0 to 9999
    std::array<uint16_t, 3> words = {1, 0, 0};
};

// One datagram to send back.
struct Reply {
    Bytes bytes;
    Time delay{0};           // how long after the request
    bool otherPort = false;  // sent from a port other than 10251
};
using Replies = std::vector<Reply>;

class Panel {
 public:
    // Called before the panel. True: `replies` is what the host gets (none: silence), and the
    // panel does not see the request. False: the panel answers as usual. The hook
    // may call Answer itself to get the usual reply and change, delay or repeat it.
    using Hook = std::function<bool(Panel& panel, const Endpoint& host, ByteView datagram,
                                    Replies& replies)>;

    static constexpr size_t kMaxHosts = 16;
    static constexpr size_t kKeptBlocks = 8;

    // Throws std::system_error when `root` is not a folder.
    explicit Panel(const std::filesystem::path& root, Identity identity = {});

    // Takes one request and puts what is to be sent back into `replies` (emptied first).
    void Receive(const Endpoint& host, ByteView datagram, Replies& replies);
    // Between two requests: does what is better done while the host is busy with an answer.
    void WorkAhead();
    // The panel's own answer, past the hook. False when there is none.
    bool Answer(const Endpoint& host, ByteView datagram, Bytes& reply);

    void SetHook(Hook hook) { m_hook = std::move(hook); }
    // Called with each memory block that has come whole.
    void SetBlockObserver(std::function<void(const MemoryBlock&)> observer);

    const Identity& identity() const { return m_identity; }
    // The memory blocks that came last, at most kKeptBlocks, oldest first.
    const std::deque<MemoryBlock>& blocks() const { return m_blocks; }

 private:
    struct Session {
        uint32_t ip = 0;
        uint64_t lastUsed = 0;
        Listing listing;
        FileFetch fetch;
        FileUpload upload;
        BlockUpload block;
    };

    Session& SessionOf(const Endpoint& host);
    void Dispatch(Session& session, const Request& request, ByteView datagram, Bytes& reply);
    bool Decide(const Request& request) const;
    bool TakeBlock(Session& session, const Request& request, ByteView datagram);
    std::string IdentityText() const;
    std::string VersionText() const;

    Storage m_storage;
    Identity m_identity;
    Hook m_hook;
    std::function<void(const MemoryBlock&)> m_blockObserver;
    std::deque<MemoryBlock> m_blocks;
    std::vector<Session> m_sessions;
    uint64_t m_requests = 0;
};

}  // namespace tavrin

#endif
