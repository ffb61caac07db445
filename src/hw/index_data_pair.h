// Registers behind an index register of a PCI function and the data register after it.
#pragma once

#include "hw/pci_function.h"

namespace vxt {

/// How often a handshake is looked at before it counts as failed, and the check as it is logged then.
struct CPollLimit {
    uint32_t uLooks;
    const char* pszCheck;
};

/// Writing the index starts an access, bit 30 makes it a write; bit 31 reads as one when it is done. Accesses answer the
/// text of the failed check: "bRetCode" for a request that failed, the limit's own when it is never done; null: done.
/// Takes no lock: nobody else may use the pair meanwhile.
class CIndexDataPair {
public:
    /// `uIndexMask`: the bits of an index.
    constexpr CIndexDataPair(const CPciFunction& rFunction, uint32_t uIndexOffset, uint32_t uIndexMask,
                             const CPollLimit& rLimit)
        : m_Function(rFunction), m_uIndexOffset(uIndexOffset), m_uIndexMask(uIndexMask), m_rLimit(rLimit) {}

    const char* Read(uint32_t uIndex, uint32_t& ruValue) const {
        const char* const pszFailed = _Access(uIndex & m_uIndexMask);
        return pszFailed ? pszFailed : ReadData(ruValue) ? nullptr : kRequestFailed;
    }
    const char* Write(uint32_t uIndex, uint32_t uValue) const {
        if (!m_Function.Write(m_uIndexOffset + 4, uValue)) return kRequestFailed;
        return _Access((uIndex & m_uIndexMask) | kWriteAccess);
    }
    /// What the data register holds now, without an access.
    bool ReadData(uint32_t& ruValue) const { return m_Function.Read(m_uIndexOffset + 4, ruValue); }

private:
    static constexpr uint32_t kWriteAccess = 1u << 30, kAccessDone = 1u << 31;
    static constexpr const char* kRequestFailed = "bRetCode";

    const char* _Access(uint32_t uCommand) const {
        if (!m_Function.Write(m_uIndexOffset, uCommand)) return kRequestFailed;
        for (uint32_t uLook = 0; uLook < m_rLimit.uLooks; ++uLook) {
            uint32_t uIndex = 0;
            if (!m_Function.Read(m_uIndexOffset, uIndex)) return kRequestFailed;
            if (uIndex & kAccessDone) return nullptr;
        }
        return m_rLimit.pszCheck;
    }

    CPciFunction m_Function;
    uint32_t m_uIndexOffset, m_uIndexMask;
    const CPollLimit& m_rLimit;
};

}  // namespace vxt
