// The exchange seen alone: what goes out, what counts as a reply, when it ends.
#include "tests/support/link_fixture.h"
#include "tests/support/panel_replies.h"
#include "tests/support/scratch_folder.h"

namespace brenholt {
namespace {

using ExchangeTest = LinkFixture;

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
    const std::u16string tooLong(256, u'a');
    const uint8_t byte = 1;
    EXPECT_EQ(link->CmdUP(tooLong.c_str(), u"/", 0) + link->CmdML(&byte, 1, tooLong.c_str(), 0), 0);
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
    EXPECT_NEAR(static_cast<double>(wire.NowUs() - ((uint64_t{1} << 32) - 300) * 1000) / 1000, 1001,
                1.0);
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

TEST_F(ExchangeTest, StopWaitsForWhatIsOwedAtTheSpeedSeen) {
    for (const uint64_t answerMs : {1, 600}) {
        Reply("ACK", answerMs);
        EXPECT_EQ(link->CmdTM(0), 1);
        wire.At(10'000, [this] { link->Cancel(); });
        EXPECT_EQ(link->CmdTM(0), 0);
        const uint64_t start = ElapsedMs();
        link->Stop();
        EXPECT_NEAR(static_cast<double>(ElapsedMs() - start), answerMs == 1 ? 0 : 270, 10);
        link->Create(kCommandPort);
    }
}

TEST_F(ExchangeTest, StopEndsWhatHasNoEnd) {
    const ScratchFolder folder;
    const std::string block(1 << 20, 'x');
    folder.Write("f", block);
    std::vector<PanelDirEntry> entries(20'000);
    answer = [this](const std::string& request) -> std::string {
        link->m_bStop = sent.size() < 20 ? 0 : 1;
        const std::string number = std::to_string(sent.size());
        const std::string token = request.substr(4, 2);
        return token == "UP"   ? Packet('+', std::string(1000, 'x') + number)
               : token == "DL" ? std::string("ACK") + request[6]
               : token == "ML" ? "ACK"
               : request.find("walk") != std::string::npos
                   ? Page('0', {Record("a", 0, 0x10), Record("b", 0, 0x10)})
                   : Page('+', {Record("n" + number)});
    };
    const std::function<int()> commands[] = {
        [&] { return link->CmdGF(u"walk", folder.Text().c_str(), 0); },
        [&] { return link->CmdDR(u"list", 20'000, entries.data(), 0); },
        [&] { return link->CmdUP(u"file", folder.Text().c_str(), 0); },
        [&] { return link->CmdDL(folder.Text(u"f").c_str(), u"f", 0); },
        [&] {
            return link->CmdML(reinterpret_cast<const uint8_t*>(block.data()), 1 << 20, u"f", 0);
        },
    };
    for (const auto& command : commands) {
        sent.clear();
        link->m_bStop = 0;
        EXPECT_EQ(command(), 0) << sent[0];
        EXPECT_EQ(sent.size(), 20U) << sent[0];
    }
    EXPECT_EQ(folder.Names(), (std::vector<std::string>{"a", "f"})) << "no temporary file";
}

TEST_F(ExchangeTest, TargetTextDecidesWhereAndWhoCounts) {
    AnswerAlways("ACK");
    link->m_strTargetIp.Set(u"");
    EXPECT_EQ(link->CmdTM(1), 0) << "refused, not posted";
    EXPECT_EQ(link->CmdUP(u"f", u"", 1) + link->CmdDL(u"f", u"", 1) + link->CmdGF(u"f", u"", 1) +
                  link->CmdML(nullptr, 0, u"", 1) + link->CmdVS(nullptr, nullptr, nullptr, 1),
              0);
    EXPECT_EQ(link->m_bBusy, 0);
    link->m_nRetries = 1;
    link->m_strTargetIp.Set(u"192.168.000.001");
    EXPECT_EQ(link->CmdTM(0), 0) << "sent, but no source address reads like this";
    EXPECT_EQ(sent.size(), 1U);
    link->m_strTargetIp.Set(std::u16string(20, u'1'));
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_EQ(sent.size(), 2U);
    link->m_strTargetIp.Set(std::u16string(21, u'1'));
    EXPECT_EQ(link->CmdTM(0), 0);
    EXPECT_EQ(sent.size(), 2U) << "an address text that does not fit sends nothing";
}

TEST_F(ExchangeTest, SlotPassesACommandToTheWorker) {
    AnswerAlways("ACK");
    link->m_bStop = 0;
    link->m_nResult = 7;
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

}  // namespace
}  // namespace brenholt
