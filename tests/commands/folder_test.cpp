// Folder copies, from panels that behave and from panels that do not.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

constexpr uint32_t kFolder = BRENHOLT_ATTRIBUTE_DIRECTORY;

class FolderTest : public LinkFixture {
 protected:
    void SetUp() override {
        LinkFixture::SetUp();
        link->m_nTimeoutMs = 20;
        outside.Write("victim", "safe");
        answer = [this](const std::string& request) -> std::optional<std::string> {
            if (request.starts_with("Cmd=DR")) {
                const auto pages = listings.find(request.substr(7, request.size() - 8));
                if (pages == listings.end()) {
                    return "NAK";
                }
                const size_t page = request[6] == '0' ? 0 : static_cast<size_t>(request[6] - '0');
                return pages->second[std::min(page, pages->second.size() - 1)];
            }
            const std::string path = request.substr(14, request.size() - 15);
            fetched.push_back(path);
            return refused == path ? "NAK" : Packet('0', "data of " + path);
        };
    }
    int Copy(const char16_t* remote = u"p") {
        fetched.clear();
        sent.clear();
        return link->CmdGF(remote, folder.Text().c_str(), 0);
    }
    void ExpectOutsideUntouched() const {
        EXPECT_EQ(outside.Names(), std::vector<std::string>{"victim"});
        EXPECT_EQ(outside.Read("victim"), "safe");
    }

    std::map<std::string, std::vector<std::string>> listings;
    std::string refused;
    std::vector<std::string> fetched;
    ScratchFolder folder;
    ScratchFolder outside;
};

TEST_F(FolderTest, PathsOnTheWireAndOnTheDisk) {
    listings["p/ "] = {Page('0', {Record("a"), Record("sub", 0, kFolder), Record("b")})};
    listings["p\\sub"] = {Page('0', {Record("c")})};
    EXPECT_EQ(Copy(u"p/ "), 1);
    EXPECT_EQ(fetched, (std::vector<std::string>{"p\\a", "p\\sub\\c", "p\\b"}));
    EXPECT_EQ(folder.Read("sub/c"), "data of p\\sub\\c");
    for (const std::string& request : sent) {
        EXPECT_EQ(request.find("Cmd=GF"), std::string::npos);
    }
    refused = "p\\sub\\c";
    EXPECT_EQ(Copy(u"p/ "), 0) << "a failure deep down reaches the top";
    EXPECT_EQ(fetched.size(), 3U) << "and stops nothing";
    EXPECT_EQ(link->m_bBusy, 0);
    EXPECT_EQ(link->m_nResult, 0);
}

TEST_F(FolderTest, FolderThatIsNotListedCountsAsEmpty) {
    EXPECT_EQ(Copy(), 1) << "refused";
    answer = nullptr;
    EXPECT_EQ(Copy(), 1) << "silent";
    EXPECT_EQ(link->m_nResult, 1);
    EXPECT_TRUE(folder.Names().empty());
}

TEST_F(FolderTest, ThousandEntriesComeAndOneMoreIsTold) {
    for (const int entries : {1000, 1001}) {
        // Pages go round the digits: distinguished by their number here.
        std::vector<std::string> pages;
        for (int at = 0; at < entries;) {
            std::vector<std::string> records;
            for (; records.size() < 40 && at < entries; ++at) {
                records.push_back(Record("n" + std::to_string(at)));
            }
            pages.push_back(Page(at < entries ? '+' : '0', records));
        }
        size_t next = 0;
        answer = [&](const std::string& request) {
            return request.starts_with("Cmd=DR") ? pages[next++] : Packet('0', "x");
        };
        EXPECT_EQ(Copy(), entries == 1000 ? 1 : 0);
        EXPECT_EQ(folder.Names().size(), 1000U);
    }
}

TEST_F(FolderTest, HostileNamesLeadNowhere) {
    const std::string up =
        "../" + std::filesystem::path(outside.Path()).filename().string() + "/victim";
    for (const std::string& name : {up, std::string("a/b"), std::string("..\\x"), std::string(),
                                    outside.Path() + "/victim"}) {
        for (const uint32_t attributes : {0x20U, kFolder}) {
            listings["p"] = {Page('0', {Record(name, 5, attributes), Record("good")})};
            EXPECT_EQ(Copy(), 0) << name;
            EXPECT_EQ(folder.Names(), std::vector<std::string>{"good"}) << name;
            ExpectOutsideUntouched();
        }
    }
    listings["p"] = {Page('0', {Record(".", 0, kFolder), Record("..", 0, kFolder), Record("..")})};
    EXPECT_EQ(Copy(), 1) << "these two are in many a listing and are passed over";
    listings["p"] = {Page('+', {Record("first")}), "ACK0 \x05" + Record("lies")};
    EXPECT_EQ(Copy(), 0) << "a page that lies about its length";
}

TEST_F(FolderTest, LinksInTheDestinationAreNotEntered) {
    ASSERT_EQ(symlink(outside.Path().c_str(), (folder.Path() + "/sub").c_str()), 0);
    ASSERT_EQ(symlink((outside.Path() + "/victim").c_str(), (folder.Path() + "/file").c_str()), 0);
    listings["p"] = {Page('0', {Record("sub", 0, kFolder), Record("file")})};
    listings["p\\sub"] = {Page('0', {Record("victim")})};
    EXPECT_EQ(Copy(), 0);
    ExpectOutsideUntouched();
    EXPECT_EQ(folder.Read("file"), "data of p\\file") << "the link was replaced, not followed";
    EXPECT_FALSE(std::filesystem::is_symlink(folder.Path() + "/file"));
}

TEST_F(FolderTest, TreesWithoutEndEnd) {
    listings["p"] = {Page('0', {Record("d", 0, kFolder)})};
    answer = [this](const std::string& request) -> std::optional<std::string> {
        return request.starts_with("Cmd=DR") ? listings["p"][0] : "NAK";
    };
    EXPECT_EQ(Copy(), 0) << "a loop";
    EXPECT_LT(sent.size(), 100U);
    listings["p"] = {Page('0', {Record("a", 0, kFolder), Record("b", 0, kFolder)})};
    EXPECT_EQ(Copy(), 0) << "a loop that doubles with every level";
    EXPECT_LT(sent.size(), 20'000U);
}

TEST_F(FolderTest, CancelEndsAStepAndStopEndsTheWalk) {
    listings["p"] = {Page('0', {Record("a"), Record("b"), Record("c")})};
    bool stops = false;
    answer = [&, usual = answer](const std::string& request) -> std::optional<std::string> {
        if (request.find("p\\a") == std::string::npos) {
            return usual(request);
        }
        link->Cancel();
        link->m_bStop = stops ? 1 : 0;
        return std::nullopt;
    };
    link->m_bStop = 0;
    EXPECT_EQ(Copy(), 0);
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"b", "c"}));

    stops = true;
    listings["p"] = {Page('0', {Record("a"), Record("sub", 0, kFolder)})};
    EXPECT_EQ(Copy(), 0);
    EXPECT_TRUE(fetched.empty()) << "nothing was asked for after the first file";
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"b", "c"})) << "nor made";
}

}  // namespace
}  // namespace brenholt
