// Registers behind index and data registers of a PCI function: the link PHYs, the DRAM controller's additional data.
#pragma once

#include "../machine.h"

namespace vxtsim {

/// Writing an index register starts an access to one of the pair's registers; bit 30 makes it a write of the data
/// register's value. Bit 31 shows that the access is done: only then the register is written, or its value stands in
/// the data register. Nothing of it stands in the plain dump.
class CIndexDataPairs : public CSimModel {
public:
    struct CPlace {
        CPciAddress Function;
        uint32_t uFirst, uStride, uPairs;  ///< offset of the first index register; the data register follows each
        uint32_t uIndexMask;
    };
    CIndexDataPairs(CSimMachine& rMachine, const CPlace& rPlace)
        : m_rMachine(rMachine), m_Place(rPlace), m_Pairs(rPlace.uPairs) {}

    bool ReadPci(CPciAddress Address, uint32_t uOffset, uint32_t& ruValue) override;
    bool WritePci(CPciAddress Address, uint32_t uOffset, uint32_t uValue) override;

    uint32_t& Register(uint32_t uPair, uint32_t uIndex) { return m_Pairs.at(uPair).Registers[uIndex]; }

    uint32_t m_uReadsUntilDone = 3;  ///< this read of the index register is the first that shows the end
    bool m_bNeverDone = false;

protected:
    using CDescribed = std::map<std::pair<uint32_t, uint32_t>, uint32_t>;  ///< by pair and index
    void Begin(const CDescribed& rRegisters);
    void DescribeInto(CDescribed& rRegisters) const;

private:
    static constexpr uint32_t kWrite = 1u << 30;  ///< of an index register

    struct CPair {
        uint32_t uIndex = 0, uData = 0;  ///< as they read
        bool bRunning = false;
        uint32_t uReads = 0;  ///< of the index register since the access began
        std::map<uint32_t, uint32_t> Registers;
        bool IsWriting() const { return bRunning && uIndex & kWrite; }
    };
    /// The pair with a register at this place; null when there is none. `rbIndex`: it is the index register.
    CPair* _Find(CPciAddress Address, uint32_t uOffset, bool& rbIndex);
    void _Look(CPair& rPair);

    CSimMachine& m_rMachine;
    CPlace m_Place;
    std::vector<CPair> m_Pairs;
};

}  // namespace vxtsim
