// The decimal digits of pi.
#pragma once

#include <cstdint>
#include <memory>

namespace vxt {

/// Takes digits one by one and writes them as text: groups of ten behind a blank each, lines of six groups.
class CDigitText {
public:
    static constexpr uint32_t kGroupDigits = 10, kLineGroups = 6;

    void Write(uint32_t uDigit);
    uint32_t Count() const { return m_uCount; }
    /// FNV-1a, 64 bits, of the text so far.
    uint64_t Checksum() const { return m_ullChecksum; }

private:
    void _Add(char cCharacter);

    uint32_t m_uCount = 0, m_uInGroup = 0, m_uGroups = 0;
    uint64_t m_ullChecksum = 0xCBF29CE484222325;
};

/// The first `uDigits` digits, 1 at least, beginning with 3, by the spigot algorithm (S. Rabinowitz, S. Wagon, American
/// Mathematical Monthly 102, 1995): a remainder for every place of a mixed-radix number is multiplied by ten, and the carries
/// run down to the digit. The work grows with the square of `uDigits`.
class CDecimalDigits {
public:
    explicit CDecimalDigits(uint32_t uDigits) : m_uDigits(uDigits) {}

    /// False: no memory.
    bool Compute();
    /// Of their text.
    uint64_t Checksum() const { return m_Text.Checksum(); }

private:
    uint32_t _NextDigit(uint32_t uPlaces);
    void _Release(uint32_t uDigit);

    const uint32_t m_uDigits;
    std::unique_ptr<uint32_t[]> m_pRemainders;  ///< of place i, below 2 * i + 1
    uint32_t m_uHeld = 0;                       ///< the digit that a carry could still change ...
    uint32_t m_uNines = 0;                      ///< ... and the nines behind it, which it would run through
    bool m_bFirst = true;
    CDigitText m_Text;
};

}  // namespace vxt
