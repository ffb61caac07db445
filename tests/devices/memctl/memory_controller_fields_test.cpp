// Every field of every memory controller in every layout, against the data sheets' tables in tests/cases/memory_fields.txt:
// decoding, encoding and lists, each through the device's own operations on a simulated PC.
#include <cmath>
#include <limits>
#include <sstream>

#include "devices/memctl/memory_controller_fixture.h"
#include "support/text_cases.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vxtapi::CMemoryController;
using vxtapi::MemConfig;
using vxtapi::MemTiming;
using vxttest::EFamily;
using vxttest::Registers;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// --- layouts ---

enum ELayouts : uint32_t {
    kK8 = 1u << 0,
    kRevF = 1u << 1,
    k10hDdr2Burst64 = 1u << 2,
    k10hDdr2Burst32 = 1u << 3,
    k10hFastDdr2Burst64 = 1u << 4,  // 533 MHz: DDR3's field sizes
    k10hFastDdr2Burst32 = 1u << 5,
    k10hDdr3 = 1u << 6,
    k11hBurst64 = 1u << 7,
    k11hBurst32 = 1u << 8,
    k11hTurnaround = 1u << 9,

    k10hSlowDdr2 = k10hDdr2Burst64 | k10hDdr2Burst32,
    k10hFastDdr2 = k10hFastDdr2Burst64 | k10hFastDdr2Burst32,
    k10hDdr2 = k10hSlowDdr2 | k10hFastDdr2,
    k10hWide = k10hFastDdr2 | k10hDdr3,
    k10h = k10hDdr2 | k10hDdr3,
    k11h = k11hBurst64 | k11hBurst32 | k11hTurnaround,
    kDct = k10h | k11h,
    kDdr2 = kRevF | k10hDdr2 | k11h,
};
struct CLayout {
    ELayouts eLayout;
    const char* pszName;
    EFamily eFamily;
    uint32_t u90, u94;          ///< what makes it
    uint32_t u90Keep, u94Keep;  ///< bits that would make another one, or no channel at all
};
// Both channels are in use in all of them.
// clang-format off
constexpr CLayout kLayouts[] = {
    {kK8, "K8", vxttest::kFirstK8, 0x00010000, 0x02000000, 0x00010000, 0x02000000},
    {kRevF, "RevisionF", vxttest::kRevisionF, 0x00000800, 0x00000008, 0x00000800, 0x00000008},
    {k10hDdr2Burst64, "Family10hDdr2Burst64", vxttest::kFamily10h, 0x000, 0x00A, 0x400, 0x10F},
    {k10hDdr2Burst32, "Family10hDdr2Burst32", vxttest::kFamily10h, 0x400, 0x00A, 0x400, 0x10F},
    {k10hFastDdr2Burst64, "Family10hFastDdr2Burst64", vxttest::kFamily10h, 0x000, 0x00C, 0x400, 0x10F},
    {k10hFastDdr2Burst32, "Family10hFastDdr2Burst32", vxttest::kFamily10h, 0x400, 0x00C, 0x400, 0x10F},
    {k10hDdr3, "Family10hDdr3", vxttest::kFamily10h, 0x000, 0x10D, 0x400, 0x10F},
    {k11hBurst64, "Family11hBurst64", vxttest::kFamily11h, 0x000, 0x0000A, 0x400, 0x20008},
    {k11hBurst32, "Family11hBurst32", vxttest::kFamily11h, 0x400, 0x0000A, 0x400, 0x20008},
    {k11hTurnaround, "Family11hTurnaround", vxttest::kFamily11h, 0x000, 0x2000A, 0x400, 0x20008},
};
// clang-format on

// --- the data sheets' tables ---

struct CRow {
    uint32_t uLayouts;
    uint32_t uSlot;
    std::string sField, sValues;
};
std::vector<CRow> g_Rows(const std::string& sRecord) {
    const std::map<std::string, uint32_t> Names = {
        {"K8", kK8},
        {"RevF", kRevF},
        {"10hSlowDdr2", k10hSlowDdr2},
        {"10hDdr2", k10hDdr2},
        {"10hDdr2Burst64", k10hDdr2Burst64},
        {"10hDdr2Burst32", k10hDdr2Burst32},
        {"10hFastDdr2Burst64", k10hFastDdr2Burst64},
        {"10hFastDdr2Burst32", k10hFastDdr2Burst32},
        {"10hDdr3", k10hDdr3},
        {"10hWide", k10hWide},
        {"11h", k11h},
        {"11hBurst64", k11hBurst64},
        {"11hBurst32", k11hBurst32},
        {"11hTurnaround", k11hTurnaround},
        {"Dct", kDct},
        {"Ddr2", kDdr2},
    };
    std::vector<CRow> Rows;
    for (const auto& rRow : vxttest::g_CaseRows("memory_fields.txt")) {
        if (rRow[0] != sRecord) continue;
        CRow& rResult = Rows.emplace_back(CRow{0, static_cast<uint32_t>(std::stoul(rRow[2])), rRow.at(3), rRow.at(4)});
        std::istringstream Layouts(rRow[1]);
        for (std::string sName; Layouts >> sName;) rResult.uLayouts |= Names.at(sName);
    }
    EXPECT_GT(Rows.size(), 20u);
    return Rows;
}
const std::vector<CRow>& g_Timings() {
    static const std::vector<CRow> s_Rows = g_Rows("timing");
    return s_Rows;
}
const std::vector<CRow>& g_Configs() {
    static const std::vector<CRow> s_Rows = g_Rows("configuration");
    return s_Rows;
}
// clang-format off
const struct {
    uint32_t uLayouts;
    uint8_t MemConfig::*pFlag;
    const char* pszField;
    bool bWritten;
} kFlags[] = {
    {kK8, &MemConfig::bGanged, "90[16:16]", false},
    {kRevF, &MemConfig::bGanged, "90[11:11]", false},
    {kDct, &MemConfig::bGanged, "110[4:4]", true},
    {kK8, &MemConfig::bSlowAccessMode, "90[28:28]", true},
    {kRevF | kDct, &MemConfig::bSlowAccessMode, "94[20:20]", true},
    {kK8, &MemConfig::bWeakDrivers, "90[1:1]", true},
    {kRevF | kDct, &MemConfig::bWeakDrivers, "90[7:7]", true},
    {kK8, &MemConfig::bDccEnable, "94[19:19]", true},
    {kRevF, &MemConfig::bDccEnable, "A0[5:5]", true},
    {kDct, &MemConfig::bDccEnable, "94[22:22]", true},
    {kRevF | kDct, &MemConfig::bPowerDownEnable, "94[15:15]", true},
};

// The lists that each family has. That of Twcl is empty on two of them.
const struct {
    const char* pszName;
    bool (CMemoryController::*pList)(double*, uint32_t&);
    uint32_t uLayouts;
    const std::vector<CRow>& (*pRows)();
    uint32_t uSlot;
} kLists[] = {
#define LIST(name, layouts, rows, slot) {#name, &CMemoryController::name, layouts, rows, slot}
    LIST(GetTclList, ~0u, g_Timings, 0),
    LIST(GetTrcList, ~0u, g_Timings, 1),
    LIST(GetTrfcList, ~0u, g_Timings, 2),
    LIST(GetTrcdList, ~0u, g_Timings, 6),
    LIST(GetTrrdList, ~0u, g_Timings, 7),
    LIST(GetTrasList, ~0u, g_Timings, 8),
    LIST(GetTrpList, ~0u, g_Timings, 9),
    LIST(GetTwrList, ~0u, g_Timings, 10),
    LIST(GetTwtrList, ~0u, g_Timings, 11),
    LIST(GetTrwtList, kK8, g_Timings, 12),
    LIST(GetTrefList, ~0u, g_Timings, 13),
    LIST(GetTwclList, kK8 | kDct, g_Timings, 14),
    LIST(GetMaxAsyncLatList, kK8 | kRevF | k11h, g_Configs, 2),
    LIST(GetRdPreambleList, kK8, g_Configs, 8),
    LIST(GetILD_lmtList, ~0u, g_Configs, 7),
    LIST(GetMemClkList, ~0u, g_Configs, 1),
    LIST(GetTrtpList, kRevF | kDct, g_Timings, 15),
    LIST(GetTrwtTOList, kRevF | kDct, g_Timings, 16),
    LIST(GetTwrrdList, kRevF | kDct, g_Timings, 17),
    LIST(GetTwrwrList, kRevF | kDct, g_Timings, 18),
    LIST(GetTrdrdList, kRevF | kDct, g_Timings, 19),
    LIST(GetDramTermList, kRevF | kDct, g_Configs, 3),
    LIST(GetFourActWindowList, kRevF | kDct, g_Configs, 5),
    LIST(GetUnnamedList, 0, g_Configs, 4),
    LIST(GetCkeDrvStrengthList, kRevF | kDct, g_Configs, 9),
    LIST(GetCsOdtDrvStrengthList, kRevF | kDct, g_Configs, 11),
    LIST(GetAddrCmdDrvStrenList, kRevF | kDct, g_Configs, 13),
    LIST(GetClkDrvStrenList, kRevF | kDct, g_Configs, 15),
    LIST(GetDataDrvStrenList, kRevF | kDct, g_Configs, 17),
    LIST(GetDqsDrvStrenList, kRevF | kDct, g_Configs, 19),
    LIST(GetProcOdtList, kRevF | kDct, g_Configs, 21),
    LIST(GetDqsRcvEnDelayList, kRevF, g_Configs, 23),
#undef LIST
};
// clang-format on

// --- reading the tables ---

struct CPart {
    char cPair = 0;       ///< of the additional data; 0: a register
    uint32_t uPlace = 0;  ///< offset or index
    uint32_t uHigh = 0, uLow = 0;
    uint32_t Mask() const { return ((uint64_t{1} << (uHigh - uLow + 1)) - 1) & ~0u; }
};

std::vector<CPart> g_Parts(const std::string& sField) {
    std::vector<CPart> Parts;
    std::istringstream Words(sField);
    for (std::string sWord; Words >> sWord;) {
        CPart Part;
        if (sWord[1] == '.') Part.cPair = sWord[0], sWord.erase(0, 2);
        EXPECT_EQ(std::sscanf(sWord.c_str(), "%x[%u:%u]", &Part.uPlace, &Part.uHigh, &Part.uLow), 3) << sWord;
        Parts.push_back(Part);
    }
    return Parts;
}

uint32_t g_Codes(const std::string& sField) {
    uint32_t uWidth = 0;
    for (const CPart& rPart : g_Parts(sField)) uWidth += rPart.uHigh - rPart.uLow + 1;
    return 1u << uWidth;
}

/// By code; -1 for reserved ones.
std::vector<double> g_Values(const CRow& rRow) {
    std::vector<double> Values;
    std::istringstream Words(rRow.sValues);
    for (std::string sWord; Words >> sWord;) {
        size_t uTimes = 1;
        if (const size_t uStar = sWord.find('*'); uStar != std::string::npos)
            uTimes = std::stoul(sWord.substr(uStar + 1));
        double dFirst = -1.0, dLast = -1.0, dStep = 1.0;
        if (sWord[0] != 'r') {
            const size_t uRange = sWord.find(".."), uStep = sWord.find('/');
            dFirst = dLast = std::stod(sWord.substr(0, uRange));
            if (uRange != std::string::npos) dLast = std::stod(sWord.substr(uRange + 2));
            if (uStep != std::string::npos) dStep = std::stod(sWord.substr(uStep + 1));
        }
        const int nSteps = static_cast<int>(std::lround((dLast - dFirst) / dStep));
        for (; uTimes; --uTimes)
            for (int i = 0; i <= nSteps; ++i) Values.push_back(dFirst + i * dStep);
    }
    EXPECT_LE(Values.size(), g_Codes(rRow.sField)) << rRow.sField;
    return Values;
}

std::vector<double> g_Legal(const CRow& rRow) {
    std::vector<double> Values = g_Values(rRow);
    std::erase(Values, -1.0);
    return Values;
}

// --- the machine under test ---

constexpr uint32_t kOffsets[] = {0x78, 0x84, 0x88, 0x8C, 0x90, 0x94, 0xA0};
constexpr uint32_t kSpace = 0x200;

struct MemoryFields : vxttest::CMemoryTest, ::testing::WithParamInterface<CLayout> {
    MemoryFields() {
        const auto& [eLayout, pszName, eFamily, u90, u94, u90Keep, u94Keep] = GetParam();
        BootAndInit(eFamily, {{0x90, u90}, {0x94, u94}, {0x190, u90}, {0x194, u94}});
        System().m_Server.Record(nullptr);
        if (!Has(kK8)) Additional().m_uReadsUntilDone = 1;
    }
    bool Has(uint32_t uLayouts) const { return uLayouts & GetParam().eLayout; }
    const CRow* Find(const std::vector<CRow>& rRows, uint32_t uSlot) const {
        const auto it =
            std::ranges::find_if(rRows, [&](const CRow& rRow) { return rRow.uSlot == uSlot && Has(rRow.uLayouts); });
        return it == rRows.end() ? nullptr : &*it;
    }
    bool HasTwoSets() const { return Has(kDct); }
    uint32_t Pairs() const { return Has(kK8) ? 0 : HasTwoSets() ? 2 : 1; }

    /// Fills everything with zeros or ones, as far as the layout allows.
    void Fill(uint32_t uBits) {
        const CLayout& rLayout = GetParam();
        for (const uint32_t uOffset : kOffsets)
            for (const uint32_t uSet : {0u, 0x100u}) {
                const uint32_t uKeep = uOffset == 0x90 ? rLayout.u90Keep : uOffset == 0x94 ? rLayout.u94Keep : 0;
                const uint32_t uValue = uOffset == 0x90 ? rLayout.u90 : uOffset == 0x94 ? rLayout.u94 : 0;
                SetRegisters({{uOffset + uSet, (uBits & ~uKeep) | uValue}});
            }
        SetRegisters({{0x110, uBits}});
        for (const uint32_t uIndex : {0x00u, 0x10u, 0x13u, 0x16u, 0x19u, 0x20u, 0x30u, 0x33u, 0x36u, 0x39u})
            for (uint32_t uPair = 0; uPair < Pairs(); ++uPair) Additional().Register(uPair, uIndex) = uBits;
    }
    /// Puts a code into a field, in both channels' registers where both are written.
    void Put(const std::string& sField, uint32_t uCode) {
        for (const CPart& rPart : g_Parts(sField)) {
            const auto Replace = [&](uint32_t uOld) {
                return (uOld & ~(rPart.Mask() << rPart.uLow)) | (uCode & rPart.Mask()) << rPart.uLow;
            };
            if (rPart.cPair) {
                uint32_t& ruRegister = Additional().Register(rPart.cPair - 'A', rPart.uPlace);
                ruRegister = Replace(ruRegister);
            } else {
                SetRegisters({{rPart.uPlace, Replace(Register(rPart.uPlace))}});
                const bool bTiming11h = Has(k11h) && rPart.uPlace >= 0x88 && rPart.uPlace < 0x90;
                const bool bChannelAOnly = !HasTwoSets() || rPart.uPlace >= 0x100 || bTiming11h;
                if (!bChannelAOnly) SetRegisters({{rPart.uPlace + 0x100, Replace(Register(rPart.uPlace + 0x100))}});
            }
            uCode >>= rPart.uHigh - rPart.uLow + 1;
        }
    }
    /// Everything the controller could write: the whole function, then the additional data.
    std::vector<uint32_t> Snapshot() {
        std::vector<uint32_t> Result;
        for (uint32_t uOffset = 0; uOffset < kSpace; uOffset += 4) Result.push_back(Register(uOffset));
        for (uint32_t uPair = 0; uPair < Pairs(); ++uPair)
            for (uint32_t uIndex = 0; uIndex < 0x40; ++uIndex) Result.push_back(Additional().Register(uPair, uIndex));
        return Result;
    }
    static std::string Differences(const std::vector<uint32_t>& rExpected, const std::vector<uint32_t>& rActual) {
        std::string sResult;
        char szLine[64];
        for (size_t i = 0; i < rExpected.size(); ++i) {
            if (rExpected[i] == rActual[i]) continue;
            const bool bRegister = i < kSpace / 4;
            std::snprintf(szLine, sizeof(szLine), "%s %zX holds %08X instead of %08X\n",
                          bRegister ? "register" : "additional register", bRegister ? i * 4 : i - kSpace / 4,
                          rActual[i], rExpected[i]);
            sResult += szLine;
        }
        return sResult;
    }

    // The two records, each by slot.
    static MemTiming Read(CMemoryController& rController, const MemTiming*) {
        MemTiming Timing;
        EXPECT_TRUE(rController.GetMemTiming(&Timing));
        return Timing;
    }
    static MemConfig Read(CMemoryController& rController, const MemConfig*) {
        MemConfig Config;
        EXPECT_TRUE(rController.GetMemConfig(&Config));
        return Config;
    }
    static bool Write(CMemoryController& rController, const MemTiming& rTiming) {
        return rController.SetMemTiming(&rTiming);
    }
    static bool Write(CMemoryController& rController, const MemConfig& rConfig) {
        return rController.SetMemConfig(&rConfig);
    }
    template <class TRecord> static double Number(const TRecord& rRecord, uint32_t uSlot) {
        double dValue;
        std::memcpy(&dValue, reinterpret_cast<const char*>(&rRecord) + 8 * uSlot, 8);
        return dValue;
    }
    template <class TRecord> static void SetNumber(TRecord& rRecord, uint32_t uSlot, double dValue) {
        std::memcpy(reinterpret_cast<char*>(&rRecord) + 8 * uSlot, &dValue, 8);
    }
    static constexpr bool IsFlags(const MemTiming*, uint32_t) { return false; }
    static constexpr bool IsFlags(const MemConfig*, uint32_t uSlot) { return uSlot == 0 || uSlot == 4; }
    /// What the machine holds, with no number that any field would take.
    template <class TRecord> TRecord Untouched() {
        TRecord Record = Read(Controller(), static_cast<TRecord*>(nullptr));
        for (uint32_t uSlot = 0; uSlot < sizeof(TRecord) / 8; ++uSlot)
            if (!IsFlags(&Record, uSlot)) SetNumber(Record, uSlot, kNan);
        return Record;
    }

    template <class TRecord> void DecodesEveryCode(const std::vector<CRow>& rRows) {
        for (uint32_t uSlot = 0; uSlot < sizeof(TRecord) / 8; ++uSlot) {
            if (IsFlags(static_cast<TRecord*>(nullptr), uSlot)) continue;
            SCOPED_TRACE("slot " + std::to_string(uSlot));
            const CRow* const pRow = Find(rRows, uSlot);
            for (const uint32_t uBits : {0u, ~0u}) {
                Fill(uBits);
                if (!pRow) {
                    EXPECT_EQ(Number(Read(Controller(), static_cast<TRecord*>(nullptr)), uSlot), 0.0);
                    continue;
                }
                const std::vector<double> Values = g_Values(*pRow);
                for (uint32_t uCode = 0; uCode < g_Codes(pRow->sField); ++uCode) {
                    Put(pRow->sField, uCode);
                    const double dExpected = uCode < Values.size() ? Values[uCode] : -1.0;  // past the table's end
                    EXPECT_DOUBLE_EQ(Number(Read(Controller(), static_cast<TRecord*>(nullptr)), uSlot), dExpected)
                        << pRow->sField << " code " << uCode;
                }
            }
        }
    }

    /// Requests for one slot alone: legal ones, nearly legal ones, illegal ones. Nothing but the field may change.
    template <class TRecord> void EncodesEveryValue(const std::vector<CRow>& rRows) {
        for (const CRow& rRow : rRows) {
            if (!Has(rRow.uLayouts)) continue;
            SCOPED_TRACE("slot " + std::to_string(rRow.uSlot) + " " + rRow.sField);
            const std::vector<double> Values = g_Values(rRow);
            std::map<double, uint32_t> Requests;  // and the code that they give
            for (uint32_t uCode = 0; uCode < Values.size(); ++uCode) Requests.try_emplace(Values[uCode], uCode);
            for (const uint32_t uBits : {0u, ~0u}) {
                const auto Ask = [&](double dValue, std::optional<uint32_t> Code) {
                    Fill(uBits);
                    TRecord Record = Untouched<TRecord>();
                    SetNumber(Record, rRow.uSlot, dValue);
                    if (Code) Put(rRow.sField, *Code);
                    const auto Expected = Snapshot();
                    Fill(uBits);
                    EXPECT_TRUE(Write(Controller(), Record)) << dValue;
                    EXPECT_EQ(Differences(Expected, Snapshot()), "") << "asked for " << dValue;
                };
                for (const auto& [dValue, uCode] : Requests) Ask(dValue, uCode);
                const auto [dLegal, uCode] = *Requests.rbegin();
                Ask(dLegal + 9e-6, uCode);
                for (const double dIllegal : {dLegal + 2e-5, -2.0, 1e9, kNan, HUGE_VAL, -HUGE_VAL}) Ask(dIllegal, {});
                if (!Requests.contains(-1.0)) Ask(-1.0, {});
            }
        }
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty()) << "an illegal value is no error";
    }
};

TEST_P(MemoryFields, EveryTimingCodeReadsAsTheDataSheetSaysAndOtherSlotsStayZero) {
    DecodesEveryCode<MemTiming>(g_Timings());
}
TEST_P(MemoryFields, EveryConfigurationCodeReadsAsTheDataSheetSaysAndOtherSlotsStayZero) {
    DecodesEveryCode<MemConfig>(g_Configs());
}
TEST_P(MemoryFields, ALegalTimingChangesItsFieldAndNothingElse) { EncodesEveryValue<MemTiming>(g_Timings()); }
TEST_P(MemoryFields, ALegalConfigurationValueChangesItsFieldAndNothingElse) {
    EncodesEveryValue<MemConfig>(g_Configs());
}

TEST_P(MemoryFields, EachFlagIsItsBit) {
    for (const auto& [uLayouts, pFlag, pszField, bWritten] : kFlags) {
        if (!Has(uLayouts)) continue;
        SCOPED_TRACE(pszField);
        for (const uint32_t uBits : {0u, ~0u})
            for (const uint8_t ucByte :
                 std::initializer_list<uint8_t>{0, 1, 2, 0xFF}) {  // a host may put any number into a byte
                Fill(uBits);
                MemConfig Config = Untouched<MemConfig>();
                Config.*pFlag = ucByte;
                if (bWritten) Put(pszField, ucByte != 0);
                const auto Expected = Snapshot();
                const uint8_t ucRead = Read(Controller(), &Config).*pFlag;
                EXPECT_TRUE(!bWritten || ucRead == (ucByte != 0));
                Fill(uBits);
                EXPECT_TRUE(Controller().SetMemConfig(&Config));
                EXPECT_EQ(Differences(Expected, Snapshot()), "");
            }
    }
}

TEST_P(MemoryFields, SlotsWithoutAFlagStayFalse) {
    Fill(~0u);
    const MemConfig Config = Read(Controller(), static_cast<MemConfig*>(nullptr));
    EXPECT_TRUE(Config.bBothChannels);
    EXPECT_EQ(Config.bPowerDownEnable, !Has(kK8));
    for (const uint8_t ucUnused : Config.abUnused0) EXPECT_EQ(ucUnused, 0);
    for (const uint8_t ucUnused : Config.abUnused4) EXPECT_EQ(ucUnused, 0);
}

TEST_P(MemoryFields, EachListOffersTheLegalValuesOfItsFieldOrDoesNotExist) {
    constexpr uint32_t kRoom = 1100;
    for (const auto& [pszName, pList, uLayouts, pRows, uSlot] : kLists) {
        SCOPED_TRACE(pszName);
        std::vector<double> Values(kRoom, kNan);
        uint32_t uSize = kRoom;
        const bool bListed = (Controller().*pList)(Values.data(), uSize);
        EXPECT_EQ(bListed, Has(uLayouts));
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
        if (!Has(uLayouts)) {
            EXPECT_EQ(uSize, kRoom);
            continue;
        }
        const CRow* const pRow = Find(pRows(), uSlot);
        const std::vector<double> Legal = pRow ? g_Legal(*pRow) : std::vector<double>{};
        ASSERT_EQ(uSize, Legal.size());
        for (size_t i = 0; i < Legal.size(); ++i) EXPECT_DOUBLE_EQ(Values[i], Legal[i]);
        EXPECT_TRUE(std::isnan(Values[uSize]));

        EXPECT_TRUE((Controller().*pList)(Values.data(), uSize)) << "just enough room";
        EXPECT_EQ(uSize, Legal.size());
        if (Legal.empty()) continue;
        Values.assign(kRoom, kNan);
        EXPECT_FALSE((Controller().*pList)(Values.data(), --uSize)) << "one too few";
        EXPECT_EQ(uSize, Legal.size() - 1);
        EXPECT_TRUE(std::isnan(Values[0]));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("uSize <= ruSize", pszName)));
        EXPECT_FALSE((Controller().*pList)(nullptr, uSize));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("pdValues", pszName)));
    }
}

INSTANTIATE_TEST_SUITE_P(Layouts, MemoryFields, ::testing::ValuesIn(kLayouts),
                         [](const auto& rInfo) { return std::string(rInfo.param.pszName); });

}  // namespace
