// Thousands of transfers through a bad network, in virtual time: what is reported as done is right,
// and little fails that need not. A seed replays its transfer.
//
// BRENHOLT_CAMPAIGN=10 runs ten times as many.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <set>

#include "tests/support/scratch_folder.h"
#include "tests/support/virtual_network/simulated_network.h"

namespace brenholt {
namespace {

using std::chrono::milliseconds;
using tavrin::Fault;

constexpr int kTimeoutMs = 1000;
constexpr size_t kPacket = 1363;

int Times(int transfers) {
#ifdef BRENHOLT_SANITIZED
    transfers /= 50;  // several times slower, and after other faults
#endif
    const char* factor = std::getenv("BRENHOLT_CAMPAIGN");
    return transfers * (factor != nullptr ? std::max(std::atoi(factor), 1) : 1);
}

// What befalls one transfer.
struct Weather {
    double loss = 0;
    double late = 0;
    double stall = 0;
    double twin = 0;
    double cancels = 0;  // share of transfers that are cancelled somewhere
};

struct Score {
    int transfers = 0;
    int wrong = 0;
    int failed = 0;
    uint64_t requests = 0;
    double FailedPercent() const { return 100.0 * failed / transfers; }
};

std::ostream& operator<<(std::ostream& out, const Score& score) {
    return out << score.transfers << " transfers, " << score.wrong << " wrong, " << score.failed
               << " failed (" << score.FailedPercent() << " %), " << score.requests << " requests";
}

class CampaignTest : public testing::Test {
 protected:
    static constexpr int kFiles = 8;

    void MakeFiles(bool zeros) {
        std::mt19937_64 random(7);
        for (int i = 0; i < kFiles; ++i) {
            std::string data(kPacket * (60 + 10 * static_cast<size_t>(i)) + random() % kPacket,
                             '\0');
            if (!zeros) {
                for (char& byte : data) {
                    byte = static_cast<char>(random());
                }
            }
            storage.Write(Name(i), data);
            contents.push_back(std::move(data));
        }
    }
    static std::string Name(int i) { return "file" + std::to_string(i); }

    static tavrin::FaultSettings Faults(const Weather& weather, std::mt19937_64& random) {
        tavrin::FaultSettings faults;
        faults.seed = random();
        const auto span = [&random] {
            return milliseconds(kTimeoutMs / 5 + random() % (kTimeoutMs * 12 / 5));
        };
        faults[Fault::Lose] = {weather.loss / 2, {}};
        faults[Fault::LoseRequest] = {weather.loss / 2, {}};
        faults[Fault::Delay] = {weather.late, span()};
        faults[Fault::Stall] = {weather.stall, span()};
        faults[Fault::Double] = {weather.twin, {}};
        return faults;
    }

    // Runs `transfer(i)` under the weather; it says 1 with `right` set, or 0.
    template <class Transfer>
    Score Run(int transfers, const Weather& weather, bool knowsRequests, Transfer transfer) {
        SimulatedNetwork network(storage.Path());
        network.knowsRequests = knowsRequests;
        CTvUdp link;
        link.Create(kCommandPort);
        link.m_nTimeoutMs = kTimeoutMs;
        std::mt19937_64 random(2026);
        Score score{.transfers = transfers};
        for (int i = 0; i < transfers; ++i) {
            network.SetFaults(Faults(weather, random));
            const bool cancelled = std::uniform_real_distribution<>()(random) < weather.cancels;
            const uint64_t cancelAt = network.requests + random() % 100;
            if (cancelled) {
                WatchForCancel(network, link, cancelAt);
            }
            bool right = false;
            const int result = transfer(link, network, i, right);
            score.failed += result == 0 && !cancelled ? 1 : 0;
            if (result != 0 && !right) {
                ++score.wrong;
                ADD_FAILURE_AT(__FILE__, __LINE__) << "transfer " << i << " is wrong";
            }
            ++m_watch;
        }
        score.requests = network.requests;
        std::cout << "    " << score << '\n';
        return score;
    }

    // Cancels when so many requests have gone out, a little into the wait for the reply.
    void WatchForCancel(SimulatedNetwork& network, CTvUdp& link, uint64_t at) {
        const auto look = [this, &network, &link, at, watch = ++m_watch](const auto& self) -> void {
            if (watch != m_watch) {
                return;
            }
            if (network.requests >= at) {
                link.m_bCancel = 1;
                return;
            }
            VirtualWire::Get().At(700, [self] { self(self); });
        };
        look(look);
    }

    Score Fetch(int transfers, const Weather& weather, bool knowsRequests) {
        return Run(transfers, weather, knowsRequests,
                   [this](CTvUdp& link, SimulatedNetwork&, int i, bool& right) {
                       const std::string name = Name(i % kFiles);
                       const std::u16string wide(name.begin(), name.end());
                       std::filesystem::remove(target.Path() + '/' + name);
                       const int result = link.CmdUP(wide.c_str(), target.Text().c_str(), 0);
                       right = result != 0 &&
                               target.Read(name) == contents[static_cast<size_t>(i % kFiles)];
                       return result;
                   });
    }

    // No wrong file, and at most 0.3 points more failures than if replies named their requests.
    void ExpectFetchesHold(int transfers, const Weather& weather) {
        const Score guarded = Fetch(transfers, weather, false);
        const Score bound = Fetch(transfers, weather, true);
        EXPECT_EQ(guarded.wrong, 0);
        EXPECT_LE(guarded.FailedPercent(), bound.FailedPercent() + 0.3);
    }

    ScratchFolder storage;
    ScratchFolder target;
    std::vector<std::string> contents;
    uint64_t m_watch = 0;  // whoever watches for an older transfer stops
};

TEST_F(CampaignTest, FetchesThroughLossLatenessAndStalls) {
    MakeFiles(false);
    ExpectFetchesHold(Times(2000), {.stall = 0.001});
    ExpectFetchesHold(Times(2000), {.twin = 0.001});
    ExpectFetchesHold(Times(3000), {.loss = 0.01, .late = 0.001, .stall = 0.001, .cancels = 0.05});
    ExpectFetchesHold(Times(3000),
                      {.loss = 0.05, .late = 0.002, .stall = 0.001, .twin = 0.001, .cancels = 0.1});
}

TEST_F(CampaignTest, FetchesOfZerosThroughLossAndStalls) {
    MakeFiles(true);
    ExpectFetchesHold(Times(500), {.loss = 0.01, .stall = 0.001});
    ExpectFetchesHold(Times(500), {.loss = 0.05, .stall = 0.001, .cancels = 0.05});
}

// What the sender is told to be there is there; what the panel has not taken is not reported.
TEST_F(CampaignTest, SendsThroughLossLatenessAndStalls) {
    MakeFiles(false);
    const Score files =
        Run(Times(1000), {.loss = 0.01, .late = 0.001, .stall = 0.001, .cancels = 0.05}, false,
            [this](CTvUdp& link, SimulatedNetwork&, int i, bool& right) {
                const std::string name = Name(i % kFiles);
                const std::u16string wide(name.begin(), name.end());
                std::filesystem::remove(storage.Path() + "/sent");
                const int result = link.CmdDL(storage.Text(wide).c_str(), u"sent", 0);
                right = storage.Read("sent") == contents[static_cast<size_t>(i % kFiles)];
                return result;
            });
    // Nothing in the acknowledgement of a block names its datagram: only loss is survived for sure.
    const Score blocks =
        Run(Times(1000), {.loss = 0.01, .cancels = 0.05}, false,
            [this](CTvUdp& link, SimulatedNetwork& network, int i, bool& right) {
                const std::string& data = contents[static_cast<size_t>(i % kFiles)];
                const int result = link.CmdML(reinterpret_cast<const uint8_t*>(data.data()),
                                              static_cast<int>(data.size()), u"block", 0);
                right = !network.panel.blocks().empty() &&
                        std::equal(data.begin(), data.end(),
                                   network.panel.blocks().back().bytes.begin(),
                                   network.panel.blocks().back().bytes.end(),
                                   [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
                return result;
            });
    EXPECT_EQ(files.wrong, 0);
    EXPECT_LT(blocks.FailedPercent(), 0.5);
}

TEST_F(CampaignTest, ListingsAndFoldersThroughLossLatenessAndStalls) {
    constexpr int kEntries = 300;
    std::filesystem::create_directory(storage.Path() + "/many");
    for (int i = 0; i < kEntries; ++i) {
        storage.Write("many/entry" + std::to_string(i), std::to_string(i));
    }
    const Weather weather{.loss = 0.02, .late = 0.002, .stall = 0.001, .cancels = 0.05};
    std::vector<PanelDirEntry> entries(1000);
    Run(Times(1000), weather, false, [&entries](CTvUdp& link, SimulatedNetwork&, int, bool& right) {
        const int count = link.CmdDR(u"many", 1000, entries.data(), 0);
        std::set<std::string> names;
        for (int i = 0; i < count; ++i) {
            names.insert(entries[static_cast<size_t>(i)].szName);
        }
        right = count == kEntries && names.size() == kEntries;
        return count;
    });
    // Without cancels: a walk is not to notice those.
    const Weather walkWeather{.loss = 0.02, .late = 0.002, .stall = 0.001};
    Run(Times(20), walkWeather, false, [](CTvUdp& link, SimulatedNetwork&, int, bool& right) {
        const ScratchFolder copy;
        const int result = link.CmdGF(u"many", copy.Text().c_str(), 0);
        // A listing that got no answer counts as an empty folder, and says so by leaving nothing.
        const std::vector<std::string> names = copy.Names();
        right = names.empty() || names.size() == kEntries;
        for (const std::string& name : names) {
            right = right && copy.Read(name) == name.substr(5);
        }
        return result;
    });
}

TEST_F(CampaignTest, CleanFetchesSendNothingTwice) {
    MakeFiles(true);
    const Score score = Fetch(kFiles, {}, false);
    EXPECT_EQ(score.failed, 0);
    size_t packets = 0;
    for (const std::string& data : contents) {
        packets += data.size() / kPacket + 1;
    }
    EXPECT_EQ(score.requests, packets);
}

}  // namespace
}  // namespace brenholt
