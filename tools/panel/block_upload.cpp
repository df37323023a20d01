#include "tools/panel/block_upload.h"

#include <algorithm>
#include <utility>

namespace tavrin {
namespace {

constexpr std::size_t kMaxBlock = 0x7FFFFFFF;  // the host's block length is a signed word

}  // namespace

BlockUpload::Outcome BlockUpload::Take(const Request& request, ByteView datagram) {
    if (!last_.empty() && std::ranges::equal(datagram, last_)) {
        return Outcome::Taken;
    }
    if (request.digit == kFirstDigit) {
        block_.text = request.text;
        block_.bytes.clear();
    } else if (!running_ || request.digit != NextDigit(digit_) || request.text != block_.text) {
        return Outcome::Refused;
    }
    if (request.payload.size() > kMaxBlock - block_.bytes.size()) {
        return Outcome::Refused;
    }
    block_.bytes.insert(block_.bytes.end(), request.payload.begin(), request.payload.end());
    last_.assign(datagram.begin(), datagram.end());
    digit_ = request.digit;
    running_ = !request.last;
    return request.last ? Outcome::Complete : Outcome::Taken;
}

MemoryBlock BlockUpload::TakeBlock() {
    return std::exchange(block_, {});
}

}  // namespace tavrin
