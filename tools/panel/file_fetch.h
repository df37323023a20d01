// One host's fetch of a file (UP).
//
// A reply:  0  "ACK"   3  '0' on the last packet, else '+'   4  0
//           5  file record, its name empty    30  zeros    37  data, at most 1363 bytes
//
// The file stays open between requests, so that a transfer sees one file even if another takes its
// name meanwhile. A file that is written to during a transfer is refused: its parts would not fit
// together.
#ifndef BRENHOLT_TOOLS_PANEL_FILE_FETCH_H
#define BRENHOLT_TOOLS_PANEL_FILE_FETCH_H

#include <optional>
#include <string>

#include "tools/panel/request.h"
#include "tools/panel/storage.h"
#include "tools/panel/wire.h"

namespace tavrin {

inline constexpr size_t kFetchHead = 37;
inline constexpr size_t kFetchRecord = 5;
inline constexpr size_t kFetchData = kMaxDatagram - kFetchHead;

class FileFetch {
 public:
    // False is a refusal: no such file, an offset past its end, a file that changed.
    bool Read(const Storage& storage, const Request& request, Bytes& reply);
    // Between two requests: makes the reply ready that the host will want next.
    void WorkAhead();

 private:
    bool Prepare(uint64_t offset);

    std::string m_path;
    std::optional<StoredFile> m_file;
    Bytes m_next;  // the reply to a request for m_nextAt; empty while it is not made
    uint64_t m_nextAt = 0;
};

}  // namespace tavrin

#endif
