// Where SPD data keep a number, and reading it from an image that may be cut.
#pragma once

#include <algorithm>
#include <array>

#include "devices/memory/spd.h"
#include "registers/value_table.h"

namespace vxt::spd {

/// Bits of a byte. A second part, in another byte, may continue them upwards.
class CField {
public:
    consteval CField(uint8_t uByte, CBitField Bits = {7, 0}) : CField(uByte, Bits, CRegisterField(uByte, Bits)) {}
    consteval CField(uint8_t uByte, CBitField Low, uint8_t uHighByte, CBitField High)
        : CField(std::max(uByte, uHighByte), Low, CRegisterField(uByte, Low, uHighByte, High)) {
        if (High.uHigh > 7) throw "a byte has eight bits";
    }

    constexpr uint8_t LastByte() const { return m_uLastByte; }
    constexpr const CRegisterField& Bits() const { return m_Field; }

private:
    consteval CField(uint8_t uLastByte, CBitField Low, CRegisterField Field) : m_Field(Field), m_uLastByte(uLastByte) {
        if (Low.uHigh > 7) throw "a byte has eight bits";
    }

    CRegisterField m_Field;
    uint8_t m_uLastByte;
};

/// A field and what its codes mean. Codes past the table's end are reserved.
struct CValueField {
    CField Field;
    CValueTable Values;
};

class CImage {
public:
    static constexpr size_t kBytes = 256;

    explicit CImage(std::span<const uint8_t> Bytes) : m_Bytes(Bytes.first(std::min(Bytes.size(), kBytes))) {
        std::ranges::copy(m_Bytes, m_auBytes.begin());
    }

    /// The bytes that there are, 256 at most.
    std::span<const uint8_t> Bytes() const { return m_Bytes; }
    bool Has(size_t uFirst, size_t uCount) const { return uFirst + uCount <= m_Bytes.size(); }
    /// So many bytes from `uFirst` on; none when the image ends before.
    std::span<const uint8_t> Part(size_t uFirst, size_t uCount) const {
        return Has(uFirst, uCount) ? m_Bytes.subspan(uFirst, uCount) : m_Bytes.first(0);
    }

    std::optional<uint32_t> Code(const CField& rField) const {
        return Has(rField.LastByte(), 1) ? std::optional(rField.Bits().Get(m_auBytes)) : std::nullopt;
    }
    /// Nothing, too, for a reserved code.
    std::optional<double> Value(const CValueField& rField) const {
        const std::optional<uint32_t> ouCode = Code(rField.Field);
        const double dValue = ouCode ? rField.Values.Decode(*ouCode) : kReserved;
        return dValue == kReserved ? std::nullopt : std::optional(dValue);
    }
    std::optional<uint32_t> Count(const CValueField& rField) const {
        const std::optional<double> odValue = Value(rField);
        return odValue ? std::optional(static_cast<uint32_t>(*odValue)) : std::nullopt;
    }

private:
    std::span<const uint8_t> m_Bytes;
    std::array<uint32_t, kBytes> m_auBytes{};  ///< a word each, as fields of registers want them
};

}  // namespace vxt::spd
