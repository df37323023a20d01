// What a panel answers to single requests, listings and fetches.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/panel/fixture.h"
#include "tools/panel/file_fetch.h"
#include "tools/panel/file_record.h"

namespace tavrin {
namespace {

TEST_F(PanelTest, AnswersPlainCommands) {
    m_folder.Write("file", "x");
    const std::pair<const char*, const char*> asked[] = {
        {"TM", "ACK"},     {"EXanything", "ACK"},
        {"CL", "ACK"},     {"IP", "IP:X86:0210:Line1"},
        {"MDa", "ACK"},    {"VS", "ACK0001002AFFFF"},
        {"MDa\\b", "ACK"}, {"MDa/b", "ACK"},  // a folder that is there will do
        {"MDfile", "NAK"}, {"MDno\\such", "NAK"},
        {"FDa\\b", "ACK"}, {"FFa\\b", "NAK"},
        {"FFfile", "ACK"}, {"FDfile", "NAK"},
        {"RMa", "NAK"},    {"RMfile", "ACK"},
        {"RMfile", "NAK"},
    };
    for (const auto& [request, reply] : asked) {
        EXPECT_EQ(Ask(request), reply) << request;
    }
}

TEST_F(PanelTest, RefusesMalformedRequests) {
    using namespace std::string_literals;
    ExpectNak({"TM"s, "TM\0x"s, "XX\0"s, "tm\0"s, "T\0"s, ""s, "DR\0"s, "DRx\0"s, "UP0000000\0"s,
               "UP0000000a\0"s, "DL0a\0"s, "ML0-a\0"s, "ML0*a\0x"s, std::string(1500, 'x')});
    for (const char* const noRequest : {"Hello", ""}) {
        m_panel.Receive(kHost, ToBytes(noRequest), m_replies);
        EXPECT_TRUE(m_replies.empty());
    }
}

// The names on a page, checked to fill it exactly.
std::vector<std::string> Names(const std::string& page) {
    std::vector<std::string> names;
    size_t at = 6;
    for (auto left = static_cast<unsigned char>(page.at(5)); left > 0; --left) {
        const auto length = static_cast<unsigned char>(page.at(at + kRecordNameLength));
        names.push_back(page.substr(at + kRecordSize, length));
        at += kRecordSize + length;
    }
    EXPECT_EQ(at, page.size());
    return names;
}

TEST_F(PanelTest, ListsInPages) {
    constexpr size_t kFiles = 600;   // fourteen pages
    constexpr size_t kOnAPage = 46;  // records of 30 bytes
    std::filesystem::create_directory(m_folder / "d");
    std::vector<std::string> expected;
    for (size_t i = 1000; i < 1000 + kFiles; ++i) {
        expected.push_back("f" + std::to_string(i));
        m_folder.Write("d/" + expected.back(), "");
    }
    std::vector<std::string> names;
    for (const char digit : std::string("01234567891234")) {
        const std::string page = Ask(std::string("DR") + digit + "d");
        ASSERT_EQ(page.substr(0, 4), names.size() + kOnAPage < kFiles ? "ACK+" : "ACK0");
        ASSERT_LE(page.size(), kMaxDatagram);
        EXPECT_EQ(Ask(std::string("DR") + digit + "d"), page) << "a repetition";
        std::ranges::move(Names(page), std::back_inserter(names));
    }
    EXPECT_EQ(names, expected);
    EXPECT_EQ(Ask("DR5d"), "NAK") << "after the last page";
    EXPECT_EQ(Names(Ask("DR0d")).front(), "f1000");
    EXPECT_EQ(Ask("DR2d"), "NAK") << "a digit is skipped";
    EXPECT_EQ(Ask("DR1other"), "NAK") << "another folder in the middle";
    EXPECT_EQ(Ask("DR0nowhere"), "NAK");
    EXPECT_EQ(Ask("DR1d"), "NAK") << "a refusal ends the listing";
}

TEST_F(PanelTest, ListingShowsTheFoldersState) {
    EXPECT_EQ(Ask("DR0"), std::string("ACK0\0\0", 6));
    const std::string longest(255, 'n');
    m_folder.Write(longest, "12345");
    std::filesystem::create_directory(m_folder / "folder");
    std::filesystem::create_symlink("/etc/passwd", m_folder / "link");
    const std::string page = Ask("DR0\\");
    EXPECT_EQ(Names(page), (std::vector<std::string>{"folder", longest}));
    const Bytes bytes = ToBytes(page);
    EXPECT_EQ(ReadRecord(ByteView(bytes).subspan(6)).attributes, kAttributeFolder);
    EXPECT_EQ(ReadRecord(ByteView(bytes).subspan(6 + kRecordSize + 6)).size, 5U);
}

TEST_F(PanelTest, HostsListIndependently) {
    for (int i = 0; i < 60; ++i) {
        m_folder.Write("f" + std::to_string(100 + i), "");
    }
    const Endpoint other{0x7F000009, kHostPort};
    const std::string start("DR0\0", 4);
    const std::string next("DR1\0", 4);
    Send(start);
    EXPECT_EQ(Send(next, other), "NAK");
    EXPECT_EQ(Names(Send(next)).size(), 12U);
    // Forgetting the longest silent host keeps the number of hosts bounded.
    for (uint32_t i = 0; i < Panel::kMaxHosts; ++i) {
        Send(start, {0x7F000100 + i, kHostPort});
    }
    EXPECT_EQ(Send(next), "NAK");
}

TEST_F(PanelTest, FetchesFilesByOffset) {
    std::string content(2 * kFetchData, 'a');
    content[kFetchData] = 'b';
    m_folder.Write("f", content);
    const std::string head = Ask("UP00000000f");
    EXPECT_EQ(head.size(), kMaxDatagram);
    EXPECT_EQ(head.substr(0, 5), std::string("ACK+\0", 5));
    const Bytes bytes = ToBytes(head);
    EXPECT_EQ(ReadWord(bytes, 5), content.size());
    EXPECT_EQ(ReadWord(bytes, 17), kAttributeArchive);
    const std::string tail = Ask("UP00000553f");
    EXPECT_EQ(tail.substr(0, 4), "ACK0")
        << "the packet that ends the file is the last, though full";
    EXPECT_EQ(head.substr(kFetchHead) + tail.substr(kFetchHead), content);
    EXPECT_EQ(Ask("UP00000AA6f").size(), kFetchHead) << "the end itself";
    EXPECT_EQ(Ask("UP00000AA7f"), "NAK") << "after the end";
    EXPECT_EQ(Ask("UP00000000"), "NAK") << "the root is no file";
    EXPECT_EQ(Ask("UP00000000g"), "NAK");
}

TEST_F(PanelTest, FetchSeesOneFile) {
    constexpr size_t kSize = 200'000;  // more than is read at once
    m_folder.Write("f", std::string(kSize, 'a'));
    m_folder.Write("new", std::string(kSize, 'b'));
    Ask("UP00000000f");
    std::filesystem::rename(m_folder / "new", m_folder / "f");
    EXPECT_EQ(Ask("UP00000553f").substr(kFetchHead, 1), "a") << "replaced: the old file goes on";
    EXPECT_EQ(Ask("UP00000000f").substr(kFetchHead, 1), "b") << "a new transfer: the new file";
    m_folder.Write("f", std::string(kSize + 1, 'c'));
    EXPECT_EQ(Ask("UP00020000f"), "NAK") << "written to in the middle";
    EXPECT_EQ(Ask("UP00020000f"), "NAK") << "and asked again";
    EXPECT_EQ(Ask("UP00000000f").substr(kFetchHead, 1), "c");
}

}  // namespace
}  // namespace tavrin
