// Every command through the table, over real datagrams, in both modes.
#include <sys/resource.h>

#include <cstring>
#include <random>

#include "tests/support/module_host.h"

namespace brenholt {
namespace {

constexpr size_t kMiB = 1 << 20;

std::string RandomBytes(size_t size) {
    std::mt19937_64 random(size);
    std::string bytes(size + 8, '\0');
    for (size_t i = 0; i < size; i += 8) {
        const uint64_t word = random();
        std::memcpy(bytes.data() + i, &word, 8);
    }
    bytes.resize(size);
    return bytes;
}

class BothModes : public ModuleHost, public testing::WithParamInterface<int> {
 protected:
    void SetUp() override {
        ModuleHost::SetUp();
        StartWithPanel(GetParam());
    }
};
INSTANTIATE_TEST_SUITE_P(Table, BothModes, testing::Values(0, 1),
                         [](const auto& mode) { return mode.param != 0 ? "Posted" : "Direct"; });

TEST_P(BothModes, PlainCommandsAndQueries) {
    storage.Write("file", "x");
    EXPECT_EQ(Outcome(table->CmdTM()), 1);
    const std::tuple<int32_t (*)(const char16_t*), const char16_t*, int> commands[] = {
        {table->CmdEX, u"go", 1},   {table->CmdCL, nullptr, 1}, {table->CmdMD, u"made", 1},
        {table->CmdFD, u"made", 1}, {table->CmdFF, u"file", 1}, {table->CmdFF, u"missing", 0},
        {table->CmdRM, u"file", 1}, {table->CmdRM, u"file", 0},
    };
    for (const auto& [command, text, result] : commands) {
        EXPECT_EQ(Outcome(command(text)), result);
    }
    uint16_t a = 9;
    uint16_t b = 9;
    EXPECT_EQ(Outcome(table->CmdVS(&a, &b, nullptr)), 1);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 0);
    std::vector<PanelDirEntry> entries(2);
    const int slot = table->CmdDR(u"", 2, entries.data());
    EXPECT_EQ(slot, isPosted ? 0 : 1);
    EXPECT_EQ(Outcome(slot), 1);
    EXPECT_STREQ(entries[0].szName, "made");
    EXPECT_EQ(storage.Names(), std::vector<std::string>{"made"});
}

TEST_P(BothModes, FilesOfTellingSizesComeAndGo) {
    for (const size_t size :
         {size_t{0}, size_t{1}, size_t{1363}, size_t{1364}, 100 * size_t{1363}}) {
        const std::string data = RandomBytes(size);
        storage.Write("from", data);
        EXPECT_EQ(Outcome(table->CmdUP(u"from", local.Text().c_str())), 1) << size;
        EXPECT_EQ(local.Read("from"), data);
        EXPECT_EQ(local.LastWrite("from"), storage.LastWrite("from"));
        if (size > 0) {
            EXPECT_EQ(Outcome(table->CmdDL(local.Text(u"from").c_str(), u"to")), 1) << size;
            EXPECT_EQ(storage.Read("to"), data);
            EXPECT_EQ(storage.LastWrite("to"), local.LastWrite("from"));
            EXPECT_EQ(Outcome(table->CmdML(reinterpret_cast<const uint8_t*>(data.data()),
                                           static_cast<int>(size), u"block")),
                      1);
            const auto blocks = server->Blocks(0);
            ASSERT_FALSE(blocks.empty());
            EXPECT_TRUE(std::equal(data.begin(), data.end(), blocks.back().bytes.begin(),
                                   blocks.back().bytes.end(),
                                   [](char x, uint8_t y) { return static_cast<uint8_t>(x) == y; }));
        }
    }
    EXPECT_EQ(Outcome(table->CmdUP(u"missing", local.Text().c_str())), 0);
    EXPECT_EQ(local.Names(), std::vector<std::string>{"from"});
}

TEST_F(ModuleHost, BigFilesComeAndGoInLittleMemory) {
    const std::string data = RandomBytes(100 * kMiB);
    storage.Write("big", data);
    StartWithPanel(0);
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    ASSERT_EQ(table->CmdUP(u"big", local.Text().c_str()), 1);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
#ifndef BRENHOLT_SANITIZED
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 30 * 1024) << "KiB of memory";
#endif
    EXPECT_TRUE(local.Read("big") == data);
    EXPECT_EQ(local.Names(), std::vector<std::string>{"big"});
    local.Write("big", data.substr(0, 45 * kMiB));  // three blocks
    ASSERT_EQ(table->CmdDL(local.Text(u"big").c_str(), u"back"), 1);
    EXPECT_TRUE(storage.Read("back") == data.substr(0, 45 * kMiB));
}

}  // namespace
}  // namespace brenholt
