// What the codes of a register field mean, in the unit that users see. One table decodes, encodes and lists.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "registers/bit_field.h"

namespace vxt {

inline constexpr double kReserved = -1.0;    ///< a code that the hardware reserves
inline constexpr double kEndOfTable = -2.0;  ///< ends every value table

/// Entry n is the value of code n.
class CValueTable {
public:
    template <size_t N> consteval CValueTable(const double (&adValues)[N]) : m_Values(_Checked(adValues)) {}
    template <size_t N> consteval CValueTable(const std::array<double, N>& rValues) : m_Values(_Checked(rValues)) {}

    /// Every code of the field has an entry, and no entry lies beyond the field.
    constexpr bool Covers(const CRegisterField& rField) const {
        return m_Values.size() == size_t{rField.MaxCode()} + 1;
    }

    /// Codes past the end of the table are reserved.
    constexpr double Decode(uint32_t uCode) const { return uCode < m_Values.size() ? m_Values[uCode] : kReserved; }

    /// First code whose value is nearer than the tolerance; nothing when the hardware cannot express the value.
    /// Kept: the first also where several codes mean the same, and a request of -1.0 finds the first reserved one. Who
    /// wants a field left as it is asks for a value that is in no table.
    constexpr std::optional<uint32_t> Encode(double dValue, double dTolerance) const {
        for (uint32_t uCode = 0; uCode < m_Values.size(); ++uCode)
            if (const double dGap = m_Values[uCode] - dValue; - dTolerance < dGap && dGap < dTolerance) return uCode;
        return std::nullopt;
    }

    /// Legal values in table order into `Values`, their count into `ruCount`. False, and nothing changed, when they are
    /// more than `Values` can take.
    constexpr bool List(std::span<double> Values, uint32_t& ruCount) const {
        uint32_t uCount = 0;
        for (const double dValue : m_Values) uCount += dValue != kReserved;
        if (uCount > Values.size()) return false;
        ruCount = 0;
        for (const double dValue : m_Values)
            if (dValue != kReserved) Values[ruCount++] = dValue;
        return true;
    }

private:
    template <class TValues> static consteval std::span<const double> _Checked(const TValues& rValues) {
        const std::span<const double> Values(rValues);
        for (size_t i = 0; i < Values.size(); ++i)
            if ((Values[i] == kEndOfTable) != (i + 1 == Values.size()))
                throw "the end mark must be the last entry, once";
        return Values.first(Values.size() - 1);
    }

    std::span<const double> m_Values;  ///< without the end mark
};

/// The values of codes 0 to N - 1 by a rule, and the end mark.
template <size_t N, class TRule> consteval std::array<double, N + 1> g_MakeValues(TRule Rule) {
    std::array<double, N + 1> adValues{};
    for (size_t i = 0; i < N; ++i) adValues[i] = Rule(static_cast<int>(i));
    adValues[N] = kEndOfTable;
    return adValues;
}

/// Reads the field's value from its register words.
constexpr double g_DecodeField(const CRegisterField& rField, const CValueTable& rTable,
                               std::span<const uint32_t> Words) {
    return rTable.Decode(rField.Get(Words));
}

/// Puts a value into its field. A value the table lacks leaves the field as it was (and gives false).
constexpr bool g_EncodeField(const CRegisterField& rField, const CValueTable& rTable, std::span<uint32_t> Words,
                             double dValue, double dTolerance) {
    const std::optional<uint32_t> oCode = rTable.Encode(dValue, dTolerance);
    if (oCode) rField.Set(Words, *oCode);
    return oCode.has_value();
}

}  // namespace vxt
