// Management objects of the simulated PC behind the system's own interfaces.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "com_object.h"
#include "sim/wmi.h"

namespace vxtwmi {

inline constexpr const char* kNamespace = "root\\wmi";

/// The management data of this process's PC, for which see VxtWmiServerUseMachine.
vxtsim::CSimWmi& g_GetWmi();

/// Texts of the simulated PC have one character a byte.
std::wstring g_Widen(std::string_view sText);
/// Nothing for null and for a text that the simulated PC cannot have.
std::optional<std::string> g_Narrow(const wchar_t* pszText);

/// Fills an empty variant.
HRESULT g_ToVariant(const vxtsim::CWmiValue& rValue, VARIANT& rVariant);
/// Takes the types that the simulated PC has and none of the system's conversions between them.
HRESULT g_FromVariant(const VARIANT& rVariant, vxtsim::CWmiValue& rValue);

IWbemClassObject* g_NewClassObject(vxtsim::CWmiObject Value);
IEnumWbemClassObject* g_NewEnumerator(std::vector<vxtsim::CWmiObject> Objects);

/// What an object of this server holds; null for another's.
const vxtsim::CWmiObject* g_Look(IUnknown* pObject);

}  // namespace vxtwmi
