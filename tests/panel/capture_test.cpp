// What people and tools see of the traffic: capture files, log lines, the log itself.
#include <gtest/gtest.h>

#include <string>

#include "tests/panel/fixture.h"
#include "tools/panel/describe.h"
#include "tools/panel/log.h"
#include "tools/panel/pcap.h"

namespace tavrin {
namespace {

LogEntry Entry(Event event, const std::string& bytes) {
    return {std::chrono::milliseconds(1500), event,          0, {0x7F000001, kHostPort},
            {0x7F000002, kPanelPort},        ToBytes(bytes), {}};
}

TEST(PcapTest, WritesRawPackets) {
    const Folder folder;
    PcapWriter writer(folder / "c",
                      std::chrono::system_clock::time_point(std::chrono::seconds(10)));
    writer.Write(Entry(Event::Request, std::string("Cmd=TM\0", 7)));
    writer.Write(Entry(Event::LostReply, "ACK"));
    const std::string expected(
        "\xD4\xC3\xB2\xA1\x02\0\x04\0\0\0\0\0\0\0\0\0\xFF\xFF\0\0\x65\0\0\0"  // file
        "\x0B\0\0\0\x20\xA1\x07\0\x23\0\0\0\x23\0\0\0"                        // 11.5 s, 35 bytes
        "\x45\0\0\x23\0\0\0\0\x40\x11\x7C\xC7\x7F\0\0\x01\x7F\0\0\x02"        // IP
        "\x28\x0C\x28\x0B\0\x0F\0\0"                                          // UDP
        "Cmd=TM\0",
        24 + 16 + 28 + 7);
    EXPECT_EQ(folder.Read("c"), expected) << "and what was lost was never on the wire";
    EXPECT_THROW(PcapWriter("/dev/full", {}), std::system_error);
}

TEST(DescribeTest, OneLineADatagram) {
    LogEntry entry = Entry(Event::Request, std::string("Cmd=UP000005A3a\\b\xFF\0", 19));
    EXPECT_EQ(
        DescribeEntry(entry),
        "    1.500000  127.0.0.1:10252 -> 127.0.0.2:10251  UP 000005A3 \"a\\b\\xFF\"  19 bytes");
    entry = Entry(Event::LostReply, std::string("ACK+\0binary", 11));
    entry.faults.Add(Fault::Lose);
    EXPECT_NE(DescribeEntry(entry).find(" -x 127.0.0.2:10251  \"ACK+\"  11 bytes  [lose]"),
              std::string::npos);
    EXPECT_NE(DescribeEntry(Entry(Event::Request, "Cmd=\n")).find("malformed \"Cmd=\\x0A\""),
              std::string::npos);
    EXPECT_NE(
        DescribeEntry(Entry(Event::Request, std::string("Cmd=ML3-t\0x", 11))).find("ML 3- \"t\""),
        std::string::npos);
}

TEST(LogTest, KeepsTheLatest) {
    Log log(2);
    for (const char* const text : {"1", "2", "3"}) {
        log.Add(Entry(Event::Request, text));
    }
    const Log::Entries entries = log.Snapshot();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].bytes, ToBytes("2"));
    EXPECT_FALSE(log.WaitForCount(0, Event::Reply, 1, std::chrono::milliseconds(1)));
    Log none(0);
    none.Add(Entry(Event::Request, "1"));
    EXPECT_TRUE(none.Snapshot().empty());
}

}  // namespace
}  // namespace tavrin
