// Listings: pages, their digits, and what a reply may do to them.
#include <cstring>

#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"

namespace brenholt {
namespace {

class ListingTest : public LinkFixture {
 protected:
    int List(int maxEntries = 8) {
        sent.clear();
        return link->CmdDR(u"dir", maxEntries, entries.data(), 0);
    }
    std::string Tokens() {
        std::string digits;
        for (const std::string& request : sent) {
            EXPECT_EQ(request.substr(0, 6) + request.substr(7), "Cmd=DR" + WithNul("dir"));
            digits += request[6];
        }
        return digits;
    }
    std::vector<PanelDirEntry> entries{std::vector<PanelDirEntry>(8)};
};

TEST_F(ListingTest, PagesFillEntries) {
    const std::string longName(255, 'n');
    AnswerInTurn(
        {Page('+', {Record("a"), Record(std::string("b\0c", 3))}), Page('0', {Record(longName)})});
    std::memset(entries.data(), 'x', entries.size() * sizeof entries[0]);
    EXPECT_EQ(List(), 3);
    EXPECT_EQ(Tokens(), "01");
    EXPECT_EQ(entries[0].dwSize, 5U);
    EXPECT_EQ(entries[0].ftLastWrite.dwLow, 0x11223344U);
    EXPECT_EQ(entries[0].ftLastWrite.dwHigh, 0x01DA0000U);
    EXPECT_EQ(entries[0].dwAttributes, 0x20U);
    EXPECT_STREQ(entries[0].szName, "a");
    EXPECT_EQ(std::memcmp(entries[1].szName, "b\0\0\0x", 5), 0)
        << "zeros to the name's length, no more";
    EXPECT_EQ(entries[2].szName, longName);
    EXPECT_EQ(entries[3].szName[0], 'x') << "only reported entries are written";
    EXPECT_EQ(link->m_nResult, 3);
}

TEST_F(ListingTest, TokensRunThroughNineToOne) {
    std::vector<std::string> pages(10, Page('+', {}));
    pages.push_back(Page('-', {Record("z")}));
    AnswerInTurn(pages);
    EXPECT_EQ(List(), 1);
    EXPECT_EQ(Tokens(), "01234567891");
}

TEST_F(ListingTest, LostPageIsAskedForAgain) {
    AnswerInTurn({Page('+', {Record("a")}), "", "", Page('0', {Record("b")})});
    EXPECT_EQ(List(), 2);
    EXPECT_EQ(Tokens(), "0111");
    EXPECT_EQ(link->m_nPaceMs, 2);
    AnswerInTurn({});
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(link->m_nPaceMs, 3) << "silence stops raising at 3";
}

TEST_F(ListingTest, FullArrayDropsTheRest) {
    AnswerInTurn({Page('+', {Record("a"), Record("b"), Record("c")}), Page('0', {Record("d")})});
    EXPECT_EQ(List(2), 2);
    EXPECT_EQ(Tokens(), "01");
    AnswerAlways(Page('+', {Record("a"), Record("b")}));
    EXPECT_EQ(List(2), 2) << "a panel that promises pages for ever";
    EXPECT_EQ(Tokens().substr(0, 4), "0111") << "pages after the room is full";
    EXPECT_LT(sent.size(), 100U);
}

TEST_F(ListingTest, BrokenOrRefusedListingCountsForNothing) {
    const std::string whole = Page('0', {Record("name")});
    std::string lies = whole;
    lies[5] = 2;
    for (const std::string& second :
         {std::string("nak"), lies, whole.substr(0, whole.size() - 1), std::string("AC"),
          std::string("A\0K0 ", 5), std::string("ACK0")}) {
        AnswerInTurn({Page('+', {Record("first")}), second});
        EXPECT_EQ(List(), 0) << testing::PrintToString(second);
        EXPECT_EQ(sent.size(), 2U);
    }
    AnswerAlways(Page('+', {}));
    EXPECT_EQ(List(), 0) << "pages for ever that bring nothing";
    EXPECT_LT(sent.size(), 100U);
    AnswerAlways("NAKED\1" + Record(""));
    EXPECT_EQ(List(), 1) << "begins with the word but is a page";
}

TEST_F(ListingTest, PageAfterTheLastOneOfEqualPagesMakesItBeginAgain) {
    const std::string same = Page('+', {Record("a")});
    const std::vector<std::string> pages{same, same, Page('0', {Record("b")})};
    answer = [&](const std::string&) -> std::optional<std::string> {
        if (sent.size() == 3) {
            Reply(Page('0', {Record("c")}), 2);
        }
        return sent.size() <= 3 ? std::optional(pages[sent.size() - 1]) : std::nullopt;
    };
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(Tokens(), "012000");
}

TEST_F(ListingTest, MarkerIsACharacterOfTheText) {
    // Two characters of two bytes each: the third byte-wise position is no character of its own.
    AnswerInTurn({std::string("\xC3\xA4\xC3\xB6K+", 6) + Record(""), Page('0', {})});
    EXPECT_EQ(List(), 0);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(ListingTest, PostedOrWithoutRoomGivesNothing) {
    EXPECT_EQ(link->CmdDR(u"dir", 8, entries.data(), 1), 0) << "posted";
    EXPECT_EQ(link->m_bBusy, 1);
    EXPECT_EQ(link->CmdDR(u"dir", 8, nullptr, 0), 0);
    EXPECT_TRUE(sent.empty());
}

}  // namespace
}  // namespace brenholt
