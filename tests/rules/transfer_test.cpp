// Listings and transfers seen alone: layouts, digits, pacing, what a reply may do to them.
#include <sys/stat.h>

#include <cstring>
#include <fstream>

#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

class ListingTest : public LinkFixture {
 protected:
    int List(int maxEntries = 8) {
        sent.clear();
        return link->CmdDR(u"dir", maxEntries, entries.data(), 0);
    }
    std::string Tokens() {
        std::string digits;
        for (const std::string& request : sent) {
            EXPECT_EQ(request.substr(0, 6) + request.substr(7), "Cmd=DR" + WithNul("dir"));
            digits += request[6];
        }
        return digits;
    }
    std::vector<PanelDirEntry> entries{std::vector<PanelDirEntry>(8)};
};

TEST_F(ListingTest, PagesFillEntries) {
    const std::string longName(255, 'n');
    AnswerInTurn(
        {Page('+', {Record("a"), Record(std::string("b\0c", 3))}), Page('0', {Record(longName)})});
    std::memset(entries.data(), 'x', entries.size() * sizeof entries[0]);
    EXPECT_EQ(List(), 3);
    EXPECT_EQ(Tokens(), "01");
    EXPECT_EQ(entries[0].dwSize, 5U);
    EXPECT_EQ(entries[0].ftLastWrite.dwLow, 0x11223344U);
    EXPECT_EQ(entries[0].ftLastWrite.dwHigh, 0x01DA0000U);
    EXPECT_EQ(entries[0].dwAttributes, 0x20U);
    EXPECT_STREQ(entries[0].szName, "a");
    EXPECT_EQ(std::memcmp(entries[1].szName, "b\0\0\0x", 5), 0)
        << "zeros to the name's length, no more";
    EXPECT_EQ(entries[2].szName, longName);
    EXPECT_EQ(entries[3].szName[0], 'x') << "only reported entries are written";
    EXPECT_EQ(link->m_nResult, 3);
}

TEST_F(ListingTest, TokensRunThroughNineToOne) {
    std::vector<std::string> pages(10, Page('+', {}));
    pages.push_back(Page('-', {Record("z")}));
    AnswerInTurn(pages);
    EXPECT_EQ(List(), 1);
    EXPECT_EQ(Tokens(), "01234567891");
}

TEST_F(ListingTest, LostPageIsAskedForAgain) {
    AnswerInTurn({Page('+', {Record("a")}), "", "", Page('0', {Record("b")})});
    EXPECT_EQ(List(), 2);
    EXPECT_EQ(Tokens(), "0111");
    EXPECT_EQ(link->m_nPaceMs, 2);
    AnswerInTurn({});
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(link->m_nPaceMs, 3) << "silence stops raising at 3";
}

TEST_F(ListingTest, FullArrayDropsTheRest) {
    AnswerInTurn({Page('+', {Record("a"), Record("b"), Record("c")}), Page('0', {Record("d")})});
    EXPECT_EQ(List(2), 2);
    EXPECT_EQ(Tokens(), "01");
    AnswerAlways(Page('+', {Record("a"), Record("b")}));
    EXPECT_EQ(List(2), 2) << "a panel that promises pages for ever";
    EXPECT_LT(sent.size(), 100U);
}

TEST_F(ListingTest, BrokenOrRefusedListingCountsForNothing) {
    const std::string whole = Page('0', {Record("name")});
    std::string lies = whole;
    lies[5] = 2;
    for (const std::string& second :
         {std::string("nak"), lies, whole.substr(0, whole.size() - 1), std::string("AC"),
          std::string("A\0K0 ", 5), std::string("ACK0")}) {
        AnswerInTurn({Page('+', {Record("first")}), second});
        EXPECT_EQ(List(), 0) << testing::PrintToString(second);
        EXPECT_EQ(sent.size(), 2U);
    }
    AnswerAlways(Page('+', {}));
    EXPECT_EQ(List(), 0) << "pages for ever that bring nothing";
    EXPECT_LT(sent.size(), 100U);
    AnswerAlways("NAKED\1" + Record(""));
    EXPECT_EQ(List(), 1) << "begins with the word but is a page";
}

TEST_F(ListingTest, MarkerIsACharacterOfTheText) {
    // Two characters of two bytes each: the third byte-wise position is no character of its own.
    AnswerInTurn({std::string("\xC3\xA4\xC3\xB6K+", 6) + Record(""), Page('0', {})});
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(ListingTest, PostedOrWithoutRoomGivesNothing) {
    EXPECT_EQ(link->CmdDR(u"dir", 8, entries.data(), 1), 0) << "posted";
    EXPECT_EQ(link->m_bBusy, 1);
    EXPECT_EQ(link->CmdDR(u"dir", 8, nullptr, 0), 0);
}

class FetchTest : public LinkFixture {
 protected:
    int Fetch(const char16_t* remote = u"dir/file.bin") {
        sent.clear();
        return link->CmdUP(remote, folder.Text().c_str(), 0);
    }
    ScratchFolder folder;
};

TEST_F(FetchTest, RequestsNameTheOffset) {
    AnswerInTurn({Packet('+', "abc"), "", "short", Packet('+', ""), Packet('0', "de")});
    EXPECT_EQ(Fetch(), 1);
    std::vector<std::string> offsets;
    for (const std::string& request : sent) {
        EXPECT_EQ(request.substr(0, 6) + request.substr(14), "Cmd=UP" + WithNul("dir/file.bin"));
        offsets.push_back(request.substr(6, 8));
    }
    EXPECT_EQ(offsets, (std::vector<std::string>{"00000000", "00000003", "00000003", "00000003",
                                                 "00000003"}));
    EXPECT_EQ(folder.Read("file.bin"), "abcde");
    EXPECT_EQ(folder.Names(), std::vector<std::string>{"file.bin"});
    EXPECT_EQ(link->m_nPaceMs, 3);
}

TEST_F(FetchTest, PaceFollowsItsTwoRules) {
    AnswerInTurn({"short", "short", "short"});
    EXPECT_EQ(Fetch(), 0);
    EXPECT_EQ(link->m_nPaceMs, 4);
    link->m_nPaceMs = 3;
    AnswerInTurn({"short", "", ""});
    EXPECT_EQ(Fetch(), 0);
    EXPECT_EQ(link->m_nPaceMs, 5);
    SetUp();  // nothing is owed to a new link
    AnswerAlways(std::string("AC\0", 3) + std::string(40, 'x'));
    EXPECT_EQ(Fetch(), 0) << "no marker to read";
    EXPECT_EQ(sent.size(), 3U);
    EXPECT_EQ(link->m_nPaceMs, 0);
}

TEST_F(FetchTest, TimeIsThatOfTheLastPacketInWholeSeconds) {
    constexpr uint64_t kSecond = 10'000'000;
    const uint64_t noon = (11'644'473'600ULL + 1'700'000'000) * kSecond;
    AnswerInTurn({Packet('+', "a", noon), Packet('0', "b", noon + kSecond + 9'000'000)});
    EXPECT_EQ(Fetch(), 1);
    EXPECT_EQ(folder.LastWrite("file.bin"), 1'700'000'001);
    for (const uint64_t none : {uint64_t{0}, uint64_t{1} << 63}) {
        const time_t before = time(nullptr) - 1;
        AnswerInTurn({Packet('0', "", none)});
        EXPECT_EQ(Fetch(), 1) << "an empty file";
        EXPECT_GE(folder.LastWrite("file.bin"), before);
        EXPECT_EQ(folder.Read("file.bin"), "");
    }
}

TEST_F(FetchTest, FailureLeavesTheOldFileAndNothingElse) {
    folder.Write("file.bin", "old");
    const auto untouched = [&](const char* why) {
        EXPECT_EQ(folder.Read("file.bin"), "old") << why;
        EXPECT_EQ(folder.Names(), std::vector<std::string>{"file.bin"}) << why;
        EXPECT_EQ(link->m_bBusy, 0) << why;
    };
    AnswerInTurn({Packet('+', "new"), "NAK"});
    EXPECT_EQ(Fetch(), 0);
    untouched("refused");
    AnswerInTurn({Packet('+', "new")});
    EXPECT_EQ(Fetch(), 0);
    untouched("silent");
    AnswerInTurn({Packet('+', "new")});
    wire.At(100'000, [this] { link->Cancel(); });
    EXPECT_EQ(Fetch(), 0);
    untouched("cancelled");
    AnswerAlways(Packet('+', ""));
    EXPECT_EQ(Fetch(), 0);
    untouched("packets for ever that bring nothing");
    AnswerAlways(Packet('0', "new"));
    for (const char16_t* remote : {u"dir/", u"dir\\", u"", u"dir/.."}) {
        EXPECT_EQ(Fetch(remote), 0);
        EXPECT_TRUE(sent.empty());
    }
    EXPECT_EQ(link->CmdUP(u"file.bin", u"no/such/folder", 0), 0);
    EXPECT_EQ(link->CmdUP(nullptr, nullptr, 0), 0);
    EXPECT_TRUE(sent.empty());
    untouched("names that are none");
    mkdir((folder.Path() + "/taken").c_str(), 0777);
    EXPECT_EQ(Fetch(u"taken"), 0) << "a folder stands in the way";
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"file.bin", "taken"}));
}

class SendTest : public LinkFixture {
 protected:
    // The careful panel of a transfer: echoes the digit.
    void SetUp() override {
        LinkFixture::SetUp();
        answer = [](const std::string& request) { return std::string("ACK") + request[6]; };
    }
    std::string Digits() const {
        std::string digits;
        for (const std::string& request : sent) {
            digits += request[6];
        }
        return digits;
    }
    ScratchFolder folder;
};

TEST_F(SendTest, DatagramDescribesItself) {
    folder.Write("name.bin", "data");
    const std::string path = folder.Path() + "/name.bin";
    const std::u16string text(path.begin(), path.end());
    EXPECT_EQ(
        link->CmdML(reinterpret_cast<const uint8_t*>(std::string(1391, 'x').data()), 1391, u"", 0),
        0)
        << "leaves bytes in the buffer that must not show";
    sent.clear();
    EXPECT_EQ(link->CmdDL(text.c_str(), u"remote", 0), 1);
    ASSERT_EQ(sent.size(), 1U);
    const std::string& datagram = sent[0];
    const size_t header = std::strlen("Cmd=DL0remote") + 1;
    const size_t data = header + 26 + path.size();
    EXPECT_EQ(datagram.substr(0, header), WithNul("Cmd=DL0remote"));
    EXPECT_EQ(static_cast<uint8_t>(datagram[header]), 4U);
    EXPECT_EQ(static_cast<uint8_t>(datagram[header + 24]), path.size());
    std::string area = "name.bin";
    area.resize(path.size() + 1);
    EXPECT_EQ(datagram.substr(header + 25, path.size() + 1), area);
    EXPECT_EQ(datagram.substr(data), "data");
}

TEST_F(SendTest, WrongEchoIsAFailedAttempt) {
    folder.Write("f", std::string(3000, 'x'));
    int turn = 0;
    answer = [&turn](const std::string& request) -> std::optional<std::string> {
        const char* replies[] = {"ACK1", "ack0", "", "ACK0", "NAK", "ACK"};
        return turn < 6 ? replies[turn++] : std::string("ACK") + request[6];
    };
    link->m_nRetries = 4;
    EXPECT_EQ(link->CmdDL(folder.Text(u"f").c_str(), u"r", 0), 1);
    EXPECT_EQ(Digits(),
              "0000"
              "111"
              "2");
    EXPECT_EQ(link->m_nPaceMs, 3);
    answer = [](const std::string&) { return "NAK"; };
    sent.clear();
    EXPECT_EQ(link->CmdDL(folder.Text(u"f").c_str(), u"r", 0), 0);
    EXPECT_EQ(sent.size(), 4U);
}

TEST_F(SendTest, FilesThatCannotBeSentSendNothing) {
    folder.Write("empty", "");
    mkfifo((folder.Path() + "/fifo").c_str(), 0666);
    folder.Write("huge", "x");
    EXPECT_EQ(truncate((folder.Path() + "/huge").c_str(), off_t{1} << 31), 0);
    for (const char16_t* name : {u"empty", u"missing", u"fifo", u"", u"huge"}) {
        EXPECT_EQ(link->CmdDL(folder.Text(name).c_str(), u"r", 0), 0);
    }
    EXPECT_EQ(link->CmdDL(nullptr, nullptr, 0), 0);
    EXPECT_EQ(link->CmdDL(u"/dev/zero", u"r", 0), 0);
    EXPECT_TRUE(sent.empty());
}

TEST_F(SendTest, FileThatChangesMeanwhileIsNotReportedAsSent) {
    for (const char* change : {"grow", "shrink", "replace"}) {
        folder.Write("f", std::string(5000, 'x'));
        folder.Write("other", std::string(5000, 'y'));
        sent.clear();
        answer = [&](const std::string& request) {
            if (sent.size() == 2) {
                const std::string path = folder.Path() + "/f";
                if (change[0] == 'g') {
                    std::ofstream(path, std::ios::app) << "more";
                } else if (change[0] == 's') {
                    EXPECT_EQ(truncate(path.c_str(), 100), 0);
                } else {
                    std::rename((folder.Path() + "/other").c_str(), path.c_str());
                }
            }
            return std::string("ACK") + request[6];
        };
        EXPECT_EQ(link->CmdDL(folder.Text(u"f").c_str(), u"r", 0), 0) << change;
    }
}

TEST_F(SendTest, CancelWithTheLastAcknowledgementIsNotReportedAsSent) {
    folder.Write("f", "x");
    answer = [this](const std::string& request) {
        wire.At(0, [this] { link->m_bCancel = 1; });
        return std::string("ACK") + request[6];
    };
    EXPECT_EQ(link->CmdDL(folder.Text(u"f").c_str(), u"r", 0), 0);
}

TEST_F(SendTest, MemoryBlockMarksItsLastDatagram) {
    AnswerAlways("ack");
    const size_t room = 1400 - 9 - 4;
    const struct {
        size_t length;
        std::string marks;
    } cases[] = {{0, ""},
                 {1, "0-"},
                 {room, "0-"},
                 {2 * room, "0+1-"},
                 {10 * room + 1, "0+1+2+3+4+5+6+7+8+9+1-"}};
    for (const auto& c : cases) {
        std::string block(c.length, '\0');
        for (size_t i = 0; i < block.size(); ++i) {
            block[i] = static_cast<char>(i * 7 + i / 251);
        }
        sent.clear();
        EXPECT_EQ(link->CmdML(reinterpret_cast<const uint8_t*>(block.data()),
                              static_cast<int>(c.length), u"text", 0),
                  1);
        std::string marks;
        std::string data;
        for (const std::string& request : sent) {
            EXPECT_EQ(request.substr(8, 5), WithNul("text"));
            marks += request.substr(6, 2);
            data += request.substr(13);
        }
        EXPECT_EQ(marks, c.marks);
        EXPECT_EQ(data, block);
    }
    EXPECT_EQ(link->CmdML(nullptr, -1, u"", 0), 1);
    EXPECT_EQ(link->CmdML(nullptr, 1, u"", 0), 0);
}

TEST_F(SendTest, MemoryBlockWaitsForThePace) {
    AnswerInTurn({"", "ACK1", "", "ACK"});
    link->m_nRetries = 4;
    link->m_nTimeoutMs = 10;
    const uint8_t byte = 1;
    EXPECT_EQ(link->CmdML(&byte, 1, u"", 0), 1);
    EXPECT_EQ(link->m_nPaceMs, 4);
    EXPECT_NEAR(static_cast<double>(ElapsedMs()), 0 + 11 + 2 + 1 + 4 + 11 + 4 + 1, 2.0);
    link->m_nPaceMs = 1;
    AnswerInTurn({});
    sent.clear();
    EXPECT_EQ(link->CmdML(&byte, 1, u"", 0), 0);
    EXPECT_EQ(link->m_nPaceMs, 5);
}

}  // namespace
}  // namespace brenholt
