#include "platform/wmi.h"

#include <algorithm>
#include <memory>

#include "platform/windows/com_owners.h"

namespace vxt::platform {

namespace {

using CLocator = CConnection<IWbemLocator>;
using CServices = CConnection<IWbemServices>;

CServices* g_Services(const CWmiServices& rServices) { return g_ToHandle<CServices*>(rServices.Get()); }
IWbemClassObject* g_Object(const CWmiObject& rObject) { return g_ToHandle<IWbemClassObject*>(rObject.Get()); }
/// The seam's owner for what a call handed out; none for null.
CWmiObject g_Own(CReference<IWbemClassObject>& rpObject) {
    return CWmiObject(reinterpret_cast<uintptr_t>(rpObject.Detach()));
}

/// How one element type of a CWmiArray lies in a SAFEARRAY.
template <class TElement> struct CElement;
template <> struct CElement<int32_t> {
    using Stored = LONG;
    static constexpr VARTYPE kType = VT_I4;
    static int32_t Read(LONG lValue) { return lValue; }
    static LONG Write(int32_t nValue) { return nValue; }
};
template <> struct CElement<uint8_t> {
    using Stored = BYTE;
    static constexpr VARTYPE kType = VT_UI1;
    static uint8_t Read(BYTE ucValue) { return ucValue; }
    static BYTE Write(uint8_t ucValue) { return ucValue; }
};
template <> struct CElement<std::wstring> {
    using Stored = BSTR;
    static constexpr VARTYPE kType = VT_BSTR;
    static std::wstring Read(BSTR pszText) { return g_ReadText(pszText); }
    static BSTR Write(const std::wstring& rsText) { return CBstr(rsText).Detach(); }  // freed with the array
};

template <class TElement> HRESULT g_FromArray(const VARIANT& rVariant, WmiValue& rValue) {
    using Stored = typename CElement<TElement>::Stored;
    SAFEARRAY* const pArray = rVariant.parray;
    const auto usElement = static_cast<VARTYPE>(rVariant.vt & VT_TYPEMASK);
    VARTYPE usStored = VT_EMPTY;
    // Null has no dimension. The array's own description decides: it has to agree with what the variant calls it.
    if (SafeArrayGetDim(pArray) != 1 || FAILED(SafeArrayGetVartype(pArray, &usStored)) || usStored != usElement) {
        rValue = CWmiOther{rVariant.vt};
        return S_OK;
    }
    LONG lFirst = 0, lLast = -1;
    HRESULT lResult = SafeArrayGetLBound(pArray, 1, &lFirst);
    if (SUCCEEDED(lResult)) lResult = SafeArrayGetUBound(pArray, 1, &lLast);
    if (FAILED(lResult)) return lResult;
    const CArrayData Data(pArray);
    if (FAILED(Data.Result())) return Data.Result();
    CWmiArray<TElement> Array;
    Array.bHasData = Data.As<Stored>() != nullptr;
    if (const int64_t llCount = int64_t{lLast} - lFirst + 1; Array.bHasData && llCount > 0) {
        Array.Elements.resize(static_cast<size_t>(llCount));
        std::transform(Data.As<Stored>(), Data.As<Stored>() + llCount, Array.Elements.begin(),
                       CElement<TElement>::Read);
    }
    rValue = std::move(Array);
    return S_OK;
}

/// What lies behind a VT_BYREF is never looked at: no provider has reason to answer one.
HRESULT g_FromVariant(const VARIANT& rVariant, WmiValue& rValue) {
    switch (rVariant.vt) {
        case VT_EMPTY:
            rValue = CWmiEmpty{};
            return S_OK;
        case VT_NULL:
            rValue = CWmiNull{};
            return S_OK;
        case VT_BOOL:
            rValue = rVariant.boolVal != VARIANT_FALSE;
            return S_OK;
        case VT_I4:
            rValue = int32_t{rVariant.lVal};
            return S_OK;
        case VT_BSTR:
            rValue = g_ReadText(rVariant.bstrVal);
            return S_OK;
        case VT_UNKNOWN: {
            CReference<IWbemClassObject> pObject;  // stays none for null and for another kind of object
            if (rVariant.punkVal)
                rVariant.punkVal->QueryInterface(IID_IWbemClassObject, reinterpret_cast<void**>(pObject.Receive()));
            rValue = g_Own(pObject);
            return S_OK;
        }
        case VT_ARRAY | VT_I4:
        case VT_ARRAY | VT_UI4:
            return g_FromArray<int32_t>(rVariant, rValue);
        case VT_ARRAY | VT_UI1:
            return g_FromArray<uint8_t>(rVariant, rValue);
        case VT_ARRAY | VT_BSTR:
            return g_FromArray<std::wstring>(rVariant, rValue);
        default:
            rValue = CWmiOther{rVariant.vt};
            return S_OK;
    }
}

/// Fills an empty variant.
struct CToVariant {
    VARIANT& m_rVariant;

    HRESULT operator()(const CWmiEmpty&) const { return S_OK; }
    HRESULT operator()(const CWmiNull&) const { return _Set(VT_NULL); }
    HRESULT operator()(bool bValue) const {
        m_rVariant.boolVal = bValue ? VARIANT_TRUE : VARIANT_FALSE;
        return _Set(VT_BOOL);
    }
    HRESULT operator()(int32_t nValue) const {
        m_rVariant.lVal = nValue;
        return _Set(VT_I4);
    }
    HRESULT operator()(const std::wstring& rsText) const {
        m_rVariant.bstrVal = CBstr(rsText).Detach();
        return _Set(VT_BSTR);
    }
    HRESULT operator()(const CWmiObject& rObject) const {
        if (!rObject) return E_INVALIDARG;
        m_rVariant.punkVal = g_Object(rObject);
        m_rVariant.punkVal->AddRef();
        return _Set(VT_UNKNOWN);
    }
    template <class TElement> HRESULT operator()(const CWmiArray<TElement>& rArray) const {
        using Element = CElement<TElement>;
        if (!rArray.bHasData) return E_INVALIDARG;
        CSafeArray pArray(SafeArrayCreateVector(Element::kType, 0, static_cast<ULONG>(rArray.Elements.size())));
        if (!pArray) return E_OUTOFMEMORY;
        {
            const CArrayData Data(pArray.get());
            if (FAILED(Data.Result())) return Data.Result();
            std::ranges::transform(rArray.Elements, Data.As<typename Element::Stored>(), Element::Write);
        }
        m_rVariant.parray = pArray.release();
        return _Set(VT_ARRAY | Element::kType);
    }
    HRESULT operator()(const CWmiOther&) const { return DISP_E_BADVARTYPE; }

private:
    HRESULT _Set(int nType) const {
        m_rVariant.vt = static_cast<VARTYPE>(nType);
        return S_OK;
    }
};

template <class TElement> bool g_CreateArray(uint32_t uElements, CWmiArray<TElement>& rArray) {
    return SUCCEEDED(g_Guarded([&] {
        rArray.Elements.assign(uElements, 0);
        rArray.bHasData = true;
        return S_OK;
    }));
}

}  // namespace

void ReleaseWmiLocator(uintptr_t uHandle) { delete g_ToHandle<CLocator*>(uHandle); }
void ReleaseWmiServices(uintptr_t uHandle) { delete g_ToHandle<CServices*>(uHandle); }
void ReleaseWmiEnumerator(uintptr_t uHandle) { g_ToHandle<IEnumWbemClassObject*>(uHandle)->Release(); }
void ReleaseWmiObject(uintptr_t uHandle) { g_ToHandle<IWbemClassObject*>(uHandle)->Release(); }

int32_t CreateWmiLocator(CWmiLocator& rLocator) {
    return g_Guarded([&]() -> HRESULT {
        auto pLocator = std::make_unique<CLocator>();
        if (FAILED(pLocator->Com.Result())) return pLocator->Com.Result();
        const HRESULT lResult = CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                                 reinterpret_cast<void**>(pLocator->pInterface.Receive()));
        if (SUCCEEDED(lResult)) rLocator = CWmiLocator(reinterpret_cast<uintptr_t>(pLocator.release()));
        return lResult;
    });
}

int32_t ConnectWmiServer(const CWmiLocator& rLocator, const wchar_t* pszNamespace, CWmiServices& rServices) {
    if (!rLocator || !pszNamespace) return E_INVALIDARG;
    return g_Guarded([&]() -> HRESULT {
        auto pServices = std::make_unique<CServices>();
        if (FAILED(pServices->Com.Result())) return pServices->Com.Result();
        const HRESULT lResult = g_ToHandle<CLocator*>(rLocator.Get())
                                    ->pInterface->ConnectServer(CBstr(pszNamespace), nullptr, nullptr, nullptr, 0,
                                                                nullptr, nullptr, pServices->pInterface.Receive());
        if (SUCCEEDED(lResult)) rServices = CWmiServices(reinterpret_cast<uintptr_t>(pServices.release()));
        return lResult;
    });
}

int32_t SetWmiProxyBlanket(const CWmiServices& rServices) {
    if (!rServices) return E_INVALIDARG;
    return CoSetProxyBlanket(g_Services(rServices)->pInterface.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                             RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
}

int32_t GetWmiObject(const CWmiServices& rServices, const wchar_t* pszPath, CWmiObject& rObject) {
    if (!rServices || !pszPath) return E_INVALIDARG;
    return g_Guarded([&] {
        CReference<IWbemClassObject> pObject;
        const HRESULT lResult =
            g_Services(rServices)->pInterface->GetObject(CBstr(pszPath), 0, nullptr, pObject.Receive(), nullptr);
        if (SUCCEEDED(lResult)) rObject = g_Own(pObject);
        return lResult;
    });
}

int32_t CreateWmiInstanceEnum(const CWmiServices& rServices, const wchar_t* pszClass, uint32_t uFlags,
                              CWmiEnumerator& rEnumerator) {
    if (!rServices || !pszClass) return E_INVALIDARG;
    return g_Guarded([&] {
        CReference<IEnumWbemClassObject> pEnumerator;
        const HRESULT lResult = g_Services(rServices)->pInterface->CreateInstanceEnum(
            CBstr(pszClass), static_cast<LONG>(uFlags), nullptr, pEnumerator.Receive());
        if (SUCCEEDED(lResult)) rEnumerator = CWmiEnumerator(reinterpret_cast<uintptr_t>(pEnumerator.Detach()));
        return lResult;
    });
}

CWmiObject NextWmiInstance(const CWmiEnumerator& rEnumerator, uint32_t uMilliseconds) {
    if (!rEnumerator) return {};
    CReference<IWbemClassObject> pObject;
    ULONG ulReturned = 0;
    const HRESULT lResult = g_ToHandle<IEnumWbemClassObject*>(rEnumerator.Get())
                                ->Next(static_cast<LONG>(uMilliseconds), 1, pObject.Receive(), &ulReturned);
    // The end (WBEM_S_FALSE) and the time-out (WBEM_S_TIMEDOUT) are successes that return nothing.
    return SUCCEEDED(lResult) && ulReturned == 1 ? g_Own(pObject) : CWmiObject();
}

int32_t GetWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, WmiValue& rValue) {
    if (!rObject || !pszName) return E_INVALIDARG;
    return g_Guarded([&] {
        CVariant Variant;
        const HRESULT lResult = g_Object(rObject)->Get(pszName, 0, &Variant, nullptr, nullptr);
        return SUCCEEDED(lResult) ? g_FromVariant(Variant, rValue) : lResult;
    });
}

int32_t PutWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, const WmiValue& rValue) {
    if (!rObject || !pszName) return E_INVALIDARG;
    return g_Guarded([&] {
        CVariant Variant;
        const HRESULT lResult = std::visit(CToVariant{Variant}, rValue);
        return SUCCEEDED(lResult) ? g_Object(rObject)->Put(pszName, 0, &Variant, 0) : lResult;
    });
}

int32_t GetWmiMethodQualifier(const CWmiObject& rClass, const wchar_t* pszMethod, const wchar_t* pszQualifier,
                              WmiValue& rValue) {
    if (!rClass || !pszMethod || !pszQualifier) return E_INVALIDARG;
    return g_Guarded([&] {
        CReference<IWbemQualifierSet> pQualifiers;
        const HRESULT lResult = g_Object(rClass)->GetMethodQualifierSet(pszMethod, pQualifiers.Receive());
        if (FAILED(lResult)) return lResult;
        rValue = CWmiEmpty{};
        CVariant Variant;
        return SUCCEEDED(pQualifiers->Get(pszQualifier, 0, &Variant, nullptr)) ? g_FromVariant(Variant, rValue)
                                                                               : lResult;
    });
}

int32_t SpawnWmiMethodInput(const CWmiObject& rClass, const wchar_t* pszMethod, CWmiObject& rInput) {
    if (!rClass || !pszMethod) return E_INVALIDARG;
    CReference<IWbemClassObject> pInSignature, pOutSignature, pInput;
    HRESULT lResult = g_Object(rClass)->GetMethod(pszMethod, 0, pInSignature.Receive(), pOutSignature.Receive());
    if (FAILED(lResult)) return lResult;
    if (!pInSignature) return static_cast<int32_t>(WBEM_E_NOT_FOUND);  // the method takes nothing
    lResult = pInSignature->SpawnInstance(0, pInput.Receive());
    if (SUCCEEDED(lResult)) rInput = g_Own(pInput);
    return lResult;
}

int32_t ExecuteWmiMethod(const CWmiServices& rServices, const wchar_t* pszPath, const wchar_t* pszMethod,
                         const CWmiObject& rInput, CWmiObject& rOutput) {
    if (!rServices || !pszPath || !pszMethod) return E_INVALIDARG;
    return g_Guarded([&] {
        CReference<IWbemClassObject> pOutput;
        const HRESULT lResult = g_Services(rServices)->pInterface->ExecMethod(
            CBstr(pszPath), CBstr(pszMethod), 0, nullptr, g_Object(rInput), pOutput.Receive(), nullptr);
        if (SUCCEEDED(lResult)) rOutput = g_Own(pOutput);
        return lResult;
    });
}

bool CreateWmiArray(uint32_t uElements, CWmiArray<uint8_t>& rArray) { return g_CreateArray(uElements, rArray); }
bool CreateWmiArray(uint32_t uElements, CWmiArray<int32_t>& rArray) { return g_CreateArray(uElements, rArray); }

}  // namespace vxt::platform
