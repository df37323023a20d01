#include "tools/panel/listing.h"

namespace tavrin {
namespace {

constexpr size_t kMarkerAt = 3;
constexpr size_t kCount = 5;
constexpr size_t kFirstRecord = 6;

Bytes EmptyPage() {
    return {'A', 'C', 'K', '0', 0, 0};
}

void AppendRecord(Bytes& page, const StorageEntry& entry) {
    const size_t at = page.size();
    page.resize(at + kRecordSize);
    FileRecord record = entry.record;
    record.nameLength = static_cast<uint8_t>(entry.name.size());
    WriteRecord(std::span(page).subspan(at), record);
    page.insert(page.end(), entry.name.begin(), entry.name.end());
    ++page[kCount];
}

}  // namespace

static_assert(kFirstRecord + kRecordSize + 255 <= kMaxDatagram, "any record fits in a page");

std::vector<Bytes> MakePages(const std::vector<StorageEntry>& entries) {
    std::vector<Bytes> pages = {EmptyPage()};
    for (const StorageEntry& entry : entries) {
        const Bytes& page = pages.back();
        if (page[kCount] == kMaxPageRecords ||
            page.size() + kRecordSize + entry.name.size() > kMaxDatagram) {
            pages.back()[kMarkerAt] = '+';
            pages.push_back(EmptyPage());
        }
        AppendRecord(pages.back(), entry);
    }
    return pages;
}

const Bytes* Listing::Page(const Storage& storage, const Request& request) {
    if (request.digit == kFirstDigit) {
        const auto entries = storage.List(request.text);
        if (!entries) {
            m_pages.clear();
            return nullptr;
        }
        m_folder = request.text;
        m_pages = MakePages(*entries);
        m_page = 0;
        m_digit = kFirstDigit;
        return &m_pages.front();
    }
    if (m_pages.empty() || request.text != m_folder) {
        return nullptr;
    }
    if (request.digit != m_digit) {
        if (request.digit != NextDigit(m_digit) || m_page + 1 == m_pages.size()) {
            return nullptr;
        }
        ++m_page;
        m_digit = request.digit;
    }
    return &m_pages[m_page];
}

}  // namespace tavrin
