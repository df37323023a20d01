// Thousands of commands through a bad network, in virtual time, beside what could be reached if each
// reply named its request: what is reported as done is right, little fails that need not, and
// neither datagrams nor time are wasted. BRENHOLT_CAMPAIGN=10 runs ten times as many.
//
// What befalls a datagram depends on its command and its place in it only, so that both sides meet
// the same faults until they part.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "tests/network/scenes.h"
#include "tests/support/scale.h"

namespace brenholt {
namespace {

// Per cent of the datagrams; lateness and stalls last 0.2 to 2.6 timeouts.
struct Weather {
    double loss = 0;
    double stalls = 0;
    double late = 0;
    double doubled = 0;
    double cancels = 0;
    uint64_t answerUs = 0;
};

// Numbers that a command draws, the same ones on both sides.
class Draw {
 public:
    explicit Draw(uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15) {}
    uint64_t operator()(uint64_t below) {
        m_state += 0x9E3779B97F4A7C15;
        uint64_t mixed = (m_state ^ (m_state >> 30)) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
        return (mixed ^ (mixed >> 31)) % below;
    }
    bool Hits(double percent) { return static_cast<double>((*this)(1'000'000)) < percent * 1e4; }
    uint64_t Span() { return kTimeoutUs / 5 + (*this)(kTimeoutUs * 12 / 5); }

 private:
    uint64_t m_state;
};

Fate Befalls(const Weather& weather, Draw draw) {
    Fate fate;
    fate.losesRequest = draw.Hits(weather.loss / 2);
    fate.losesReply = draw.Hits(weather.loss / 2);
    fate.doublesRequest = draw.Hits(weather.doubled / 2);
    fate.doublesReply = draw.Hits(weather.doubled / 2);
    fate.cancels = draw.Hits(weather.cancels);
    fate.stallUs = draw.Hits(weather.stalls) ? draw.Span() : 0;
    fate.lateUs = draw.Hits(weather.late) ? draw.Span() : 0;
    return fate;
}

struct Tally {
    int wrong = 0;
    int failed = 0;  // but for those cancelled
    uint64_t sends = 0;
    uint64_t us = 0;
    uint64_t longestUs = 0;
};

struct Row {
    const char* what;
    int commands;
    Weather weather;
    std::function<Step(World&, int number, Draw&)> next;
    double wrongIn10000 = 0;  // at most
    double most = 1.1;        // datagrams and time, times the bound's
};

class CampaignTest : public testing::Test {
 protected:
    static constexpr int kLong = 4;

    CampaignTest() {
        for (int i = 0; i < kLong; ++i) {
            const size_t size = kPacket * (20 + 10 * static_cast<size_t>(i)) + 500;
            world.storage.Write("long" + std::to_string(i), Random(size, 50 + i));
            world.local.Write("long" + std::to_string(i), Random(size, 60 + i));
            world.storage.Write("zeros" + std::to_string(i), std::string(size + 10, '\0'));
        }
    }

    static Step GetLong(World& world, int, Draw& draw) {
        return world.Get("long" + std::to_string(draw(kLong)));
    }
    static Step GetZeros(World& world, int, Draw& draw) {
        return world.Get("zeros" + std::to_string(draw(kLong)));
    }
    static Step Poll(World& world, int, Draw& draw) {
        return world.Get(draw(20) > 0 ? "s1" : "s2");
    }
    static Step GetAlike(World& world, int, Draw& draw) {
        const char* const names[] = {"t1", "t2", "t3", "p1", "p2", "e1", "e2", "s1"};
        return world.Get(names[draw(std::size(names))]);
    }
    static Step PutLong(World& world, int number, Draw& draw) {
        return world.Put("long" + std::to_string(draw(kLong)), "sent" + std::to_string(number));
    }
    static Step PutSmall(World& world, int number, Draw& draw) {
        return world.Put("small" + std::to_string(draw(4)), "sent" + std::to_string(number));
    }
    static Step SendBlock(World& world, int number, Draw& draw) {
        return world.Block(1000 * (1 + draw(40)), static_cast<uint32_t>(1000 + number));
    }
    static Step List(World& world, int, Draw& draw) {
        return draw(2) > 0 ? world.List("many", 60) : world.List("more", 60);
    }
    static Step Copy(World& world, int, Draw&) { return world.Copy("few"); }
    // Of both panels, of one that is not there, and of all kinds.
    static Step Any(World& world, int number, Draw& draw) {
        switch (draw(16)) {
            case 0:
                return world.Tm();
            case 1:
                return world.Vs();
            case 2:
                return world.Ip();
            case 3:
                return world.IpOther();
            case 4:
                return draw(20) > 0 ? world.Tm()
                                    : World::Refused(world.Identify(u"192.168.0.3", u""));
            case 5:
                return world.Turn();
            case 6:
                return world.Find("s1", 1);
            case 7:
                return world.Find("none", 0);
            case 8:
                return world.Make("folder" + std::to_string(number));
            case 9:
                return SendBlock(world, number, draw);
            case 10:
                return PutSmall(world, number, draw);
            case 11:
                return PutLong(world, number, draw);
            case 12:
                return List(world, number, draw);
            case 13:
                return GetAlike(world, number, draw);
            case 14:
                return GetLong(world, number, draw);
            default:
                return Copy(world, number, draw);
        }
    }

    Tally Play(const Row& row, bool knowsRequests) {
        world.Reset();
        Network network(world.storage.Path());
        network.knowsRequests = knowsRequests;
        world.network = &network;
        CTvUdp link;
        link.Create(kCommandPort);
        link.CmdTM(0);  // each panel is quick at first
        network.answerUs = row.weather.answerUs;
        bool cancelled = false;
        network.onCancel = [&] {
            cancelled = true;
            link.Cancel();
        };
        std::vector<Step> done;
        Tally tally;
        for (int i = 0; i < row.commands; ++i) {
            const uint64_t seed = static_cast<uint64_t>(i) * 1'000'003;
            Draw draw(seed);
            const Step step = row.next(world, i, draw);
            network.fate = [&row, seed, first = network.sends](size_t send) {
                return Befalls(row.weather, Draw(seed + 1 + send - first));
            };
            cancelled = false;
            const uint64_t start = VirtualWire::Get().NowUs();
            const int result = step.run(link);
            const uint64_t took = VirtualWire::Get().NowUs() - start;
            tally.us += took;
            tally.longestUs = std::max(tally.longestUs, took);
            tally.failed += result == 0 && !cancelled && !step.refused ? 1 : 0;
            tally.wrong += result != 0 && (step.refused || (step.right && !step.right())) ? 1 : 0;
            if (result != 0 && step.rightAtLast) {
                done.push_back(step);
            }
        }
        tally.sends = network.sends;
        network.onCancel = [] {};
        network.fate = [](size_t) { return Fate(); };
        VirtualWire::Get().Advance(10 * kTimeoutUs);
        for (const Step& step : done) {
            tally.wrong += step.rightAtLast() ? 0 : 1;
        }
        return tally;
    }

    void Expect(Row row) {
        SCOPED_TRACE(row.what);
        row.commands = Scaled(row.commands, 20);
        const Tally tally = Play(row, false);
        const Tally bound = Play(row, true);
        const double percent = 100.0 / row.commands;
        const auto times = [](uint64_t a, uint64_t b) {
            return static_cast<double>(a) / static_cast<double>(b);
        };
        std::ostringstream line;
        line.precision(3);
        line << "| " << row.commands << ' ' << row.what << " |";
        const char* separator = " ";
        for (const auto& [share, word] :
             {std::pair(row.weather.loss, "loss"), std::pair(row.weather.stalls, "stalls"),
              std::pair(row.weather.late, "late"), std::pair(row.weather.doubled, "doubled"),
              std::pair(row.weather.cancels, "cancels")}) {
            if (share > 0) {
                line << std::exchange(separator, ", ") << word << ' ' << share << " %";
            }
        }
        const auto ms = [&row](uint64_t us) {
            return static_cast<double>(us) / 1000 / row.commands;
        };
        line << " | " << tally.wrong << " | " << tally.failed * percent << " % | "
             << bound.failed * percent << " % | " << times(tally.sends, bound.sends) << " | "
             << ms(tally.us) << " ms | " << ms(bound.us) << " ms | "
             << static_cast<double>(tally.longestUs) / 1e6 << " s | "
             << static_cast<double>(bound.longestUs) / 1e6 << " s |\n";
        std::cout << line.str();
        EXPECT_LE(tally.wrong, row.wrongIn10000 * row.commands / 1e4);
        EXPECT_LE(tally.failed * percent, bound.failed * percent + 0.1);
        EXPECT_LE(times(tally.sends, bound.sends), row.most);
        EXPECT_LE(times(tally.us, bound.us), row.most);
    }

    World world;
};

constexpr Weather kOrdered{.loss = 1, .stalls = 0.1, .cancels = 0.1};
constexpr Weather kLate{.loss = 1, .stalls = 0.1, .late = 0.1, .cancels = 0.1};
constexpr Weather kFoul{.loss = 5, .stalls = 0.1, .late = 0.2, .doubled = 0.1, .cancels = 0.2};

TEST_F(CampaignTest, Fetches) {
    Expect({"fetches", 1000, {.stalls = 0.1}, GetLong});
    Expect({"fetches", 1000, {.doubled = 0.1}, GetLong});
    Expect({"fetches", 2000, kOrdered, GetLong});
    Expect({"fetches", 2000, kLate, GetLong, 3});
    Expect({"fetches", 2000, kFoul, GetLong, 30});
    Expect({"fetches of zeros", 500, kOrdered, GetZeros, 0, 1.3});
    Expect({"fetches of zeros", 500, {.loss = 5, .stalls = 0.1, .cancels = 0.1}, GetZeros, 0, 1.3});
    Expect({"fetches of a small file, now and then another",
            10000,
            {.loss = 1, .stalls = 0.1, .cancels = 1},
            Poll});
    Expect({"fetches of small and alike files",
            10000,
            {.loss = 1, .stalls = 0.1, .cancels = 1},
            GetAlike});
    Expect({"fetches of small and alike files",
            10000,
            {.loss = 1, .stalls = 0.1, .late = 0.1, .cancels = 1},
            GetAlike,
            3});
}

TEST_F(CampaignTest, Sends) {
    Expect({"files sent", 1000, kOrdered, PutLong});
    Expect({"files sent", 1000, kLate, PutLong, 3});
    Expect({"files sent", 1000, kFoul, PutLong, 30});
    Expect({"small files sent", 3000, kLate, PutSmall, 3, 1.3});
    Expect({"blocks sent", 1000, kOrdered, SendBlock, 0, 1.3});
    Expect({"blocks sent", 1000, kFoul, SendBlock, 30, 1.3});
}

TEST_F(CampaignTest, ListingsAndFolders) {
    Expect({"listings", 3000, kLate, List, 3});
    Expect({"listings", 3000, kFoul, List, 30});
    Expect({"copies of a folder", 1000, kOrdered, Copy});
    Expect({"copies of a folder", 1000, kFoul, Copy, 30});
}

TEST_F(CampaignTest, AllKinds) {
    Expect({"commands of all kinds", 3000, {}, Any});
    Expect({"commands of all kinds", 5000, kOrdered, Any});
    Expect({"commands of all kinds", 5000, kLate, Any, 3});
    Expect({"commands of all kinds", 5000, kFoul, Any, 30});
}

TEST_F(CampaignTest, PanelsThatBecomeSlow) {
    const auto slow = [](Weather weather, double timeouts) {
        weather.answerUs = static_cast<uint64_t>(timeouts * kTimeoutUs);
        return weather;
    };
    Expect({"commands, answers after 0.3 timeouts", 3000, slow(kOrdered, 0.3), Any});
    Expect({"fetches, answers after 1.1 timeouts", 100, slow({}, 1.1), GetLong, 0, 2});
    Expect({"fetches, answers after 1.5 timeouts", 100, slow({}, 1.5), GetLong, 0, 2});
    Expect({"commands, answers after 1.5 timeouts", 2000, slow(kOrdered, 1.5), Any});
}

}  // namespace
}  // namespace brenholt
