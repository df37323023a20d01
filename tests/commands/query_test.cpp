// Queries: what their replies look like, and what they put back.
#include "tests/support/link_fixture.h"

namespace brenholt {
namespace {

class QueryTest : public LinkFixture {};

TEST_F(QueryTest, IdentityQueryPutsEverythingBack) {
    link->m_nRetries = 5;
    link->m_nTimeoutMs = 77;
    const char16_t* const target = link->m_strTargetIp.c_str();
    std::u16string project = u"old";
    uint16_t version = 7;
    uint16_t cpu = 9;
    const auto ask = [&] { return link->CmdIP(u"10.0.0.9", 0, project, &version, &cpu); };
    const auto answerFrom9 = [this](const std::vector<std::string>& replies) {
        sent.clear();
        answer = [this, replies](const std::string&) -> std::optional<std::string> {
            if (sent.size() <= replies.size() && !replies[sent.size() - 1].empty()) {
                Reply(replies[sent.size() - 1], 1, "10.0.0.9");
            }
            return std::nullopt;
        };
    };
    const struct {
        std::vector<std::string> replies;
        int result;
        size_t sends;
    } failures[] = {
        {{}, 0, 2},
        {{"NAK"}, 0, 1},
        {{"IP:ARM:0123"}, 0, 1},  // 11 characters
        {{"XX:ARM:0123:", "YY:ARM:0123:"}, 0, 2},
        {{"IP:arm:0123:", "IP:ARM:0123:"}, 0, 1},
    };
    for (const auto& f : failures) {
        answerFrom9(f.replies);
        const uint64_t start = wire.NowUs();
        EXPECT_EQ(ask(), f.result);
        EXPECT_EQ(sent.size(), f.sends);
        if (f.replies.empty()) {
            EXPECT_NEAR(static_cast<double>(wire.NowUs() - start) / 1000, 2002, 3);
        }
        EXPECT_EQ(project, u"old");
        EXPECT_EQ(version, 7);
        EXPECT_EQ(cpu, 9);
    }
    answerFrom9({"XX:ARM:0123:", "IP:X86:0310:"});
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(project, u"");
    EXPECT_EQ(version, 310);
    EXPECT_EQ(cpu, 1);
    answerFrom9({"IP:ARM:0102:My line"});
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(project, u"My line");
    EXPECT_EQ(sent[0], WithNul("Cmd=IP"));
    wire.At(50'000, [this] { link->Cancel(); });
    answerFrom9({});
    EXPECT_EQ(ask(), 0);

    EXPECT_EQ(link->m_strTargetIp.c_str(), target) << "a pointer taken before stays good";
    EXPECT_EQ(std::u16string(target), u"192.168.0.1");
    EXPECT_EQ(link->m_nRetries, 5);
    EXPECT_EQ(link->m_nTimeoutMs, 77);
    EXPECT_EQ(link->CmdIP(u"", 0, project, &version, &cpu), 0);
    EXPECT_EQ(link->CmdIP(nullptr, 0, project, &version, &cpu), 0);
}

TEST_F(QueryTest, IdentityIsNoWordThatAnotherCommandIsOwed) {
    EXPECT_EQ(link->CmdTM(0), 0);
    const uint64_t start = ElapsedMs();
    AnswerAlways("IP:ARM:0102:");
    std::u16string project;
    uint16_t version = 0;
    uint16_t cpu = 0;
    EXPECT_EQ(link->CmdIP(u"192.168.0.1", 0, project, &version, &cpu), 1);
    EXPECT_LT(ElapsedMs() - start, 5U) << "it is believed at once";
}

TEST_F(QueryTest, VersionWordsAreAtFixedPlaces) {
    uint16_t a = 1;
    uint16_t b = 2;
    uint16_t c = 3;
    AnswerAlways("ACK0001000A00F");
    EXPECT_EQ(link->CmdVS(&a, &b, &c, 0), 0) << "14 characters";
    EXPECT_EQ(sent.size(), 1U);
    AnswerAlways("ACK0001000A00FFmore");
    EXPECT_EQ(link->CmdVS(nullptr, nullptr, nullptr, 0), 1);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(link->CmdVS(&a, nullptr, &c, 0), 1);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2) << "skipped";
    EXPECT_EQ(c, 255);
    AnswerAlways("NAKzzzz000A00FF");
    EXPECT_EQ(link->CmdVS(&a, &b, &c, 0), 1) << "only the whole word refuses";
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 10);
}

}  // namespace
}  // namespace brenholt
