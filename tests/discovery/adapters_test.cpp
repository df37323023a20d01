// The host's adapters and the same-network test.
#include "platform/adapters.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "link/tv_udp.h"

namespace brenholt {
namespace {

class AdaptersTest : public testing::Test {
 protected:
    void Have(const char16_t* ip, const char16_t* mask) {
        auto& adapter = link.m_listAdapters.emplace_back(std::make_unique<CEAdapterInfo>());
        adapter->m_strIp = ip;
        adapter->m_strMask = mask;
    }
    CTvUdp link;
};

TEST_F(AdaptersTest, AnAddressIsOnTheNetworkOfAnAdapterOrOnNone) {
    EXPECT_EQ(link.IsSameNetwork(u"192.168.0.10"), 0) << "no adapters at all";
    Have(u"0.0.0.0", u"255.255.255.0");
    Have(u"10.1.1.1", u"0.0.0.0");
    Have(u"192.168.0.10", u"255.255.255.0");
    Have(u"172.16.0.1", u"255.255.255.255");
    const std::pair<const char16_t*, int> cases[] = {
        {u"192.168.0.200", 1}, {u"192.168.1.200", 0}, {u"0.0.0.0", 0},         {u"0.0.0.5", 0},
        {u"172.16.0.1", 1},    {u"172.16.0.2", 0},    {u"nonsense", 0},        {u"", 0},
        {u"10.1.1.1", 0},      {u"192.168.0.0", 1},   {u"255.255.255.255", 0},
    };
    for (const auto& [ip, same] : cases) {
        EXPECT_EQ(link.IsSameNetwork(ip), same) << testing::PrintToString(ip);
    }
    Have(u"0.0.0.9", u"255.255.255.0");
    EXPECT_EQ(link.IsSameNetwork(u"0.0.0.5"), 1);
    EXPECT_EQ(link.IsSameNetwork(u"0.0.0.0"), 0) << "no address";
    EXPECT_EQ(link.IpToNumber(u"1.2.3.4"), 0x01020304U);
    EXPECT_EQ(link.IpToNumber(u"nonsense"), 0xFFFFFFFFU);
}

TEST_F(AdaptersTest, TheSnapshotIsReplacedByWhatTheKernelTells) {
    Have(u"1.1.1.1", u"255.255.255.255");
    const auto records = GetAdaptersInfo();
    ASSERT_TRUE(records);
    EXPECT_EQ(link.LoadAdapters(), static_cast<int>(records->size()));
    EXPECT_EQ(link.IsSameNetwork(u"1.1.1.1"), 0);
    const auto loopback = std::find_if(link.m_listAdapters.begin(), link.m_listAdapters.end(),
                                       [](const auto& a) { return a->m_strName == u"lo"; });
    ASSERT_NE(loopback, link.m_listAdapters.end());
    EXPECT_EQ((*loopback)->m_strIp, u"127.0.0.1");
    EXPECT_EQ((*loopback)->m_strMask, u"255.0.0.0");
    EXPECT_EQ((*loopback)->m_strGateway, u"0.0.0.0");
}

}  // namespace
}  // namespace brenholt
