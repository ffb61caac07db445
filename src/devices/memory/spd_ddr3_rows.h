// SPD data of DDR3 modules as rows. Source: JEDEC standard 21-C, 4.1.2.11 (SPD for DDR3 SDRAM modules), revision 1.3.
#pragma once

#include "devices/memory/spd_types.h"

namespace vxt::spd {

/// Times are counts of the medium time base; some have a signed count of the fine one to be added.
struct CCountRow {
    CField Medium;
    std::optional<CField> oFine = std::nullopt;
};
struct CDdr3TimeRow {
    ESpdTiming eTiming;
    CCountRow Count;
};

/// A voltage, and the code of its bit that says that the module works with it.
struct CVoltageRow {
    CField Bit;
    uint32_t uWorks;
    double dVoltage;
};

// --- value tables ----------------------------------------------------------------------------------------------------

inline constexpr double kCapacityValues[] = {32, 64, 128, 256, 512, 1024, 2048, kEndOfTable};  // MiB of a chip
inline constexpr double kBankValues[] = {8, 16, 32, 64, kEndOfTable};
inline constexpr double kRowValues[] = {12, 13, 14, 15, 16, kEndOfTable};
inline constexpr double kColumnValues[] = {9, 10, 11, 12, kEndOfTable};
inline constexpr double kRankValues[] = {1, 2, 3, 4, 8, kEndOfTable};
inline constexpr double kDeviceWidthValues[] = {4, 8, 16, 32, kEndOfTable};
inline constexpr double kDataWidthValues[] = {8, 16, 32, 64, kEndOfTable};
inline constexpr double kEccWidthValues[] = {0, 8, kEndOfTable};

// --- fields ----------------------------------------------------------------------------------------------------------

// clang-format off
inline constexpr CValueField kCapacity{{4, {3, 0}}, kCapacityValues}, kDdr3Banks{{4, {6, 4}}, kBankValues},
    kDdr3Rows{{5, {5, 3}}, kRowValues}, kDdr3Columns{{5, {2, 0}}, kColumnValues},
    kDdr3Ranks{{7, {5, 3}}, kRankValues}, kDdr3DeviceWidth{{7, {2, 0}}, kDeviceWidthValues},
    kDdr3EccWidth{{8, {4, 3}}, kEccWidthValues}, kDdr3DataWidth{{8, {2, 0}}, kDataWidthValues};

inline constexpr CField kShortCrc{0, {7, 7}};  ///< the CRC covers 117 bytes, else 126
inline constexpr CField kDdr3Module{3, {3, 0}};
inline constexpr CModuleRow kDdr3Modules[] = {
    {1, ESpdModule::kRdimm}, {2, ESpdModule::kUdimm}, {3, ESpdModule::kSoDimm}, {4, ESpdModule::kMicroDimm},
    {5, ESpdModule::kMiniRdimm}, {6, ESpdModule::kMiniUdimm}, {7, ESpdModule::kMiniCdimm}, {8, ESpdModule::kSoUdimm72},
    {9, ESpdModule::kSoRdimm72}, {10, ESpdModule::kSoCdimm72}, {11, ESpdModule::kLrdimm}, {12, ESpdModule::kSoDimm16},
    {13, ESpdModule::kSoDimm32},
};
inline constexpr CVoltageRow kDdr3Voltages[] = {{{6, {0, 0}}, 0, 1.5}, {{6, {1, 1}}, 1, 1.35}, {{6, {2, 2}}, 1, 1.25}};
inline constexpr CIdentity kDdr3Identity{.Revision = 1, .uPartNumber = 128, .Year = 120, .Week = 121, .uSerial = 122};

// Numerator and denominator: of ps, and of ns.
inline constexpr CField kFineNumerator{9, {7, 4}}, kFineDenominator{9, {3, 0}}, kMediumNumerator{10}, kMediumDenominator{11};

inline constexpr CField kDdr3CasMask{14, {7, 0}, 15, {6, 0}};
inline constexpr double kDdr3FirstCas = 4;
inline constexpr double kLongestCas = 20;  ///< ns that a CAS latency may take at all
inline constexpr CCountRow kDdr3Period{12, CField{34}};
inline constexpr CDdr3TimeRow kDdr3Times[] = {
    {kSpdTcl, {16, CField{35}}},
    {kSpdTwr, {17}},
    {kSpdTrcd, {18, CField{36}}},
    {kSpdTrrd, {19}},
    {kSpdTrp, {20, CField{37}}},
    {kSpdTras, {{22, {7, 0}, 21, {3, 0}}}},
    {kSpdTrc, {{23, {7, 0}, 21, {7, 4}}, CField{38}}},
    {kSpdTrfc, {{24, {7, 0}, 25, {7, 0}}}},
    {kSpdTwtr, {26}},
    {kSpdTrtp, {27}},
    {kSpdTfaw, {{29, {7, 0}, 28, {3, 0}}}},
};
// clang-format on

}  // namespace vxt::spd
