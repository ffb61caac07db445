// What the sections of the firmware's parts have in common.
#pragma once

#include "section.h"

namespace vxtsim {

/// The firmware that a part belongs to; null, with the reason told, before [firmware].
inline CFirmwareDescription* g_FirmwareOf(CMachineReader& rReader) {
    auto& roFirmware = rReader.Machine().oFirmware;
    if (!roFirmware) rReader.Fail("[firmware] before its parts", rReader.Heading());
    return roFirmware ? &*roFirmware : nullptr;
}

/// Calls `Inherit(own firmware, base's)` where both have one.
template <class TInherit>
void g_InheritPart(CMachineDescription& rMachine, const CMachineDescription& rBase, TInherit Inherit) {
    if (rMachine.oFirmware && rBase.oFirmware) Inherit(*rMachine.oFirmware, *rBase.oFirmware);
}

/// Forgets what `pMember` of the firmware holds: the entries for which `IsMeant` says so.
template <auto pMember, class TIsMeant> bool g_ForgetPart(CMachineDescription& rMachine, TIsMeant IsMeant) {
    return rMachine.oFirmware && std::erase_if((*rMachine.oFirmware).*pMember, IsMeant) != 0;
}

}  // namespace vxtsim
