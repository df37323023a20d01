// The exchange seen alone: what goes out, what counts as a reply, when it ends.
#include "tests/support/link_fixture.h"

namespace brenholt {
namespace {

class ExchangeTest : public LinkFixture {};

TEST_F(ExchangeTest, RequestIsPrefixTokenArgumentAndNul) {
    AnswerAlways("ACK");
    EXPECT_EQ(link->CmdTM(0), 1);
    EXPECT_EQ(link->CmdEX(u"aBc", 0), 1);
    EXPECT_EQ(link->CmdEX(nullptr, 0), 1);
    EXPECT_EQ(link->CmdFile(u"x", 1, 0), 1);
    EXPECT_EQ(link->CmdFile(u"x", 0, 0), 1);
    EXPECT_EQ(sent,
              (std::vector<std::string>{WithNul("Cmd=TM"), WithNul("Cmd=EXaBc"), WithNul("Cmd=EX"),
                                        WithNul("Cmd=FFx"), WithNul("Cmd=FDx")}));
}

TEST_F(ExchangeTest, ArgumentsThatDoNotFitAreRefusedUnsent) {
    AnswerAlways("ACK");
    EXPECT_EQ(link->CmdEX(std::u16string(255, u'a').c_str(), 0), 1);
    EXPECT_EQ(link->CmdEX(std::u16string(256, u'a').c_str(), 0), 0);
    EXPECT_EQ(link->CmdEX(std::u16string(128, u'ä').c_str(), 0), 0) << "256 bytes in UTF-8";
    EXPECT_EQ(sent.size(), 1U);
    EXPECT_EQ(link->m_bBusy, 0);
}

TEST_F(ExchangeTest, EachFamilyComparesInItsOwnWay) {
    const struct {
        const char* reply;
        int anyWord;
        int exactWord;
    } cases[] = {{"ACK", 1, 1}, {"ack", 1, 0}, {"ACK1", 1, 0}, {"NAK", 1, 0}, {"A", 1, 0}};
    for (const auto& c : cases) {
        AnswerAlways(c.reply);
        EXPECT_EQ(link->CmdTM(0), c.anyWord) << c.reply;
        EXPECT_EQ(link->CmdCL(u"", 0), c.anyWord) << c.reply;
        EXPECT_EQ(link->CmdRM(u"f", 0), c.exactWord) << c.reply;
        EXPECT_EQ(link->CmdMD(u"f", 0), c.exactWord) << c.reply;
    }
    EXPECT_EQ(sent.size(), 4 * std::size(cases)) << "a wrong word is not asked for again";
    AnswerAlways(std::string("ACK\0rest", 8));
    EXPECT_EQ(link->CmdRM(u"f", 0), 1) << "the text ends at the first NUL";
}

TEST_F(ExchangeTest, AttemptsAreCountedInSends) {
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_EQ(sent.size(), 3U);
    EXPECT_NEAR(static_cast<double>(ElapsedMs()), 3000, 10);

    sent.clear();
    AnswerInTurn({"", "ACK"});
    EXPECT_EQ(link->CmdTM(0), 1);
    EXPECT_EQ(sent.size(), 2U);

    sent.clear();
    link->m_nRetries = 0;
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(link->m_nPaceMs, 0) << "plain commands leave the pace alone";
}

TEST_F(ExchangeTest, WaitTreatsWhatArrivesBySource) {
    enum Effect { Accepted, EndsWait, Dropped };
    const struct {
        const char* from;
        uint16_t port;
        const char* bytes;
        Effect effect;
    } cases[] = {
        {kPanel, 10251, "x", Accepted},       {kPanel, 10250, "x", EndsWait},
        {"192.168.0.2", 10251, "x", Dropped}, {"192.168.0.2", 9, "", Dropped},
        {kPanel, 10251, "", EndsWait},        {kPanel, 10250, "", Dropped},
    };
    link->m_nRetries = 1;
    for (const auto& c : cases) {
        const uint64_t start = wire.NowUs();
        Reply(c.bytes, 10, c.from, c.port);
        EXPECT_EQ(link->CmdTM(0), c.effect == Accepted ? 1 : 0) << c.from << ':' << c.port;
        const uint64_t waited = (wire.NowUs() - start) / 1000;
        EXPECT_NEAR(static_cast<double>(waited), c.effect == Dropped ? 1001 : 10, 1.0);
    }
    Reply(std::string(1401, 'x'), 10);
    EXPECT_EQ(link->CmdTM(0), 0) << "a datagram above 1400 bytes is lost";
    Reply(std::string(1400, 'x'), 10);
    EXPECT_EQ(link->CmdTM(0), 1);
    EXPECT_EQ(g_bInRecv, 0);
}

TEST_F(ExchangeTest, WaitSurvivesTheTicksWrap) {
    wire.Reset((uint64_t{1} << 32) - 300);
    link->m_nRetries = 1;
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_NEAR(static_cast<double>(wire.NowUs() / 1000 - ((uint64_t{1} << 32) - 300)), 1001, 1.0);
}

TEST_F(ExchangeTest, CancelEndsTheWaitAtOnce) {
    link->Cancel();  // of no command: the next is not cancelled
    wire.At(203'000, [this] { link->Cancel(); });
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_EQ(ElapsedMs(), 203U);
    EXPECT_EQ(sent.size(), 1U);
    EXPECT_EQ(link->m_bCancel, 0);
    EXPECT_EQ(link->m_bBusy, 0);
}

TEST_F(ExchangeTest, TargetTextDecidesWhereAndWhoCounts) {
    AnswerAlways("ACK");
    link->m_strTargetIp.Set(u"");
    EXPECT_EQ(link->CmdTM(1), 0) << "refused, not posted";
    EXPECT_EQ(link->m_bBusy, 0);
    link->m_nRetries = 1;
    link->m_strTargetIp.Set(u"192.168.000.001");
    EXPECT_EQ(link->CmdTM(0), 0) << "sent, but no source address reads like this";
    EXPECT_EQ(sent.size(), 1U);
    link->m_strTargetIp.Set(std::u16string(21, u'1'));
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_EQ(sent.size(), 1U) << "an address text that does not fit sends nothing";
}

TEST_F(ExchangeTest, SlotPassesACommandToTheWorker) {
    AnswerAlways("ACK");
    link->m_bStop = 0;
    EXPECT_EQ(link->CmdRM(u"file", 1), 1);
    EXPECT_EQ(link->m_bBusy, 1);
    EXPECT_EQ(link->m_nResult, 0);
    EXPECT_TRUE(sent.empty());
    g_bInRecv = 1;
    link->ServiceOnce();
    EXPECT_EQ(link->m_bPosted, 1) << "nothing starts while a thread waits for a reply";
    g_bInRecv = 0;
    link->Cancel();
    link->ServiceOnce();
    EXPECT_EQ(sent, std::vector<std::string>{WithNul("Cmd=RMfile")})
        << "a cancel before the run is lost";
    EXPECT_EQ(link->m_nResult, 1);
    EXPECT_EQ(link->m_bBusy, 0);
    link->m_nResult = 7;
    link->ServiceOnce();
    EXPECT_EQ(link->m_nResult, 7) << "the slot is empty again";
}

TEST_F(ExchangeTest, IdentityQueryPutsEverythingBack) {
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
            EXPECT_NEAR(static_cast<double>((wire.NowUs() - start) / 1000), 2002, 3);
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
}

TEST_F(ExchangeTest, VersionWordsStandAtFixedPlaces) {
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
