// Files and memory blocks that a host sends.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <utility>

#include "tests/panel/fixture.h"
#include "tools/panel/file_record.h"

namespace tavrin {
namespace {

// A datagram of a file as a host sends it.
struct FilePacket {
    std::string text;
    uint32_t size = 0;
    std::string name = "short.bin";
    size_t pathLength = 40;  // of the absolute path on the host

    std::string With(char digit, const std::string& data) const {
        Bytes record(kRecordSize);
        WriteRecord(record, {.size = size,
                             .time = 116444736000000000 + 1'000'000'000ULL * 10'000'000,  // 2001
                             .attributes = kAttributeArchive,
                             .nameLength = static_cast<uint8_t>(pathLength)});
        std::string area = name;
        area.resize(pathLength + 1);
        return std::string("DL") + digit + text + '\0' + std::string(record.begin(), record.end()) +
               area + data;
    }
};

using UploadTest = PanelTest;

TEST_F(UploadTest, FileAppearsWhenAllHasCome) {
    const FilePacket file{"to.bin", 30};
    std::string content;
    char digit = '0';
    for (char c = 'a'; c < 'a' + 15; ++c, digit = NextDigit(digit)) {
        EXPECT_FALSE(std::filesystem::exists(m_folder / "to.bin"));
        const std::string data(2, c);
        EXPECT_EQ(Send(file.With(digit, data)), std::string("ACK") + digit);
        EXPECT_EQ(Send(file.With(digit, data)), std::string("ACK") + digit) << "a repetition";
        content += data;
    }
    EXPECT_EQ(m_folder.Read("to.bin"), content);
    struct stat status {};
    ASSERT_EQ(stat((m_folder / "to.bin").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'000'000'000);
    EXPECT_EQ(Send(file.With(digit, "zz")), "NAK") << "nothing follows a whole file";
    EXPECT_EQ(m_folder.Names().size(), 1U) << "no scratch file is left";
}

TEST_F(UploadTest, TextNamesFileOrFolder) {
    std::filesystem::create_directories(m_folder / "dir/short.bin");
    std::filesystem::create_directory(m_folder / "empty");
    const auto send = [&](const std::string& text) {
        return Send(FilePacket{text, 1}.With('0', "x"));
    };
    EXPECT_EQ(send("empty\\"), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "empty/short.bin"));
    EXPECT_EQ(send("empty/other"), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "empty/other"));
    EXPECT_EQ(send(""), "ACK0");
    EXPECT_TRUE(std::filesystem::exists(m_folder / "short.bin"));
    EXPECT_EQ(send("empty"), "ACK0");
    for (const char* const text : {"dir", "nowhere\\x", "..\\x"}) {  // "dir" has such a folder
        EXPECT_EQ(send(text), "NAK") << text;
    }
}

TEST_F(UploadTest, NameAreaCountsTheHostPath) {
    FilePacket file{"f", 1, "short.bin", 255};
    EXPECT_EQ(Send(file.With('0', "1")), "ACK0");
    file.pathLength = 258;  // the length byte reads 2
    EXPECT_EQ(Send(file.With('0', "2")), "ACK0");
    file.pathLength = file.name.size() - 1;
    ExpectNak({file.With('0', "no room for the name's end")});
    file.pathLength = 40;
    ExpectNak({file.With('0', "")});
    for (const char* const name : {"", ".", "..", "a/b", "a\\b"}) {
        file.name = name;
        ExpectNak({file.With('0', "3")});
    }
    EXPECT_EQ(m_folder.Read("f"), "2");
}

TEST_F(UploadTest, BrokenSequencesAreRefused) {
    FilePacket file{"f", 6};
    ExpectNak({file.With('1', "no beginning")});
    EXPECT_EQ(Send(file.With('0', "ab")), "ACK0");
    ExpectNak({file.With('2', "a digit is skipped"), file.With('1', "more than the size"),
               FilePacket{"f", 7}.With('1', "cd"), FilePacket{"g", 6}.With('1', "cd")});
    EXPECT_EQ(Send(file.With('1', "cd")), "ACK1");
    ExpectNak({file.With('1', "xx")});
    EXPECT_EQ(Send(file.With('2', "ef")), "ACK2");
    EXPECT_EQ(m_folder.Read("f"), "abcdef");

    ExpectNak({FilePacket{"f", 0x80000000}.With('0', "ab")});
    file.size = 4;
    EXPECT_EQ(Send(file.With('0', "AB")), "ACK0");
    EXPECT_EQ(Send(file.With('0', "ab")), "ACK0") << "0 begins anew";
    EXPECT_EQ(Send(file.With('1', "cd")), "ACK1");
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
    EXPECT_EQ(Send(BlockPacket("0-", "a", "3")), "ACK") << "after another command: a new block";
    ASSERT_EQ(m_panel.blocks().size(), 3U);
    EXPECT_EQ(m_panel.blocks()[1].bytes, ToBytes("3"));
}

}  // namespace
}  // namespace tavrin
