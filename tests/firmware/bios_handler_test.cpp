// The firmware's tunable objects: what is asked, what comes back, and what a lying firmware leads to.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "firmware/firmware_fixture.h"

namespace {

using namespace vxttest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxt::CCapabilityPack;

constexpr uint32_t kExternal = 0x01010000, kThird = 0x01030000, kMemory = 0x02010000, kNobody = 0x05550000;

const std::string kNoProperty = g_ComError("hRetCode", "CWmiHandler::GetPropertyValue");

struct CBiosHandlerTest : CFirmwarePc {
    static std::string Line(const char* pszText, const char* pszMethod) {
        return g_ProcessError(pszText, std::string("CQORBIOSHandler::") + pszMethod);
    }
};

TEST_F(CBiosHandlerTest, InitTellsTheProcessorAndMakesTheHandlerAvailable) {
    EXPECT_TRUE(Handler().Init());
    EXPECT_TRUE(Handler().IsAvailable());
    const auto Words = System().m_Wmi.Firmware()->LastRequest();
    EXPECT_EQ(std::vector(Words.begin(), Words.end()), (std::vector<int32_t>{0x00100F42, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());

    Boot("", "[machine]\nname = without firmware\n");
    EXPECT_FALSE(Handler().Init());
    EXPECT_FALSE(Handler().IsAvailable()) << "no longer";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("pPackageClass", "BiosRequest"), Line("bRetCode", "Init")));

    Boot(g_Answer("Init", "status = number:7"));
    EXPECT_TRUE(Handler().Init()) << "it only has to be there";
}

TEST_F(CBiosHandlerTest, ThePackListsEveryObjectWithItsFlagAndName) {
    CCapabilityPack Pack;
    ASSERT_TRUE(Handler().GetObjectID(Pack));
    EXPECT_EQ(Pack.IDCount, 5);
    ASSERT_EQ(Pack.Records.size(), 5u);
    EXPECT_EQ(Pack.Records[2].uID, kThird);
    EXPECT_EQ(Pack.Records[2].uProperty, 1u);
    EXPECT_STREQ(Pack.Records[2].szID.data(), L"ThirdClock");
    EXPECT_EQ(Pack.Records[0].uProperty, 0u);

    const std::string sLong(200, 'x');
    Boot(g_Answer("GetObjectID", "IDstring = texts:" + sLong + "|b|c|d|e"));
    ASSERT_TRUE(Handler().GetObjectID(Pack));
    EXPECT_EQ(std::wstring(Pack.Records[0].szID.data()), std::wstring(63, L'x'));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());

    Boot(g_Answer("GetObjectID", "ID = missing"));
    ASSERT_TRUE(Handler().GetObjectID(Pack));
    EXPECT_EQ(Pack.IDCount, 5);
    for (const auto& rRecord : Pack.Records) EXPECT_EQ(rRecord.uProperty, 1u) << "nothing is known to have a list";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(kNoProperty));
}

TEST_F(CBiosHandlerTest, ValuesAreReadAndWrittenAndARefusalIsSilent) {
    EXPECT_EQ(Handler().GetValue(kExternal), 200000.0);
    EXPECT_TRUE(Handler().SetValue(kExternal, 210000.9)) << "the fraction is cut off";
    EXPECT_EQ(Handler().GetValue(kExternal), 210000.0);
    EXPECT_TRUE(Handler().SetValue(kThird, 1999.9));
    EXPECT_EQ(Handler().GetValue(kThird), 1999.0);
    EXPECT_TRUE(Handler().SetValue(kThird, -5.9));
    EXPECT_EQ(Handler().GetValue(kThird), -5.0);
    for (const auto& [dValue, dTaken] : {std::pair{2147483647.9, 2147483647.0}, {-2147483648.9, -2147483648.0}}) {
        EXPECT_TRUE(Handler().SetValue(kThird, dValue));
        EXPECT_EQ(Handler().GetValue(kThird), dTaken);
    }
    EXPECT_FALSE(Handler().SetValue(kExternal, 205000)) << "not in its list";
    EXPECT_FALSE(Handler().SetValue(kMemory, 2000)) << "beyond its limits";
    EXPECT_EQ(Handler().GetValue(kNobody), 0.0);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

TEST_F(CBiosHandlerTest, ANumberThatIsNoIntegerAndAMissingFirmwareAreNamed) {
    const double kNoIntegers[] = {2147483648.0, -2147483649.0, -1e300, std::numeric_limits<double>::infinity(),
                                  std::nan("")};
    for (const double dValue : kNoIntegers) {
        EXPECT_FALSE(Handler().SetValue(kThird, dValue));
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(Line("std::trunc(dValue) >= INT32_MIN && std::trunc(dValue) <= INT32_MAX", "SetValue")))
            << dValue;
    }
    Boot("", "[machine]\nname = without firmware\n");
    EXPECT_FALSE(Handler().SetValue(kExternal, 200000));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("pPackageClass", "SetValue")));
    Handler().Disconnect();
    EXPECT_FALSE(Handler().SetValue(kExternal, 200000));
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("m_pIWbemServices", "SetValue")));
}

TEST_F(CBiosHandlerTest, WordsAndListsComeWholeOrNotAtAll) {
    std::vector<uint32_t> Info;
    EXPECT_TRUE(Handler().GetInfo(kExternal, Info));
    EXPECT_THAT(Info, ElementsAre(150000, 400000, 200000, 1000));

    int32_t nCount = -7;
    EXPECT_TRUE(Handler().GetDValues(kExternal, nullptr, nCount));
    EXPECT_EQ(nCount, 3);
    double adValues[5] = {1, 2, 3, 4, 5};
    nCount = 2;
    EXPECT_FALSE(Handler().GetDValues(kExternal, adValues, nCount));
    EXPECT_THAT(adValues, ElementsAre(1, 2, 3, 4, 5)) << "nothing is written when it does not fit";
    EXPECT_EQ(nCount, 2);
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Line("count >= iCount", "GetDValues")));
    nCount = 5;
    EXPECT_TRUE(Handler().GetDValues(kExternal, adValues, nCount));
    EXPECT_EQ(nCount, 3);
    EXPECT_THAT(adValues, ElementsAre(190000, 200000, 210000, 4, 5));
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
}

}  // namespace
