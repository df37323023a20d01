// All schedules of faults that a few commands can meet: what is reported as done is right, and what
// could be done is done, in good time.
//
// A schedule gives up to K datagrams of a scene (scenes.h) a fate. All of them are gone through, in virtual time: a further fate is placed at any datagram that the run so far
// has sent, from the one chosen last on. So each schedule that fails is its own shortest example.
//
// BRENHOLT_FATES=3 goes one deeper where there are two otherwise; BRENHOLT_SCENE="two files" BRENHOLT_REPLAY="D3 L5"
// shows one run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>

#include "tests/network/scenes.h"
#include "tests/support/scale.h"

namespace brenholt {
namespace {

// A fate, and the time that it takes of itself.
struct NamedFate {
    char letter;
    const char* words;
    uint64_t costUs;
    Fate fate;
};
constexpr NamedFate kFates[] = {
    {'L', "the reply to it is lost", kTimeoutUs, {.losesReply = true}},
    {'Q', "it is lost", kTimeoutUs, {.losesRequest = true}},
    {'S',
     "the panel stalls at it for 1.5 timeouts",
     kTimeoutUs * 3 / 2,
     {.stallUs = kTimeoutUs * 3 / 2}},
    {'M',
     "the panel stalls at it for 2.5 timeouts",
     kTimeoutUs * 5 / 2,
     {.stallUs = kTimeoutUs * 5 / 2}},
    {'C', "the command is cancelled half a round trip after it", 0, {.cancels = true}},
    {'T',
     "the reply to it alone is late by 1.5 timeouts",
     kTimeoutUs,
     {.lateUs = kTimeoutUs * 3 / 2}},
    {'U',
     "the reply to it alone is late by 2.5 timeouts",
     kTimeoutUs,
     {.lateUs = kTimeoutUs * 5 / 2}},
    {'D', "the reply to it is doubled", 0, {.doublesReply = true}},
    {'E', "it is doubled", 0, {.doublesRequest = true}},
};
constexpr std::string_view kAnyFate = "LQSMCTUDE";
constexpr std::string_view kOrderKept = "LQSMC";

const NamedFate& Named(char letter) {
    return *std::find_if(std::begin(kFates), std::end(kFates),
                         [=](const NamedFate& fate) { return fate.letter == letter; });
}

struct Event {
    size_t send;  // counted from 0
    char fate;
};
using Schedule = std::vector<Event>;

Fate FateOf(const Schedule& schedule, size_t send) {
    Fate all;
    for (const Event& event : schedule) {
        if (event.send == send) {
            const Fate& fate = Named(event.fate).fate;
            all.losesReply |= fate.losesReply;
            all.losesRequest |= fate.losesRequest;
            all.doublesReply |= fate.doublesReply;
            all.doublesRequest |= fate.doublesRequest;
            all.cancels |= fate.cancels;
            all.stallUs = std::max(all.stallUs, fate.stallUs);
            all.lateUs = std::max(all.lateUs, fate.lateUs);
        }
    }
    return all;
}

enum class Speed { Unknown, Known, Slow };  // Known: it has answered before; Slow: in 1.5 timeouts

struct Command {
    int result = 0;
    bool right = true;
    bool cancelled = false;
};
struct Played {
    std::vector<Command> commands;
    size_t sends = 0;
    size_t repeated = 0;  // sends of what had been sent just before
    uint64_t us = 0;
};

struct Score {
    size_t schedules = 0;
    size_t wrong = 0;
    size_t needless = 0;    // failed, and would not have if replies named their requests
    uint64_t beyondMs = 0;  // at most: longer than the clean run and what the faults cost
    std::vector<std::string> examples;

    double Percent(size_t of) const {
        return 100.0 * static_cast<double>(of) / static_cast<double>(schedules);
    }
};

std::ostream& operator<<(std::ostream& out, const Score& score) {
    out << score.schedules << " schedules, " << score.wrong << " wrong ("
        << score.Percent(score.wrong) << " %), " << score.needless << " failed needlessly ("
        << score.Percent(score.needless) << " %), at most " << score.beyondMs << " ms longer\n";
    for (const std::string& example : score.examples) {
        out << "    " << example << '\n';
    }
    return out;
}

class SchedulesTest : public testing::Test {
 protected:
    Played Play(const Scene& scene, Speed speed, const Schedule& schedule,
                bool knowsRequests = false, bool trace = false) {
        world.Reset();
        Network network(world.storage.Path());
        network.fate = [&schedule](size_t send) { return FateOf(schedule, send); };
        network.answerUs = speed == Speed::Slow ? kTimeoutUs * 3 / 2 : 0;
        world.network = &network;
        network.knowsRequests = knowsRequests;
        VirtualWire& wire = VirtualWire::Get();
        CTvUdp link;
        link.Create(kCommandPort);
        if (speed == Speed::Known) {
            const auto take = std::exchange(wire.onSend, [&wire](const WireDatagram& request) {
                wire.Arrive(kRoundTripUs, {request.peer, kPanelPort, kCommandPort, "ACK"});
            });
            link.CmdTM(0);
            wire.onSend = take;
        }
        const uint64_t start = wire.NowUs();
        if (trace) {
            network.trace = [&wire, start](const std::string& text) {
                std::cout << "    " << static_cast<double>(wire.NowUs() - start) / 1000 << " ms  "
                          << text << '\n';
            };
        }
        Played run;
        network.onCancel = [&] {
            if (run.commands.size() <= scene.steps.size()) {
                run.commands.back().cancelled = true;
                link.Cancel();
            }
        };
        for (const Step& step : scene.steps) {
            if (trace) {
                network.trace(step.words);
            }
            Command& command = run.commands.emplace_back();
            command.result = step.run(link);
            command.right = step.refused ? command.result == 0 : !step.right || step.right();
            if (trace) {
                network.trace("    gave " + std::to_string(command.result) +
                              (command.result != 0 && !command.right ? ", and is not right" : ""));
            }
        }
        run.us = wire.NowUs() - start;
        run.sends = network.sends;
        run.repeated = network.repeated;
        network.onCancel = [] {};
        wire.Advance(10 * kTimeoutUs);
        for (size_t i = 0; i < scene.steps.size(); ++i) {
            if (scene.steps[i].rightAtLast && !scene.steps[i].refused) {
                run.commands[i].right = scene.steps[i].rightAtLast();
            }
        }
        return run;
    }

    // All scenes with up to `faults` fates of the given letters.
    Score GoThrough(Speed speed, int faults, std::string_view letters) {
        if (const char* deeper = std::getenv("BRENHOLT_FATES"); deeper != nullptr && faults > 1) {
            faults = std::stoi(deeper);
        }
        Score score;
        for (const Scene& scene : world.Scenes()) {
            const Played clean = Play(scene, speed, {});
            Deepen(scene, speed, clean.us, {}, faults, letters, clean, score);
        }
        std::cout << "    " << score;
        return score;
    }

    World world;

 private:
    void Deepen(const Scene& scene, Speed speed, uint64_t cleanUs, const Schedule& schedule,
                int faults, std::string_view letters, const Played& run, Score& score) {
        for (size_t send = schedule.empty() ? 0 : schedule.back().send;
             faults > 0 && send < run.sends; ++send) {
            for (const char fate : letters) {
                Schedule next = schedule;
                next.push_back({send, fate});
                const Played outcome = Play(scene, speed, next);
                Judge(scene, speed, cleanUs, next, outcome, score);
                Deepen(scene, speed, cleanUs, next, faults - 1, letters, outcome, score);
            }
        }
    }

    void Judge(const Scene& scene, Speed speed, uint64_t cleanUs, const Schedule& schedule,
               const Played& run, Score& score) {
        std::optional<Played> ideal;
        std::string wrong;
        std::string needless;
        for (size_t i = 0; i < run.commands.size(); ++i) {
            const Command& command = run.commands[i];
            if (command.result != 0 && !command.right) {
                wrong += (wrong.empty() ? "; reported as done and not right: " : ", ") +
                         scene.steps[i].words;
            }
            if (command.result == 0 && !command.cancelled && !scene.steps[i].refused) {
                ideal = ideal ? std::move(ideal) : Play(scene, speed, schedule, true);
                if (ideal->commands[i].result != 0) {
                    needless +=
                        (needless.empty() ? "; failed needlessly: " : ", ") + scene.steps[i].words;
                }
            }
        }
        uint64_t allowedUs = cleanUs;
        std::string words = scene.name;
        std::string letters;
        for (const Event& event : schedule) {
            const NamedFate& fate = Named(event.fate);
            allowedUs += fate.costUs;
            words += std::string("; send ") + std::to_string(event.send + 1) + ": " + fate.words;
            letters += std::string(letters.empty() ? "" : " ") + event.fate +
                       std::to_string(event.send + 1);
        }
        ++score.schedules;
        score.wrong += wrong.empty() ? 0 : 1;
        score.needless += needless.empty() ? 0 : 1;
        score.beyondMs =
            std::max(score.beyondMs, run.us > allowedUs ? (run.us - allowedUs) / 1000 : 0);
        constexpr size_t kExamples = 10;
        if (!(wrong + needless).empty() && score.examples.size() < kExamples) {
            score.examples.push_back(words + wrong + needless + " [" + letters + "]");
        }
    }
};

TEST_F(SchedulesTest, WithoutFaultsNothingIsSentTwiceOrWaitsLong) {
    for (const Speed speed : {Speed::Unknown, Speed::Known}) {
        for (const Scene& scene : world.Scenes()) {
            SCOPED_TRACE(scene.name);
            const Played run = Play(scene, speed, {});
            for (size_t i = 0; i < scene.steps.size(); ++i) {
                EXPECT_TRUE(run.commands[i].right) << scene.steps[i].words;
                EXPECT_EQ(run.commands[i].result == 0, scene.steps[i].refused)
                    << scene.steps[i].words;
            }
            EXPECT_EQ(run.repeated, scene.name == "one file again and again" ? 2U : 0U);
            // Content that repeats for the first time is doubted for a moment, and so is a file of it.
            EXPECT_LE(run.us, run.sends * kRoundTripUs + scene.steps.size() * 25'000);
        }
    }
}

TEST_F(SchedulesTest, OneFault) {
    for (const Speed speed : {Speed::Unknown, Speed::Known}) {
        const Score score = GoThrough(speed, 1, kAnyFate);
        EXPECT_EQ(score.wrong + score.needless, 0U);
        EXPECT_LE(score.beyondMs, speed == Speed::Known ? 100U : 750U);
    }
}

TEST_F(SchedulesTest, PanelSlowerThanTheTimeout) {
    EXPECT_EQ(GoThrough(Speed::Slow, 1, kOrderKept).wrong, 0U);
}

class TwoFaultsTest : public SchedulesTest, public testing::WithParamInterface<Speed> {};

TEST_P(TwoFaultsTest, InOrder) {
    const Score score = GoThrough(GetParam(), 2, kOrderKept);
    EXPECT_EQ(score.wrong, 0U);
    EXPECT_LE(score.Percent(score.needless), 0.3);
}

TEST_P(TwoFaultsTest, OfAnyKind) {
    const Score score = GoThrough(GetParam(), 2, kAnyFate);
    EXPECT_LE(score.Percent(score.wrong), 2.0);
    EXPECT_LE(score.Percent(score.needless), 0.3);
}

// Some hundred thousand runs: enough without a sanitizer.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TwoFaultsTest);
INSTANTIATE_TEST_SUITE_P(Panel, TwoFaultsTest,
                         testing::ValuesIn(kSanitized ? std::vector<Speed>()
                                                      : std::vector{Speed::Unknown, Speed::Known}),
                         [](const auto& info) {
                             return info.param == Speed::Known ? "Known" : "Unknown";
                         });

// Shows the schedule that BRENHOLT_REPLAY names in the scene BRENHOLT_SCENE.
TEST_F(SchedulesTest, Replay) {
    const char* const name = std::getenv("BRENHOLT_SCENE");
    if (name == nullptr) {
        GTEST_SKIP() << "no BRENHOLT_SCENE";
    }
    const char* const fates = std::getenv("BRENHOLT_REPLAY");
    std::istringstream in(fates != nullptr ? fates : "");
    Schedule schedule;
    char fate = 0;
    for (size_t send = 0; in >> fate >> send;) {
        schedule.push_back({send - 1, fate});
    }
    for (const Scene& scene : world.Scenes()) {
        if (scene.name == name) {
            Play(scene, Speed::Known, schedule, false, true);
        }
    }
}

}  // namespace
}  // namespace brenholt
