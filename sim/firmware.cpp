#include "firmware.h"

#include <algorithm>
#include <iterator>
#include <thread>

#include "machine.h"

namespace vxtsim {

namespace {

enum EStatus : int32_t { kDone = 0, kRefused = 1 };  ///< of a method
enum EReturnCode : uint32_t { kSuccess = 0, kUnknownCommand = 1, kBadArgument = 2 };
enum ECommand : uint32_t {
    kItemCount = 0x00030001,
    kItemDescription = 0x00030002,
    kItemValue = 0x00030003,
    kSetItemValue = 0x00030004,
    kVendorName = 0x00040001,
    kGraphicsInformation = 0x00040002,
};
// A command block: code, arguments. A result block: return code, data.
constexpr size_t kArgument = 4, kSecondArgument = 6, kData = 4;
// An item's description, which is a whole result block.
constexpr size_t kDescribedName = 4, kDescribedValue = 68, kDescribedOptions = 70, kDescribedTexts = 72;
static_assert(kDescribedTexts + CFirmwareItem::kOptions * CFirmwareItem::kOptionBytes == CSimFirmware::kResultBytes);

constexpr const char* kInstanceName = "ACPI\\PNP0C14\\0_0";
constexpr const char* kInstancePath = "QOR_ACPI.InstanceName=\"ACPI\\PNP0C14\\0_0\"";
constexpr const char* kParameters = "__PARAMETERS";

uint32_t g_Get(const std::vector<uint8_t>& rBlock, size_t uOffset, size_t uBytes) {
    uint32_t uValue = 0;
    while (uBytes-- > 0) uValue = uValue << 8 | rBlock[uOffset + uBytes];
    return uValue;
}
void g_Put(std::vector<uint8_t>& rBlock, size_t uOffset, size_t uBytes, uint32_t uValue) {
    for (size_t i = 0; i < uBytes; ++i) rBlock[uOffset + i] = static_cast<uint8_t>(uValue >> (8 * i));
}
/// At most `uBytes` of the text; one that fills its field has no terminator.
void g_Put(std::vector<uint8_t>& rBlock, size_t uOffset, size_t uBytes, const std::string& sText) {
    std::copy_n(sText.begin(), std::min(uBytes, sText.size()), rBlock.begin() + static_cast<ptrdiff_t>(uOffset));
}

CWmiValue g_Pack(const char* pszClass, std::map<std::string, CWmiValue> Properties) {
    return CWmiValue::Object({pszClass, std::move(Properties)});
}

bool g_Allows(const CFirmwareObject& rObject, int32_t nValue) {
    if (!rObject.Values.empty()) return std::ranges::count(rObject.Values, nValue) != 0;
    const int64_t llMinimum = rObject.Info.empty() ? 0 : rObject.Info[0];
    const int64_t llMaximum = rObject.Info.size() < 2 ? 0 : rObject.Info[1];
    return (llMinimum == 0 && llMaximum == 0) || (nValue >= llMinimum && nValue <= llMaximum);
}

/// A property that has to be there.
struct CParameter {
    std::string_view sName;  ///< empty: there is none, so that nothing meets it
    uint16_t usType = CWmiValue::kEmpty;
    size_t uElements = 0;          ///< of an array
    std::string_view sClass = {};  ///< of an object
};

struct CPackage {
    std::string_view sClass;
    CParameter Property;
};
constexpr CPackage kPackages[] = {
    {CSimFirmware::kSetValuePackage, {"id", CWmiValue::kInteger}},
    {CSimFirmware::kSetValuePackage, {"value", CWmiValue::kInteger}},
    {CSimFirmware::kBiosRequestPackage, {"x", CWmiValue::kIntegers, CSimFirmware::kRequestWords}},
};

bool g_IsMet(const CParameter& rParameter, const CWmiObject& rObject) {
    const auto& [sName, usType, uElements, sClass] = rParameter;
    const auto it = rObject.Properties.find(std::string(sName));
    if (it == rObject.Properties.end() || it->second.usType != usType) return false;
    const CWmiValue& rValue = it->second;
    if (rValue.bNullArray || rValue.bNoData || rValue.Integers.size() + rValue.Bytes.size() != uElements) return false;
    if (usType != CWmiValue::kObject) return true;
    return rValue.pObject && rValue.pObject->sClass == sClass && std::ranges::all_of(kPackages, [&](const auto& rRow) {
               return rRow.sClass != rValue.pObject->sClass || g_IsMet(rRow.Property, *rValue.pObject);
           });
}

}  // namespace

struct CSimFirmware::CMethod {
    std::string_view sName;
    CParameter Input;
    std::string_view sOutput;                        ///< empty: it answers nothing
    std::array<std::string_view, 4> PackProperties;  ///< when the output is an object
    CWmiValue (CSimFirmware::*pAnswer)(const CWmiValue& rInput);
};

const CSimFirmware::CMethod CSimFirmware::s_aMethods[10] = {
    {"GetObjectID", {}, "pack", {"length", "ID", "property", "IDstring"}, &CSimFirmware::_GetObjectID},
    {"GetValue", {"id", CWmiValue::kInteger}, "pack", {"status", "value"}, &CSimFirmware::_GetValue},
    {"SetValue", {"pack", CWmiValue::kObject, 0, kSetValuePackage}, "status", {}, &CSimFirmware::_SetValue},
    {"GetInfo", {"id", CWmiValue::kInteger}, "pack", {"x"}, &CSimFirmware::_GetInfo},
    {"GetDValues", {"id", CWmiValue::kInteger}, "pack", {"length", "DValueBuffer"}, &CSimFirmware::_GetDValues},
    {"BiosRequest", {"pack", CWmiValue::kObject, 0, kBiosRequestPackage}, "", {}, &CSimFirmware::_BiosRequest},
    {"Init", {}, "status", {}, &CSimFirmware::_Init},
    {"RunCMD", {"Inbuf", CWmiValue::kBytes, kCommandBytes}, "Outbuf", {"Result"}, &CSimFirmware::_RunCMD},
    {"QueryVersion", {}, "Version", {}, &CSimFirmware::_QueryVersion},
    {"QueryCommandList", {}, "CommandList", {"CommandCount", "List"}, &CSimFirmware::_QueryCommandList},
};

CSimFirmware::CSimFirmware(CSimMachine& rMachine)
    : m_rMachine(rMachine), m_State(rMachine.Description().oFirmware.value()) {}

const CSimFirmware::CMethod* CSimFirmware::_Find(std::string_view sMethod) {
    const auto pMethod = std::ranges::find(s_aMethods, sMethod, &CMethod::sName);
    return pMethod == std::end(s_aMethods) ? nullptr : pMethod;
}

bool CSimFirmware::HasMethod(std::string_view sMethod) { return _Find(sMethod); }

bool CSimFirmware::HasAnswer(std::string_view sMethod, std::string_view sProperty) {
    const CMethod* const pMethod = _Find(sMethod);
    return pMethod && !sProperty.empty() &&
           (sProperty == pMethod->sOutput || std::ranges::count(pMethod->PackProperties, sProperty) != 0);
}

bool CSimFirmware::HasClass(std::string_view sClass) {
    return sClass == kClass || sClass == kSetValuePackage || sClass == kBiosRequestPackage;
}

CWmiObject CSimFirmware::ClassObject(std::string_view sClass) const {
    CWmiObject Class{std::string(sClass), {}};
    Class.Properties["__CLASS"] = Class.Properties["__PATH"] = CWmiValue::Text(std::string(sClass));
    for (const auto& [sPackage, Property] : kPackages)
        if (sPackage == sClass) Class.Properties[std::string(Property.sName)] = CWmiValue::Typed(Property.usType);
    if (sClass == kClass) Class.Properties["InstanceName"] = CWmiValue::Typed(CWmiValue::kNull);
    return Class;
}

CWmiObject CSimFirmware::Instance() const {
    CWmiObject Object = ClassObject(kClass);
    Object.Properties["InstanceName"] = CWmiValue::Text(kInstanceName);
    Object.Properties["__PATH"] = CWmiValue::Text(kInstancePath);
    return Object;
}

std::string_view CSimFirmware::ExecutionPath() const { return m_State.bStaticMethods ? kClass : kInstancePath; }

std::optional<CWmiMethod> CSimFirmware::Method(std::string_view sMethod) const {
    const CMethod* const pMethod = _Find(sMethod);
    if (!pMethod) return std::nullopt;
    CWmiMethod Method{m_State.bStaticMethods, std::nullopt};
    if (!pMethod->Input.sName.empty())
        Method.oInput =
            CWmiObject{kParameters, {{std::string(pMethod->Input.sName), CWmiValue::Typed(pMethod->Input.usType)}}};
    return Method;
}

bool CSimFirmware::Execute(std::string_view sMethod, const CWmiObject* pInput, std::optional<CWmiObject>& rOutput) {
    rOutput.reset();
    const CMethod* const pMethod = _Find(sMethod);
    if (!pMethod) return false;

    struct CRunning {
        explicit CRunning(std::atomic<uint32_t>& ruRunning) : m_ruRunning(ruRunning), m_uAtOnce(++ruRunning) {}
        ~CRunning() { --m_ruRunning; }
        std::atomic<uint32_t>& m_ruRunning;
        uint32_t m_uAtOnce;
    };
    const CRunning Running(m_uRunning);
    for (uint32_t uMost = m_uMostAtOnce;
         uMost < Running.m_uAtOnce && !m_uMostAtOnce.compare_exchange_weak(uMost, Running.m_uAtOnce);) {}

    CFirmwareAnswer Answer;
    {
        const std::lock_guard Lock(m_Lock);
        ++m_Executions[std::string(sMethod)];
        if (const auto it = m_State.Answers.find(std::string(sMethod)); it != m_State.Answers.end())
            Answer = it->second;
    }
    if (m_bYields) std::this_thread::yield();
    if (Answer.uMilliseconds) m_rMachine.Advance(uint64_t{Answer.uMilliseconds} * 1'000'000);
    const bool bUnderstood = pInput ? g_IsMet(pMethod->Input, *pInput) : pMethod->Input.sName.empty();
    if (Answer.bFails || !bUnderstood) return false;

    CWmiValue Result;
    {
        const std::lock_guard Lock(m_Lock);
        const CWmiValue Nothing;
        Result = (this->*pMethod->pAnswer)(pInput ? pInput->Properties.at(std::string(pMethod->Input.sName)) : Nothing);
    }
    if (m_bYields) std::this_thread::yield();
    if (pMethod->sOutput.empty()) return true;

    const std::string sOutput(pMethod->sOutput);
    CWmiObject Output{kParameters, {}};
    const auto Put = [](CWmiObject& rObject, const std::string& sName, const std::optional<CWmiValue>& rValue) {
        rObject.Properties.erase(sName);
        if (rValue) rObject.Properties[sName] = *rValue;
    };
    for (const auto& [sName, rValue] : Answer.Properties)
        if (Result.pObject) Put(*Result.pObject, sName, rValue);
    Put(Output, sOutput, Result);
    if (const auto it = Answer.Properties.find(sOutput); it != Answer.Properties.end())
        Put(Output, sOutput, it->second);
    rOutput = std::move(Output);
    return true;
}

void CSimFirmware::SetAnswer(const std::string& sMethod, CFirmwareAnswer Answer) {
    const std::lock_guard Lock(m_Lock);
    m_State.Answers[sMethod] = std::move(Answer);
}

std::optional<int32_t> CSimFirmware::Value(uint32_t uId) const {
    const std::lock_guard Lock(m_Lock);
    const auto it = std::ranges::find(m_State.Objects, uId, &CFirmwareObject::uId);
    return it == m_State.Objects.end() ? std::nullopt : std::optional(it->nValue);
}

std::optional<uint16_t> CSimFirmware::ItemValue(uint32_t uItem) const {
    const std::lock_guard Lock(m_Lock);
    return uItem == 0 || uItem > m_State.Items.size() ? std::nullopt : std::optional(m_State.Items[uItem - 1].usValue);
}

std::array<int32_t, CSimFirmware::kRequestWords> CSimFirmware::LastRequest() const {
    const std::lock_guard Lock(m_Lock);
    return m_Request;
}

std::vector<uint8_t> CSimFirmware::LastCommand() const {
    const std::lock_guard Lock(m_Lock);
    return m_Command;
}

uint32_t CSimFirmware::Executions(std::string_view sMethod) const {
    const std::lock_guard Lock(m_Lock);
    const auto it = m_Executions.find(sMethod);
    return it == m_Executions.end() ? 0 : it->second;
}

// --- the object interface

CFirmwareObject* CSimFirmware::_FindObject(const CWmiValue& rId) {
    const auto it = std::ranges::find(m_State.Objects, static_cast<uint32_t>(rId.nNumber), &CFirmwareObject::uId);
    return it == m_State.Objects.end() ? nullptr : &*it;
}

CWmiValue CSimFirmware::_GetObjectID(const CWmiValue&) {
    std::vector<int32_t> Ids, Flags;
    std::vector<std::string> Names;
    for (const CFirmwareObject& rObject : m_State.Objects) {
        Ids.push_back(static_cast<int32_t>(rObject.uId));
        Flags.push_back(static_cast<int32_t>(rObject.uProperty));
        Names.push_back(rObject.sName);
    }
    return g_Pack("ObjectIDPackage", {{"length", CWmiValue::Integer(static_cast<int32_t>(Ids.size()))},
                                      {"ID", CWmiValue::IntegerArray(std::move(Ids))},
                                      {"property", CWmiValue::IntegerArray(std::move(Flags))},
                                      {"IDstring", CWmiValue::TextArray(std::move(Names))}});
}

CWmiValue CSimFirmware::_GetValue(const CWmiValue& rId) {
    const CFirmwareObject* const pObject = _FindObject(rId);
    const int32_t nStatus = pObject ? pObject->nStatus : kRefused;
    std::map<std::string, CWmiValue> Properties{{"status", CWmiValue::Integer(nStatus)}};
    if (nStatus == kDone) Properties["value"] = CWmiValue::Integer(pObject->nValue);
    return g_Pack("ValuePackage", std::move(Properties));
}

CWmiValue CSimFirmware::_SetValue(const CWmiValue& rPackage) {
    const auto& rProperties = rPackage.pObject->Properties;
    CFirmwareObject* const pObject = _FindObject(rProperties.at("id"));
    const int32_t nValue = rProperties.at("value").nNumber;
    if (!pObject) return CWmiValue::Integer(kRefused);
    if (pObject->nStatus != kDone) return CWmiValue::Integer(pObject->nStatus);
    if (pObject->bStuck) return CWmiValue::Integer(kDone);
    if (!g_Allows(*pObject, nValue)) return CWmiValue::Integer(kRefused);
    pObject->nValue = nValue;
    m_rMachine.SetFirmware(m_State);
    if (pObject->uId == kReferenceClock) m_rMachine.SetReferenceClock(nValue / 1000.0);
    return CWmiValue::Integer(kDone);
}

CWmiValue CSimFirmware::_GetInfo(const CWmiValue& rId) {
    const CFirmwareObject* const pObject = _FindObject(rId);
    std::vector<int32_t> Words;
    if (pObject) Words.assign(pObject->Info.begin(), pObject->Info.end());
    return g_Pack("InfoPackage", {{"x", CWmiValue::IntegerArray(std::move(Words))}});
}

CWmiValue CSimFirmware::_GetDValues(const CWmiValue& rId) {
    const CFirmwareObject* const pObject = _FindObject(rId);
    std::vector<int32_t> Values;
    if (pObject) Values = pObject->Values;
    return g_Pack("DValuePackage", {{"length", CWmiValue::Integer(static_cast<int32_t>(Values.size()))},
                                    {"DValueBuffer", CWmiValue::IntegerArray(std::move(Values))}});
}

CWmiValue CSimFirmware::_BiosRequest(const CWmiValue& rPackage) {
    std::ranges::copy(rPackage.pObject->Properties.at("x").Integers, m_Request.begin());
    return {};
}

CWmiValue CSimFirmware::_Init(const CWmiValue&) { return CWmiValue::Integer(kDone); }

// --- the command interface

CWmiValue CSimFirmware::_QueryVersion(const CWmiValue&) { return CWmiValue::Integer(m_State.nVersion); }

CWmiValue CSimFirmware::_QueryCommandList(const CWmiValue&) {
    std::vector<int32_t> Codes(m_State.Commands.begin(), m_State.Commands.end());
    return g_Pack("CommandListPackage", {{"CommandCount", CWmiValue::Integer(static_cast<int32_t>(Codes.size()))},
                                         {"List", CWmiValue::IntegerArray(std::move(Codes))}});
}

CWmiValue CSimFirmware::_RunCMD(const CWmiValue& rCommand) {
    m_Command = rCommand.Bytes;
    std::vector<uint8_t> Result(kResultBytes);
    if (const auto it = m_State.Results.find(g_Get(rCommand.Bytes, 0, 4)); it != m_State.Results.end()) {
        Result = it->second;
    } else {
        g_Put(Result, 0, 4, _RunCommand(rCommand.Bytes, Result));
    }
    return g_Pack("CommandResultPackage", {{"Result", CWmiValue::ByteArray(std::move(Result))}});
}

/// Fills in the data; the answer is the return code.
uint32_t CSimFirmware::_RunCommand(const std::vector<uint8_t>& rCommand, std::vector<uint8_t>& rResult) {
    const uint32_t uCode = g_Get(rCommand, 0, 4);
    switch (uCode) {
        case kItemCount:
            g_Put(rResult, kData, 4, static_cast<uint32_t>(m_State.Items.size()));
            return kSuccess;
        case kVendorName:
            g_Put(rResult, kData, CFirmwareDescription::kVendorBytes, m_State.sVendor);
            return kSuccess;
        case kGraphicsInformation:
            rResult[kData] = m_State.ucGraphics, rResult[kData + 1] = m_State.ucGraphicsPresent;
            return kSuccess;
        case kItemDescription:
        case kItemValue:
        case kSetItemValue:
            break;
        default:
            return kUnknownCommand;
    }
    const uint32_t uItem = g_Get(rCommand, kArgument, uCode == kSetItemValue ? 2 : 4);
    if (uItem == 0 || uItem > m_State.Items.size()) return kBadArgument;
    CFirmwareItem& rItem = m_State.Items[uItem - 1];
    if (uCode == kItemValue) {
        g_Put(rResult, kData, 4, rItem.usValue);
    } else if (uCode == kSetItemValue) {
        const uint32_t uValue = g_Get(rCommand, kSecondArgument, 2);
        if (!rItem.Options.empty() && uValue >= rItem.Options.size()) return kBadArgument;
        rItem.usValue = static_cast<uint16_t>(uValue);
        m_rMachine.SetFirmware(m_State);
    } else {
        const size_t uOptions = std::min(rItem.Options.size(), CFirmwareItem::kOptions);
        g_Put(rResult, kDescribedName, CFirmwareItem::kNameBytes, rItem.sName);
        g_Put(rResult, kDescribedValue, 2, rItem.usValue);
        g_Put(rResult, kDescribedOptions, 2, static_cast<uint32_t>(uOptions));
        for (size_t i = 0; i < uOptions; ++i)
            g_Put(rResult, kDescribedTexts + i * CFirmwareItem::kOptionBytes, CFirmwareItem::kOptionBytes,
                  rItem.Options[i]);
    }
    return kSuccess;
}

}  // namespace vxtsim
