#include "tools/panel/block_upload.h"

#include <algorithm>
#include <utility>

namespace tavrin {
namespace {

constexpr size_t kMaxBlock = 0x7FFFFFFF;  // the host's block length is a signed word

}  // namespace

BlockUpload::Outcome BlockUpload::Take(const Request& request, ByteView datagram) {
    if (!m_last.empty() && std::ranges::equal(datagram, m_last)) {
        return Outcome::Taken;
    }
    if (request.digit == kFirstDigit) {
        m_block.text = request.text;
        m_block.bytes.clear();
    } else if (!m_running || request.digit != NextDigit(m_digit) || request.text != m_block.text) {
        return Outcome::Refused;
    }
    if (request.payload.size() > kMaxBlock - m_block.bytes.size()) {
        return Outcome::Refused;
    }
    m_block.bytes.insert(m_block.bytes.end(), request.payload.begin(), request.payload.end());
    m_last.assign(datagram.begin(), datagram.end());
    m_digit = request.digit;
    m_running = !request.last;
    return request.last ? Outcome::Complete : Outcome::Taken;
}

MemoryBlock BlockUpload::TakeBlock() {
    return std::exchange(m_block, {});
}

}  // namespace tavrin
