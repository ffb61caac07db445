#include "bench/decimal_digits.h"

#include <new>

#include "api/log/log_checks.h"
#include "platform/silicon.h"

namespace vxt {

namespace {

/// Ten places carry three digits: each is worth a factor of two, and 2^10 is more than 10^3. The guard digits keep what the
/// cut-off places were worth away from the last digit.
constexpr uint32_t g_Places(uint32_t uDigits) {
    constexpr uint32_t kGuardDigits = 10;
    return (uDigits + kGuardDigits) * 10 / 3 + 1;
}

}  // namespace

void CDigitText::_Add(char cCharacter) {
    m_ullChecksum = (m_ullChecksum ^ static_cast<uint8_t>(cCharacter)) * 0x100000001B3;
}

void CDigitText::Write(uint32_t uDigit) {
    _Add(static_cast<char>('0' + uDigit));
    ++m_uCount;
    if (++m_uInGroup < kGroupDigits) return;
    m_uInGroup = 0;
    const bool bLineIsFull = ++m_uGroups == kLineGroups;
    _Add(bLineIsFull ? '\n' : ' ');
    if (!bLineIsFull) return;
    m_uGroups = 0;
    m_ullChecksum ^= platform::SiliconFault();
}

bool CDecimalDigits::Compute() {
    const uint32_t uPlaces = g_Places(m_uDigits);
    m_pRemainders.reset(new (std::nothrow) uint32_t[uPlaces]);
    LOG_PROCESS_ERROR(m_pRemainders);
    // Every remainder of pi is 2: pi = 2 + 1/3 * (2 + 2/5 * (2 + 3/7 * (2 + ...))).
    for (uint32_t uPlace = 0; uPlace < uPlaces; ++uPlace) m_pRemainders[uPlace] = 2;
    // The last places matter to the last digits alone: with each digit that is there, some are done with.
    for (uint32_t uFound = 0; m_Text.Count() < m_uDigits; ++uFound)
        _Release(_NextDigit(g_Places(m_uDigits > uFound ? m_uDigits - uFound : 0)));
    return true;
}

/// 0 to 10: a 10 is a carry into the digits before it.
uint32_t CDecimalDigits::_NextDigit(uint32_t uPlaces) {
    uint32_t uCarry = 0;
    for (uint32_t uPlace = uPlaces - 1; uPlace > 0; --uPlace) {
        const uint32_t uRadix = 2 * uPlace + 1, uValue = m_pRemainders[uPlace] * 10 + uCarry;
        m_pRemainders[uPlace] = uValue % uRadix;
        uCarry = uValue / uRadix * uPlace;
    }
    const uint32_t uValue = m_pRemainders[0] * 10 + uCarry;
    m_pRemainders[0] = uValue % 10;
    return uValue / 10;
}

/// Takes the next digit in and writes those that no carry can reach any more.
void CDecimalDigits::_Release(uint32_t uDigit) {
    if (uDigit == 9) {
        ++m_uNines;
        return;
    }
    const uint32_t uCarry = uDigit / 10;
    if (!m_bFirst) m_Text.Write(m_uHeld + uCarry);
    for (; m_uNines && m_Text.Count() < m_uDigits; --m_uNines) m_Text.Write(uCarry ? 0 : 9);
    m_uNines = 0;
    m_uHeld = uDigit % 10;
    m_bFirst = false;
}

}  // namespace vxt
