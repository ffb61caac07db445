// Every field of every memory controller in every layout, against the data sheets' tables spelled here once more:
// decoding, encoding and lists, each through the device's own operations on a simulated PC.
#include <cmath>
#include <limits>
#include <sstream>

#include "devices/memctl/memory_controller_fixture.h"

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

/// Slot: position in its record. Field: register[bits], a part for the higher bits after it; A.00 is register 0 of the
/// additional data at 98h, B.00 of that at 198h. Values by code: a number, first..last, r for reserved; *n repeats.
struct CRow {
    uint32_t uLayouts;
    uint32_t uSlot;
    const char* pszField;
    const char* pszValues;
};
// clang-format off
const CRow kTimings[] = {
    {kK8, 0, "88[2:0]", "1 2 3 4 1.5 2.5 3.5 4.5"},  // Tcl
    {kRevF, 0, "88[2:0]", "r r 3..6 r r"},
    {k10hDdr2, 0, "88[3:0]", "1..7 r*9"},
    {k10hDdr3, 0, "88[3:0]", "4..12 r*7"},
    {k11h, 0, "88[3:0]", "r r 3..6 r*10"},
    {kK8, 1, "88[7:4]", "7..22"},  // Trc
    {kRevF | k10hSlowDdr2 | k11h, 1, "88[19:16]", "11..26"},
    {k10hWide, 1, "88[20:16]", "11..42"},
    {kK8, 2, "88[11:8]", "9..24"},  // Trfc
    {kDdr2, 2, "8C[22:20]", "75 105 127.5 195 327.5 r*3"},
    {kDdr2, 3, "8C[25:23]", "75 105 127.5 195 327.5 r*3"},
    {kRevF | k10hDdr2, 4, "8C[28:26]", "75 105 127.5 195 327.5 r*3"},
    {kRevF | k10hDdr2, 5, "8C[31:29]", "75 105 127.5 195 327.5 r*3"},
    {k10hDdr3, 2, "8C[22:20]", "r 90 110 160 300 r r r"},
    {k10hDdr3, 3, "8C[25:23]", "r 90 110 160 300 r r r"},
    {k10hDdr3, 4, "8C[28:26]", "r 90 110 160 300 r r r"},
    {k10hDdr3, 5, "8C[31:29]", "r 90 110 160 300 r r r"},
    {kK8, 6, "88[14:12]", "r 1..7"},  // Trcd
    {kRevF | k10hSlowDdr2 | k11h, 6, "88[5:4]", "3..6"},
    {k10hWide, 6, "88[6:4]", "5..12"},
    {kK8, 7, "88[18:16]", "r 1..6 r"},  // Trrd
    {kRevF | k10hSlowDdr2 | k11h, 7, "88[23:22]", "2..5"},
    {k10hWide, 7, "88[23:22]", "4..7"},
    {kK8, 8, "88[23:20]", "r*5 5..15"},  // Tras
    {kRevF | k11h, 8, "88[15:12]", "r r 5..18"},
    {k10hSlowDdr2, 8, "88[15:12]", "3..18"},
    {k10hWide, 8, "88[15:12]", "15..30"},
    {kK8, 9, "88[26:24]", "r r 2..6 r"},  // Trp
    {kRevF | k10hSlowDdr2 | k11h, 9, "88[9:8]", "3..6"},
    {k10hWide, 9, "88[9:7]", "5..12"},
    {kK8, 10, "88[28:28]", "2 3"},  // Twr
    {kRevF | k10hSlowDdr2 | k11h, 10, "88[21:20]", "3..6"},
    {k10hWide, 10, "84[6:4]", "r 5 6 7 8 10 12 r"},
    {kK8, 11, "8C[0:0]", "1 2"},  // Twtr
    {kRevF | k10hSlowDdr2 | k11h, 11, "8C[9:8]", "r 1 2 3"},
    {k10hWide, 11, "8C[9:8]", "4..7"},
    {kK8, 12, "8C[6:4]", "1..6 r r"},                                     // Trwt
    {kK8, 13, "8C[12:8]", "15.6*4 r*4 7.8*4 r*4 3.9*4 r*12"},             // Tref
    {kRevF | kDct, 13, "8C[17:16]", "r r 7.8 3.9"},
    {kK8, 14, "8C[22:20]", "1 2"},  // Twcl: the table ends there
    {kRevF | k10hDdr2Burst32 | k10hFastDdr2Burst32 | k11hBurst32, 15, "88[11:11]", "2 3"},  // Trtp
    {k10hDdr2Burst64 | k10hFastDdr2Burst64 | k11hBurst64 | k11hTurnaround, 15, "88[11:11]", "4 5"},
    {k10hDdr3, 15, "88[11:10]", "4..7"},
    {kRevF, 16, "8C[6:4]", "2..9"},  // TrwtTO
    {k10hDdr2 | k11hBurst64 | k11hBurst32, 16, "8C[7:4]", "r 3..9 r*8"},
    {k11hTurnaround, 16, "8C[7:4]", "r 6..12 r*8"},
    {k10hDdr3, 16, "8C[7:4]", "r 3..17"},
    {kRevF, 17, "8C[11:10]", "0..3"},  // Twrrd
    {k10hDdr2 | k11h, 17, "8C[11:10]", "1..4"},
    {k10hDdr3, 17, "8C[11:10] 78[9:8]", "r r 2..10 r*5"},
    {kRevF, 18, "8C[13:12]", "1 2 3 r"},  // Twrwr
    {k10hDdr2 | k11h, 18, "8C[13:12]", "1..4"},
    {k10hDdr3, 18, "8C[13:12] 78[11:10]", "r r 3..10 r*6"},
    {kDdr2, 19, "8C[15:14]", "2..5"},  // Trdrd
    {k10hDdr3, 19, "8C[15:14] 78[13:12]", "2..10 r*7"},
    {k10hDdr2, 20, "8C[3:0]", "r 3..9 r*8"},  // TrwtWB
    {k10hDdr3, 20, "8C[3:0]", "r 3..17"},
    {k11h, 20, "8C[3:0]", "r 1..15"},
};
const CRow kConfigs[] = {
    {kK8, 1, "94[22:20]", "100 r 133 r r 166 r 200"},  // Memory Clock
    {kRevF | k11h, 1, "94[2:0]", "200 266 333 400 r*4"},
    {k10hDdr2, 1, "94[2:0]", "200 266 333 400 533 r*3"},
    {k10hDdr3, 1, "94[2:0]", "r r r 400 533 667 800 r"},
    {kK8, 2, "94[3:0]", "0..15"},  // MaxAsyncLat
    {kRevF, 2, "94[7:4]", "0..15"},
    {k11h, 2, "78[31:22]", "0..1023"},  // the whole read latency, north-bridge clocks
    {kDdr2, 3, "90[5:4]", "0 75 150 50"},  // DRAM Termination
    {k10hDdr3, 3, "84[9:7]", "0 60 120 40 20 30 r r"},
    {kRevF | k10hSlowDdr2 | k11h, 5, "94[31:28]", "0 8..20 r r"},  // Four Bank Act Window
    {k10hWide, 5, "94[31:28]", "0 16..30"},
    {kK8, 6, "90[27:25]", "0..7"},  // DcqBypassMax
    {kRevF | kDct, 6, "94[27:24]", "0..15"},
    {kK8, 7, "94[18:16]", "0 4 8 16 32 64 128 256"},  // Idle Cycle Limit
    {kRevF, 7, "A0[8:6]", "0 4 8 16 32 64 128 256"},
    {kDct, 7, "90[22:21]", "16 32 64 96"},
    {kK8, 8, "94[11:8]", "2 2.5 3 3.5 4 4.5 5 5.5 6 6.5 7 7.5 8 8.5 9 9.5"},  // Read Preamble
    // Drive strengths: channel A, channel B
    {kRevF | kDct, 9, "A.00[1:0]", "1 1.25 1.5 2"},
    {kRevF, 10, "A.20[1:0]", "1 1.25 1.5 2"},
    {kDct, 10, "B.00[1:0]", "1 1.25 1.5 2"},
    {kRevF | kDct, 11, "A.00[5:4]", "1 1.25 1.5 2"},
    {kRevF, 12, "A.20[5:4]", "1 1.25 1.5 2"},
    {kDct, 12, "B.00[5:4]", "1 1.25 1.5 2"},
    {kRevF | kDct, 13, "A.00[9:8]", "1 1.25 1.5 2"},
    {kRevF, 14, "A.20[9:8]", "1 1.25 1.5 2"},
    {kDct, 14, "B.00[9:8]", "1 1.25 1.5 2"},
    {kRevF | kDct, 15, "A.00[13:12]", "0.75 1 1.25 1.5"},
    {kRevF, 16, "A.20[13:12]", "0.75 1 1.25 1.5"},
    {kDct, 16, "B.00[13:12]", "0.75 1 1.25 1.5"},
    {kRevF | kDct, 17, "A.00[17:16]", "0.75 1 1.25 1.5"},
    {kRevF, 18, "A.20[17:16]", "0.75 1 1.25 1.5"},
    {kDct, 18, "B.00[17:16]", "0.75 1 1.25 1.5"},
    {kRevF | kDct, 19, "A.00[21:20]", "0.75 1 1.25 1.5"},
    {kRevF, 20, "A.20[21:20]", "0.75 1 1.25 1.5"},
    {kDct, 20, "B.00[21:20]", "0.75 1 1.25 1.5"},
    {kDdr2, 21, "A.00[29:28]", "300 150 75 r"},
    {kRevF, 22, "A.20[29:28]", "300 150 75 r"},
    {k10hDdr2 | k11h, 22, "B.00[29:28]", "300 150 75 r"},
    {k10hDdr3, 21, "A.00[29:28]", "240 120 60 r"},
    {k10hDdr3, 22, "B.00[29:28]", "240 120 60 r"},
    // DQS Receiver Enable Delay
    {kRevF, 23, "A.10[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 24, "A.13[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 25, "A.16[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 26, "A.19[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 27, "A.30[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 28, "A.33[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 29, "A.36[7:0]", "0..8.7/0.05 r*81"},
    {kRevF, 30, "A.39[7:0]", "0..8.7/0.05 r*81"},
};
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
    const CRow* pRows;
    size_t uRows;
    uint32_t uSlot;
} kLists[] = {
#define LIST(name, layouts, rows, slot) {#name, &CMemoryController::name, layouts, rows, std::size(rows), slot}
    LIST(GetTclList, ~0u, kTimings, 0),
    LIST(GetTrcList, ~0u, kTimings, 1),
    LIST(GetTrfcList, ~0u, kTimings, 2),
    LIST(GetTrcdList, ~0u, kTimings, 6),
    LIST(GetTrrdList, ~0u, kTimings, 7),
    LIST(GetTrasList, ~0u, kTimings, 8),
    LIST(GetTrpList, ~0u, kTimings, 9),
    LIST(GetTwrList, ~0u, kTimings, 10),
    LIST(GetTwtrList, ~0u, kTimings, 11),
    LIST(GetTrwtList, kK8, kTimings, 12),
    LIST(GetTrefList, ~0u, kTimings, 13),
    LIST(GetTwclList, kK8 | kDct, kTimings, 14),
    LIST(GetMaxAsyncLatList, kK8 | kRevF | k11h, kConfigs, 2),
    LIST(GetRdPreambleList, kK8, kConfigs, 8),
    LIST(GetILD_lmtList, ~0u, kConfigs, 7),
    LIST(GetMemClkList, ~0u, kConfigs, 1),
    LIST(GetTrtpList, kRevF | kDct, kTimings, 15),
    LIST(GetTrwtTOList, kRevF | kDct, kTimings, 16),
    LIST(GetTwrrdList, kRevF | kDct, kTimings, 17),
    LIST(GetTwrwrList, kRevF | kDct, kTimings, 18),
    LIST(GetTrdrdList, kRevF | kDct, kTimings, 19),
    LIST(GetDramTermList, kRevF | kDct, kConfigs, 3),
    LIST(GetFourActWindowList, kRevF | kDct, kConfigs, 5),
    LIST(GetUnnamedList, 0, kConfigs, 4),
    LIST(GetCkeDrvStrengthList, kRevF | kDct, kConfigs, 9),
    LIST(GetCsOdtDrvStrengthList, kRevF | kDct, kConfigs, 11),
    LIST(GetAddrCmdDrvStrenList, kRevF | kDct, kConfigs, 13),
    LIST(GetClkDrvStrenList, kRevF | kDct, kConfigs, 15),
    LIST(GetDataDrvStrenList, kRevF | kDct, kConfigs, 17),
    LIST(GetDqsDrvStrenList, kRevF | kDct, kConfigs, 19),
    LIST(GetProcOdtList, kRevF | kDct, kConfigs, 21),
    LIST(GetDqsRcvEnDelayList, kRevF, kConfigs, 23),
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

std::vector<CPart> g_Parts(const char* pszField) {
    std::vector<CPart> Parts;
    std::istringstream Words(pszField);
    for (std::string sWord; Words >> sWord;) {
        CPart Part;
        if (sWord[1] == '.') Part.cPair = sWord[0], sWord.erase(0, 2);
        EXPECT_EQ(std::sscanf(sWord.c_str(), "%x[%u:%u]", &Part.uPlace, &Part.uHigh, &Part.uLow), 3) << sWord;
        Parts.push_back(Part);
    }
    return Parts;
}

uint32_t g_Codes(const char* pszField) {
    uint32_t uWidth = 0;
    for (const CPart& rPart : g_Parts(pszField)) uWidth += rPart.uHigh - rPart.uLow + 1;
    return 1u << uWidth;
}

/// By code; -1 for reserved ones.
std::vector<double> g_Values(const CRow& rRow) {
    std::vector<double> Values;
    std::istringstream Words(rRow.pszValues);
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
    EXPECT_LE(Values.size(), g_Codes(rRow.pszField)) << rRow.pszField;
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
    const CRow* Find(const CRow* pRows, size_t uRows, uint32_t uSlot) const {
        const auto it = std::find_if(pRows, pRows + uRows,
                                     [&](const CRow& rRow) { return rRow.uSlot == uSlot && Has(rRow.uLayouts); });
        return it == pRows + uRows ? nullptr : it;
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
    void Put(const char* pszField, uint32_t uCode) {
        for (const CPart& rPart : g_Parts(pszField)) {
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

    template <class TRecord, size_t N> void DecodesEveryCode(const CRow (&aRows)[N]) {
        for (uint32_t uSlot = 0; uSlot < sizeof(TRecord) / 8; ++uSlot) {
            if (IsFlags(static_cast<TRecord*>(nullptr), uSlot)) continue;
            SCOPED_TRACE("slot " + std::to_string(uSlot));
            const CRow* const pRow = Find(aRows, N, uSlot);
            for (const uint32_t uBits : {0u, ~0u}) {
                Fill(uBits);
                if (!pRow) {
                    EXPECT_EQ(Number(Read(Controller(), static_cast<TRecord*>(nullptr)), uSlot), 0.0);
                    continue;
                }
                const std::vector<double> Values = g_Values(*pRow);
                for (uint32_t uCode = 0; uCode < g_Codes(pRow->pszField); ++uCode) {
                    Put(pRow->pszField, uCode);
                    const double dExpected = uCode < Values.size() ? Values[uCode] : -1.0;  // past the table's end
                    EXPECT_DOUBLE_EQ(Number(Read(Controller(), static_cast<TRecord*>(nullptr)), uSlot), dExpected)
                        << pRow->pszField << " code " << uCode;
                }
            }
        }
    }

    /// Requests for one slot alone: legal ones, nearly legal ones, illegal ones. Nothing but the field may change.
    template <class TRecord, size_t N> void EncodesEveryValue(const CRow (&aRows)[N]) {
        for (const CRow& rRow : aRows) {
            if (!Has(rRow.uLayouts)) continue;
            SCOPED_TRACE("slot " + std::to_string(rRow.uSlot) + " " + rRow.pszField);
            const std::vector<double> Values = g_Values(rRow);
            std::map<double, uint32_t> Requests;  // and the code that they give
            for (uint32_t uCode = 0; uCode < Values.size(); ++uCode) Requests.try_emplace(Values[uCode], uCode);
            for (const uint32_t uBits : {0u, ~0u}) {
                const auto Ask = [&](double dValue, std::optional<uint32_t> Code) {
                    Fill(uBits);
                    TRecord Record = Untouched<TRecord>();
                    SetNumber(Record, rRow.uSlot, dValue);
                    if (Code) Put(rRow.pszField, *Code);
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
    DecodesEveryCode<MemTiming>(kTimings);
}
TEST_P(MemoryFields, EveryConfigurationCodeReadsAsTheDataSheetSaysAndOtherSlotsStayZero) {
    DecodesEveryCode<MemConfig>(kConfigs);
}
TEST_P(MemoryFields, ALegalTimingChangesItsFieldAndNothingElse) { EncodesEveryValue<MemTiming>(kTimings); }
TEST_P(MemoryFields, ALegalConfigurationValueChangesItsFieldAndNothingElse) { EncodesEveryValue<MemConfig>(kConfigs); }

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
    for (const auto& [pszName, pList, uLayouts, pRows, uRows, uSlot] : kLists) {
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
        const CRow* const pRow = Find(pRows, uRows, uSlot);
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
