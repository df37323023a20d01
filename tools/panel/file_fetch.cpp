#include "tools/panel/file_fetch.h"

#include <algorithm>

namespace tavrin {
namespace {

constexpr size_t kMarker = 3;

}  // namespace

bool FileFetch::Read(const Storage& storage, const Request& request, Bytes& reply) {
    if (request.offset == 0 || !m_file || request.text != m_path) {
        m_path = request.text;
        m_file = storage.Open(m_path);
        m_next.clear();
    }
    if (!m_file || request.offset > m_file->size()) {
        return false;
    }
    if ((m_next.empty() || m_nextAt != request.offset) && !Prepare(request.offset)) {
        return false;
    }
    m_nextAt += m_next.size() - kFetchHead;
    reply.clear();
    reply.swap(m_next);
    return true;
}

void FileFetch::WorkAhead() {
    if (m_file && m_next.empty() && m_nextAt < m_file->size()) {
        Prepare(m_nextAt);
    }
}

bool FileFetch::Prepare(uint64_t offset) {
    const auto wanted =
        static_cast<size_t>(std::min<uint64_t>(kFetchData, m_file->size() - offset));
    m_nextAt = offset;
    m_next.reserve(kMaxDatagram);
    m_next.assign({'A', 'C', 'K'});
    m_next.resize(kFetchHead + wanted);
    m_next[kMarker] = offset + wanted == m_file->size() ? '0' : '+';
    WriteRecord(std::span(m_next).subspan(kFetchRecord), m_file->record());
    // Checked after the read: what was read was in the file before any change.
    const bool read = m_file->Read(offset, std::span(m_next).subspan(kFetchHead)) == wanted;
    if (!read || !m_file->Unchanged()) {
        m_next.clear();
        return false;
    }
    return true;
}

}  // namespace tavrin
