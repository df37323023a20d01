// Descriptors, beacons and the ageing of units.
#include <cstring>

#include "discovery/beacon.h"
#include "tests/support/link_fixture.h"

namespace brenholt {
namespace {

TEST(DescriptorTest, IsReadFromItsEnd) {
    const std::tuple<const char16_t*, int, int, const char16_t*> cases[] = {
        {u"Line1_ARM_0102", 102, kCpuArm, u"Line1"},
        {u"My_Line_X86_0310", 310, kCpuX86, u"My_Line"},
        {u"_ARM_0102", 102, kCpuArm, u""},
        {u"Line1_arm_0102", 102, kCpuUnknown, u"Line1"},
        {u"Line1_ARM_01x2", 1, kCpuArm, u"Line1"},
        {u"Line1_ARM_-123", -123, kCpuArm, u"Line1"},
        {u"Line1_ARM_102", 0, kCpuArm, u"Line1"},
        {u"Line1_ARM_10234", 234, kCpuUnknown, u"Line14"},
        {u"Line1_ARM_", 0, kCpuArm, u"Line1"},
        {u"Line1_0102", 102, kCpuUnknown, u"1"},
        {u"Project1234", 1234, kCpuUnknown, u"34"},
        {u"Panel", 0, kCpuUnknown, u""},
        {u"", 0, kCpuUnknown, u""},
    };
    CTavrinUnit unit(u"10.0.0.1", 5);
    for (const auto& [text, version, cpu, project] : cases) {
        unit.ParseDescriptor(text);
        EXPECT_EQ(unit.m_nVersion, version);
        EXPECT_EQ(unit.m_nCpu, cpu);
        EXPECT_EQ(unit.m_strProject, project);
    }
    EXPECT_EQ(unit.m_strIp, u"10.0.0.1");
}

// No other thread runs here, so the list needs no lock.
auto& Units(CTvPing& ping) {
    return ping.m_listUnits;
}

class PingTest : public LinkFixture {
 protected:
    void SetUp() override {
        LinkFixture::SetUp();
        ping.Create(BRENHOLT_PORT_BEACON);
    }
    void Hear(const std::string& from, const std::string& bytes, uint16_t port = 4000) {
        wire.Arrive(0, {from, port, BRENHOLT_PORT_BEACON, bytes});
        ping.Step();
    }
    static std::string Beacon(const std::string& descriptor = "Line1_ARM_0102") {
        return std::string(kGreeting) + '?' + descriptor;
    }
    std::vector<std::string> Listed() {
        std::vector<BrenholtUnitRow> rows(8);
        std::memset(rows.data(), 'x', rows.size() * sizeof rows[0]);
        const int count = ping.CopyUnits(8, reinterpret_cast<uint8_t*>(rows.data()));
        std::vector<std::string> listed;
        for (int i = 0; i < count; ++i) {
            const BrenholtUnitRow& row = rows[static_cast<size_t>(i)];
            EXPECT_EQ(row.chEnd, 0);
            listed.push_back(std::string(row.szIp) + ' ' + row.szProject);
        }
        return listed;
    }
    CTvPing ping;
};

TEST_F(PingTest, GreetingMakesTheBeacon) {
    const std::string greeting(kGreeting);
    Hear("10.0.0.1", greeting.substr(0, 16));
    Hear("10.0.0.1", std::string("Is there\0anybody ", 17) + std::string(20, 'x'));
    Hear("10.0.0.1", "Is there nobody _Line1_ARM_0102");
    Hear("10.0.0.1", Beacon(std::string(1400, 'x')));
    EXPECT_TRUE(Listed().empty());
    Hear("10.0.0.1", greeting);
    Hear("10.0.0.2", greeting + '\xff');
    Hear("10.0.0.3", "IS THERE ANYBODY !Line_X86_0001");
    Hear("10.0.0.4", Beacon(std::string(1382, 'x')));
    EXPECT_EQ(Listed().size(), 4U);
    EXPECT_EQ(Listed()[2], "10.0.0.3 Line");
    BrenholtUnitRow rows[2]{};
    EXPECT_EQ(ping.CopyUnits(1, reinterpret_cast<uint8_t*>(rows)), 1);
    EXPECT_EQ(rows[1].szIp[0], 0) << "no more rows than there is room for";
    EXPECT_EQ(Listed()[3].size(), 9 + 255U) << "a project is cut to its field";
}

TEST_F(PingTest, DescriptorFollowsEachBeaconThatHasOne) {
    Hear("10.0.0.1", Beacon("Line1_ARM_0102"), 4000);
    Hear("10.0.0.1", std::string(kGreeting), 4001);
    ASSERT_EQ(Listed(), std::vector<std::string>{"10.0.0.1 Line1"});
    EXPECT_EQ(Units(ping).front()->m_nPort, 4000) << "the port of the first beacon stays";
    Hear("10.0.0.1", std::string(kGreeting) + "?" + '\0' + "Line2_X86_0001");
    EXPECT_EQ(Units(ping).front()->m_nCpu, kCpuUnknown) << "an empty descriptor is a descriptor";
    EXPECT_EQ(ping.SelectUnit(u"10.0.0.1"), 1);
    EXPECT_EQ(ping.SelectUnit(u"10.0.0.2"), 0);
    EXPECT_EQ(ping.m_strSelIp, u"10.0.0.1");
    EXPECT_EQ(ping.CopyUnits(8, nullptr), 0);
}

TEST_F(PingTest, SilentUnitsGoWithTheNextBeaconAfterFiveSeconds) {
    for (const uint64_t start : {uint64_t{1'000'000}, (uint64_t{1} << 32) - 2500}) {
        wire.Reset(start);
        Hear("10.0.0.1", Beacon());
        wire.Advance(5'000'000);
        EXPECT_EQ(Listed().size(), 1U) << "the list ages only when a beacon comes";
        Hear("10.0.0.2", Beacon());
        EXPECT_EQ(Listed().size(), 2U) << "5000 ms are within";
        Hear("10.0.0.1", Beacon());
        wire.Advance(5'001'000);
        Hear("10.0.0.2", Beacon("Fresh_ARM_0001"), 4002);
        EXPECT_EQ(Listed(), std::vector<std::string>{"10.0.0.2 Fresh"});
        EXPECT_EQ(Units(ping).front()->m_nPort, 4002) << "swept out and added anew";
        wire.Advance(6'000'000);
        Hear("10.0.0.3", Beacon());
        Units(ping).clear();
    }
}

TEST_F(LinkFixture, UseUnitAdoptsWhatTheListenerHeard) {
    Units(link->m_ping).push_back(std::make_unique<CTavrinUnit>(u"10.0.0.7", 4000));
    Units(link->m_ping).back()->ParseDescriptor(u"Line_X86_0310");
    EXPECT_EQ(link->UseUnit(u"10.0.0.8"), 0);
    EXPECT_EQ(std::u16string(link->m_strTargetIp.c_str()), u"192.168.0.1");
    EXPECT_EQ(link->UseUnit(u"10.0.0.7"), 1);
    EXPECT_EQ(std::u16string(link->m_strTargetIp.c_str()), u"10.0.0.7");
    EXPECT_EQ(link->m_nTargetCpu, 1);
    EXPECT_EQ(link->m_nTargetVersion, 310);
    EXPECT_EQ(ElapsedMs(), 0U);
    link->m_bBusy = 1;
    EXPECT_EQ(link->UseUnit(u"10.0.0.8"), 0);
    EXPECT_EQ(ElapsedMs(), 1000U) << "a running command gets a second to end";
    EXPECT_EQ(link->m_bCancel, 1);
    EXPECT_EQ(link->UseUnit(nullptr), 0);
}

}  // namespace
}  // namespace brenholt
