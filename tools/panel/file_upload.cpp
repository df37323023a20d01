#include "tools/panel/file_upload.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace tavrin {
namespace {

constexpr size_t kMaxSize = 0x7FFFFFFF;  // hosts count what they have sent in 31 bits
constexpr size_t kLengthWrap = 256;
constexpr size_t kLongestPath = 259;
constexpr uint32_t kAttributeMask = 0xFF;

struct Parts {
    FileRecord record;
    std::string_view name;
    ByteView head;  // record, short name and its zero byte
    ByteView data;
};

// The name in an area of `size` bytes; nothing without a zero byte in it.
std::optional<std::string_view> NameIn(ByteView payload, size_t size) {
    if (payload.size() < kRecordSize + size) {
        return std::nullopt;
    }
    const ByteView area = payload.subspan(kRecordSize, size);
    const auto end = std::find(area.begin(), area.end(), 0);
    if (end == area.end()) {
        return std::nullopt;
    }
    return std::string_view(reinterpret_cast<const char*>(area.data()),
                            static_cast<size_t>(end - area.begin()));
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
    size_t area = record.nameLength + size_t{1};
    auto name = NameIn(payload, area);
    if (!name && record.nameLength + kLengthWrap <= kLongestPath) {
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
    if (!first && request.digit == m_digit && std::ranges::equal(datagram, m_last)) {
        return true;
    }
    WorkAhead();
    if (!(first ? Begin(storage, request) : Continue(request))) {
        return false;
    }
    m_digit = request.digit;
    m_last.assign(datagram.begin(), datagram.end());
    return m_left > 0 || Finish();
}

void FileUpload::WorkAhead() {
    const ByteView data = ByteView(m_last).last(std::exchange(m_unwritten, 0));
    if (m_file && !data.empty() && !m_file->Append(data)) {
        m_file.reset();
    }
}

bool FileUpload::Begin(const Storage& storage, const Request& request) {
    m_file.reset();
    m_last.clear();
    const auto parts = ParsePayload(request.payload);
    if (!parts) {
        return false;
    }
    m_text = request.text;
    m_record = parts->record;
    m_left = m_record.size;
    m_head.assign(parts->head.begin(), parts->head.end());
    m_file = storage.Create(TargetPath(storage, request.text, parts->name));
    return m_file && Accept(parts->data);
}

bool FileUpload::Continue(const Request& request) {
    if (!m_file || request.digit != NextDigit(m_digit) || request.text != m_text) {
        return false;
    }
    const auto parts = ParsePayload(request.payload);
    return parts && std::ranges::equal(parts->head, m_head) && Accept(parts->data);
}

bool FileUpload::Accept(ByteView data) {
    if (data.size() > m_left) {
        return false;
    }
    m_left -= data.size();
    m_unwritten = data.size();
    return true;
}

bool FileUpload::Finish() {
    WorkAhead();
    const bool stored = m_file && m_file->Finish(m_record.time);
    m_file.reset();
    if (!stored) {
        m_last.clear();  // sent again, it is refused again
    }
    return stored;
}

}  // namespace tavrin
