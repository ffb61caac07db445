// Every field of every memory controller in every layout, against the data sheets' tables in tests/cases/memory_fields.txt:
// decoding, encoding and lists, each through the device's own operations on a simulated PC.
#include <cmath>
#include <limits>
#include <set>
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
using vxttest::g_Registers;
using vxttest::Registers;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// --- the data sheets' tables ---

using Row = std::vector<std::string>;

/// The rows of one kind; `uColumns` of them are needed.
std::vector<Row> g_Rows(const std::string& sKind, size_t uColumns = 5) {
    std::vector<Row> Rows;
    for (const Row& rRow : vxttest::g_CaseRows("memory_fields.txt"))
        if (rRow[0] == sKind) {
            EXPECT_EQ(rRow.size(), uColumns) << sKind << " " << rRow.at(1);
            Rows.push_back(rRow);
        }
    EXPECT_GT(Rows.size(), 8u) << sKind;
    return Rows;
}

/// How a family's registers are laid out under certain conditions. Both channels are in use in all of them.
struct CLayout {
    std::string sName;
    EFamily eFamily;
    Registers Makes;    ///< the values that make it
    Registers Keep;     ///< bits that would make another one, or no channel at all
    std::string sRows;  ///< words of the rows that hold for it
    bool Has(const std::string& sLayouts) const {
        std::istringstream Words(sLayouts);
        for (std::string sWord; Words >> sWord;)
            if ((" " + sName + " " + sRows + " ").find(" " + sWord + " ") != std::string::npos) return true;
        return false;
    }
    friend void PrintTo(const CLayout& rLayout, std::ostream* pStream) { *pStream << rLayout.sName; }
};
std::vector<CLayout> g_Layouts() {
    std::vector<CLayout> Layouts;
    for (const Row& rRow : g_Rows("layout", 6))
        Layouts.push_back({rRow[1], vxttest::g_Family(rRow[2]), g_Registers(rRow[3]), g_Registers(rRow[4]), rRow[5]});
    return Layouts;
}

/// A number of a record in some layouts.
struct CRow {
    std::string sLayouts;
    uint32_t uSlot;
    std::string sField, sValues;
};
const std::vector<CRow>& g_Numbers(const std::string& sRecord) {
    static std::map<std::string, std::vector<CRow>> s_Records;
    std::vector<CRow>& rNumbers = s_Records[sRecord];
    if (rNumbers.empty())
        for (const Row& rRow : g_Rows(sRecord))
            rNumbers.push_back({rRow[1], static_cast<uint32_t>(std::stoul(rRow[2])), rRow[3], rRow[4]});
    return rNumbers;
}

const std::map<std::string, uint8_t MemConfig::*> kFlags = {{"ganged", &MemConfig::bGanged},
                                                            {"slow access mode", &MemConfig::bSlowAccessMode},
                                                            {"weak drivers", &MemConfig::bWeakDrivers},
                                                            {"idle control", &MemConfig::bDccEnable},
                                                            {"power down", &MemConfig::bPowerDownEnable}};

// clang-format off
const std::map<std::string, bool (CMemoryController::*)(double*, uint32_t&)> kLists = {
#define LIST(name) {#name, &CMemoryController::name}
    LIST(GetTclList), LIST(GetTrcList), LIST(GetTrfcList), LIST(GetTrcdList), LIST(GetTrrdList),
    LIST(GetTrasList), LIST(GetTrpList), LIST(GetTwrList), LIST(GetTwtrList), LIST(GetTrwtList),
    LIST(GetTrefList), LIST(GetTwclList), LIST(GetMaxAsyncLatList), LIST(GetRdPreambleList),
    LIST(GetILD_lmtList), LIST(GetMemClkList), LIST(GetTrtpList), LIST(GetTrwtTOList),
    LIST(GetTwrrdList), LIST(GetTwrwrList), LIST(GetTrdrdList), LIST(GetDramTermList),
    LIST(GetFourActWindowList), LIST(GetUnnamedList), LIST(GetCkeDrvStrengthList),
    LIST(GetCsOdtDrvStrengthList), LIST(GetAddrCmdDrvStrenList), LIST(GetClkDrvStrenList),
    LIST(GetDataDrvStrenList), LIST(GetDqsDrvStrenList), LIST(GetProcOdtList),
    LIST(GetDqsRcvEnDelayList),
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
        const Registers& rMakes = GetParam().Makes;
        Registers Both = rMakes;
        for (const auto& [uOffset, uValue] : rMakes) Both[uOffset + 0x100] = uValue;
        BootAndInit(GetParam().eFamily, Both);
        System().m_Server.Record(nullptr);
        if (!Has("K8")) Additional().m_uReadsUntilDone = 1;
    }
    bool Has(const std::string& sLayouts) const { return GetParam().Has(sLayouts); }
    const CRow* Find(const std::vector<CRow>& rRows, uint32_t uSlot) const {
        const auto it =
            std::ranges::find_if(rRows, [&](const CRow& rRow) { return rRow.uSlot == uSlot && Has(rRow.sLayouts); });
        return it == rRows.end() ? nullptr : &*it;
    }
    bool HasTwoSets() const { return Has("Dct"); }
    uint32_t Pairs() const { return Has("K8") ? 0 : HasTwoSets() ? 2 : 1; }

    /// Fills everything with zeros or ones, as far as the layout allows.
    void Fill(uint32_t uBits) {
        Registers Makes = GetParam().Makes, Keep = GetParam().Keep;
        for (const uint32_t uOffset : kOffsets)
            for (const uint32_t uSet : {0u, 0x100u})
                SetRegisters({{uOffset + uSet, (uBits & ~Keep[uOffset]) | Makes[uOffset]}});
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
                const bool bTiming11h = Has("11h") && rPart.uPlace >= 0x88 && rPart.uPlace < 0x90;
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
            if (!Has(rRow.sLayouts)) continue;
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
    DecodesEveryCode<MemTiming>(g_Numbers("timing"));
}
TEST_P(MemoryFields, EveryConfigurationCodeReadsAsTheDataSheetSaysAndOtherSlotsStayZero) {
    DecodesEveryCode<MemConfig>(g_Numbers("configuration"));
}
TEST_P(MemoryFields, ALegalTimingChangesItsFieldAndNothingElse) { EncodesEveryValue<MemTiming>(g_Numbers("timing")); }
TEST_P(MemoryFields, ALegalConfigurationValueChangesItsFieldAndNothingElse) {
    EncodesEveryValue<MemConfig>(g_Numbers("configuration"));
}

TEST_P(MemoryFields, EachFlagIsItsBit) {
    for (const Row& rRow : g_Rows("flag")) {
        if (!Has(rRow[1])) continue;
        SCOPED_TRACE(rRow[2]);
        uint8_t MemConfig::*const pFlag = kFlags.at(rRow[2]);
        const bool bWritten = rRow[4] == "yes";
        for (const uint32_t uBits : {0u, ~0u})
            for (const uint8_t ucByte :
                 std::initializer_list<uint8_t>{0, 1, 2, 0xFF}) {  // a host may put any number into a byte
                Fill(uBits);
                MemConfig Config = Untouched<MemConfig>();
                Config.*pFlag = ucByte;
                if (bWritten) Put(rRow[3], ucByte != 0);
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
    EXPECT_EQ(Config.bPowerDownEnable, !Has("K8"));
    for (const uint8_t ucUnused : Config.abUnused0) EXPECT_EQ(ucUnused, 0);
    for (const uint8_t ucUnused : Config.abUnused4) EXPECT_EQ(ucUnused, 0);
}

TEST_P(MemoryFields, EachListOffersTheLegalValuesOfItsFieldOrDoesNotExist) {
    constexpr uint32_t kRoom = 1100;
    std::set<std::string> Listed;
    for (const Row& rRow : g_Rows("list")) {
        const auto& [sName, pList] = *kLists.find(rRow[2]);
        const bool bExists = Has(rRow[1]);
        SCOPED_TRACE(sName);
        Listed.insert(sName);
        std::vector<double> Values(kRoom, kNan);
        uint32_t uSize = kRoom;
        const bool bListed = (Controller().*pList)(Values.data(), uSize);
        EXPECT_EQ(bListed, bExists);
        EXPECT_THAT(m_Log.TakeErrors(), IsEmpty());
        if (!bExists) {
            EXPECT_EQ(uSize, kRoom);
            continue;
        }
        const CRow* const pRow = Find(g_Numbers(rRow[3]), static_cast<uint32_t>(std::stoul(rRow[4])));
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
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("uSize <= ruSize", sName)));
        EXPECT_FALSE((Controller().*pList)(nullptr, uSize));
        EXPECT_THAT(m_Log.TakeErrors(), ElementsAre(Error("pdValues", sName)));
    }
    EXPECT_EQ(Listed.size(), kLists.size());
}

INSTANTIATE_TEST_SUITE_P(Layouts, MemoryFields, ::testing::ValuesIn(g_Layouts()),
                         [](const auto& rInfo) { return rInfo.param.sName; });

}  // namespace
