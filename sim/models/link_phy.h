// The HyperTransport link PHYs of families 10h and 11h.
#pragma once

#include "index_data_pairs.h"

namespace vxtsim {

/// Function 4, from 180h on: a pair for each of four links, 512 registers each. They begin with 0.
class CLinkPhy final : public CIndexDataPairs {
public:
    static constexpr CPciAddress kFunction{0, 0x18, 4};

    explicit CLinkPhy(CSimMachine&) : CIndexDataPairs({kFunction, 0x180, 8, 4, 0x1FF}) {}
};

}  // namespace vxtsim
