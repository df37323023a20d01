// Panels that mean harm: names and trees that lead outside. Replies that are no replies: fuzz/.
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <random>

#include "platform/path.h"
#include "platform/text.h"
#include "tests/faults/snapshot.h"
#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scale.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

namespace fs = std::filesystem;
constexpr uint32_t kFolder = BRENHOLT_ATTRIBUTE_DIRECTORY;

// In the scratch folder: "outside", which nobody may touch, and "to", which the host names.
class HostileTrees : public LinkFixture {
 protected:
    void SetUp() override {
        LinkFixture::SetUp();
        link->m_nTimeoutMs = 20;
        fs::create_directories(outside + "/sub/deep");
        for (const char* name : {"a", "b", "victim", "sub/a", "sub/b", "sub/deep/a"}) {
            scratch.Write(std::string("outside/") + name, "safe");
        }
        fs::create_symlink(outside + "/sub", outside + "/link");
        before = Snapshot(outside);
        using namespace std::string_literals;
        hostile = {"..",
                   "../",
                   ".",
                   "a/b",
                   "..\\x",
                   "",
                   "/",
                   "\\",
                   "../outside/victim",
                   "..\\outside\\sub",
                   outside + "/victim",
                   outside,
                   "/../../../../../../tmp/x",
                   "\0a"s,
                   "..\0a"s,
                   "../outside\0a"s};
        odd = {"a",
               "b",
               "sub",
               "deep",
               "victim",
               "link",
               "...",
               " ",
               "~",
               "-rf",
               "C:",
               "%2e%2e",
               "sub ",
               "TMP00000000.tmp",
               std::string(255, 'n'),
               "\xFF\xFE",
               "\xC0\xAE\xC0\xAE",
               "e\xCC\x81",
               "\xC3\xA9",
               "\xEF\xBC\x8F",
               "a\0../b"s};
        answer = [this](const std::string& request) {
            if (--untilSwap == 0) {
                SwapForALink();
            }
            return request.starts_with("Cmd=DR") ? List(request)
                   : Chance(20)                  ? "NAK"
                   : Chance(10) ? Packet(request[13] == '0' ? '+' : '0', std::string(1363, 'd'))
                                : Packet('0', "data");
        };
    }

    bool Chance(unsigned oneIn) { return random() % oneIn == 0; }
    const std::string& Any(const std::vector<std::string>& of) { return of[random() % of.size()]; }

    std::string List(const std::string& request) {
        const auto depth = std::count(request.begin(), request.end(), '\\');
        if (endless) {
            return Page('0', {Record(".."), Record("d", 0, kFolder), Record("a")});
        }
        const bool first = request[6] == '0';
        if (Chance(30)) {
            return first && Chance(2) ? "NAK" : Page('0', {Record("a")}).substr(0, 10);
        }
        std::vector<std::string> records;
        for (auto count = random() % 6; count > 0; --count) {
            const bool isHostile = harmful && Chance(4);
            const std::string& name = Any(isHostile ? hostile : odd);
            const std::string seen = name.c_str();  // up to its NUL
            spoilt = spoilt || (!IsPlainName(WidenName(seen)) && seen != "." && seen != "..");
            records.push_back(Record(name, 4, depth < 4 && Chance(3) ? kFolder : 0x20));
        }
        return Page(first && Chance(4) ? '+' : '0', records);
    }

    // A folder of the destination, or the destination, is taken away, and a link put there.
    void SwapForALink() {
        std::vector<std::string> folders{to};
        for (const auto& entry : fs::recursive_directory_iterator(to)) {
            if (entry.is_directory() && !entry.is_symlink()) {
                folders.push_back(entry.path());
            }
        }
        const std::string folder = Any(folders);
        fs::rename(folder, scratch.Path() + "/moved");
        fs::create_directory_symlink(Chance(2) ? outside : outside + "/sub", folder);
    }

    void PlantLinks() {
        fs::remove_all(to);
        fs::remove_all(scratch.Path() + "/moved");
        fs::create_directory(to);
        for (const char* name : {"a", "b", "sub", "deep", "victim"}) {
            if (harmful && Chance(3)) {
                fs::create_symlink(Chance(4) ? "." : outside + (Chance(2) ? "/sub" : "/new"),
                                   to + '/' + name);
            } else if (harmful && Chance(3)) {
                fs::create_symlink(std::string("../outside/") + name, to + '/' + name);
            }
        }
    }

    const ScratchFolder scratch;
    const std::string outside = scratch.Path() + "/outside";
    const std::string to = scratch.Path() + "/to";
    std::map<std::string, std::string> before;
    std::vector<std::string> hostile;
    std::vector<std::string> odd;  // plain names, strange as they are
    std::mt19937_64 random;
    bool harmful = true;
    bool endless = false;
    bool spoilt = false;
    unsigned untilSwap = 0;
};

TEST_F(HostileTrees, LeadNowhereAndEnd) {
    const int trees = Scaled(1000);
    int copied = 0;
    for (int seed = 0; seed < trees; ++seed) {
        random.seed(static_cast<uint64_t>(seed));
        harmful = seed % 4 != 0;
        endless = seed % 50 == 1;
        PlantLinks();
        untilSwap = harmful && Chance(3) ? 1 + static_cast<unsigned>(random() % 12) : 0;
        spoilt = false;
        sent.clear();
        const int result = link->CmdGF(u"p", scratch.Text(u"to").c_str(), 0);
        copied += result;
        ASSERT_FALSE(result != 0 && (spoilt || endless)) << "tree " << seed;
        ASSERT_LT(sent.size(), 5000U) << "tree " << seed;
        const std::u16string file = u"p\\" + WidenName(Any(Chance(2) ? hostile : odd));
        PlantLinks();
        untilSwap = 1;
        const bool fetched = link->CmdUP(file.c_str(), scratch.Text(u"to").c_str(), 0) != 0;
        ASSERT_FALSE(fetched && !IsPlainName(LastComponent(file.c_str())));
        ASSERT_TRUE(Snapshot(outside) == before) << "tree " << seed;
        ASSERT_EQ(link->m_bBusy, 0);
    }
    std::cout << "    " << trees << " trees, " << copied << " copied whole\n";
    EXPECT_GT(copied, trees / 20) << "odd names alone do no harm";
}

}  // namespace
}  // namespace brenholt
