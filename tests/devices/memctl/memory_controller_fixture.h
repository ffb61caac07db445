// Memory controllers on a simulated PC: a usual board with the processor and the DRAM registers that a test names.
#pragma once

#include <gmock/gmock.h>

#include <cstring>

#include "devices/memctl/memctl_devices.h"
#include "hw/driver_handler.h"
#include "sim/models/additional_data.h"
#include "support/devices.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace vxttest {

inline constexpr vxtsim::CPciAddress kDram{0, 24, 2};

enum EFamily { kFirstK8, kRevisionF, kFamily10h, kFamily11h };
struct CMemoryFamily {
    const char* pszClass;
    uint32_t uSignature;
    uint16_t usPciDevice;
};
inline constexpr CMemoryFamily kMemoryFamilies[] = {
    {"CMoldanMemoryController", 0x00020FF0, 0x1102},
    {"CKDFMemoryController", 0x00060FB1, 0x1102},
    {"CBrevikMemoryController", 0x00100F42, 0x1202},
    {"CTalvorMemoryController", 0x00200F31, 0x1302},
};

/// By the word that the text cases have for it.
inline EFamily g_Family(const std::string& sName) {
    static const std::map<std::string, EFamily> s_Names = {
        {"first K8", kFirstK8}, {"revision F", kRevisionF}, {"10h", kFamily10h}, {"11h", kFamily11h}};
    return s_Names.at(sName);
}

using Registers = std::map<uint32_t, uint32_t>;  ///< of the DRAM controller, by offset

/// "94=8 194=8"; "-": none.
inline Registers g_Registers(const std::string& sText) {
    Registers Result;
    for (const auto& [uOffset, ullValue] : g_HexPairs(sText)) Result[uOffset] = static_cast<uint32_t>(ullValue);
    return Result;
}

class CMemoryTest : public CSimulatedPc {
protected:
    /// A board with such a processor and these DRAM registers, all others 0; without a configuration window, so that
    /// each access is one request and nothing stands in for it.
    void Boot(EFamily eFamily, const Registers& rRegisters) {
        m_eFamily = eFamily;
        Start("family10h-ddr2", [&](vxtsim::CMachineDescription& rMachine) {
            rMachine.Cpuid[{1, 0}].uEax = Family().uSignature;
            std::vector<uint8_t>& rFunction = rMachine.Pci.at(kDram);
            std::fill(rFunction.begin() + 0x40, rFunction.end(), uint8_t{0});
            std::memcpy(&rFunction[2], &Family().usPciDevice, 2);
            for (const auto& [uOffset, uValue] : rRegisters) std::memcpy(&rFunction.at(uOffset), &uValue, 4);
        });
        ASSERT_TRUE(StartDriver());
    }
    void BootAndInit(EFamily eFamily, const Registers& rRegisters) {
        ASSERT_NO_FATAL_FAILURE(Boot(eFamily, rRegisters));
        ASSERT_TRUE(Controller().Init(0));
        TakeTrace(), m_Log.Take();
    }

    const CMemoryFamily& Family() const { return kMemoryFamilies[m_eFamily]; }
    vxtapi::CMemoryController& Controller() {
        vxtapi::CMemoryController* const apControllers[] = {&m_FirstK8, &m_RevisionF, &m_10h, &m_11h};
        return *apControllers[m_eFamily];
    }
    std::string Error(const std::string& sExpression, const std::string& sOperation) const {
        return g_ProcessError(sExpression, Family().pszClass + std::string("::") + sOperation);
    }

    uint32_t Register(uint32_t uOffset) { return Machine().PciDword(kDram, uOffset); }
    void SetRegisters(const Registers& rRegisters) {
        for (const auto& [uOffset, uValue] : rRegisters) Machine().SetPciDword(kDram, uOffset, uValue);
    }
    vxtsim::CAdditionalData& Additional() { return *Machine().Model<vxtsim::CAdditionalData>(); }

    vxt::CMoldanMemoryController m_FirstK8 = g_Make<vxt::CMoldanMemoryController>();
    vxt::CKDFMemoryController m_RevisionF = g_Make<vxt::CKDFMemoryController>();
    vxt::CBrevikMemoryController m_10h = g_Make<vxt::CBrevikMemoryController>();
    vxt::CTalvorMemoryController m_11h = g_Make<vxt::CTalvorMemoryController>();
    EFamily m_eFamily = kFamily10h;
};

}  // namespace vxttest
