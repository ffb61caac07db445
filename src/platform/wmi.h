// Windows Management Instrumentation, one function a call. Results are COM's: negative means failed.
//
// Every handle is sole owner of one interface; a value owns what it holds. Nothing here is logged or retried.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "platform/owned_handle.h"

namespace vxt::platform {

void ReleaseWmiLocator(uintptr_t uHandle);
void ReleaseWmiServices(uintptr_t uHandle);
void ReleaseWmiEnumerator(uintptr_t uHandle);
void ReleaseWmiObject(uintptr_t uHandle);
using CWmiLocator = COwnedHandle<ReleaseWmiLocator>;
using CWmiServices = COwnedHandle<ReleaseWmiServices>;  ///< holds COM on the connecting thread while it lives
using CWmiEnumerator = COwnedHandle<ReleaseWmiEnumerator>;
using CWmiObject = COwnedHandle<ReleaseWmiObject>;  ///< a class definition, an instance or a method's parameters

// What a VARIANT can hold, as far as anybody above the seam looks into it.
struct WmiEmpty {};  ///< VT_EMPTY
struct WmiNull {};   ///< VT_NULL
/// Any other type; also an array type without an array, or with one of several dimensions.
struct WmiOther {
    uint16_t usType;  ///< VARTYPE
};
/// A one-dimensional array.
template <class TElement> struct WmiArray {
    std::vector<TElement> Elements;
    bool bHasData = true;  ///< false: the array exists, its data do not
};
/// VT_EMPTY, VT_NULL, VT_BOOL, VT_I4, VT_BSTR, VT_UNKNOWN (an object), arrays of VT_I4 and VT_UI4, of VT_UI1 and of
/// VT_BSTR; anything else as its type number.
using WmiValue = std::variant<WmiEmpty, WmiNull, bool, int32_t, std::wstring, CWmiObject, WmiArray<int32_t>,
                              WmiArray<uint8_t>, WmiArray<std::wstring>, WmiOther>;

/// Initialises COM for the calling thread and creates the locator in this process.
int32_t CreateWmiLocator(CWmiLocator& rLocator);
/// Connects to a namespace of this computer as the current user.
int32_t ConnectWmiServer(const CWmiLocator& rLocator, const wchar_t* pszNamespace, CWmiServices& rServices);
/// Proxy security: NT authentication, no authorisation service, call level, impersonation, no capabilities.
int32_t SetWmiProxyBlanket(const CWmiServices& rServices);

/// Class definition or instance at a path.
int32_t GetWmiObject(const CWmiServices& rServices, const wchar_t* pszPath, CWmiObject& rObject);
int32_t CreateWmiInstanceEnum(const CWmiServices& rServices, const wchar_t* pszClass, uint32_t uFlags,
                              CWmiEnumerator& rEnumerator);
/// None at the end, and when nothing came in time.
CWmiObject NextWmiInstance(const CWmiEnumerator& rEnumerator, uint32_t uMilliseconds);

int32_t GetWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, WmiValue& rValue);
int32_t PutWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, const WmiValue& rValue);

/// The result is that of getting the method's qualifier set; a qualifier that the set lacks leaves the value empty.
int32_t GetWmiMethodQualifier(const CWmiObject& rClass, const wchar_t* pszMethod, const wchar_t* pszQualifier,
                              WmiValue& rValue);
/// A fresh instance of the method's input signature; fails for a method that takes nothing.
int32_t SpawnWmiMethodInput(const CWmiObject& rClass, const wchar_t* pszMethod, CWmiObject& rInput);
/// `rInput` may be none; `rOutput` is none for a method without output.
int32_t ExecuteWmiMethod(const CWmiServices& rServices, const wchar_t* pszPath, const wchar_t* pszMethod,
                         const CWmiObject& rInput, CWmiObject& rOutput);

/// An array of `uElements` zeros to put; false when there is no memory for it.
bool CreateWmiArray(uint32_t uElements, WmiArray<uint8_t>& rArray);
bool CreateWmiArray(uint32_t uElements, WmiArray<int32_t>& rArray);

}  // namespace vxt::platform
