// One host's walk through a folder listing (DR).
//
// A page:  0  "ACK"    3  '+' when pages follow, '0' on the last    4  0    5  record count
//          6  records, back to back, each with its name and no terminator
//
// The digit 0 takes a new picture of the folder and gives its first page. The digit of the page
// given last repeats that page; the next digit in order moves on. Anything else is refused.
#ifndef BRENHOLT_TOOLS_PANEL_LISTING_H
#define BRENHOLT_TOOLS_PANEL_LISTING_H

#include <string>
#include <vector>

#include "tools/panel/request.h"
#include "tools/panel/storage.h"
#include "tools/panel/wire.h"

namespace tavrin {

inline constexpr size_t kMaxPageRecords = 55;

// The pages of a listing; at least one, even for an empty folder.
std::vector<Bytes> MakePages(const std::vector<StorageEntry>& entries);

class Listing {
 public:
    // The page to send, or null for a refusal. It stays good until the next call.
    const Bytes* Page(const Storage& storage, const Request& request);

 private:
    std::string m_folder;
    std::vector<Bytes> m_pages;
    size_t m_page = 0;
    char m_digit = kFirstDigit;
};

}  // namespace tavrin

#endif
