// The account of owed replies alone, rule by rule, in virtual time.
#include "link/reply_account.h"

#include <gtest/gtest.h>

#include <string>

#include "commands/reply_words.h"
#include "platform/clock.h"
#include "tests/support/virtual_network/virtual_wire.h"

namespace brenholt {
namespace {

constexpr uint32_t kPanel = 1;
constexpr uint32_t kOther = 2;
constexpr uint64_t kTimeoutUs = 1'000'000;
constexpr uint64_t kAnswerUs = 1000;

bool IsData(const Reply& reply) {
    return reply.Datagram().size() >= kPacketHead;
}
constexpr ReplyKind kData{IsData, WholeKey};

const std::string kPageA(100, 'a');
const std::string kPageB(100, 'b');

class ReplyAccountTest : public testing::Test {
 protected:
    ReplyAccountTest() { VirtualWire::Get().Reset(); }
    static void Pass(uint64_t us) { VirtualWire::Get().Advance(us); }

    void Begin(const ReplyKind& kind, const std::string& request, uint32_t panel = kPanel) {
        account.Begin(panel, kind, kTimeoutUs);
        m_request = request;
        Send();
    }
    void Send() {
        account.Sent({reinterpret_cast<const uint8_t*>(m_request.data()), m_request.size()});
    }
    bool Comes(const std::string& reply, uint64_t us = kAnswerUs) {
        Pass(us);
        return account.Believes(Make(reply), true);
    }
    void End(const std::string& answer) {
        const Reply reply = Make(answer);
        account.End(&reply);
    }
    // The moment passes in which another reply would come.
    ReplyAccount::Doubt Settle() {
        const uint64_t now = GetMicroseconds();
        const uint64_t at = account.SettleAt().value_or(0);
        EXPECT_GT(at, now);
        EXPECT_LE(at - now, kTimeoutUs / 4);
        Pass(at - now);
        return account.Settle();
    }
    // A request of the running transfer, or of one of its own, with its answer.
    void Next(const ReplyKind& kind, const std::string& request, const std::string& reply) {
        Begin(kind, request);
        EXPECT_TRUE(Comes(reply)) << request;
        End(reply);
    }
    void Answered(const ReplyKind& kind, const std::string& request, const std::string& reply) {
        account.BeginTransfer();
        Next(kind, request, reply);
    }
    // Sent, and cancelled before the answer came.
    void GivenUp(const ReplyKind& kind, const std::string& request) {
        account.BeginTransfer();
        Begin(kind, request);
        account.End(nullptr);
        account.BeginTransfer();
    }

    static Reply Make(const std::string& text) {
        return Reply({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
    }
    static std::string Text(const Reply& reply) {
        return {reply.Datagram().begin(), reply.Datagram().end()};
    }

    ReplyAccount account;

 private:
    std::string m_request;
};

TEST_F(ReplyAccountTest, WhereNothingIsOwedAReplyIsBelievedAtOnce) {
    Answered(kWordOnce, "TM", "ACK");
    Answered(kData, "UPa", kPageA);
    Answered(kData, "UPb", kPageB);
    EXPECT_EQ(account.OwedUntil(), 0U);
}

TEST_F(ReplyAccountTest, WhatIsOwedIsHeldAndWhatComesBeyondItIsBelieved) {
    Answered(kWordOnce, "TM", "ACK");
    GivenUp(kData, "UPa");
    Begin(kData, "UPb");
    EXPECT_FALSE(Comes(kPageA, kAnswerUs / 2));
    EXPECT_FALSE(Comes(kPageB, kAnswerUs / 2));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::Take);
    EXPECT_EQ(Text(account.Kept()), kPageB);
    End(kPageB);
    Begin(kData, "UPc");
    EXPECT_TRUE(Comes(kPageA)) << "all has come";
}

TEST_F(ReplyAccountTest, ADoubtAsksAgainAFewTimesButNotWhereThatTakesEffect) {
    for (int i = 0; i < 20; ++i) {
        GivenUp(kData, "UP" + std::to_string(i));
    }
    Begin(kData, "UPz");
    int again = 0;
    while (!Comes(kPageA) && Settle() == ReplyAccount::Doubt::SendAgain) {
        ++again;
        Send();
    }
    EXPECT_EQ(again, 8);

    GivenUp(kWordOnce, "TM");
    Begin(kWordOnce, "RMa");
    EXPECT_FALSE(Comes("ACK"));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::WaitOn);
}

TEST_F(ReplyAccountTest, OwedIsWhatItsPanelAnswersToItsKindOfRequest) {
    GivenUp(kData, "UPa");
    Begin(kData, "UPb", kOther);
    EXPECT_TRUE(Comes(kPageB)) << "another panel owes nothing";
    End(kPageB);
    Answered(kWordOnce, "TM", "ACK");  // no page
    Begin(kWordOnce, "IP", kOther);
    account.Overhears(kPanel, Make(kPageA));
    EXPECT_TRUE(Comes("IP"));
    End("IP");
    Begin(kData, "UPb");
    EXPECT_TRUE(Comes(kPageB)) << "it came while another panel was asked";
    End(kPageB);
    Begin(kData, "UPb", kOther);
    EXPECT_TRUE(Comes(kPageB)) << "no duplicate of another panel's";
}

TEST_F(ReplyAccountTest, TheOtherAnswerToARepeatedRequestIsKnownByItsContent) {
    Begin(kData, "UPa");
    Pass(kTimeoutUs);
    Send();
    EXPECT_TRUE(Comes(kPageA));
    End(kPageA);
    Answered(kData, "UPb", kPageB);
    Begin(kData, "UPc");
    EXPECT_FALSE(Comes(kPageA));
}

TEST_F(ReplyAccountTest, TheSameRequestAgainTakesAnAnswerToEither) {
    GivenUp(kData, "UPa");
    Pass(kTimeoutUs);
    Begin(kData, "UPa");
    EXPECT_TRUE(Comes(kPageA));
}

TEST_F(ReplyAccountTest, ARepeatIsDoubtedOnceAndThenKnown) {
    account.BeginTransfer();
    Next(kData, "UPa", kPageA);
    EXPECT_FALSE(account.MayBeOutOfStep());
    Begin(kData, "UPb");
    EXPECT_FALSE(Comes(kPageA));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::Take);
    End(kPageA);
    EXPECT_TRUE(account.MayBeOutOfStep());
    EXPECT_TRUE(account.IsStray(Make(kPageB)));
    EXPECT_FALSE(account.IsStray(Make(kPageA)));
    Next(kData, "UPc", kPageA);
    Begin(kData, "UPd");
    EXPECT_FALSE(Comes(kPageA, kAnswerUs / 2)) << "too early to be an answer";
}

TEST_F(ReplyAccountTest, ARepeatFarTooEarlyIsAskedForAgain) {
    for (const char* request : {"UPa", "UPb", "UPc", "UPd"}) {
        Answered(kData, request, request + kPageA);
    }
    Begin(kData, "UPe");
    EXPECT_FALSE(Comes("UPd" + kPageA, kAnswerUs / 5));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::SendAgain);
}

TEST_F(ReplyAccountTest, OfTwoLikeTheLastCommandsReplyTheSecondIsOurs) {
    constexpr ReplyKind kAnything{[](const Reply&) { return true; }, WholeKey};
    Answered(kWordOnce, "TM", "ACK");
    Begin(kAnything, "ML");
    EXPECT_FALSE(Comes("ACK"));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::SendAgain);
    account.End(nullptr);
    Pass(6 * kTimeoutUs + 1);
    Begin(kAnything, "ML");
    EXPECT_FALSE(Comes("ACK"));
    EXPECT_FALSE(Comes("ACK"));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::Take);
}

TEST_F(ReplyAccountTest, WhatShouldHaveComeLongAgoYieldsToAPromptAnswer) {
    Answered(kWordOnce, "TM", "ACK");
    GivenUp(kWordOnce, "FFa");
    Pass(kTimeoutUs);
    Begin(kWordOnce, "RMa");
    EXPECT_FALSE(Comes("NAK"));
    EXPECT_EQ(Settle(), ReplyAccount::Doubt::Take);
    End("NAK");
}

TEST_F(ReplyAccountTest, DebtsEnd) {
    Answered(kData, "UPa", kPageA);
    GivenUp(kData, "UPb");
    EXPECT_GT(account.OwedUntil(), GetMicroseconds() + kAnswerUs);
    EXPECT_LT(account.OwedUntil(), GetMicroseconds() + 6 * kAnswerUs);
    Pass(6 * kTimeoutUs + 1);
    Begin(kData, "UPc");
    EXPECT_TRUE(Comes(kPageB));
}

}  // namespace
}  // namespace brenholt
