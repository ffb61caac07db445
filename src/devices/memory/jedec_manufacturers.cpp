#include "devices/memory/jedec_manufacturers.h"

#include <algorithm>

#include "devices/memory/jedec_rows.h"

namespace vxt {

namespace {
constexpr uint8_t kContinuation = 0x7F;
}

CJedecManufacturers::CJedecManufacturers() {
    for (const CJedecRow& rRow : kJedecRows) m_apszNames[(rRow.ucBank - 1) * kBytes + rRow.ucByte] = rRow.pszName;
}

const char* CJedecManufacturers::GetName(const uint8_t* pucContinued) const {
    constexpr size_t kExamined = 7;
    const uint8_t* const pucEnd = pucContinued + kExamined;
    const uint8_t* const pucByte =
        std::find_if(pucContinued, pucEnd, [](uint8_t ucByte) { return ucByte != kContinuation; });
    if (pucByte == pucEnd) return kUnknown;
    return m_apszNames[static_cast<size_t>(pucByte - pucContinued) * kBytes + *pucByte];
}

const char* CJedecManufacturers::GetNameOfPair(const uint8_t* pucBankAndByte) const {
    const size_t uBank = pucBankAndByte[0];
    const uint8_t ucByte = pucBankAndByte[1];
    return uBank >= kBanks || ucByte == kContinuation ? kUnknown : m_apszNames[uBank * kBytes + ucByte];
}

// Constructed with the library, which then has the table wherever it is asked for.
static const CJedecManufacturers s_JedecManufacturers;
const CJedecManufacturers& g_GetJedecManufacturers() { return s_JedecManufacturers; }

}  // namespace vxt
