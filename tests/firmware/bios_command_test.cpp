// Raw firmware commands and their clients: setup items, vendor name, integrated graphics.
#include <gmock/gmock.h>

#include <cstring>

#include "firmware/cmos_items.h"
#include "firmware/firmware_fixture.h"

namespace {

using namespace vxttest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxt::CBIOSMiscInfo;
using vxt::CCMOSItemList;

std::string g_Line(const char* pszText, const char* pszFunction) { return g_ProcessError(pszText, pszFunction); }

/// A [firmware command] section; `uRetCode` in one byte, then data.
std::string g_Result(const char* pszCode, uint8_t ucRetCode, const std::string& sData = "") {
    return std::string("[firmware command ") + pszCode + "]\nresult = 0" + std::to_string(ucRetCode) + " 00 00 00 " +
           sData + "\n";
}
std::string g_Bytes(size_t uCount, const char* pszByte) {
    std::string sBytes;
    while (uCount-- > 0) sBytes += std::string(pszByte) + " ";
    return sBytes;
}

struct CBiosCommandTest : CFirmwarePc {
    uint32_t Run(uint32_t uInSize = 256, uint32_t uOutSize = 8) {
        return m_Bios.RunCommand(&m_Command, uInSize, &m_Result, uOutSize);
    }
    size_t Calls() {
        const Lines Trace = TakeTrace();
        return static_cast<size_t>(std::ranges::count(Trace, "ExecuteWmiMethod"));
    }

    vxt::CQORBIOS m_Bios{vxt::g_GetFirmwareWmi()};
    vxt::QOR_BIOS_COMMAND m_Command{.uCode = 0x00030001, .aucArguments = {}};
    vxt::QOR_BIOS_RESULT m_Result{.uRetCode = 0x99, .aucData = {}};
    CCMOSItemList m_List{m_Bios};
    CBIOSMiscInfo m_Info{m_Bios};
};

TEST_F(CBiosCommandTest, InitReadsVersionAndCommands) {
    EXPECT_TRUE(m_Bios.Init());
    EXPECT_EQ(m_Bios.GetVersion(), 3u);
    EXPECT_THAT(m_Bios.GetCommandList(), ElementsAre(0x00030001, 0x00030002, 0x00040001));
    Boot(g_Answer("QueryCommandList", "CommandCount = number:2"));
    EXPECT_TRUE(m_Bios.Init());
    EXPECT_EQ(m_Bios.GetCommandList().size(), 2u) << "the count counts, not the array";
}

TEST_F(CBiosCommandTest, SizesAndPointersAreCheckedBeforeAnythingIsAsked) {
    const struct {
        std::function<uint32_t()> Run;
        const char* pszText;
        uint32_t uAnswer;
    } kCases[] = {
        {[&] { return m_Bios.RunCommand(nullptr, 8, &m_Result, 8); }, "pInData", 0x99},
        {[&] { return m_Bios.RunCommand(&m_Command, 8, nullptr, 8); }, "pOutData", 0xFFFFFFFF},
        {[&] { return Run(257, 8); }, "InDataSize <= sizeof(QOR_BIOS_COMMAND)", 0x99},
        {[&] { return Run(8, 513); }, "OutDataSize <= sizeof(QOR_BIOS_RESULT)", 0x99},
    };
    for (const auto& [RunCase, pszText, uAnswer] : kCases) {
        EXPECT_EQ(RunCase(), uAnswer) << pszText;
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line(pszText, "CQORBIOS::RunCommand")));
    }
    EXPECT_EQ(Calls(), 0u);
}

TEST_F(CBiosCommandTest, ACommandIsSentInAWholeBlockAndSoMuchOfTheResultIsTaken) {
    std::memset(m_Command.aucArguments, 0xEE, sizeof(m_Command.aucArguments));
    std::memset(m_Result.aucData, 0xDD, sizeof(m_Result.aucData));
    EXPECT_EQ(Run(4, 5), 0u);
    EXPECT_EQ(m_Result.aucData[0], 2) << "two items";
    EXPECT_EQ(m_Result.aucData[1], 0xDD) << "no byte beyond the size asked for";
    // Item 2: the argument beyond the size sent would make it another one.
    m_Command.uCode = 0x00030003;
    const uint8_t aucItem[] = {2, 0, 0, 0};
    std::memcpy(m_Command.aucArguments, aucItem, sizeof(aucItem));
    EXPECT_EQ(Run(8, 8), 0u);
    EXPECT_EQ(m_Result.aucData[0], 0);
    std::vector<uint8_t> Sent{3, 0, 3, 0, 2, 0, 0, 0};
    Sent.resize(256);
    EXPECT_EQ(System().m_Wmi.Firmware()->LastCommand(), Sent) << "zeros behind what was given";
    EXPECT_EQ(Run(4, 8), 2u) << "without its argument it is item 0, which the firmware does not know";
    m_Command.uCode = 0x00FFFFFF;
    EXPECT_EQ(Run(), 1u);
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "a refused command is an answer";
    EXPECT_EQ(Calls(), 4u);
}

TEST_F(CBiosCommandTest, SetupItemsAreListedReadAndSet) {
    EXPECT_EQ(m_List.GetItemValue(0), 1) << "also before the list is read";
    ASSERT_TRUE(m_List.Init());
    ASSERT_EQ(m_List.GetItemList().size(), 2u);
    const vxt::QOR_CMOS_ITEM& rItem = m_List.GetItemList()[1];
    EXPECT_EQ(vxt::g_CmosText(rItem.szName), "Quiet Boot");
    EXPECT_EQ(rItem.usOptionCount, 2);
    EXPECT_EQ(vxt::g_CmosText(rItem.szOptionList[0]), vxt::CMOS_ITEM_DISABLED);
    EXPECT_EQ(vxt::g_CmosText(rItem.szOptionList[1]), "Enabled");
    EXPECT_EQ(m_List.GetItemList()[0].usValue, 1);
    EXPECT_EQ(m_List.FindItem("Quiet Boot"), 1);
    EXPECT_EQ(m_List.FindItem("Quiet"), CCMOSItemList::kNoItem);

    EXPECT_EQ(m_List.GetItemValue(1), 0);
    EXPECT_TRUE(m_List.SetItemValue(1, 1));
    const std::vector<uint8_t> Command = System().m_Wmi.Firmware()->LastCommand();
    EXPECT_THAT(std::vector(Command.begin(), Command.begin() + 8), ElementsAre(4, 0, 3, 0, 2, 0, 1, 0));
    EXPECT_EQ(m_List.GetItemValue(1), 1);
    EXPECT_EQ(m_List.GetItemValue(0), 1) << "the other one is as it was";
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());

    EXPECT_TRUE(m_List.UnInit());
    EXPECT_THAT(m_List.GetItemList(), IsEmpty());
}

TEST_F(CBiosCommandTest, SettingChecksIndexAndValueFirstAndReadingDoesNot) {
    ASSERT_TRUE(m_List.Init());
    TakeTrace();
    for (const uint16_t usIndex : {uint16_t{2}, uint16_t{0xFFFF}}) {
        EXPECT_FALSE(m_List.SetItemValue(usIndex, 0));
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(g_Line("usItemIndex < m_ItemList.size()", "CCMOSItemList::SetItemValue")));
    }
    for (const uint32_t uValue : {256u, static_cast<uint32_t>(-1)}) {
        EXPECT_FALSE(m_List.SetItemValue(0, uValue));
        EXPECT_THAT(m_Log.TakeErrors(),
                    ElementsAre(g_Line("nNewValue >= 0 && nNewValue < 256", "CCMOSItemList::SetItemValue")));
    }
    EXPECT_EQ(Calls(), 0u);
    EXPECT_EQ(m_List.GetItemValue(2), -1);
    EXPECT_EQ(Calls(), 1u) << "kept: asked all the same";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line("uRetCode == briSuccess", "CCMOSItemList::GetItemValue")));
    EXPECT_FALSE(m_List.SetItemValue(0, 255)) << "the item has no such option";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line("uRetCode == briSuccess", "CCMOSItemList::SetItemValue")));
}

TEST_F(CBiosCommandTest, AListThatCannotBeReadSaysHowFarItCame) {
    const std::string sFailed = g_Line("uRetCode == briSuccess", "CCMOSItemList::Init");
    Boot("", kFirmware.substr(0, kFirmware.find("[firmware item]")));
    EXPECT_TRUE(m_List.Init()) << "no items are no failure";
    EXPECT_THAT(m_List.GetItemList(), IsEmpty());

    Boot();
    ASSERT_TRUE(m_List.Init());
    Boot(g_Result("00030001", 5, "00 00 00 00") + g_Result("00030002", 5, g_Bytes(508, "00")));
    EXPECT_FALSE(m_List.Init());
    Boot(g_Result("00030002", 5, g_Bytes(508, "00")));
    EXPECT_FALSE(m_List.Init());
    ASSERT_EQ(m_List.GetItemList().size(), 2u);
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[0].szName), "Core Trim Boost") << "as read the last time";
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(sFailed));
    m_List.UnInit();

    Boot(g_Result("00030001", 0, "04 00 00 00"));  // two more than there are
    EXPECT_FALSE(m_List.Init());
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(sFailed));
    ASSERT_EQ(m_List.GetItemList().size(), 4u);
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[1].szName), "Quiet Boot");
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[2].szName), "");

    Boot(g_Result("00030001", 0, "01 00 01 00"));
    EXPECT_FALSE(m_List.Init());
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line("uItemCount <= kMostItems", "CCMOSItemList::Init")));

    Boot("", "[machine]\nname = without firmware\n");
    EXPECT_FALSE(m_List.Init());
    EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line("bRetCode", "CQORBIOS::RunCommand"), sFailed));
}

TEST_F(CBiosCommandTest, AsManyItemsAreBelievedAsSixteenBitsCanIndex) {
    const std::string sCalledA = g_Result("00030002", 0, "41 00 00 00 " + g_Bytes(504, "00"));
    Boot(g_Result("00030001", 0, "E8 05 00 00") + sCalledA);
    ASSERT_TRUE(m_List.Init());
    ASSERT_EQ(m_List.GetItemList().size(), 0x5E8u);
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList().back().szName), "A");

    Boot(g_Result("00030001", 0, "00 00 01 00") + g_Result("00030002", 5, g_Bytes(508, "00")));
    EXPECT_FALSE(m_List.Init()) << "the first description is refused";
    ASSERT_EQ(m_List.GetItemList().size(), 0x10000u);
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[0x5E7].szName), "A") << "as read the last time";
    TakeTrace();
    EXPECT_FALSE(m_List.SetItemValue(0xFFFF, 0)) << "its number has 17 bits";
    EXPECT_EQ(Calls(), 0u);
}

TEST_F(CBiosCommandTest, TextsWithoutTerminatorEndWithTheirField) {
    Boot(g_Result("00030001", 0, "01 00 00 00") + g_Result("00030002", 0, g_Bytes(508, "41")) +
         g_Result("00040001", 0, g_Bytes(64, "42") + g_Bytes(8, "43")));
    ASSERT_TRUE(m_List.Init());
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[0].szName), std::string(64, 'A'));
    EXPECT_EQ(vxt::g_CmosText(m_List.GetItemList()[0].szOptionList[19]), std::string(22, 'A'));
    ASSERT_TRUE(m_Info.Init());
    EXPECT_EQ(m_Info.GetVendorName(), std::string(64, 'B'));
}

TEST_F(CBiosCommandTest, VendorAndGraphicsAreReadAndAFailedReadKeepsWhatWasKnown) {
    EXPECT_TRUE(m_Info.Init());
    EXPECT_STREQ(m_Info.GetVendorName(), "QOR Boards");
    EXPECT_EQ(m_Info.GetIGPInfo(), 0x5A);
    EXPECT_TRUE(m_Info.IsIGPPresent());
    EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
    const struct {
        const char *pszCode, *pszFunction;
    } kCases[] = {{"00040001", "CBIOSMiscInfo::_GetVendorName"}, {"00040002", "CBIOSMiscInfo::_GetIGPInfo"}};
    for (const auto& [pszCode, pszFunction] : kCases) {
        Boot(g_Result(pszCode, 1, g_Bytes(64, "00")));
        EXPECT_FALSE(m_Info.Init());
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(g_Line("uRetCode == briSuccess", pszFunction),
                                                    g_Line("bRetCode", "CBIOSMiscInfo::Init")));
        EXPECT_STREQ(m_Info.GetVendorName(), "QOR Boards");
        EXPECT_TRUE(m_Info.IsIGPPresent());
    }
    Boot(g_Result("00040002", 0, "11 02 00 00"));
    EXPECT_TRUE(m_Info.Init());
    EXPECT_EQ(m_Info.GetIGPInfo(), 0x11);
    EXPECT_FALSE(m_Info.IsIGPPresent()) << "only 1 means present";
}

}  // namespace
