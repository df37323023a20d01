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
    EXPECT_EQ(Outcome(table->CmdEX(u"go")), 1);
    EXPECT_EQ(Outcome(table->CmdCL(nullptr)), 1);
    EXPECT_EQ(Outcome(table->CmdMD(u"made")), 1);
    EXPECT_EQ(Outcome(table->CmdFD(u"made")), 1);
    EXPECT_EQ(Outcome(table->CmdFF(u"file")), 1);
    EXPECT_EQ(Outcome(table->CmdFF(u"missing")), 0);
    EXPECT_EQ(Outcome(table->CmdRM(u"file")), 1);
    EXPECT_EQ(Outcome(table->CmdRM(u"file")), 0);
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

TEST_P(BothModes, FolderComesWhole) {
    namespace fs = std::filesystem;
    fs::create_directories(storage.Path() + "/p/sub/deep");
    fs::create_directories(storage.Path() + "/p/empty");
    const std::string odd[] = {"p/a",
                               "p/sub/\xC3\xBC.txt",
                               "p/sub/deep/bad\xFF\x80",
                               "p/sub/e\xCC\x81",
                               "p/" + std::string(230, 'n'),
                               "p/sub/with space"};
    for (const std::string& name : odd) {
        storage.Write(name, RandomBytes(name.size() * 100));
    }
    EXPECT_EQ(Outcome(table->CmdGF(u"p", local.Text().c_str())), 1);
    for (const std::string& name : odd) {
        EXPECT_EQ(local.Read(name.substr(2)), storage.Read(name)) << name;
        EXPECT_EQ(local.LastWrite(name.substr(2)), storage.LastWrite(name)) << name;
    }
    EXPECT_TRUE(fs::is_directory(local.Path() + "/empty"));

    server->Pause(0);
    table->Start(1, 50, GetParam());
    EXPECT_EQ(Outcome(table->CmdGF(u"p", local.Text().c_str())), 1)
        << "nothing listed, nothing missed";
}

class BigTransfers : public ModuleHost {};

TEST_F(BigTransfers, HundredMiBInLittleMemory) {
    const std::string data = RandomBytes(100 * kMiB);
    storage.Write("big", data);
    StartWithPanel(0);
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    ASSERT_EQ(table->CmdUP(u"big", local.Text().c_str()), 1);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_TRUE(local.Read("big") == data);
#ifndef BRENHOLT_SANITIZED
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 30 * 1024) << "KiB of memory";
#endif
    EXPECT_EQ(local.Names(), std::vector<std::string>{"big"});
}

TEST_F(BigTransfers, ThreeBlocksToThePanel) {
    const std::string data = RandomBytes(45 * kMiB);
    local.Write("big", data);
    StartWithPanel(0);
    ASSERT_EQ(table->CmdDL(local.Text(u"big").c_str(), u"big"), 1);
    EXPECT_TRUE(storage.Read("big") == data);
}

}  // namespace
}  // namespace brenholt
