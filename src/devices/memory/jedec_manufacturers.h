// Names of the manufacturers that memory modules give by number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vxt {

/// JEDEC's list JEP106, banks 1 to 8, by the identification byte as it stands in SPD data: with odd parity in bit 7. A byte
/// with the wrong parity is another one, mostly none. Names are ASCII and live as long as the library; null: the list has
/// no such manufacturer. Threads: any.
class CJedecManufacturers {
public:
    static constexpr const char* kUnknown = "Unknown Manufacturer Code ID";

    CJedecManufacturers();
    virtual ~CJedecManufacturers() = default;

    /// DDR, DDR2: seven bytes at least, a continuation code (7Fh) for each bank before the manufacturer's. Kept: only seven are
    /// looked at, so bank 8 is out of reach here; seven continuation codes are kUnknown.
    const char* GetName(const uint8_t* pucContinued) const;
    /// DDR3: two bytes, the bank from 0 and the identification byte. A bank of 8 or more and the byte 7Fh are kUnknown.
    const char* GetNameOfPair(const uint8_t* pucBankAndByte) const;

private:
    static constexpr size_t kBanks = 8, kBytes = 256;
    std::array<const char*, kBanks * kBytes> m_apszNames{};
};

const CJedecManufacturers& g_GetJedecManufacturers();

}  // namespace vxt
