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
    }
    if (!file_ || request.offset > file_->size() || !file_->Unchanged()) {
        return false;
    }
    const auto wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>(kFetchData, file_->size() - request.offset));
    reply.assign({'A', 'C', 'K'});
    reply.resize(kFetchHead + wanted);
    reply[kMarker] = request.offset + wanted == file_->size() ? '0' : '+';
    WriteRecord(std::span(reply).subspan(kFetchRecord), file_->record());
    return file_->Read(request.offset, std::span(reply).subspan(kFetchHead)) == wanted;
}

}  // namespace tavrin
