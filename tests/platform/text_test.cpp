#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "platform/path.h"
#include "platform/posix/disk_path.h"
#include "platform/text.h"

namespace brenholt {
namespace {

// The code page is settled once in a process: other locales are looked at in a child.
bool HoldsUnderLocale(const char* locale, const std::function<bool()>& claim) {
    const pid_t child = fork();
    if (child == 0) {
        setenv("LOCPATH", BRENHOLT_TEST_LOCALES, 1);
        setenv("LC_ALL", locale, 1);
        _exit(claim() ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0;
}

TEST(TextTest, PlainLocaleCountsAsUtf8) {
    for (const char* locale : {"C", "C.UTF-8"}) {
        EXPECT_TRUE(HoldsUnderLocale(locale, [] {
            return WideCharToMultiByte(u"e\u0301\u00E4\U0001F600") == "\u00E9\u00E4\U0001F600" &&
                   MultiByteToWideChar("\u00E4\U0001F600") == u"\u00E4\U0001F600";
        })) << locale;
    }
}

TEST(TextTest, OtherCodePageComposesAndSubstitutes) {
    EXPECT_TRUE(HoldsUnderLocale("latin1", [] {
        return WideCharToMultiByte(u"a\u0308") == "\xE4" &&
               WideCharToMultiByte(u"\u4E00x") == "\x1Ax" &&
               MultiByteToWideChar("\xE4") == u"\u00E4";
    }));
}

TEST(TextTest, BytesThatAreNotTextSurvive) {
    const std::string samples[] = {
        "\xFF",         "ok\x80\xC3", "\xC3\xA4\xC3",           "\xED\xA0\x80",
        "\xF0\x9F\x98", "\xC0\xAF",   std::string("a\0\xFE", 3)};
    for (const std::string& bytes : samples) {
        EXPECT_EQ(WideCharToMultiByte(MultiByteToWideChar(bytes)), bytes)
            << testing::PrintToString(bytes);
    }
    std::string all;
    for (int i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
    }
    EXPECT_EQ(WideCharToMultiByte(MultiByteToWideChar(all)), all);
    const std::string decomposed = "e\u0301.txt";
    EXPECT_NE(WideCharToMultiByte(MultiByteToWideChar(decomposed)), decomposed);
    EXPECT_EQ(WideCharToMultiByte(WidenName(decomposed)), decomposed);
    EXPECT_EQ(WidenName("\u00E9\xFF"), MultiByteToWideChar("\u00E9\xFF"))
        << "readable where it can be";
    EXPECT_NE(WideCharToMultiByte(u"\xD800"), "");
}

TEST(TextTest, NumbersAreReadLikeTheRunTimeLibraryReadsThem) {
    const struct {
        const char16_t* text;
        int32_t value;
    } decimals[] = {{u"", 0},
                    {u" \t+12x", 12},
                    {u"-7", -7},
                    {u"--7", 0},
                    {u"_102", 0},
                    {u"0x10", 0},
                    {u"99999999999", INT32_MAX},
                    {u"-99999999999", INT32_MIN}};
    for (const auto& d : decimals) {
        EXPECT_EQ(_wtoi(d.text), d.value);
    }
    EXPECT_EQ(wcstoul(u"00fFg", 16), 0xFFU);
    EXPECT_EQ(wcstoul(u"0x1F", 16), 0x1FU);
    EXPECT_EQ(wcstoul(u"0x", 16), 0U);
    EXPECT_EQ(wcstoul(u"zz", 16), 0U);
    EXPECT_EQ(wcstoul(u"-1", 10), UINT32_MAX);
    EXPECT_EQ(wcstoul(u"FFFFFFFFF", 16), UINT32_MAX);
}

TEST(PathTest, NamesFromAPanelAreOneComponent) {
    for (const std::u16string_view bad :
         {u"", u".", u"..", u"a/b", u"..\\x", u"/abs", u"a\xDC2F"}) {
        EXPECT_FALSE(IsPlainName(bad)) << testing::PrintToString(bad);
    }
    EXPECT_FALSE(IsPlainName({u"a\0b", 3}));
    // The last is 95 5C in Japanese code pages.
    for (const std::u16string_view good :
         {u"a", u"...", u"..a", u" ", u"C:", u"\xDCFF", u"\x8868"}) {
        EXPECT_TRUE(IsPlainName(good)) << testing::PrintToString(good);
    }
    EXPECT_EQ(LastComponent(u"dir/sub\\file.bin"), u"file.bin");
    EXPECT_EQ(LastComponent(u"dir\\"), u"");
    EXPECT_EQ(FolderPath(u"C:/out"), u"C:\\out\\");
    EXPECT_EQ(FolderPath(u""), u"\\");
    EXPECT_EQ(DiskPath(u"\\a/b\\c"), "/a/b/c");
}

}  // namespace
}  // namespace brenholt
