// Machine files built into the library.
#pragma once

#include <span>
#include <string_view>

namespace vxtsim {

struct CEmbeddedMachine {
    std::string_view sName, sText;
};
extern const std::span<const CEmbeddedMachine> g_EmbeddedMachines;  ///< sorted by name

}  // namespace vxtsim
