// No path leads out of a panel's folder.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/panel/fixture.h"
#include "tools/panel/storage.h"

namespace tavrin {
namespace {

TEST(StorageTest, NoPathLeavesTheRoot) {
    const Folder outside;
    outside.Write("secret", "old");
    std::filesystem::create_directory(outside / "dir");
    const Folder folder;
    std::filesystem::create_directory(folder / "sub");
    std::filesystem::create_symlink(outside / "secret", folder / "link");
    std::filesystem::create_directory_symlink(outside.Path(), folder / "out");
    const std::string up = "..\\" + std::filesystem::path(outside.Path()).filename().string();
    const Storage storage(folder.Path());

    for (const std::string& path :
         {std::string("link"), std::string("out\\secret"), std::string("out/secret"),
          up + "\\secret", "sub\\..\\" + up + "/secret", std::string("/..") + "/secret",
          std::string("sub/../x"), outside.Path() + "/secret", std::string("secret\0x", 8)}) {
        EXPECT_EQ(storage.KindOf(path), Kind::None) << path;
        EXPECT_FALSE(storage.Open(path)) << path;
        EXPECT_FALSE(storage.RemoveFile(path)) << path;
    }
    for (const std::string& path : {std::string("out"), up, std::string("..")}) {
        EXPECT_FALSE(storage.List(path)) << path;
        EXPECT_FALSE(storage.MakeFolder(path + "\\new")) << path;
        EXPECT_FALSE(storage.MakeFolder(path)) << path;
        EXPECT_FALSE(storage.Create(path + "\\new")) << path;
    }
    const auto file = storage.Create("link");
    EXPECT_TRUE(file->Append(ToBytes("new")) && file->Finish(0));
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "link")) << "the file takes its place";
    EXPECT_EQ(outside.Read("secret"), "old");
    EXPECT_EQ(outside.Names().size(), 2U);
}

TEST(StorageTest, PathsAreForgiving) {
    const Folder folder;
    std::filesystem::create_directory(folder / "sub");
    folder.Write("sub/na\xEFve", "12");
    const Storage storage(folder.Path());
    for (const char* const path : {"sub\\na\xEFve", "/sub//na\xEFve", ".\\sub\\.\\na\xEFve"}) {
        EXPECT_EQ(storage.KindOf(path), Kind::File) << path;
    }
    EXPECT_EQ(storage.KindOf(""), Kind::Folder);
    EXPECT_FALSE(storage.Create(""));
    EXPECT_FALSE(storage.RemoveFile(""));
}

TEST(StorageTest, OddThingsAreNotFiles) {
    const Folder folder;
    ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
    std::filesystem::resize_file((folder.Write("huge", ""), folder / "huge"),
                                 std::uintmax_t{1} << 32);
    const Storage storage(folder.Path());
    EXPECT_FALSE(storage.Open("fifo")) << "and it does not wait for a writer";
    EXPECT_FALSE(storage.Open("huge")) << "offsets have 32 bits";
    EXPECT_THROW(Storage(folder / "nowhere"), std::system_error);
}

TEST(StorageTest, TimesCrossTheWireUnchanged) {
    for (const int64_t seconds : {-11644473600LL, -1LL, 0LL, 1'700'000'000LL, 32'503'680'000LL}) {
        const timespec time{seconds, 123'456'700};
        const timespec back = DiskTime(WireTime(time));
        EXPECT_EQ(back.tv_sec, seconds);
        EXPECT_EQ(back.tv_nsec, time.tv_nsec);
    }
    EXPECT_EQ(WireTime({0, 0}), 116444736000000000U);
    EXPECT_EQ(WireTime({-11644473601LL, 0}), 0U);
}

}  // namespace
}  // namespace tavrin
