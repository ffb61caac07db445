// What devices tell with a yes or a no.
#pragma once

#include <vxtapi/device.h>

#include "common/json.h"

namespace vxtctl {

/// An eTold: a flag, or null where it is not told.
inline vxttools::CJson g_Told(uint8_t uTold) {
    return uTold > vxtapi::kYes ? vxttools::CJson() : vxttools::CJson(uTold == vxtapi::kYes);
}

}  // namespace vxtctl
