// The HyperTransport link PHYs of families 10h and 11h.
#pragma once

#include "index_data_pairs.h"

namespace vxtsim {

/// Function 4, from 180h on: a pair for each of four links, 512 registers each. They begin as the machine file says, else
/// with 0.
class CLinkPhy final : public CIndexDataPairs {
public:
    static constexpr CPciAddress kFunction{0, 0x18, 4};

    explicit CLinkPhy(CSimMachine& rMachine) : CIndexDataPairs(rMachine, {kFunction, 0x180, 8, 4, 0x1FF}) {
        Begin(rMachine.Description().LinkPhy);
    }
    void Describe(CMachineDescription& rDescription) const override { DescribeInto(rDescription.LinkPhy); }
};

}  // namespace vxtsim
