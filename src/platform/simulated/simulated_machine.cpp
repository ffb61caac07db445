#include "platform/simulated/simulated_machine.h"

#include <cstdio>
#include <cstdlib>

#include "sim/machine_state.h"

namespace vxt::platform::simulated {

namespace {

std::string g_Variable(const char* pszName) {
    const char* const pszValue = std::getenv(pszName);
    return pszValue ? pszValue : "";
}

struct CCurrent {
    std::unique_ptr<vxtsim::CMachineState> pState;
    std::unique_ptr<vxtsim::CSimMachine> pMachine;
    std::mutex Lock;     ///< the error's making
    std::string sError;  ///< of the start, else the first of keeping the state

    CCurrent() { Use(g_Variable("VXT_MACHINE"), g_Variable("VXT_STATE")); }

    void Use(const std::string& sMachine, const std::string& sState) {
        sError.clear(), pState.reset();
        vxtsim::CMachineDescription Description;
        bool bUsable = false;
        if (sState.empty()) {
            bUsable = vxtsim::g_LoadMachine(sMachine.empty() ? vxtsim::kDefaultMachine : sMachine, Description, sError);
        } else {
            pState = std::make_unique<vxtsim::CMachineState>();
            bUsable = pState->Open(sState, sMachine, Description, sError);
        }
        if (!bUsable) Description = {}, pState.reset();
        pMachine = std::make_unique<vxtsim::CSimMachine>(std::move(Description));
    }
};

CCurrent& g_GetCurrent() {
    static CCurrent* const s_pCurrent = new CCurrent;  // outlives whoever still holds a handle at exit
    struct CStateHold {
        ~CStateHold() { s_pCurrent->pState.reset(); }
    };
    static const CStateHold s_Hold;  // ends with the library: who loads it again may have the file
    return *s_pCurrent;
}

}  // namespace

vxtsim::CSimMachine& g_GetMachine() { return *g_GetCurrent().pMachine; }

const char* g_MachineError() {
    CCurrent& rCurrent = g_GetCurrent();
    const std::lock_guard Guard(rCurrent.Lock);
    return rCurrent.sError.empty() ? nullptr : rCurrent.sError.c_str();
}

bool g_KeepState() {
    CCurrent& rCurrent = g_GetCurrent();
    std::string sError;
    if (!rCurrent.pState || rCurrent.pState->Keep(*rCurrent.pMachine, sError)) return true;
    const std::lock_guard Guard(rCurrent.Lock);
    if (rCurrent.sError.empty()) {
        rCurrent.sError = std::move(sError);
        std::fprintf(stderr, "%s\n", rCurrent.sError.c_str());
    }
    return false;
}

void g_ResetState() {
    CCurrent& rCurrent = g_GetCurrent();
    vxtsim::CMachineDescription Anew;
    std::string sError;
    if (rCurrent.pState && !rCurrent.pState->Reset(*rCurrent.pMachine, Anew, sError))
        std::fprintf(stderr, "%s\n", sError.c_str());
}

void g_UseMachine(const std::string& sMachine, const std::string& sState) { g_GetCurrent().Use(sMachine, sState); }

void g_UseMachine(vxtsim::CMachineDescription Description) {
    CCurrent& rCurrent = g_GetCurrent();
    rCurrent.pState.reset();
    rCurrent.pMachine = std::make_unique<vxtsim::CSimMachine>(std::move(Description));
    rCurrent.sError.clear();
}

}  // namespace vxt::platform::simulated
