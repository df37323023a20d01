// One memory block that a host sends (ML). The request's payload is the data.
#ifndef BRENHOLT_TOOLS_PANEL_BLOCK_UPLOAD_H
#define BRENHOLT_TOOLS_PANEL_BLOCK_UPLOAD_H

#include <string>

#include "tools/panel/request.h"
#include "tools/panel/wire.h"

namespace tavrin {

struct MemoryBlock {
    std::string text;
    Bytes bytes;
};

class BlockUpload {
 public:
    enum class Outcome { Refused, Taken, Complete };

    // A datagram equal to the one taken last is a repetition: it counts as taken and adds nothing.
    Outcome Take(const Request& request, ByteView datagram);
    // The complete block, after Outcome::Complete.
    MemoryBlock TakeBlock();
    // Forgets the datagram taken last: what comes next is no repetition.
    void EndRepetition() { m_last.clear(); }

 private:
    bool m_running = false;
    char m_digit = kFirstDigit;
    Bytes m_last;
    MemoryBlock m_block;
};

}  // namespace tavrin

#endif
