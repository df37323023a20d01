#include "tools/panel/panel.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace tavrin {
namespace {

constexpr std::string_view kAck = "ACK";
constexpr std::string_view kNak = "NAK";

void Say(Bytes& reply, std::string_view text) {
    reply.assign(text.begin(), text.end());
}

}  // namespace

Panel::Panel(const std::filesystem::path& root, Identity identity)
    : m_storage(root), m_identity(std::move(identity)) {
}

void Panel::SetBlockObserver(std::function<void(const MemoryBlock&)> observer) {
    m_blockObserver = std::move(observer);
}

void Panel::Receive(const Endpoint& host, ByteView datagram, Replies& replies) {
    replies.clear();
    if (m_hook && m_hook(*this, host, datagram, replies)) {
        return;
    }
    Reply reply;
    if (Answer(host, datagram, reply.bytes)) {
        replies.push_back(std::move(reply));
    }
}

void Panel::WorkAhead() {
    for (Session& session : m_sessions) {
        session.fetch.WorkAhead();
        session.upload.WorkAhead();
    }
}

bool Panel::Answer(const Endpoint& host, ByteView datagram, Bytes& reply) {
    if (!HasRequestPrefix(datagram)) {
        return false;
    }
    Session& session = SessionOf(host);
    const auto request = ParseRequest(datagram);
    if (!request) {
        Say(reply, kNak);
        return true;
    }
    if (request->command != Command::ML) {
        session.block.EndRepetition();
    }
    Dispatch(session, *request, datagram, reply);
    return true;
}

Panel::Session& Panel::SessionOf(const Endpoint& host) {
    auto found = std::find_if(m_sessions.begin(), m_sessions.end(),
                              [&](const Session& session) { return session.ip == host.ip; });
    if (found == m_sessions.end()) {
        if (m_sessions.size() == kMaxHosts) {
            m_sessions.erase(std::min_element(
                m_sessions.begin(), m_sessions.end(),
                [](const Session& a, const Session& b) { return a.lastUsed < b.lastUsed; }));
        }
        found = m_sessions.emplace(m_sessions.end());
        found->ip = host.ip;
    }
    found->lastUsed = ++m_requests;
    return *found;
}

void Panel::Dispatch(Session& session, const Request& request, ByteView datagram, Bytes& reply) {
    switch (request.command) {
        case Command::VS:
            Say(reply, VersionText());
            return;
        case Command::IP:
            Say(reply, IdentityText());
            return;
        case Command::DR:
            if (const Bytes* const page = session.listing.Page(m_storage, request)) {
                reply = *page;
            } else {
                Say(reply, kNak);
            }
            return;
        case Command::UP:
            if (!session.fetch.Read(m_storage, request, reply)) {
                Say(reply, kNak);
            }
            return;
        case Command::DL: {
            const bool taken = session.upload.Take(m_storage, request, datagram);
            Say(reply, taken ? kAck : kNak);
            if (taken) {
                reply.push_back(static_cast<uint8_t>(request.digit));
            }
            return;
        }
        case Command::ML:
            Say(reply, TakeBlock(session, request, datagram) ? kAck : kNak);
            return;
        default:
            Say(reply, Decide(request) ? kAck : kNak);
    }
}

bool Panel::Decide(const Request& request) const {
    switch (request.command) {
        case Command::RM:
            return m_storage.RemoveFile(request.text);
        case Command::MD:
            return m_storage.MakeFolder(request.text);
        case Command::FF:
            return m_storage.KindOf(request.text) == Kind::File;
        case Command::FD:
            return m_storage.KindOf(request.text) == Kind::Folder;
        default:  // TM, EX and CL ask for no more than a sign of life
            return true;
    }
}

bool Panel::TakeBlock(Session& session, const Request& request, ByteView datagram) {
    const BlockUpload::Outcome outcome = session.block.Take(request, datagram);
    if (outcome == BlockUpload::Outcome::Complete) {
        m_blocks.push_back(session.block.TakeBlock());
        if (m_blocks.size() > kKeptBlocks) {
            m_blocks.pop_front();
        }
        if (m_blockObserver) {
            m_blockObserver(m_blocks.back());
        }
    }
    return outcome != BlockUpload::Outcome::Refused;
}

std::string Panel::IdentityText() const {
    std::array<char, 16> version{};
    std::snprintf(version.data(), version.size(), ":%04d:", m_identity.version);
    return "IP:" + m_identity.cpu + version.data() + m_identity.project;
}

std::string Panel::VersionText() const {
    std::array<char, 16> text{};
    const auto& words = m_identity.words;
    std::snprintf(text.data(), text.size(), "ACK%04X%04X%04X", unsigned{words[0]},
                  unsigned{words[1]}, unsigned{words[2]});
    return text.data();
}

}  // namespace tavrin
