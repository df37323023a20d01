// The contents of a panel folder.
#ifndef BRENHOLT_TOOLS_HOST_LISTING_H
#define BRENHOLT_TOOLS_HOST_LISTING_H

#include <brenholt/brenholt.h>

#include <string>
#include <vector>

namespace host {

class Session;

struct Listing {
    std::vector<PanelDirEntry> entries;
    std::string trouble;  // why there are no entries; empty for a folder that was listed
};

// Lists a panel folder. The table gives 0 entries for a failure too, so an empty listing is
// believed only where the panel answers and the parent folder lists this one.
Listing ListFolder(Session& session, const std::u16string& folder);

}  // namespace host

#endif
