// Files and memory blocks that a host sends.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <utility>

#include "tests/panel/fixture.h"
#include "tools/panel/file_record.h"

namespace tavrin {
namespace {

// Makes the datagrams of one file as a host does.
struct FileSender {
    std::string text;
    std::string name = "short.bin";
    size_t pathLength = 40;  // of the absolute path on the host
    uint32_t size = 0;
    uint64_t time = 116444736000000000 + 1'000'000'000ULL * 10'000'000;  // 2001-09-09

    std::string Packet(char digit, const std::string& data) const {
        FileRecord record;
        record.size = size;
        record.time = time;
        record.attributes = kAttributeArchive;
        record.nameLength = static_cast<uint8_t>(pathLength);
        Bytes fixed(kRecordSize);
        WriteRecord(fixed, record);
        std::string area = name;
        area.resize(pathLength + 1);
        return std::string("DL") + digit + text + '\0' + std::string(fixed.begin(), fixed.end()) +
               area + data;
    }
};

class UploadTest : public PanelTest {};

TEST_F(UploadTest, FileAppearsWhenAllHasCome) {
    FileSender sender{.text = "to.bin", .size = 30};
    std::string content;
    char digit = '0';
    for (char c = 'a'; c < 'a' + 15; ++c, digit = NextDigit(digit)) {
        EXPECT_FALSE(std::filesystem::exists(m_folder / "to.bin"));
        const std::string data(2, c);
        EXPECT_EQ(Send(sender.Packet(digit, data)), std::string("ACK") + digit);
        EXPECT_EQ(Send(sender.Packet(digit, data)), std::string("ACK") + digit) << "a repetition";
        content += data;
    }
    EXPECT_EQ(m_folder.Read("to.bin"), content);
    struct stat status {};
    ASSERT_EQ(stat((m_folder / "to.bin").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(Send(sender.Packet(digit, "zz")), "NAK") << "nothing follows a whole file";
    EXPECT_EQ(m_folder.Names().size(), 1U) << "no scratch file is left";
}

TEST_F(UploadTest, PartOfALargeFileIsNeverSeen) {
    const std::string data(1300, 'x');
    FileSender sender{.text = "large", .size = 200 * 1300};
    const auto send = [&](int count) {
        char digit = '0';
        for (int i = 0; i < count; ++i, digit = NextDigit(digit)) {
            ASSERT_EQ(Send(sender.Packet(digit, data)), std::string("ACK") + digit);
        }
    };
    send(199);
    EXPECT_TRUE(Storage(m_folder.Path()).List("")->empty());
    send(200);
    EXPECT_EQ(m_folder.Names().size(), 1U) << "nothing is left of the one given up";
    EXPECT_EQ(m_folder.Read("large").size(), sender.size);
}

TEST_F(UploadTest, TextNamesFileOrFolder) {
    std::filesystem::create_directories(m_folder / "dir/short.bin");
    std::filesystem::create_directory(m_folder / "empty");
    const auto send = [&](const std::string& text) {
        return Send(FileSender{.text = text, .size = 1}.Packet('0', "x"));
    };
    EXPECT_EQ(send("empty\\"), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "empty/short.bin"));
    EXPECT_EQ(send("empty/other"), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "empty/other"));
    EXPECT_EQ(send(""), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "short.bin"));
    EXPECT_EQ(send("empty"), "ACK0");
    EXPECT_EQ(send("dir"), "NAK") << "a folder has the file's name";
    EXPECT_EQ(send("nowhere\\x"), "NAK");
    EXPECT_EQ(send("..\\x"), "NAK");
}

TEST_F(UploadTest, NameAreaCountsTheHostPath) {
    FileSender sender{.text = "f", .pathLength = 255, .size = 1};
    EXPECT_EQ(Send(sender.Packet('0', "1")), "ACK0");
    sender.pathLength = 258;  // the length byte reads 2
    EXPECT_EQ(Send(sender.Packet('0', "2")), "ACK0");
    EXPECT_EQ(m_folder.Read("f"), "2");
    sender.pathLength = sender.name.size() - 1;  // no room for the name's end
    EXPECT_EQ(Send(sender.Packet('0', "3")), "NAK");
    sender.pathLength = 40;
    EXPECT_EQ(Send(sender.Packet('0', "")), "NAK") << "no data";
    for (const char* const name : {"", ".", "..", "a/b", "a\\b"}) {
        sender.name = name;
        EXPECT_EQ(Send(sender.Packet('0', "4")), "NAK") << name;
    }
    EXPECT_EQ(m_folder.Read("f"), "2");
}

TEST_F(UploadTest, BrokenSequencesAreRefused) {
    FileSender sender{.text = "f", .size = 6};
    EXPECT_EQ(Send(sender.Packet('1', "ab")), "NAK") << "no beginning";
    EXPECT_EQ(Send(sender.Packet('0', "ab")), "ACK0");
    EXPECT_EQ(Send(sender.Packet('2', "cd")), "NAK") << "a digit is skipped";
    EXPECT_EQ(Send(sender.Packet('1', "cdefg")), "NAK") << "more than the size";
    FileSender other = sender;
    other.size = 7;
    EXPECT_EQ(Send(other.Packet('1', "cd")), "NAK") << "another record";
    other = sender;
    other.text = "g";
    EXPECT_EQ(Send(other.Packet('1', "cd")), "NAK") << "another text";
    EXPECT_EQ(Send(sender.Packet('1', "cd")), "ACK1");
    EXPECT_EQ(Send(sender.Packet('1', "xx")), "NAK") << "the same digit, other data";
    EXPECT_EQ(Send(sender.Packet('2', "ef")), "ACK2");
    EXPECT_EQ(m_folder.Read("f"), "abcdef");

    sender.size = 0x80000000;
    EXPECT_EQ(Send(sender.Packet('0', "ab")), "NAK");
    sender.size = 4;
    EXPECT_EQ(Send(sender.Packet('0', "AB")), "ACK0");
    EXPECT_EQ(Send(sender.Packet('0', "ab")), "ACK0") << "0 begins anew";
    EXPECT_EQ(Send(sender.Packet('1', "cd")), "ACK1");
    EXPECT_EQ(m_folder.Read("f"), "abcd");
}

std::string BlockPacket(const std::string& mark, const std::string& text, const std::string& data) {
    return "ML" + mark + text + '\0' + data;
}

TEST_F(UploadTest, GathersMemoryBlocks) {
    std::string content;
    char digit = '0';
    for (int i = 0; i < 11; ++i, digit = NextDigit(digit)) {
        const std::string mark = {digit, i == 10 ? '-' : '+'};
        const std::string data(3, static_cast<char>('a' + i));
        EXPECT_EQ(Send(BlockPacket(mark, "text", data)), "ACK");
        EXPECT_EQ(Send(BlockPacket(mark, "text", data)), "ACK") << "a repetition";
        content += data;
    }
    ASSERT_EQ(m_panel.blocks().size(), 1U);
    EXPECT_EQ(m_panel.blocks()[0].text, "text");
    EXPECT_EQ(m_panel.blocks()[0].bytes, ToBytes(content));
    EXPECT_EQ(Send(BlockPacket("2+", "text", "x")), "NAK") << "the block has ended";

    EXPECT_EQ(Send(BlockPacket("0+", "a", "1")), "ACK");
    EXPECT_EQ(Send(BlockPacket("1-", "b", "2")), "NAK") << "another text";
    EXPECT_EQ(Send(BlockPacket("2-", "a", "2")), "NAK") << "a digit is skipped";
    EXPECT_EQ(Send(BlockPacket("0-", "a", "3")), "ACK") << "0 begins anew";
    EXPECT_EQ(Ask("TM"), "ACK");
    EXPECT_EQ(Send(BlockPacket("0-", "a", "3")), "ACK") << "behind another command: a new block";
    ASSERT_EQ(m_panel.blocks().size(), 3U);
    EXPECT_EQ(m_panel.blocks()[1].bytes, ToBytes("3"));
}

}  // namespace
}  // namespace tavrin
