// For tests only: a management locator in place of the system's own, registered under the same class ID. It connects to
// the real one and adds the firmware of the simulated PC to root\wmi, and to root\cimv2 what its machine file tells of its
// inventory; whatever that does not have is passed on.
#include <algorithm>

#include "class_object.h"
#include "firmware_runner.h"
#include "platform/simulated/simulated_machine.h"

using namespace vxtsim;
using vxt::platform::CReference;
using vxt::platform::g_Guarded;

namespace vxtwmi {

namespace {

// Where every installation keeps it. The DLL is asked directly: its class ID leads here.
constexpr const wchar_t* kSystemLocator = L"%SystemRoot%\\system32\\wbem\\wbemprox.dll";

std::unique_ptr<CSimWmi> g_pWmi;

HRESULT g_CreateSystemLocator(IWbemLocator** ppLocator) {
    wchar_t szPath[MAX_PATH]{};
    ExpandEnvironmentStringsW(kSystemLocator, szPath, MAX_PATH);
    static const HMODULE s_hModule = LoadLibraryW(szPath);  // objects may live on: never unloaded
    const FARPROC pFound = s_hModule ? GetProcAddress(s_hModule, "DllGetClassObject") : nullptr;
    if (!pFound) return CO_E_DLLNOTFOUND;
    CReference<IClassFactory> pFactory;
    const HRESULT lResult = reinterpret_cast<LPFNGETCLASSOBJECT>(reinterpret_cast<void*>(pFound))(
        CLSID_WbemLocator, IID_IClassFactory, reinterpret_cast<void**>(pFactory.Receive()));
    if (FAILED(lResult)) return lResult;
    return pFactory->CreateInstance(nullptr, IID_IWbemLocator, reinterpret_cast<void**>(ppLocator));
}

#define VXT_PASS_ON(Name, Parameters, ...) \
    STDMETHODIMP Name Parameters override { return m_pSystem->Name(__VA_ARGS__); }

/// root\wmi or root\cimv2.
class CServices final : public CComObject<IWbemServices, IClientSecurity> {
public:
    CServices(std::string sNamespace, CReference<IWbemServices> pSystem)
        : m_sNamespace(std::move(sNamespace)), m_pSystem(std::move(pSystem)) {}

    STDMETHODIMP GetObject(const BSTR pszPath, LONG lFlags, IWbemContext* pContext, IWbemClassObject** ppObject,
                           IWbemCallResult** ppResult) override {
        if (!pszPath || !ppObject) return kInvalidParameter;
        return g_Guarded([&]() -> HRESULT {
            auto Object = _Object(g_Narrow(pszPath).value_or(""));
            if (!Object) return m_pSystem->GetObject(pszPath, lFlags, pContext, ppObject, ppResult);
            if (lFlags || ppResult) return kNotSupported;
            *ppObject = g_NewClassObject(std::move(*Object));
            return WBEM_S_NO_ERROR;
        });
    }

    STDMETHODIMP CreateInstanceEnum(const BSTR pszClass, LONG lFlags, IWbemContext* pContext,
                                    IEnumWbemClassObject** ppEnumerator) override {
        if (!pszClass || !ppEnumerator) return kInvalidParameter;
        return g_Guarded([&]() -> HRESULT {
            auto Instances = _Instances(g_Narrow(pszClass).value_or(""));
            if (!Instances) return m_pSystem->CreateInstanceEnum(pszClass, lFlags, pContext, ppEnumerator);
            if (lFlags != 0x221)  // shallow, forward only, direct read
                return kInvalidParameter;
            *ppEnumerator = g_NewEnumerator(std::move(*Instances));
            return WBEM_S_NO_ERROR;
        });
    }

    STDMETHODIMP ExecMethod(const BSTR pszPath, const BSTR pszMethod, LONG lFlags, IWbemContext* pContext,
                            IWbemClassObject* pInput, IWbemClassObject** ppOutput,
                            IWbemCallResult** ppResult) override {
        if (!pszPath || !pszMethod) return kInvalidParameter;
        if (ppOutput) *ppOutput = nullptr;
        return g_Guarded([&]() -> HRESULT {
            const std::string sPath = g_Narrow(pszPath).value_or("");
            if (!_Object(sPath)) {
                CReference<IWbemClassObject> pKnown;  // Wine falls over a path that leads nowhere
                const HRESULT lResult = m_pSystem->GetObject(pszPath, 0, pContext, pKnown.Receive(), nullptr);
                if (FAILED(lResult)) return lResult;
                return m_pSystem->ExecMethod(pszPath, pszMethod, lFlags, pContext, pInput, ppOutput, ppResult);
            }
            const CWmiObject* const pValue = g_Look(pInput);
            if (lFlags || ppResult || (pInput && !pValue)) return kInvalidParameter;
            auto [bDone, ullNanoseconds, oOutput, NoInstances] =
                g_RunFirmware({m_sNamespace, sPath, g_Narrow(pszMethod).value_or(""),
                               pValue ? std::optional(*pValue) : std::nullopt});
            Sleep(static_cast<DWORD>(ullNanoseconds / 1'000'000));  // virtual ns pass as real ones
            if (!bDone) return kFailed;
            if (oOutput && ppOutput) *ppOutput = g_NewClassObject(std::move(*oOutput));
            return WBEM_S_NO_ERROR;
        });
    }

    /// There is no proxy here to set up, but what a client asks for has to be what a firmware's provider grants.
    STDMETHODIMP SetBlanket(IUnknown* pProxy, DWORD dwAuthentication, DWORD dwAuthorization, OLECHAR* pszPrincipal,
                            DWORD dwLevel, DWORD dwImpersonation, void* pIdentity, DWORD dwCapabilities) override {
        const bool bGranted = pProxy && dwAuthentication == 10 /* NT */ && dwAuthorization == 0 /* none */ &&
                              !pszPrincipal && dwLevel == 3 /* call */ && dwImpersonation == 3 /* impersonate */ &&
                              !pIdentity && dwCapabilities == 0;
        return bGranted ? S_OK : E_INVALIDARG;
    }
    VXT_REFUSE(QueryBlanket(IUnknown*, DWORD*, DWORD*, OLECHAR**, DWORD*, DWORD*, void**, DWORD*))
    VXT_REFUSE(CopyProxy(IUnknown*, IUnknown**))

    VXT_PASS_ON(OpenNamespace, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemServices** p4, IWbemCallResult** p5), p1,
                l2, p3, p4, p5)
    VXT_PASS_ON(CancelAsyncCall, (IWbemObjectSink * p1), p1)
    VXT_PASS_ON(QueryObjectSink, (LONG l1, IWbemObjectSink** p2), l1, p2)
    VXT_PASS_ON(GetObjectAsync, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3, p4)
    VXT_PASS_ON(PutClass, (IWbemClassObject * p1, LONG l2, IWbemContext* p3, IWbemCallResult** p4), p1, l2, p3, p4)
    VXT_PASS_ON(PutClassAsync, (IWbemClassObject * p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3, p4)
    VXT_PASS_ON(DeleteClass, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemCallResult** p4), p1, l2, p3, p4)
    VXT_PASS_ON(DeleteClassAsync, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3, p4)
    VXT_PASS_ON(CreateClassEnum, (const BSTR p1, LONG l2, IWbemContext* p3, IEnumWbemClassObject** p4), p1, l2, p3, p4)
    VXT_PASS_ON(CreateClassEnumAsync, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3, p4)
    VXT_PASS_ON(PutInstance, (IWbemClassObject * p1, LONG l2, IWbemContext* p3, IWbemCallResult** p4), p1, l2, p3, p4)
    VXT_PASS_ON(PutInstanceAsync, (IWbemClassObject * p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3,
                p4)
    VXT_PASS_ON(DeleteInstance, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemCallResult** p4), p1, l2, p3, p4)
    VXT_PASS_ON(DeleteInstanceAsync, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3, p4)
    VXT_PASS_ON(CreateInstanceEnumAsync, (const BSTR p1, LONG l2, IWbemContext* p3, IWbemObjectSink* p4), p1, l2, p3,
                p4)
    VXT_PASS_ON(ExecQuery, (const BSTR p1, const BSTR p2, LONG l3, IWbemContext* p4, IEnumWbemClassObject** p5), p1, p2,
                l3, p4, p5)
    VXT_PASS_ON(ExecQueryAsync, (const BSTR p1, const BSTR p2, LONG l3, IWbemContext* p4, IWbemObjectSink* p5), p1, p2,
                l3, p4, p5)
    VXT_PASS_ON(ExecNotificationQuery,
                (const BSTR p1, const BSTR p2, LONG l3, IWbemContext* p4, IEnumWbemClassObject** p5), p1, p2, l3, p4,
                p5)
    VXT_PASS_ON(ExecNotificationQueryAsync,
                (const BSTR p1, const BSTR p2, LONG l3, IWbemContext* p4, IWbemObjectSink* p5), p1, p2, l3, p4, p5)
    VXT_PASS_ON(ExecMethodAsync,
                (const BSTR p1, const BSTR p2, LONG l3, IWbemContext* p4, IWbemClassObject* p5, IWbemObjectSink* p6),
                p1, p2, l3, p4, p5, p6)

private:
    /// The firmware's never change. The inventory's are asked of the PC anew: drives come and go.
    std::optional<std::vector<CWmiObject>> _Instances(const std::string& rsClass) const {
        if (m_sNamespace == kNamespace) return g_GetWmi().GetInstances(kNamespace, rsClass);
        auto Reply = g_RunFirmware({m_sNamespace, rsClass, "", std::nullopt});
        return Reply.bDone ? std::optional(std::move(Reply.Instances)) : std::nullopt;
    }
    /// Of the inventory's classes the system has the definitions.
    std::optional<CWmiObject> _Object(const std::string& rsPath) const {
        if (m_sNamespace == kNamespace) return g_GetWmi().GetObject(kNamespace, rsPath);
        const auto oInstances = _Instances(rsPath.substr(0, rsPath.find('.')));
        const CWmiValue Path = CWmiValue::Text(rsPath);
        for (const CWmiObject& rInstance : oInstances.value_or(std::vector<CWmiObject>()))
            if (rInstance.Properties.at("__PATH") == Path) return rInstance;
        return std::nullopt;
    }

    const std::string m_sNamespace;
    CReference<IWbemServices> m_pSystem;
};

class CLocator final : public CComObject<IWbemLocator> {
public:
    STDMETHODIMP ConnectServer(const BSTR pszNamespace, const BSTR pszUser, const BSTR pszPassword,
                               const BSTR pszLocale, LONG lFlags, const BSTR pszAuthority, IWbemContext* pContext,
                               IWbemServices** ppServices) override {
        if (!pszNamespace || !ppServices) return kInvalidParameter;
        *ppServices = nullptr;
        return g_Guarded([&]() -> HRESULT {
            CReference<IWbemLocator> pLocator;
            CReference<IWbemServices> pSystem;
            HRESULT lResult = g_CreateSystemLocator(pLocator.Receive());
            if (SUCCEEDED(lResult))
                lResult = pLocator->ConnectServer(pszNamespace, pszUser, pszPassword, pszLocale, lFlags, pszAuthority,
                                                  pContext, pSystem.Receive());
            if (FAILED(lResult)) return lResult;
            const std::string sNamespace = CSimWmi::NamespaceName(g_Narrow(pszNamespace).value_or(""));
            const bool bFirmware = sNamespace == kNamespace;
            const bool bOurs = bFirmware ? g_GetWmi().Firmware() != nullptr : !sNamespace.empty();
            if (bFirmware && vxt::platform::simulated::g_MachineError()) return kFailed;
            *ppServices = bOurs ? new CServices(sNamespace, std::move(pSystem)) : pSystem.Detach();
            return WBEM_S_NO_ERROR;
        });
    }
};

class CFactory final : public CComObject<IClassFactory> {
public:
    STDMETHODIMP CreateInstance(IUnknown* pOuter, REFIID rId, void** ppObject) override {
        if (pOuter) return CLASS_E_NOAGGREGATION;
        return g_Guarded([&] {
            const CReference<CLocator> pLocator(new CLocator);
            return pLocator->QueryInterface(rId, ppObject);
        });
    }
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }  // it stays loaded anyway
};

}  // namespace

CSimWmi& g_GetWmi() {
    static std::mutex s_Lock;
    const std::lock_guard Guard(s_Lock);
    if (g_pWmi) return *g_pWmi;
    g_pWmi = std::make_unique<CSimWmi>(vxt::platform::simulated::g_GetMachine());
    if (const char* const pszError = vxt::platform::simulated::g_MachineError()) std::fprintf(stderr, "%s\n", pszError);
    return *g_pWmi;
}

}  // namespace vxtwmi

using namespace vxtwmi;

STDAPI DllGetClassObject(REFCLSID rClass, REFIID rId, void** ppObject) {
    if (rClass != CLSID_WbemLocator) return CLASS_E_CLASSNOTAVAILABLE;
    return g_Guarded([&] {
        const CReference<CFactory> pFactory(new CFactory);
        return pFactory->QueryInterface(rId, ppObject);
    });
}

// A firmware forgets nothing between two programs' connections; nor does this one as long as the process lives.
STDAPI DllCanUnloadNow() { return S_FALSE; }

extern "C" {

// See wmi_server.h.
int32_t VxtWmiServerLiveObjects() { return g_nLiveObjects; }

const char* VxtWmiServerUseMachine(const char* pszText) {
    static std::string s_sError;
    CMachineDescription Description;
    if (!g_ParseMachine(pszText, "text", Description, s_sError)) return s_sError.c_str();
    g_pWmi.reset();
    g_LeaveDriverAlone();
    vxt::platform::simulated::g_UseMachine(std::move(Description));
    g_pWmi = std::make_unique<CSimWmi>(vxt::platform::simulated::g_GetMachine());
    return nullptr;
}
}
