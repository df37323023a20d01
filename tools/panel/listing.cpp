#include "tools/panel/listing.h"

namespace tavrin {
namespace {

constexpr std::size_t kMarkerAt = 3;
constexpr std::size_t kCount = 5;
constexpr std::size_t kFirstRecord = 6;

Bytes EmptyPage() {
    return {'A', 'C', 'K', '0', 0, 0};
}

void AppendRecord(Bytes& page, const StorageEntry& entry) {
    const std::size_t at = page.size();
    page.resize(at + kRecordSize);
    FileRecord record = entry.record;
    record.name_length = static_cast<std::uint8_t>(entry.name.size());
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
            pages_.clear();
            return nullptr;
        }
        folder_ = request.text;
        pages_ = MakePages(*entries);
        page_ = 0;
        digit_ = kFirstDigit;
        return &pages_.front();
    }
    if (pages_.empty() || request.text != folder_) {
        return nullptr;
    }
    if (request.digit != digit_) {
        if (request.digit != NextDigit(digit_) || page_ + 1 == pages_.size()) {
            return nullptr;
        }
        ++page_;
        digit_ = request.digit;
    }
    return &pages_[page_];
}

}  // namespace tavrin
