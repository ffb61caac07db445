// What the firmware says about one of its tunable values.
#pragma once

namespace vxtapi {

/// In the unit of the operation that hands it out (MHz, V). 0.0 where the firmware does not say.
struct FirmwareLimits {
    double dMinimum;
    double dMaximum;
    double dDefault;
    double dStep;
};

}  // namespace vxtapi
