// A panel over a folder of its own that goes away with the test.
#ifndef BRENHOLT_TESTS_PANEL_FIXTURE_H
#define BRENHOLT_TESTS_PANEL_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"
#include "tools/panel/panel.h"

namespace tavrin {

using Folder = brenholt::ScratchFolder;

inline Bytes ToBytes(const std::string& text) {
    return {text.begin(), text.end()};
}

class PanelTest : public testing::Test {
 protected:
    static constexpr Endpoint kHost{0x7F000001, kHostPort};

    // The reply to "Cmd=" + `request` as it is; "(none)" for silence. A request without payload
    // ends in its zero byte, which a string literal passed to Ask supplies.
    std::string Send(const std::string& request, const Endpoint& host = kHost) {
        m_panel.Receive(host, ToBytes("Cmd=" + request), m_replies);
        m_panel.WorkAhead();
        if (m_replies.empty()) {
            return "(none)";
        }
        return {m_replies[0].bytes.begin(), m_replies[0].bytes.end()};
    }
    std::string Ask(const std::string& token_and_text) { return Send(token_and_text + '\0'); }
    void ExpectNak(const std::vector<std::string>& requests) {
        for (const std::string& request : requests) {
            EXPECT_EQ(Send(request), "NAK") << testing::PrintToString(request);
        }
    }

    Folder m_folder;
    Panel m_panel{m_folder.Path(), Identity{"Line1", "X86", 210, {1, 0x2A, 0xFFFF}}};
    Replies m_replies;
};

}  // namespace tavrin

#endif
