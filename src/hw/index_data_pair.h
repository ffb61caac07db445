// Registers behind an index register of a PCI function and the data register after it.
#pragma once

#include "hw/pci_function.h"

namespace vxt {

/// Writing the index starts an access, bit 30 makes it a write; bit 31 reads as one when it is done.
/// Takes no lock: nobody else may use the pair meanwhile.
class CIndexDataPair {
public:
    enum class EResult { kDone, kFailed, kTimedOut };  ///< kFailed: a request to the driver; kTimedOut: never done

    /// `uIndexMask`: the bits of an index. An access that is not done after `uPollLimit` looks has timed out.
    constexpr CIndexDataPair(const CPciFunction& rFunction, uint32_t uIndexOffset, uint32_t uIndexMask,
                             uint32_t uPollLimit)
        : m_Function(rFunction), m_uIndexOffset(uIndexOffset), m_uIndexMask(uIndexMask), m_uPollLimit(uPollLimit) {}

    EResult Read(uint32_t uIndex, uint32_t& ruValue) const {
        const EResult eResult = _Access(uIndex & m_uIndexMask);
        if (eResult != EResult::kDone) return eResult;
        return ReadData(ruValue) ? EResult::kDone : EResult::kFailed;
    }
    EResult Write(uint32_t uIndex, uint32_t uValue) const {
        if (!m_Function.Write(m_uIndexOffset + 4, uValue)) return EResult::kFailed;
        return _Access((uIndex & m_uIndexMask) | kWriteAccess);
    }
    /// What the data register holds now, without an access.
    bool ReadData(uint32_t& ruValue) const { return m_Function.Read(m_uIndexOffset + 4, ruValue); }

private:
    static constexpr uint32_t kWriteAccess = 1u << 30, kAccessDone = 1u << 31;

    EResult _Access(uint32_t uCommand) const {
        if (!m_Function.Write(m_uIndexOffset, uCommand)) return EResult::kFailed;
        for (uint32_t uCounter = 0; uCounter < m_uPollLimit; ++uCounter) {
            uint32_t uIndex = 0;
            if (!m_Function.Read(m_uIndexOffset, uIndex)) return EResult::kFailed;
            if (uIndex & kAccessDone) return EResult::kDone;
        }
        return EResult::kTimedOut;
    }

    CPciFunction m_Function;
    uint32_t m_uIndexOffset, m_uIndexMask, m_uPollLimit;
};

}  // namespace vxt
