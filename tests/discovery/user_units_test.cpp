// The user's list and its file.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "link/tv_udp.h"
#include "platform/file.h"
#include "platform/path.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kFile[] = "UserTavrinIp.ipc";

class UserUnitsTest : public testing::Test {
 protected:
    void SetUp() override { std::filesystem::current_path(folder.Path()); }
    void TearDown() override { std::filesystem::current_path("/"); }

    int Add(std::u16string_view ip) {
        CTavrinUnit unit(ip, 77);
        unit.m_strProject = u"project";
        unit.m_nVersion = 123;
        unit.m_nCpu = kCpuX86;
        return link.AddUserUnit(&unit);
    }
    std::vector<std::u16string> Listed() const {
        std::vector<std::u16string> ips;
        for (const auto& unit : link.m_listUserUnits) {
            ips.push_back(unit->m_strIp);
        }
        return ips;
    }
    // The list after a load of a file with these bytes, which the load leaves as they are.
    std::vector<std::u16string> Loaded(std::string_view bytes) {
        folder.Write(kFile, bytes);
        EXPECT_EQ(link.LoadUserUnits(), 1);
        EXPECT_EQ(folder.Read(kFile), bytes);
        return Listed();
    }

    ScratchFolder folder;
    CTvUdp link;
};

TEST_F(UserUnitsTest, LoadTakesEveryEndedLineVerbatim) {
    EXPECT_THAT(Loaded("10.0.0.1\r10.0.0.2\n10.0.0.3\r\n"),
                ElementsAre(u"10.0.0.1", u"10.0.0.2", u"10.0.0.3"));
    const CTavrinUnit& unit = *link.m_listUserUnits.front();
    EXPECT_EQ(unit.m_nPort, 1028);
    EXPECT_EQ(unit.m_nVersion, 0);
    EXPECT_EQ(unit.m_nCpu, kCpuUnknown);
    EXPECT_THAT(Loaded(""), IsEmpty());
    EXPECT_THAT(Loaded("\n\r\n10.0.0.1\n\n\r"), ElementsAre(u"10.0.0.1"));
    EXPECT_THAT(Loaded("10.0.0.1\n10.0.0.2"), ElementsAre(u"10.0.0.1"))
        << "the last line never ended";
    EXPECT_THAT(Loaded(" a \nA\na\n a \n"), ElementsAre(u" a ", u"A", u"a"));
}

TEST_F(UserUnitsTest, LinesOfAnyLengthAndBytesComeBackAsTheyWere) {
    const std::string lines =
        std::string(5000, 'x') + "\r\ncaf\xC3\xA9\r\n\xFF\xFE\r\ne\xCC\x81\r\n";
    EXPECT_EQ(Loaded(lines).size(), 4U);
    EXPECT_EQ(link.SaveUserUnits(), 1);
    EXPECT_EQ(folder.Read(kFile), lines);
}

TEST_F(UserUnitsTest, AddSavesTheWholeListOnceForEachAddress) {
    EXPECT_EQ(link.AddUserUnit(nullptr), -1);
    EXPECT_EQ(Add(u"10.0.0.1"), 1);
    EXPECT_EQ(Add(u"10.0.0.2"), 2);
    EXPECT_EQ(folder.Read(kFile), "10.0.0.1\r\n10.0.0.2\r\n");
    const CTavrinUnit& unit = *link.m_listUserUnits.front();
    EXPECT_EQ(unit.m_nPort, 77);
    EXPECT_EQ(unit.m_nVersion, 123);
    EXPECT_EQ(unit.m_nCpu, kCpuX86);
    EXPECT_EQ(unit.m_strProject, u"");
    folder.Write(kFile, "untouched");
    EXPECT_EQ(Add(u"10.0.0.2"), 0);
    EXPECT_EQ(folder.Read(kFile), "untouched");
}

TEST_F(UserUnitsTest, RemovingTheLastEntryLeavesItInTheFile) {
    Add(u"10.0.0.1");
    Add(u"10.0.0.2");
    EXPECT_EQ(link.RemoveUserUnit(u"10.0.0.3"), 0);
    EXPECT_EQ(link.RemoveUserUnit(u"10.0.0.1"), 1);
    EXPECT_EQ(folder.Read(kFile), "10.0.0.2\r\n");
    EXPECT_EQ(link.RemoveUserUnit(u"10.0.0.2"), 1);
    EXPECT_THAT(Listed(), IsEmpty());
    EXPECT_EQ(folder.Read(kFile), "10.0.0.2\r\n");
    EXPECT_EQ(link.LoadUserUnits(), 1);
    EXPECT_THAT(Listed(), ElementsAre(u"10.0.0.2"));
}

TEST_F(UserUnitsTest, TheFileIsThatOfTheFolderThatIsCurrent) {
    Add(u"10.0.0.1");
    const ScratchFolder other;
    std::filesystem::current_path(other.Path());
    Add(u"10.0.0.2");
    EXPECT_EQ(folder.Read(kFile), "10.0.0.1\r\n");
    EXPECT_EQ(other.Read(kFile), "10.0.0.1\r\n10.0.0.2\r\n");
}

TEST_F(UserUnitsTest, AFileThatCannotBeHadEmptiesTheLoadAndKeepsTheList) {
    Add(u"10.0.0.1");
    {
        CFile holder;
        ASSERT_TRUE(holder.Open(folder.Text(WidenName(kFile)), CFile::modeRead));
        EXPECT_EQ(Add(u"10.0.0.2"), 2) << "the save fails unseen";
        EXPECT_EQ(link.SaveUserUnits(), 0);
        EXPECT_EQ(folder.Read(kFile), "10.0.0.1\r\n");
        EXPECT_EQ(link.LoadUserUnits(), 0);
        EXPECT_THAT(Listed(), IsEmpty());
    }
    std::filesystem::remove(kFile);
    EXPECT_EQ(link.LoadUserUnits(), 0);

    std::filesystem::create_directory(kFile);
    EXPECT_EQ(Add(u"10.0.0.1"), 1);
    EXPECT_EQ(link.SaveUserUnits(), 0);
    EXPECT_EQ(link.LoadUserUnits(), 0);

    Add(u"10.0.0.1");
    std::filesystem::remove_all(folder.Path());
    EXPECT_EQ(Add(u"10.0.0.2"), 2) << "no current folder any more";
    EXPECT_EQ(link.SaveUserUnits(), 0);
    EXPECT_THAT(Listed(), ElementsAre(u"10.0.0.1", u"10.0.0.2"));
}

// A limit on the size of files acts as a full disk: a write stops short, the next one fails.
TEST_F(UserUnitsTest, AFullDiskCutsTheFileButNotTheList) {
    Add(u"10.0.0.1");
    Add(u"10.0.0.2");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const int added = Add(u"10.0.0.3");
    const int saved = link.SaveUserUnits();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(added, 3);
    EXPECT_EQ(saved, 0);
    EXPECT_EQ(folder.Read(kFile), "10.0.0.1\r\n");
    EXPECT_EQ(Listed().size(), 3U);
    EXPECT_EQ(link.SaveUserUnits(), 1) << "once there is room again";
}

}  // namespace
}  // namespace brenholt
