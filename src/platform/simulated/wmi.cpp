#include "platform/wmi.h"

#include <algorithm>

#include "platform/simulated/code_page.h"
#include "platform/simulated/hang.h"
#include "platform/simulated/simulated_system.h"
#include "platform/text.h"

namespace vxt::platform {

using simulated::CSimulatedSystem;
using simulated::CSystemSide;
using simulated::g_GetSystem;
using simulated::g_Wide;
using EHandle = CSimulatedSystem::EHandle;
using vxtsim::CWmiValue;

namespace {

constexpr int32_t kOk = 0;
constexpr int32_t kFailed = static_cast<int32_t>(0x80041001);            // WBEM_E_FAILED
constexpr int32_t kNotFound = static_cast<int32_t>(0x80041002);          // WBEM_E_NOT_FOUND
constexpr int32_t kTypeMismatch = static_cast<int32_t>(0x80041005);      // WBEM_E_TYPE_MISMATCH
constexpr int32_t kInvalidNamespace = static_cast<int32_t>(0x8004100E);  // WBEM_E_INVALID_NAMESPACE
constexpr int32_t kInvalidClass = static_cast<int32_t>(0x80041010);      // WBEM_E_INVALID_CLASS
constexpr int32_t kMethodNotThere = static_cast<int32_t>(0x80041055);    // WBEM_E_METHOD_NOT_IMPLEMENTED
constexpr int32_t kInvalidHandle = static_cast<int32_t>(0x80070006);     // E_HANDLE

struct CObjectState {
    std::string sNamespace;
    vxtsim::CWmiObject Object;
};
struct CEnumeratorState {
    std::string sNamespace;
    std::vector<vxtsim::CWmiObject> Objects;
    size_t uRecord;  ///< number of its record
    size_t uNext = 0;
};

CWmiObject g_OpenObject(const std::string& sNamespace, vxtsim::CWmiObject Object) {
    std::wstring sClass = g_Wide(Object.sClass);
    return CWmiObject(g_GetSystem().Open(EHandle::kWmiObject, std::move(sClass),
                                         std::make_shared<CObjectState>(CObjectState{sNamespace, std::move(Object)})));
}

std::shared_ptr<CObjectState> g_State(const CWmiObject& rObject) {
    return g_GetSystem().State<CObjectState>(rObject.Get(), EHandle::kWmiObject);
}
/// Namespace of a connection; none when it is closed.
std::shared_ptr<std::string> g_State(const CWmiServices& rServices) {
    return g_GetSystem().State<std::string>(rServices.Get(), EHandle::kWmiServices);
}

WmiValue g_FromSimulated(const std::string& sNamespace, const CWmiValue& rValue) {
    const bool bArray = (rValue.usType & CWmiValue::kArray) && !rValue.bNullArray;
    switch (rValue.usType) {
        case CWmiValue::kEmpty:
            return CWmiEmpty{};
        case CWmiValue::kNull:
            return CWmiNull{};
        case CWmiValue::kInteger:
            return rValue.nNumber;
        case CWmiValue::kBoolean:
            return rValue.nNumber != 0;
        case CWmiValue::kText:
            return g_Wide(rValue.sText);
        case CWmiValue::kObject:
            if (rValue.pObject) return g_OpenObject(sNamespace, *rValue.pObject);
            break;
        case CWmiValue::kIntegers:
            if (bArray) return CWmiArray<int32_t>{rValue.Integers, !rValue.bNoData};
            break;
        case CWmiValue::kBytes:
            if (bArray) return CWmiArray<uint8_t>{rValue.Bytes, !rValue.bNoData};
            break;
        case CWmiValue::kTexts:
            if (bArray) {
                CWmiArray<std::wstring> Texts{{}, !rValue.bNoData};
                std::ranges::transform(rValue.Texts, std::back_inserter(Texts.Elements), g_Wide);
                return Texts;
            }
            break;
        default:
            break;
    }
    return CWmiOther{rValue.usType};
}

/// What the seam can hand over; other types end up as what they are not.
CWmiValue g_ToSimulated(const WmiValue& rValue) {
    CWmiValue Result;
    if (const auto* const pnNumber = std::get_if<int32_t>(&rValue)) {
        Result = CWmiValue::Integer(*pnNumber);
    } else if (const auto* const psText = std::get_if<std::wstring>(&rValue)) {
        Result = CWmiValue::Text(NarrowText(*psText));
    } else if (const auto* const pObject = std::get_if<CWmiObject>(&rValue)) {
        if (const auto pState = g_State(*pObject)) Result = CWmiValue::Object(pState->Object);
    } else if (const auto* const pBytes = std::get_if<CWmiArray<uint8_t>>(&rValue)) {
        Result.usType = CWmiValue::kBytes;
        Result.Bytes = pBytes->Elements;
    } else if (const auto* const pIntegers = std::get_if<CWmiArray<int32_t>>(&rValue)) {
        Result.usType = CWmiValue::kIntegers;
        Result.Integers = pIntegers->Elements;
    }
    return Result;
}

}  // namespace

void ReleaseWmiLocator(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }
void ReleaseWmiServices(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }
void ReleaseWmiEnumerator(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }
void ReleaseWmiObject(uintptr_t uHandle) { g_GetSystem().Close(uHandle); }

int32_t CreateWmiLocator(CWmiLocator& rLocator) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("CreateWmiLocator")) return kFailed;
    rLocator = CWmiLocator(g_GetSystem().Open(EHandle::kWmiLocator, L""));
    return kOk;
}

int32_t ConnectWmiServer(const CWmiLocator& rLocator, const wchar_t* pszNamespace, CWmiServices& rServices) {
    const CSystemSide SystemSide;
    CSimulatedSystem& rSystem = g_GetSystem();
    if (rSystem.Refuses("ConnectWmiServer")) return kFailed;
    if (!rSystem.Find(rLocator.Get(), EHandle::kWmiLocator)) return kInvalidHandle;
    if (!pszNamespace) return kInvalidNamespace;
    std::string sNamespace = NarrowText(pszNamespace);
    if (!vxtsim::CSimWmi::HasNamespace(sNamespace)) return kInvalidNamespace;
    rServices = CWmiServices(
        rSystem.Open(EHandle::kWmiServices, pszNamespace, std::make_shared<std::string>(std::move(sNamespace))));
    return kOk;
}

int32_t SetWmiProxyBlanket(const CWmiServices& rServices) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("SetWmiProxyBlanket")) return kFailed;
    return g_State(rServices) ? kOk : kInvalidHandle;
}

int32_t GetWmiObject(const CWmiServices& rServices, const wchar_t* pszPath, CWmiObject& rObject) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetWmiObject")) return kFailed;
    const auto pNamespace = g_State(rServices);
    if (!pNamespace) return kInvalidHandle;
    auto Object = g_GetSystem().m_Wmi.GetObject(*pNamespace, NarrowText(pszPath));
    if (!Object) return kNotFound;
    rObject = g_OpenObject(*pNamespace, std::move(*Object));
    return kOk;
}

int32_t CreateWmiInstanceEnum(const CWmiServices& rServices, const wchar_t* pszClass, uint32_t uFlags,
                              CWmiEnumerator& rEnumerator) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("CreateWmiInstanceEnum")) return kFailed;
    const auto pNamespace = g_State(rServices);
    if (!pNamespace) return kInvalidHandle;
    auto Instances = g_GetSystem().m_Wmi.GetInstances(*pNamespace, NarrowText(pszClass));
    if (!Instances) return kInvalidClass;
    const size_t uRecord = g_GetSystem().m_Wmi.RecordEnumeration(NarrowText(pszClass), uFlags);
    rEnumerator = CWmiEnumerator(g_GetSystem().Open(
        EHandle::kWmiEnumerator, pszClass,
        std::make_shared<CEnumeratorState>(CEnumeratorState{*pNamespace, std::move(*Instances), uRecord})));
    return kOk;
}

CWmiObject NextWmiInstance(const CWmiEnumerator& rEnumerator, uint32_t uMilliseconds) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("NextWmiInstance")) return {};
    const auto pState = g_GetSystem().State<CEnumeratorState>(rEnumerator.Get(), EHandle::kWmiEnumerator);
    if (!pState) return {};
    g_GetSystem().m_Wmi.RecordNext(pState->uRecord, uMilliseconds);
    if (pState->uNext == pState->Objects.size()) return {};
    return g_OpenObject(pState->sNamespace, pState->Objects[pState->uNext++]);
}

int32_t GetWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, WmiValue& rValue) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetWmiProperty")) return kFailed;
    const auto pState = g_State(rObject);
    if (!pState) return kInvalidHandle;
    const auto it = pState->Object.Properties.find(NarrowText(pszName));
    if (it == pState->Object.Properties.end()) return kNotFound;
    rValue = g_FromSimulated(pState->sNamespace, it->second);
    return kOk;
}

int32_t PutWmiProperty(const CWmiObject& rObject, const wchar_t* pszName, const WmiValue& rValue) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("PutWmiProperty")) return kFailed;
    const auto pState = g_State(rObject);
    if (!pState) return kInvalidHandle;
    const auto it = pState->Object.Properties.find(NarrowText(pszName));
    if (it == pState->Object.Properties.end()) return kNotFound;
    CWmiValue Value = g_ToSimulated(rValue);
    if (Value.usType != it->second.usType) return kTypeMismatch;
    it->second = std::move(Value);
    return kOk;
}

int32_t GetWmiMethodQualifier(const CWmiObject& rClass, const wchar_t* pszMethod, const wchar_t* pszQualifier,
                              WmiValue& rValue) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("GetWmiMethodQualifier")) return kFailed;
    const auto pState = g_State(rClass);
    if (!pState) return kInvalidHandle;
    const auto Method = g_GetSystem().m_Wmi.GetMethod(pState->sNamespace, pState->Object.sClass, NarrowText(pszMethod));
    if (!Method) return kNotFound;
    rValue = CWmiEmpty{};
    if (Method->bStatic && std::wstring_view(pszQualifier) == L"Static") rValue = true;
    return kOk;
}

int32_t SpawnWmiMethodInput(const CWmiObject& rClass, const wchar_t* pszMethod, CWmiObject& rInput) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("SpawnWmiMethodInput")) return kFailed;
    const auto pState = g_State(rClass);
    if (!pState) return kInvalidHandle;
    auto Method = g_GetSystem().m_Wmi.GetMethod(pState->sNamespace, pState->Object.sClass, NarrowText(pszMethod));
    if (!Method || !Method->oInput) return kMethodNotThere;
    rInput = g_OpenObject(pState->sNamespace, std::move(*Method->oInput));
    return kOk;
}

int32_t ExecuteWmiMethod(const CWmiServices& rServices, const wchar_t* pszPath, const wchar_t* pszMethod,
                         const CWmiObject& rInput, CWmiObject& rOutput) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("ExecuteWmiMethod")) return kFailed;
    const auto pNamespace = g_State(rServices);
    const auto pInput = rInput ? g_State(rInput) : nullptr;
    if (!pNamespace || (rInput && !pInput)) return kInvalidHandle;
    std::optional<vxtsim::CWmiObject> oOutput;
    if (!g_GetSystem().m_Wmi.Execute(*pNamespace, NarrowText(pszPath), NarrowText(pszMethod),
                                     pInput ? &pInput->Object : nullptr, oOutput))
        return kFailed;
    simulated::g_EndIfHung();
    if (!simulated::g_KeepState()) return kFailed;
    rOutput = oOutput ? g_OpenObject(*pNamespace, std::move(*oOutput)) : CWmiObject();
    return kOk;
}

namespace {
template <class TElement> bool g_CreateArray(uint32_t uElements, CWmiArray<TElement>& rArray) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("CreateWmiArray")) return false;
    rArray.Elements.assign(uElements, TElement{});
    return true;
}
}  // namespace

bool CreateWmiArray(uint32_t uElements, CWmiArray<uint8_t>& rArray) { return g_CreateArray(uElements, rArray); }
bool CreateWmiArray(uint32_t uElements, CWmiArray<int32_t>& rArray) { return g_CreateArray(uElements, rArray); }

}  // namespace vxt::platform
