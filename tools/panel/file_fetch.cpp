#include "tools/panel/file_fetch.h"

#include <algorithm>

namespace tavrin {
namespace {

constexpr std::size_t kMarker = 3;
constexpr std::size_t kReadAhead = 64 * 1024;

}  // namespace

bool FileFetch::Read(const Storage& storage, const Request& request, Bytes& reply) {
    if (request.offset == 0 || !file_ || request.text != path_) {
        path_ = request.text;
        file_ = storage.Open(path_);
        ahead_.clear();
    }
    if (!file_ || request.offset > file_->size()) {
        return false;
    }
    const auto wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(kFetchData, file_->size() - request.offset));
    if (!Fill(request.offset, wanted)) {
        return false;
    }
    reply.reserve(kMaxDatagram);
    reply.assign({'A', 'C', 'K'});
    reply.resize(kFetchHead);
    reply[kMarker] = request.offset + wanted == file_->size() ? '0' : '+';
    WriteRecord(std::span(reply).subspan(kFetchRecord), file_->record());
    const auto data = ByteView(ahead_).subspan(request.offset - ahead_at_, wanted);
    reply.insert(reply.end(), data.begin(), data.end());
    return true;
}

// The check behind the read holds for all that was read: it was in the file before any change.
bool FileFetch::Fill(std::uint64_t offset, std::size_t wanted) {
    if (offset >= ahead_at_ && offset + wanted <= ahead_at_ + ahead_.size()) {
        return true;
    }
    ahead_.resize(kReadAhead);
    const auto count = file_->Read(offset, ahead_);
    ahead_.resize(count.value_or(0));
    ahead_at_ = offset;
    if (ahead_.size() >= wanted && file_->Unchanged()) {
        return true;
    }
    ahead_.clear();
    return false;
}

}  // namespace tavrin
