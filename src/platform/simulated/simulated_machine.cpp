#include "platform/simulated/simulated_machine.h"

#include <cstdio>
#include <cstdlib>

namespace vxt::platform::simulated {

namespace {

constexpr const char* kMachineVariable = "VXT_MACHINE";
constexpr const char* kDefaultMachine = "family10h-ddr3";

struct CCurrent {
    std::unique_ptr<vxtsim::CSimMachine> pMachine;
    bool bUsable = false;

    CCurrent() {
        const char* const pszChosen = std::getenv(kMachineVariable);
        vxtsim::CMachineDescription Description;
        std::string sError;
        bUsable = vxtsim::g_LoadMachine(pszChosen && *pszChosen ? pszChosen : kDefaultMachine, Description, sError);
        if (!bUsable) {
            std::fprintf(stderr, "%s\n", sError.c_str());
            Description = {};
        }
        pMachine = std::make_unique<vxtsim::CSimMachine>(std::move(Description));
    }
};

CCurrent& g_GetCurrent() {
    static CCurrent* const s_pCurrent = new CCurrent;  // outlives whoever still holds a handle at exit
    return *s_pCurrent;
}

}  // namespace

vxtsim::CSimMachine& g_GetMachine() { return *g_GetCurrent().pMachine; }

bool g_HasMachine() { return g_GetCurrent().bUsable; }

void g_UseMachine(vxtsim::CMachineDescription Description) {
    g_GetCurrent().pMachine = std::make_unique<vxtsim::CSimMachine>(std::move(Description));
    g_GetCurrent().bUsable = true;
}

}  // namespace vxt::platform::simulated
