// Windows Management Instrumentation, one function a call. Results are COM's: negative means failed, and LastError() tells
// nothing. An empty handle or a null text is an invalid argument, memory that runs out is "out of memory".
//
// Every handle is sole owner of one interface; a value owns what it holds, an object in it included.
//
// Threads: locator and services hold COM on the thread that made them, and it is that thread which uses and closes them and
// what comes from them (COM's apartment rule; a system may be more generous). Calls on services and enumerators go to the
// management service and block until it answers: without limit unless a time is given. Calls on objects work in this process.
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
struct CWmiEmpty {};  ///< VT_EMPTY
struct CWmiNull {};   ///< VT_NULL
/// Any other type; also an array type without an array, or with one of several dimensions.
struct CWmiOther {
    uint16_t usType;  ///< VARTYPE
};
/// A one-dimensional array.
template <class TElement> struct CWmiArray {
    std::vector<TElement> Elements;
    bool bHasData = true;  ///< false: the array exists, its data do not
};
/// VT_EMPTY, VT_NULL, VT_BOOL, VT_I4, VT_BSTR, VT_UNKNOWN (an object), arrays of VT_I4 and VT_UI4, of VT_UI1 and of
/// VT_BSTR; anything else as its type number.
using WmiValue = std::variant<CWmiEmpty, CWmiNull, bool, int32_t, std::wstring, CWmiObject, CWmiArray<int32_t>,
                              CWmiArray<uint8_t>, CWmiArray<std::wstring>, CWmiOther>;

/// Initialises COM for the calling thread (apartment-threaded; another mode that it has already serves as well) and creates
/// the locator in this process.
int32_t CreateWmiLocator(CWmiLocator& rLocator);
/// Connects to a namespace of this computer as the current user. The services outlive the locator.
int32_t ConnectWmiServer(const CWmiLocator& rLocator, const wchar_t* pszNamespace, CWmiServices& rServices);
/// Proxy security: NT authentication, no authorisation service, call level, impersonation, no capabilities.
int32_t SetWmiProxyBlanket(const CWmiServices& rServices);

/// Class definition or instance at a path; a copy, which changes of the caller's do not reach the service.
int32_t GetWmiObject(const CWmiServices& rServices, const wchar_t* pszPath, CWmiObject& rObject);
/// `uFlags` are WBEM_FLAG_ values. A class that does not exist may be told here or by the first instance being none.
int32_t CreateWmiInstanceEnum(const CWmiServices& rServices, const wchar_t* pszClass, uint32_t uFlags,
                              CWmiEnumerator& rEnumerator);
/// None at the end, and when nothing came in time.
CWmiObject NextWmiInstance(const CWmiEnumerator& rEnumerator, uint32_t uMilliseconds);

/// System properties ("__PATH") too. `rValue` is untouched when there is no such property.
int32_t GetWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, WmiValue& rValue);
/// Empty leaves the property without a value; an object is referred to, everything else copied. Fails for CWmiOther, for an
/// object that is none and for an array without data.
int32_t PutWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, const WmiValue& rValue);

/// The result is that of getting the method's qualifier set; a qualifier that the set lacks leaves the value empty.
int32_t GetWmiMethodQualifier(const CWmiObject& rClass, const wchar_t* pszMethod, const wchar_t* pszQualifier,
                              WmiValue& rValue);
/// A fresh instance of the method's input signature; fails for a method that takes nothing.
int32_t SpawnWmiMethodInput(const CWmiObject& rClass, const wchar_t* pszMethod, CWmiObject& rInput);
/// Runs a method and waits for its end. `rInput` may be none; `rOutput` is none for a method without output.
int32_t ExecuteWmiMethod(const CWmiServices& rServices, const wchar_t* pszPath, const wchar_t* pszMethod,
                         const CWmiObject& rInput, CWmiObject& rOutput);

/// An array of `uElements` zeros to put; false when there is no memory for it.
bool CreateWmiArray(uint32_t uElements, CWmiArray<uint8_t>& rArray);
bool CreateWmiArray(uint32_t uElements, CWmiArray<int32_t>& rArray);

}  // namespace vxt::platform
