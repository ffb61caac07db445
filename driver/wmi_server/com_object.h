// Reference counting and interface lookup for the objects of this server.
#pragma once

#include <atomic>

#include "platform/windows/com_owners.h"

namespace vxtwmi {

// The header's failures are unsigned.
inline constexpr auto kInvalidParameter = static_cast<HRESULT>(WBEM_E_INVALID_PARAMETER);
inline constexpr auto kNotSupported = static_cast<HRESULT>(WBEM_E_NOT_SUPPORTED);
inline constexpr auto kNotFound = static_cast<HRESULT>(WBEM_E_NOT_FOUND);
inline constexpr auto kTypeMismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
inline constexpr auto kInvalidOperation = static_cast<HRESULT>(WBEM_E_INVALID_OPERATION);
inline constexpr auto kIllegalOperation = static_cast<HRESULT>(WBEM_E_ILLEGAL_OPERATION);
inline constexpr auto kFailed = static_cast<HRESULT>(WBEM_E_FAILED);

inline std::atomic<int32_t> g_nLiveObjects{0};

/// An object with one reference, its creator's. The first interface is its identity.
template <class TIdentity, class... TInterfaces> class CComObject : public TIdentity, public TInterfaces... {
public:
    CComObject() { ++g_nLiveObjects; }
    CComObject(const CComObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID rId, void** ppObject) override {
        if (!ppObject) return E_POINTER;
        *ppObject = nullptr;
        if (rId == IID_IUnknown || rId == __uuidof(TIdentity)) *ppObject = static_cast<TIdentity*>(this);
        ((rId == __uuidof(TInterfaces) ? void(*ppObject = static_cast<TInterfaces*>(this)) : void()), ...);
        if (!*ppObject) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_ulReferences; }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG ulLeft = --m_ulReferences;
        if (ulLeft == 0) delete this;
        return ulLeft;
    }

protected:
    virtual ~CComObject() { --g_nLiveObjects; }

private:
    std::atomic<ULONG> m_ulReferences{1};
};

/// An operation of an interface that nobody here calls.
#define VXT_REFUSE(...) \
    STDMETHODIMP __VA_ARGS__ override { return vxtwmi::kNotSupported; }

/// Refuses everything but to be read.
class CRefusingClassObject : public CComObject<IWbemClassObject> {
public:
    VXT_REFUSE(Put(LPCWSTR, LONG, VARIANT*, CIMTYPE))
    VXT_REFUSE(SpawnInstance(LONG, IWbemClassObject**))
    VXT_REFUSE(GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**))
    VXT_REFUSE(GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**))
    VXT_REFUSE(GetQualifierSet(IWbemQualifierSet**))
    VXT_REFUSE(Delete(LPCWSTR))
    VXT_REFUSE(GetNames(LPCWSTR, LONG, VARIANT*, SAFEARRAY**))
    VXT_REFUSE(BeginEnumeration(LONG))
    VXT_REFUSE(Next(LONG, BSTR*, VARIANT*, CIMTYPE*, LONG*))
    VXT_REFUSE(EndEnumeration())
    VXT_REFUSE(GetPropertyQualifierSet(LPCWSTR, IWbemQualifierSet**))
    VXT_REFUSE(Clone(IWbemClassObject**))
    VXT_REFUSE(GetObjectText(LONG, BSTR*))
    VXT_REFUSE(SpawnDerivedClass(LONG, IWbemClassObject**))
    VXT_REFUSE(CompareTo(LONG, IWbemClassObject*))
    VXT_REFUSE(GetPropertyOrigin(LPCWSTR, BSTR*))
    VXT_REFUSE(InheritsFrom(LPCWSTR))
    VXT_REFUSE(PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*))
    VXT_REFUSE(DeleteMethod(LPCWSTR))
    VXT_REFUSE(BeginMethodEnumeration(LONG))
    VXT_REFUSE(NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**))
    VXT_REFUSE(EndMethodEnumeration())
    VXT_REFUSE(GetMethodOrigin(LPCWSTR, BSTR*))
};

}  // namespace vxtwmi
