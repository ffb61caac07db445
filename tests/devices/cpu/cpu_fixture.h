// Processors on a simulated PC: a usual board with the processor of tests/cases/cpu_processors.txt that a test names.
#pragma once

#include <gmock/gmock.h>

#include "devices/cpu/cpu_devices.h"
#include "hw/driver_handler.h"
#include "platform/thread.h"
#include "support/devices.h"
#include "support/simulated_pc.h"
#include "support/text_cases.h"

namespace vxttest {

inline constexpr vxtsim::CPciAddress kMiscControl{0, 24, 3};

class CProcessorTest : public CSimulatedPc {
protected:
    /// Switches on the default board with this processor; registers that differ in the form of the text file.
    void StartProcessor(const std::string& sName, const std::string& sChanges = "-") {
        std::map<uint32_t, uint64_t> Registers = g_HexPairs(sChanges);
        for (const auto& rRow : g_CaseRows("cpu_processors.txt"))
            if (rRow[0] == sName) Registers.merge(g_HexPairs(rRow[1]));
        const auto Take = [&](uint32_t uIndex) { return static_cast<uint32_t>(Registers.extract(uIndex).mapped()); };
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
            rMachine.Cpuid[{1, 0}].uEax = Take(1);
            rMachine.Cpuid[{0x80000007, 0}].uEdx = Take(0x80000007);
            rMachine.Msr.clear();
            for (const auto& [uIndex, ullValue] : Registers)
                if (uIndex >= 0x1000) rMachine.Msr[{vxtsim::kAllCores, uIndex}] = ullValue;
        });
        ASSERT_TRUE(StartDriver());
        for (const auto& [uIndex, ullValue] : Registers)
            if (uIndex < 0x1000) Machine().SetPciDword(kMiscControl, uIndex, static_cast<uint32_t>(ullValue));
        TakeTrace(), m_Log.Take();
    }
};

/// One core of one class.
template <class TCpu> class CCpuTest : public CProcessorTest {
protected:
    ~CCpuTest() override {
        System().StopFailing();
        m_Cpu.UnInit();
    }
    uint64_t& Msr(uint32_t uIndex) { return Machine().Msr(m_Cpu.GetIndex(), uIndex); }

    TCpu m_Cpu = g_Make<TCpu>();
};

}  // namespace vxttest
