// One connection to a Windows Management Instrumentation namespace.
#pragma once

#include "platform/wmi.h"

namespace vxt {

/// Fetches class objects and instances, reads properties and calls methods. Failures are logged under the class's name,
/// COM results in their own form.
///
/// Threads: Connect and Disconnect initialise and end COM on the thread that calls them, so a connection belongs to that
/// thread. Method calls of all connections and all processes wait for each other, five seconds at most; everything else
/// takes no lock.
class CWmiHandler {
public:
    CWmiHandler() = default;
    CWmiHandler(const CWmiHandler&) = delete;
    ~CWmiHandler();

    /// False for a connected handler, which keeps its connection. Kept: a connection whose security could not be set, or
    /// whose mutex could not be had, stays until Disconnect although the answer is false.
    bool Connect(const wchar_t* pszNamespace);
    /// Always true.
    bool Disconnect();

    /// Class definition or instance by path; none when there is no such thing, without a report.
    platform::CWmiObject GetObject(const wchar_t* pszObjectName) { return GetObjectW(pszObjectName); }
    /// Instance number `nIndex` of a class, counted from 0; none when there are not so many, or one took over two seconds.
    platform::CWmiObject GetInstance(const wchar_t* pszClassName, int32_t nIndex);
    bool GetPropertyValue(const platform::CWmiObject& pObject, const wchar_t* pszPropertyName,
                          platform::WmiValue* pvaPropertyValue);
    /// Runs a method, on the class if it is a static one, else on the class's first instance. Parameters are optional:
    /// null names and values. A method that gives nothing back leaves `pOutValue` as it was.
    bool CallMethod(const wchar_t* pszClassName, const wchar_t* pszMethodName, const wchar_t* pszInParamName,
                    const platform::WmiValue* pInValue, const wchar_t* pszOutParamName, platform::WmiValue* pOutValue);

protected:
    platform::CWmiServices m_pIWbemServices;

private:
    platform::CWmiObject GetObjectW(const wchar_t* pszObjectName);  ///< Kept: the log says the wide name
};

inline constexpr const wchar_t* kSystemNamespace = L"root\\cimv2";  ///< inventory classes
inline constexpr const wchar_t* kFirmwareNamespace = L"root\\wmi";  ///< drivers and board firmware

/// For kSystemNamespace.
CWmiHandler& g_GetSystemWmi();
/// For kFirmwareNamespace.
CWmiHandler& g_GetFirmwareWmi();

}  // namespace vxt
