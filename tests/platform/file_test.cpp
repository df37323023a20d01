#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/folder.h"
#include "platform/path.h"
#include "platform/text.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

TEST(FileTest, OpenFileIsOpenForNobodyElse) {
    const ScratchFolder folder;
    folder.Write("f", "old");
    const std::u16string path = folder.Text(u"f");
    CFile reader;
    ASSERT_TRUE(reader.Open(path, CFile::modeRead));
    for (const CFile::Mode mode : {CFile::modeRead, CFile::modeWrite, CFile::modeCreate}) {
        EXPECT_FALSE(CFile().Open(path, mode));
    }
    EXPECT_EQ(folder.Read("f"), "old") << "an open that fails empties nothing";
    reader.Close();
    EXPECT_TRUE(CFile().Open(path, CFile::modeCreate));
    EXPECT_EQ(folder.Read("f"), "");
    EXPECT_FALSE(CFile().Open(folder.Text(u"missing"), CFile::modeWrite));
    EXPECT_FALSE(CFile().Open(folder.Text(), CFile::modeRead)) << "a folder is no file";
    mkfifo((folder.Path() + "/fifo").c_str(), 0666);
    EXPECT_FALSE(CFile().Open(folder.Text(u"fifo"), CFile::modeRead)) << "and is not waited for";
}

TEST(FileTest, StatusKnowsPathAndChange) {
    const ScratchFolder folder;
    folder.Write(".hidden", "12345");
    const auto status = GetStatus(folder.Text(u"sub/../.hidden"));
    EXPECT_FALSE(status) << "the disk decides what a path means";
    const auto found = GetStatus(folder.Text(u".//.hidden"));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->m_szFullName, folder.Text(u".hidden"));
    EXPECT_EQ(found->m_fileName, u".hidden");
    EXPECT_EQ(found->m_size, 5U);
    EXPECT_EQ(found->m_attribute, 0x22);
    chmod((folder.Path() + "/.hidden").c_str(), 0444);
    EXPECT_EQ(GetStatus(folder.Text(u".hidden"))->m_attribute, 0x23);
    EXPECT_TRUE(GetStatus(folder.Text(u".hidden"))->m_identity == found->m_identity);
    EXPECT_FALSE(GetStatus(folder.Text()));
    const std::string deep = std::string(150, 'd');
    std::filesystem::create_directory(folder / deep);
    for (const size_t length : {259U, 260U}) {
        const std::string name(length - folder.Path().size() - deep.size() - 2, 'f');
        folder.Write(deep + '/' + name, "x");
        EXPECT_EQ(GetStatus(folder.Text(WidenName(deep + '/' + name))).has_value(), length == 259);
    }
}

TEST(FolderTest, TempFilesAreNewAndUnderTheUmask) {
    const ScratchFolder scratch;
    CFolder folder;
    ASSERT_TRUE(folder.Open(scratch.Text()));
    const mode_t before = umask(027);
    const std::u16string a = folder.MakeTempFile();
    umask(before);
    const unsigned long next = std::stoul(WideCharToMultiByte(a).substr(3, 8), nullptr, 16) + 1;
    char taken[24];
    std::snprintf(taken, sizeof taken, "TMP%08X.tmp", static_cast<unsigned>(next));
    scratch.Write(taken, "another process's");
    const std::u16string b = folder.MakeTempFile();
    EXPECT_TRUE(b.starts_with(u"TMP")) << "the next one, since that name is taken";
    std::filesystem::remove(scratch / taken);
    EXPECT_TRUE(a.starts_with(u"TMP"));
    struct stat status {};
    ASSERT_EQ(stat((scratch / WideCharToMultiByte(a)).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
    EXPECT_EQ(status.st_size, 0);
    scratch.Write("dest", "old");
    EXPECT_TRUE(folder.Replace(a, u"dest"));
    EXPECT_EQ(scratch.Read("dest"), "");
    folder.DeleteFile(b);
    EXPECT_EQ(scratch.Names(), std::vector<std::string>{"dest"});
    EXPECT_FALSE(folder.Open(scratch.Text(u"dest")));
}

TEST(FolderTest, LinksAreNotFollowed) {
    const ScratchFolder scratch;
    const ScratchFolder outside;
    outside.Write("victim", "safe");
    ASSERT_EQ(symlink(outside.Path().c_str(), (scratch.Path() + "/link").c_str()), 0);
    ASSERT_EQ(symlink((outside.Path() + "/victim").c_str(), (scratch.Path() + "/file").c_str()), 0);
    CFolder folder;
    ASSERT_TRUE(folder.Open(scratch.Text()));
    CFolder child;
    EXPECT_FALSE(child.OpenChild(folder, u"link"));
    EXPECT_FALSE(CFile().OpenAt(folder, u"file", CFile::modeCreate));
    EXPECT_TRUE(child.OpenChild(folder, u"sub"));
    const std::u16string temp = child.MakeTempFile();
    // The held folder stays the same one when its name is given to a link.
    ASSERT_EQ(rename((scratch.Path() + "/sub").c_str(), (scratch.Path() + "/moved").c_str()), 0);
    ASSERT_EQ(symlink(outside.Path().c_str(), (scratch.Path() + "/sub").c_str()), 0);
    EXPECT_TRUE(child.Replace(temp, u"victim"));
    EXPECT_EQ(outside.Read("victim"), "safe");
    EXPECT_EQ(outside.Names(), std::vector<std::string>{"victim"});
    EXPECT_EQ(scratch.Read("moved/victim"), "");
}

TEST(FileTimeTest, WordsBecomeWholeSeconds) {
    constexpr uint64_t kUnix = 11'644'473'600ULL * 10'000'000;
    const auto convert = [](uint64_t units) {
        return ToTime({static_cast<uint32_t>(units), static_cast<uint32_t>(units >> 32)});
    };
    EXPECT_EQ(convert(kUnix + 9'999'999), 0);
    EXPECT_EQ(convert(kUnix - 1), -1) << "the second that holds it";
    EXPECT_FALSE(convert(0));
    EXPECT_FALSE(convert(uint64_t{1} << 63));
    EXPECT_FALSE(convert(UINT64_MAX));
    const FILETIME time = FileTimeFrom(1'700'000'000, 123'456'789);
    EXPECT_EQ(uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime,
              kUnix + 17'000'000'001'234'567ULL);
}

}  // namespace
}  // namespace brenholt
