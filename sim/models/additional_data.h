// The DRAM controller's additional data: drive strengths and delays of the memory bus.
#pragma once

#include "index_data_pairs.h"

namespace vxtsim {

/// Function 2, registers 98h and 9Ch. Families 10h and 11h have a pair for each channel, the second 100h further on;
/// K8 revision F has one. The registers begin as the machine file says, else with 0.
class CAdditionalData final : public CIndexDataPairs {
public:
    static constexpr CPciAddress kFunction{0, 0x18, 2};

    CAdditionalData(CSimMachine& rMachine, uint32_t uPairs)
        : CIndexDataPairs(rMachine, {kFunction, 0x98, 0x100, uPairs, 0x3FFFFFFF}) {
        Begin(rMachine.Description().DramData);
    }
    void Describe(CMachineDescription& rDescription) const override { DescribeInto(rDescription.DramData); }
};

}  // namespace vxtsim
