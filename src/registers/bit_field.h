// Where a register keeps a number.
#pragma once

#include <cstdint>
#include <span>

namespace vxt {

/// Bits [uHigh:uLow] of a 32-bit register, numbered as the data sheet numbers them.
struct CBitField {
    uint8_t uHigh, uLow;

    consteval CBitField(uint8_t high, uint8_t low) : uHigh(high), uLow(low) {
        if (high < low || high > 31) throw "bit range is upside down or outside the register";
    }
    constexpr uint32_t Width() const { return uHigh - uLow + 1u; }
    constexpr uint32_t MaxCode() const { return (uint32_t{2} << (uHigh - uLow)) - 1; }
    constexpr uint32_t Get(uint32_t uValue) const { return (uValue >> uLow) & MaxCode(); }
    /// `uValue` with the field replaced; `uCode` is cut to the field.
    constexpr uint32_t Set(uint32_t uValue, uint32_t uCode) const {
        return (uValue & ~(MaxCode() << uLow)) | (uCode & MaxCode()) << uLow;
    }
    bool operator==(const CBitField&) const = default;
};
static_assert(CBitField(31, 0).MaxCode() == 0xFFFFFFFF);
static_assert(CBitField(7, 6).Get(0xBF) == 2 && CBitField(7, 6).Set(0x3F, 2) == 0xBF);

/// A field of a block of 32-bit register words. A second part, elsewhere in the block, may continue it upwards.
class CRegisterField {
public:
    consteval CRegisterField(uint8_t uWord, CBitField Low) : CRegisterField(uWord, Low, uWord, Low) {}
    consteval CRegisterField(uint8_t uWord, CBitField Low, uint8_t uHighWord, CBitField High)
        : m_Low(Low), m_High(High), m_uWord(uWord), m_uHighWord(uHighWord) {
        if (_IsSplit() && Low.Width() + High.Width() > 32) throw "both parts together exceed 32 bits";
    }

    constexpr uint32_t Width() const { return m_Low.Width() + (_IsSplit() ? m_High.Width() : 0); }
    constexpr uint32_t MaxCode() const { return (uint32_t{2} << (Width() - 1)) - 1; }
    constexpr uint32_t Get(std::span<const uint32_t> Words) const {
        const uint32_t uLow = m_Low.Get(Words[m_uWord]);
        return _IsSplit() ? m_High.Get(Words[m_uHighWord]) << m_Low.Width() | uLow : uLow;
    }
    /// `uCode` is cut to the field; bits outside the field stay.
    constexpr void Set(std::span<uint32_t> Words, uint32_t uCode) const {
        Words[m_uWord] = m_Low.Set(Words[m_uWord], uCode);
        if (_IsSplit()) Words[m_uHighWord] = m_High.Set(Words[m_uHighWord], uCode >> m_Low.Width());
    }

private:
    constexpr bool _IsSplit() const { return m_uWord != m_uHighWord || m_Low != m_High; }

    CBitField m_Low, m_High;  ///< the same place twice: one part only
    uint8_t m_uWord, m_uHighWord;
};

}  // namespace vxt
