// Processors on a simulated PC: a usual board with the processor and the registers that a test names.
#pragma once

#include <gmock/gmock.h>

#include "devices/cpu/cpu_devices.h"
#include "hw/driver_handler.h"
#include "platform/thread.h"
#include "support/devices.h"
#include "support/simulated_pc.h"

namespace vxttest {

using Msrs = std::map<uint32_t, uint64_t>;

inline constexpr vxtsim::CPciAddress kMiscControl{0, 24, 3};

/// Switches on the default board with another processor and drives one core of it.
template <class TCpu> class CCpuTest : public CSimulatedPc {
protected:
    ~CCpuTest() override {
        System().StopFailing();
        m_Cpu.UnInit();
    }

    void StartProcessor(uint32_t uSignature, uint32_t uPowerEdx, const Msrs& rMsrs) {
        Start(kDefaultMachine, [&](vxtsim::CMachineDescription& rMachine) {
            rMachine.Cpuid[{1, 0}].uEax = uSignature;
            rMachine.Cpuid[{0x80000007, 0}].uEdx = uPowerEdx;
            rMachine.Msr.clear();
            for (const auto& [uIndex, ullValue] : rMsrs) rMachine.Msr[{vxtsim::kAllCores, uIndex}] = ullValue;
        });
        ASSERT_TRUE(StartDriver());
    }
    uint64_t& Msr(uint32_t uIndex) { return Machine().Msr(m_Cpu.GetIndex(), uIndex); }

    /// Driver requests since the last call.
    Lines Requests() {
        Lines Trace = TakeTrace();
        std::erase_if(Trace, [](const std::string& sLine) { return sLine[0] >= 'A' && sLine[0] <= 'Z'; });
        return Trace;
    }
    /// Those that write, likewise.
    Lines Writes() {
        Lines Trace = Requests();
        std::erase_if(Trace, [](const std::string& sLine) {
            return !sLine.starts_with("wrmsr") && !sLine.starts_with("memwr") && !sLine.starts_with("pciwr");
        });
        return Trace;
    }
    TCpu m_Cpu = g_Make<TCpu>();
};

}  // namespace vxttest
