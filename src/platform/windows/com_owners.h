// Owners of what COM and its automation types hand out, and the guard of functions that must not throw.
#pragma once

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/windows/windows_api.h"

// Behind windows_api.h: a macro of <windows.h> would rename the interfaces' GetObject.
#include <ole2.h>
#include <wbemcli.h>

namespace vxt::platform {

/// Owner of one COM reference.
template <class TInterface> class CReference {
public:
    CReference() = default;
    explicit CReference(TInterface* pInterface) : m_pInterface(pInterface) {}  ///< takes it over
    CReference(CReference&& rOther) noexcept : m_pInterface(rOther.Detach()) {}
    ~CReference() {
        if (m_pInterface) m_pInterface->Release();
    }
    TInterface** Receive() { return &m_pInterface; }  ///< for a call that hands a reference out; once
    TInterface* Detach() { return std::exchange(m_pInterface, nullptr); }
    TInterface* operator->() const { return m_pInterface; }
    TInterface* Get() const { return m_pInterface; }
    explicit operator bool() const { return m_pInterface != nullptr; }

private:
    TInterface* m_pInterface = nullptr;
};

class CBstr {
public:
    /// Texts may hold zeros, so the length is told.
    explicit CBstr(std::wstring_view sText)
        : m_pszText(SysAllocStringLen(sText.data(), static_cast<UINT>(sText.size()))) {
        if (!m_pszText) throw std::bad_alloc();
    }
    CBstr(const CBstr&) = delete;
    ~CBstr() { SysFreeString(m_pszText); }
    operator BSTR() const { return m_pszText; }
    BSTR Detach() { return std::exchange(m_pszText, nullptr); }

private:
    BSTR m_pszText;
};

struct CVariant : VARIANT {
    CVariant() { VariantInit(this); }
    CVariant(const CVariant&) = delete;
    ~CVariant() { VariantClear(this); }
};

struct CSafeArrayDestroy {
    void operator()(SAFEARRAY* pArray) const { SafeArrayDestroy(pArray); }
};
using CSafeArray = std::unique_ptr<SAFEARRAY, CSafeArrayDestroy>;

/// The data of an array, locked while this lives: only then the pointer is good.
class CArrayData {
public:
    explicit CArrayData(SAFEARRAY* pArray) : m_pArray(pArray), m_lResult(SafeArrayAccessData(pArray, &m_pData)) {}
    CArrayData(const CArrayData&) = delete;
    ~CArrayData() {
        if (SUCCEEDED(m_lResult)) SafeArrayUnaccessData(m_pArray);
    }
    HRESULT Result() const { return m_lResult; }
    template <class TElement> TElement* As() const { return static_cast<TElement*>(m_pData); }

private:
    SAFEARRAY* m_pArray;
    void* m_pData = nullptr;
    HRESULT m_lResult;
};

inline std::wstring g_ReadText(BSTR pszText) { return {pszText ? pszText : L"", SysStringLen(pszText)}; }

/// COM on this thread. Each successful CoInitialize, S_FALSE among them, is to be balanced; RPC_E_CHANGED_MODE says that
/// the thread has COM in another mode, which serves as well and is not ours to end.
class CComOnThread {
public:
    CComOnThread() : m_lResult(CoInitialize(nullptr)) {}
    CComOnThread(const CComOnThread&) = delete;
    ~CComOnThread() {
        if (SUCCEEDED(m_lResult)) CoUninitialize();
    }
    HRESULT Result() const { return m_lResult == RPC_E_CHANGED_MODE ? S_OK : m_lResult; }

private:
    HRESULT m_lResult;
};

/// What a handle stands for that holds COM on its thread: the interface goes before COM does.
template <class TInterface> struct CConnection {
    CComOnThread Com;
    CReference<TInterface> pInterface;
};

/// Runs an operation that may run out of memory: nothing is thrown across the seam.
template <class TOperation> int32_t g_Guarded(TOperation Operation) {
    try {
        return Operation();
    } catch (const std::bad_alloc&) { return E_OUTOFMEMORY; } catch (const std::length_error&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace vxt::platform
