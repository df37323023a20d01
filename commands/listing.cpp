// DR: the contents of a panel folder, a page a datagram.
//
//    reply: 0-2 anything, 3 '+' when a page follows, 5 number of records (signed), 6- records
#include <algorithm>
#include <cstring>

#include "commands/file_record.h"
#include "commands/listing.h"
#include "commands/reply_words.h"
#include "link/command_run.h"
#include "link/tv_udp.h"

namespace brenholt {
namespace {

constexpr size_t kTokenDigitAt = 2;
constexpr size_t kCountAt = 5;
constexpr size_t kRecordsAt = 6;
constexpr ReplyKind kPages{[](const Reply& reply) {
                               return reply.Datagram().size() >= kRecordsAt ||
                                      IsNoCase(reply, kNak);
                           },
                           WholeKey};
constexpr ExchangeRules kRules{kPages, kPaceGently};

// How many pages a panel may send that announce another one and hold no record, or none that the
// caller has room for.
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

// False when a record that there is room for does not lie inside the page.
bool TakeRecords(Page& page, int maxEntries, PanelDirEntry* entries, Listing& listing) {
    for (int i = 0; i < page.records; ++i) {
        if (listing.count >= maxEntries) {
            listing.end = Listing::Cut;
            break;
        }
        const std::optional<RecordWalk::Entry> entry = page.walk.Next();
        if (!entry) {
            return false;
        }
        Fill(entries[listing.count++], *entry);
    }
    return true;
}

}  // namespace

Listing CTvUdp::ListFolder(int maxEntries, PanelDirEntry* entries) {
    Listing listing{.end = Listing::OutOfStep};
    for (int tries = 0; tries < kMaxTransferTries && listing.end == Listing::OutOfStep; ++tries) {
        listing = ListOnce(maxEntries, entries);
    }
    return listing;
}

Listing CTvUdp::ListOnce(int maxEntries, PanelDirEntry* entries) {
    Listing listing;
    int idlePages = 0;
    SetTokenDigit([](char16_t) { return u'0'; });
    const Judge judge = [](const Reply& reply) {
        return IsNoCase(reply, kNak) ? Verdict::Failed : Verdict::Done;
    };
    Reply reply;
    m_account.BeginTransfer();
    for (bool more = true; more;) {
        const Outcome outcome = Exchange(kHeaderOnly, kRules, judge, reply);
        if (outcome != Outcome::Done || Interrupted()) {
            const bool outOfStep = outcome == Outcome::Refused && m_account.MayBeOutOfStep();
            listing.end = outOfStep ? Listing::OutOfStep : Listing::Unanswered;
            return listing;
        }
        std::optional<Page> page = ReadPage(reply);
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
            SetTokenDigit(NextDigit<char16_t>);
        }
    }
    if (!EndsInStep()) {
        listing.end = Listing::OutOfStep;
    }
    return listing;
}

void CTvUdp::SetTokenDigit(char16_t (*next)(char16_t)) {
    const CSingleLock lock(m_lock);
    // A host that posts a command during a listing has put another token there.
    if (m_slot.m_strCmd.size() > kTokenDigitAt) {
        char16_t& digit = m_slot.m_strCmd[kTokenDigitAt];
        digit = next(digit);
    }
}

int CTvUdp::CmdDR(const char16_t* folder, int maxEntries, PanelDirEntry* entries, int async) {
    if (Enter(u"DR0", async, folder, nullptr, maxEntries, entries)) {
        return 0;  // also when posted: no entries yet
    }
    CommandRun run(*this);
    if (entries == nullptr && maxEntries > 0) {
        return run.End(0);
    }
    return run.End(ListFolder(maxEntries, entries).Count());
}

}  // namespace brenholt
