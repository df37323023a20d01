// Files and blocks: layouts, digits, pacing, what a reply may do to them.
#include <sys/stat.h>

#include <cstring>
#include <fstream>

#include "commands/packet_offset.h"
#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

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

TEST(PacketOffsetTest, HasEightDigitsAndNoMore) {
    PacketOffset offset;
    const auto digits = [&offset] {
        const auto bytes = offset.Digits();
        return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_TRUE(offset.Advance(0xFEDCBA98));
    EXPECT_EQ(digits(), "FEDCBA98");
    EXPECT_FALSE(offset.Advance(0x01234568));
    EXPECT_TRUE(offset.Advance(0x01234567));
    EXPECT_EQ(digits(), "FFFFFFFF");
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
    EXPECT_EQ(ElapsedMs(), 2U) << "nothing to wait for after the last packet";
    for (const uint64_t none : {uint64_t{0}, uint64_t{1} << 63}) {
        const time_t before = time(nullptr) - 1;
        AnswerInTurn({Packet('0', "", none)});
        EXPECT_EQ(Fetch(), 1) << "an empty file";
        EXPECT_GE(folder.LastWrite("file.bin"), before);
        EXPECT_EQ(folder.Read("file.bin"), "");
    }
}

TEST_F(FetchTest, PacketWithoutAMarkerIsNotTheLast) {
    AnswerInTurn({Packet('\0', "ab"), Packet('0', "c")});
    EXPECT_EQ(Fetch(), 1);
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(folder.Read("file.bin"), "abc");
}

TEST_F(FetchTest, CancelThatComesWithAPacketIsReported) {
    for (const char marker : {'+', '0'}) {
        answer = [this, marker](const std::string&) {
            wire.At(1000, [this] { link->m_bCancel = 1; });
            return Packet(marker, "new");
        };
        EXPECT_EQ(Fetch(), 0);
        EXPECT_EQ(sent.size(), 1U);
        EXPECT_EQ(folder.Names().size(), marker == '0' ? 1U : 0U) << "the last one ends the file";
    }
}

TEST_F(FetchTest, ReplyAfterTheLastOneOfEqualPacketsMakesItBeginAgain) {
    const std::string zeros = Packet('+', std::string(1363, '\0'));
    const std::vector<std::string> replies{zeros, zeros, Packet('0', "end")};
    answer = [&](const std::string&) -> std::optional<std::string> {
        if (sent.size() == 3) {
            Reply(Packet('0', "of another offset"), 2);
        }
        return sent.size() <= 3 ? std::optional(replies[sent.size() - 1]) : std::nullopt;
    };
    EXPECT_EQ(Fetch(), 0);
    EXPECT_EQ(sent.size(), 6U);
    EXPECT_EQ(sent[3], sent[0]) << "the packets may not have been those of their offsets";
    EXPECT_TRUE(folder.Names().empty());
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
    EXPECT_EQ(Fetch(u"taken"), 0) << "a folder is in the way";
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"file.bin", "taken"}));
}

class SendTest : public LinkFixture {
 protected:
    // The careful panel of a transfer: echoes the digit.
    void SetUp() override {
        LinkFixture::SetUp();
        answer = [](const std::string& request) { return std::string("ACK") + request[6]; };
    }
    int Send(std::u16string_view name = u"f") {
        sent.clear();
        return link->CmdDL(folder.Text(name).c_str(), u"r", 0);
    }
    int SendBlock(const std::string& block, const char16_t* text = u"") {
        sent.clear();
        return link->CmdML(reinterpret_cast<const uint8_t*>(block.data()),
                           static_cast<int>(block.size()), text, 0);
    }
    ScratchFolder folder;
};

TEST_F(SendTest, DatagramDescribesItself) {
    folder.Write("name.bin", "data");
    const size_t path = folder.Path().size() + std::strlen("/name.bin");
    EXPECT_EQ(SendBlock(std::string(1391, 'x')), 0)
        << "leaves bytes in the buffer that must not show";
    EXPECT_EQ(Send(u"name.bin"), 1);
    ASSERT_EQ(sent.size(), 1U);
    const std::string& datagram = sent[0];
    EXPECT_EQ(datagram.substr(0, 9), WithNul("Cmd=DL0r"));
    EXPECT_EQ(static_cast<uint8_t>(datagram[9]), 4U);
    EXPECT_EQ(static_cast<uint8_t>(datagram[9 + 24]), path);
    std::string area = "name.bin";
    area.resize(path + 1);
    EXPECT_EQ(datagram.substr(9 + 25), area + "data");
}

TEST_F(SendTest, WrongEchoIsAFailedAttempt) {
    folder.Write("f", std::string(3000, 'x'));
    int turn = 0;
    answer = [&turn](const std::string& request) -> std::optional<std::string> {
        const char* replies[] = {"ACK1", "ack0", "", "ACK0", "NAK", "ACK"};
        return turn < 6 ? replies[turn++] : std::string("ACK") + request[6];
    };
    link->m_nRetries = 4;
    EXPECT_EQ(Send(), 1);
    std::string digits;
    for (const std::string& request : sent) {
        digits += request[6];
    }
    EXPECT_EQ(digits, "00001112");
    EXPECT_EQ(link->m_nPaceMs, 3);
    AnswerAlways("NAK");
    EXPECT_EQ(Send(), 0);
    EXPECT_EQ(sent.size(), 4U);
}

TEST_F(SendTest, FilesThatCannotBeSentSendNothing) {
    folder.Write("empty", "");
    mkfifo((folder.Path() + "/fifo").c_str(), 0666);
    folder.Write("huge", "x");
    EXPECT_EQ(truncate((folder.Path() + "/huge").c_str(), off_t{1} << 31), 0);
    answer = nullptr;
    for (const char16_t* name : {u"empty", u"missing", u"fifo", u"", u"huge"}) {
        EXPECT_EQ(Send(name), 0);
    }
    EXPECT_EQ(link->CmdDL(nullptr, nullptr, 0), 0);
    EXPECT_EQ(link->CmdDL(u"/dev/zero", u"r", 0), 0);
    EXPECT_TRUE(sent.empty());
}

// It is counted in bytes, its area in characters of the path and one more.
TEST_F(SendTest, NameMustFitItsArea) {
    const size_t fits = folder.Path().size() + 1;
    for (const size_t letters : {fits, fits + 1}) {
        std::string bytes;
        for (size_t i = 0; i < letters; ++i) {
            bytes += "\xC3\xA4";
        }
        folder.Write(bytes, "data");
        EXPECT_EQ(Send(std::u16string(letters, u'\xE4')), letters == fits ? 1 : 0);
        EXPECT_EQ(sent.size(), letters == fits ? 1U : 0U);
    }
}

TEST_F(SendTest, FileThatChangesMeanwhileIsNotReportedAsSent) {
    const std::string path = folder.Path() + "/f";
    const auto replace = [&] { std::rename((folder.Path() + "/other").c_str(), path.c_str()); };
    const std::pair<size_t, std::function<void()>> changes[] = {
        {5000, [&] { std::ofstream(path, std::ios::app) << "more"; }},
        {5000, [&] { EXPECT_EQ(truncate(path.c_str(), 100), 0); }},
        {5000, replace},
        {kTransferBlock + 1, replace},
    };
    for (const auto& change : changes) {
        folder.Write("f", std::string(change.first, 'x'));
        folder.Write("other", std::string(change.first, 'y'));
        answer = [&](const std::string& request) {
            if (sent.size() == 2) {
                change.second();
            }
            EXPECT_NE(request.back(), 'y') << "of the other file";
            return std::string("ACK") + request[6];
        };
        EXPECT_EQ(Send(), 0) << &change - changes;
    }
}

TEST_F(SendTest, CancelWithTheLastAcknowledgementIsNotReportedAsSent) {
    folder.Write("f", "x");
    answer = [this](const std::string& request) {
        wire.At(0, [this] { link->m_bCancel = 1; });
        return std::string("ACK") + request[6];
    };
    EXPECT_EQ(Send(), 0);
}

TEST_F(SendTest, MemoryBlockMarksItsLastDatagram) {
    AnswerAlways("ack");
    const size_t room = 1400 - 9 - 4;
    const std::pair<size_t, const char*> cases[] = {
        {0, ""},
        {1, "0-"},
        {room, "0-"},
        {2 * room, "0+1-"},
        {10 * room + 1, "0+1+2+3+4+5+6+7+8+9+1-"},
    };
    for (const auto& [length, expected] : cases) {
        std::string block(length, '\0');
        for (size_t i = 0; i < block.size(); ++i) {
            block[i] = static_cast<char>(i * 7 + i / 251);
        }
        EXPECT_EQ(SendBlock(block, u"text"), 1);
        std::string marks;
        std::string data;
        for (const std::string& request : sent) {
            EXPECT_EQ(request.substr(8, 5), WithNul("text"));
            marks += request.substr(6, 2);
            data += request.substr(13);
        }
        EXPECT_EQ(marks, expected);
        EXPECT_EQ(data, block);
    }
    EXPECT_EQ(link->CmdML(nullptr, -1, u"", 0), 1);
    EXPECT_EQ(link->CmdML(nullptr, 1, u"", 0), 0);
}

TEST_F(SendTest, MemoryBlockWaitsForThePace) {
    AnswerInTurn({"", "ACK1", "", "ACK"});
    link->m_nRetries = 4;
    link->m_nTimeoutMs = 10;
    EXPECT_EQ(SendBlock("b"), 1);
    EXPECT_EQ(link->m_nPaceMs, 4);
    EXPECT_NEAR(static_cast<double>(ElapsedMs()), 0 + 11 + 2 + 1 + 4 + 11 + 4 + 1, 2.0);
    link->m_nPaceMs = 1;
    AnswerInTurn({});
    EXPECT_EQ(SendBlock("b"), 0);
    EXPECT_EQ(link->m_nPaceMs, 5);
}

}  // namespace
}  // namespace brenholt
