#include "tools/panel/file_upload.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace tavrin {
namespace {

constexpr std::size_t kMaxSize = 0x7FFFFFFF;  // hosts count what they have sent in 31 bits
constexpr std::size_t kLengthWrap = 256;
constexpr std::size_t kLongestPath = 259;
constexpr std::uint32_t kAttributeMask = 0xFF;

struct Parts {
    FileRecord record;
    std::string_view name;
    ByteView head;  // record, short name and its zero byte
    ByteView data;
};

// The name in an area of `size` bytes; nothing without a zero byte in it.
std::optional<std::string_view> NameIn(ByteView payload, std::size_t size) {
    if (payload.size() < kRecordSize + size) {
        return std::nullopt;
    }
    const ByteView area = payload.subspan(kRecordSize, size);
    const auto end = std::find(area.begin(), area.end(), 0);
    if (end == area.end()) {
        return std::nullopt;
    }
    return std::string_view(reinterpret_cast<const char*>(area.data()),
                            static_cast<std::size_t>(end - area.begin()));
}

bool IsPlainName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of("\\/") == std::string_view::npos;
}

std::optional<Parts> ParsePayload(ByteView payload) {
    if (payload.size() < kRecordSize) {
        return std::nullopt;
    }
    Parts parts{ReadRecord(payload), {}, {}, {}};
    const FileRecord& record = parts.record;
    if (record.size == 0 || record.size > kMaxSize || record.reserved != 0 ||
        record.attributes > kAttributeMask) {
        return std::nullopt;
    }
    std::size_t area = record.name_length + std::size_t{1};
    auto name = NameIn(payload, area);
    if (!name && record.name_length + kLengthWrap <= kLongestPath) {
        area += kLengthWrap;
        name = NameIn(payload, area);
    }
    if (!name || !IsPlainName(*name)) {
        return std::nullopt;
    }
    parts.name = *name;
    parts.head = payload.first(kRecordSize + name->size() + 1);
    parts.data = payload.subspan(kRecordSize + area);
    if (parts.data.empty()) {
        return std::nullopt;
    }
    return parts;
}

std::string TargetPath(const Storage& storage, std::string_view text, std::string_view name) {
    std::string target(text);
    if (EndsInSeparator(text)) {
        target += name;
    } else if (storage.KindOf(text) == Kind::Folder) {
        target.append("\\").append(name);
    }
    return target;
}

}  // namespace

bool FileUpload::Take(const Storage& storage, const Request& request, ByteView datagram) {
    const bool first = request.digit == kFirstDigit;
    if (!first && request.digit == digit_ && std::ranges::equal(datagram, last_)) {
        return true;
    }
    WorkAhead();
    if (!(first ? Begin(storage, request) : Continue(request))) {
        return false;
    }
    digit_ = request.digit;
    last_.assign(datagram.begin(), datagram.end());
    return left_ > 0 || Finish();
}

void FileUpload::WorkAhead() {
    const ByteView data = ByteView(last_).last(std::exchange(unwritten_, 0));
    if (file_ && !data.empty() && !file_->Append(data)) {
        file_.reset();
    }
}

bool FileUpload::Begin(const Storage& storage, const Request& request) {
    file_.reset();
    last_.clear();
    const auto parts = ParsePayload(request.payload);
    if (!parts) {
        return false;
    }
    text_ = request.text;
    record_ = parts->record;
    left_ = record_.size;
    head_.assign(parts->head.begin(), parts->head.end());
    file_ = storage.Create(TargetPath(storage, request.text, parts->name));
    return file_ && Accept(parts->data);
}

bool FileUpload::Continue(const Request& request) {
    if (!file_ || request.digit != NextDigit(digit_) || request.text != text_) {
        return false;
    }
    const auto parts = ParsePayload(request.payload);
    return parts && std::ranges::equal(parts->head, head_) && Accept(parts->data);
}

bool FileUpload::Accept(ByteView data) {
    if (data.size() > left_) {
        return false;
    }
    left_ -= data.size();
    unwritten_ = data.size();
    return true;
}

bool FileUpload::Finish() {
    WorkAhead();
    const bool stored = file_ && file_->Finish(record_.time);
    file_.reset();
    if (!stored) {
        last_.clear();  // sent again, it is refused again
    }
    return stored;
}

}  // namespace tavrin
