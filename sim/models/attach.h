// Behaviour for a machine, chosen by what its file declares.
#pragma once

namespace vxtsim {

class CSimMachine;

void g_AttachModels(CSimMachine& rMachine);

}  // namespace vxtsim
