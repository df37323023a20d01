// DR: the contents of a panel folder, a page a datagram.
//
//    reply: 0-2 anything, 3 '+' when a page follows, 5 number of records (signed), 6- records
#include <algorithm>
#include <cstring>

#include "commands/file_record.h"
#include "commands/guarded_judge.h"
#include "commands/listing.h"
#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"

namespace brenholt {
namespace {

constexpr size_t kTokenDigitAt = 2;
constexpr size_t kCountAt = 5;
constexpr size_t kRecordsAt = 6;
constexpr ExchangeRules kRules{kPaceGently, kPaceKept, false};

// Pages that bring nothing, or nothing that the caller has room for: a panel may promise so many
// more.
constexpr int kMaxIdlePages = 64;

void Fill(PanelDirEntry& entry, const RecordWalk::Entry& source) {
    entry.dwSize = source.record.dwSize;
    entry.ftLastWrite = {source.record.time.dwLowDateTime, source.record.time.dwHighDateTime};
    entry.dwAttributes = source.record.dwAttributes;
    std::memset(entry.szName, 0, source.record.byNameLen + size_t{1});
    std::memcpy(entry.szName, source.name.data(), source.name.size());
}

// One page; nothing when it is malformed.
struct Page {
    int records;
    bool more;
    RecordWalk walk;
};

std::optional<Page> ReadPage(const Reply& reply) {
    const std::optional<char16_t> marker = reply.Marker();
    const std::span<const uint8_t> datagram = reply.Datagram();
    if (!marker || datagram.size() < kRecordsAt) {
        return std::nullopt;
    }
    return Page{static_cast<int8_t>(datagram[kCountAt]), *marker == u'+',
                RecordWalk(datagram.subspan(kRecordsAt))};
}

// The last page read stands in LastPage. Pages are never alike by nature: no data is told.
class PageJudge final : public GuardedJudge {
 public:
    using GuardedJudge::GuardedJudge;
    const Reply& LastPage() const { return m_page; }

 protected:
    Verdict Read(const Reply& reply) override {
        m_page = reply;
        return IsNoCase(reply, kNak) ? Verdict::Failed : Verdict::Done;
    }
    std::span<const uint8_t> Data(const Reply&) const override { return {}; }

 private:
    Reply m_page;
};

// Whether every record lies inside the page. What there is no room for is dropped.
bool TakeRecords(Page& page, int maxEntries, PanelDirEntry* entries, Listing& listing) {
    for (int i = 0; i < page.records; ++i) {
        const std::optional<RecordWalk::Entry> entry = page.walk.Next();
        if (!entry) {
            return false;
        }
        if (listing.count < maxEntries) {
            Fill(entries[listing.count++], *entry);
        } else {
            listing.end = Listing::Cut;
        }
    }
    return true;
}

}  // namespace

Listing CTvUdp::ListFolder(int maxEntries, PanelDirEntry* entries) {
    Listing listing;
    int idlePages = 0;
    PageJudge judge(*this);
    if (!judge.AwaitUnseen()) {
        listing.end = Listing::Unanswered;
        return listing;
    }
    for (bool more = true; more;) {
        if (Exchange(-1, kRules, judge) != Outcome::Done || Interrupted()) {
            listing.end = Listing::Unanswered;
            return listing;
        }
        std::optional<Page> page = ReadPage(judge.LastPage());
        if (!page) {
            listing.end = Listing::Malformed;
            return listing;
        }
        more = page->more;
        const bool wasFull = listing.count >= maxEntries;
        if (!TakeRecords(*page, maxEntries, entries, listing)) {
            listing.end = Listing::Malformed;
            return listing;
        }
        if (wasFull || page->records <= 0) {
            ++idlePages;
        }
        if (more && idlePages > kMaxIdlePages) {
            listing.end = wasFull ? Listing::Cut : Listing::Malformed;
            return listing;
        }
        if (!wasFull) {
            const CSingleLock lock(m_lock);
            char16_t& digit = m_slot.m_strCmd[kTokenDigitAt];
            digit = NextDigit(digit);
        }
    }
    return listing;
}

int CTvUdp::CmdDR(const char16_t* folder, int maxEntries, PanelDirEntry* entries, int async,
                  int final) {
    if (Enter(u"DR0", async, folder, nullptr, maxEntries, entries) != Head::Run) {
        return 0;
    }
    CommandRun run(*this, final);
    if (entries == nullptr && maxEntries > 0) {
        return run.End(0);
    }
    return run.End(ListFolder(maxEntries, entries).Count());
}

}  // namespace brenholt
