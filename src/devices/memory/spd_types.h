// The layouts of SPD data: what the decoders of DDR, DDR2 and DDR3 share, and where each begins.
#pragma once

#include "devices/memory/spd_fields.h"
#include "devices/memory/spd_grades.h"

namespace vxt::spd {

/// A code of the module type's field.
struct CModuleRow {
    uint32_t uCode;
    ESpdModule eModule;
};

/// Where a layout keeps who made the module, and when.
struct CIdentity {
    CField Revision;      ///< of the layout
    uint8_t uPartNumber;  ///< CSpdRecord::kPartNumber characters, two bytes of the module's revision behind them
    CField Year, Week;    ///< mostly BCD
    uint8_t uSerial;      ///< four bytes
};

/// Codes 0 to N - 1 where some numbers mean themselves and the others are reserved.
template <size_t N, int... nLegal>
inline constexpr auto kOneOfValues = g_MakeValues<N>([](int nCode) {
    return ((nCode == nLegal) || ...) ? nCode : kReserved;
});
template <size_t N, int... nLegal> inline constexpr CValueTable kOneOf(kOneOfValues<N, nLegal...>);

inline ESpdModule g_ModuleOf(const CImage& rImage, const CField& rField, std::span<const CModuleRow> Rows) {
    for (const CModuleRow& rRow : Rows)
        if (rImage.Code(rField) == rRow.uCode) return rRow.eModule;
    return ESpdModule::kUnknown;
}

/// The supported latencies of a mask: bit n is `dFirst` + n * `dStep` clocks.
inline void g_AddLatencies(CSpdRecord& rRecord, uint32_t uMask, double dFirst, double dStep) {
    for (int nBit = 0; uMask >> nBit; ++nBit)
        if (uMask >> nBit & 1) rRecord.CasLatencies.Add(dFirst + nBit * dStep);
}

/// Everything but verdict, sum, identity and types of the image.
void g_DecodeDdr(const CImage& rImage, CSpdRecord& rRecord);
void g_DecodeDdr2(const CImage& rImage, CSpdRecord& rRecord);
void g_DecodeDdr3(const CImage& rImage, CSpdRecord& rRecord);

}  // namespace vxt::spd
