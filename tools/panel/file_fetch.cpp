#include "tools/panel/file_fetch.h"

#include <algorithm>

namespace tavrin {
namespace {

constexpr std::size_t kMarker = 3;

}  // namespace

bool FileFetch::Read(const Storage& storage, const Request& request, Bytes& reply) {
    if (request.offset == 0 || !file_ || request.text != path_) {
        path_ = request.text;
        file_ = storage.Open(path_);
        next_.clear();
    }
    if (!file_ || request.offset > file_->size()) {
        return false;
    }
    if ((next_.empty() || next_at_ != request.offset) && !Prepare(request.offset)) {
        return false;
    }
    next_at_ += next_.size() - kFetchHead;
    reply.clear();
    reply.swap(next_);
    return true;
}

void FileFetch::WorkAhead() {
    if (file_ && next_.empty() && next_at_ < file_->size()) {
        Prepare(next_at_);
    }
}

bool FileFetch::Prepare(std::uint64_t offset) {
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(kFetchData, file_->size() - offset));
    next_at_ = offset;
    next_.reserve(kMaxDatagram);
    next_.assign({'A', 'C', 'K'});
    next_.resize(kFetchHead + wanted);
    next_[kMarker] = offset + wanted == file_->size() ? '0' : '+';
    WriteRecord(std::span(next_).subspan(kFetchRecord), file_->record());
    // The check behind the read holds for what was read: it was in the file before any change.
    const bool read = file_->Read(offset, std::span(next_).subspan(kFetchHead)) == wanted;
    if (!read || !file_->Unchanged()) {
        next_.clear();
        return false;
    }
    return true;
}

}  // namespace tavrin
