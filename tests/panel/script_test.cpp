// Canned replies, and how log lines show datagrams.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tests/panel/fixture.h"
#include "tools/panel/describe.h"
#include "tools/panel/log.h"
#include "tools/panel/script.h"

namespace tavrin {
namespace {

using std::chrono::milliseconds;

using ScriptTest = PanelTest;

TEST_F(ScriptTest, ChoosesRequestsByNumber) {
    m_panel.SetHook(
        ParseScript("# a comment\r\n"
                    "\n"
                    "TM 1 silent\r\n"
                    "TM 2-3 \"NAK\"\n"
                    "VS 2- \"a \\\"\\\\\\x00b\"\n"
                    "* 7 \"seventh\""));
    EXPECT_EQ(Ask("TM"), "(none)");
    EXPECT_EQ(Ask("TM"), "NAK");
    EXPECT_EQ(Ask("VS"), "ACK0001002AFFFF");
    EXPECT_EQ(Ask("VS"), std::string("a \"\\\0b", 6));
    EXPECT_EQ(Ask("TM"), "NAK");
    EXPECT_EQ(Ask("TM"), "ACK");
    EXPECT_EQ(Ask("EX"), "seventh");
    EXPECT_EQ(Ask("EX"), "ACK");
}

TEST_F(ScriptTest, LinesForOneRequestAddUp) {
    m_panel.SetHook(
        ParseScript("ML * usual after 300ms\n"
                    "ML * usual from-other-port\n"
                    "ML * \"ack\"\n"));
    Send(std::string("ML0-t\0x", 7));
    ASSERT_EQ(m_replies.size(), 3U);
    EXPECT_EQ(m_replies[0].bytes, ToBytes("ACK"));
    EXPECT_EQ(m_replies[0].delay, milliseconds(300));
    EXPECT_EQ(m_replies[1].bytes, ToBytes("ACK"));
    EXPECT_TRUE(m_replies[1].otherPort);
    EXPECT_EQ(m_replies[2].bytes, ToBytes("ack"));
    EXPECT_EQ(m_panel.blocks().size(), 1U) << "the panel was asked once";
}

TEST(ScriptText, ErrorsNameTheLine) {
    for (const char* const text :
         {"\nXX 1 usual", "\nTM 0 usual", "\nTM 3-2 usual", "\nTM x usual", "\nTM 1", "\nTM",
          "\nTM 1 \"open", "\nTM 1 \"open\\\"", "\nTM 1 \"\\xG0\"", "\nTM 1 \"\\x\"",
          "\nTM 1 usual after", "\nTM 1 usual after 3", "\nTM 1 usual later"}) {
        try {
            ParseScript(text);
            ADD_FAILURE() << text;
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(std::string(error.what()).substr(0, 8), "line 2: ") << text;
        }
    }
}

TEST(DescribeTest, OneLineADatagram) {
    LogEntry entry{milliseconds(1500),       {}, 0, {0x7F000001, kHostPort},
                   {0x7F000002, kPanelPort}, {}, {}};
    entry.faults.Add(Fault::Lose);
    const std::pair<std::string, const char*> cases[] = {
        {std::string("Cmd=UP000005A3a\\b\xFF\0", 19), "UP 000005A3 \"a\\b\\xFF\"  19 bytes"},
        {std::string("ACK+\0binary", 11), "\"ACK+\"  11 bytes"},
        {"Cmd=\n", "malformed \"Cmd=\\x0A\"  5 bytes"},
        {std::string("Cmd=ML3-t\0x", 11), "ML 3- \"t\"  11 bytes"},
    };
    for (const auto& [bytes, text] : cases) {
        entry.bytes = ToBytes(bytes);
        entry.event = bytes[0] == 'C' ? Event::Request : Event::LostReply;
        EXPECT_EQ(DescribeEntry(entry), std::string("    1.500000  127.0.0.1:10252 -") +
                                            (bytes[0] == 'C' ? '>' : 'x') + " 127.0.0.2:10251  " +
                                            text + "  [lose]");
    }
}

}  // namespace
}  // namespace tavrin
