#include "wmi.h"

#include <algorithm>

#include "drive_classes.h"
#include "machine.h"

namespace vxtsim {

namespace {

CWmiObject g_Named(const std::string& sClass, std::string sPath, std::map<std::string, CWmiValue> Properties) {
    Properties["__CLASS"] = CWmiValue::Text(sClass);
    Properties["__PATH"] = CWmiValue::Text(std::move(sPath));
    return {sClass, std::move(Properties)};
}

}  // namespace

// --- values

CWmiValue CWmiValue::Typed(uint16_t usType) {
    CWmiValue Value;
    Value.usType = usType;
    return Value;
}
CWmiValue CWmiValue::Integer(int32_t nValue) {
    CWmiValue Value = Typed(kInteger);
    Value.nNumber = nValue;
    return Value;
}
CWmiValue CWmiValue::Text(std::string sValue) {
    CWmiValue Value = Typed(kText);
    Value.sText = std::move(sValue);
    return Value;
}
CWmiValue CWmiValue::Object(CWmiObject Object) {
    CWmiValue Value = Typed(kObject);
    Value.pObject = std::make_shared<CWmiObject>(std::move(Object));
    return Value;
}
CWmiValue CWmiValue::IntegerArray(std::vector<int32_t> Values) {
    CWmiValue Value = Typed(kIntegers);
    Value.Integers = std::move(Values);
    return Value;
}
CWmiValue CWmiValue::ByteArray(std::vector<uint8_t> Values) {
    CWmiValue Value = Typed(kBytes);
    Value.Bytes = std::move(Values);
    return Value;
}
CWmiValue CWmiValue::TextArray(std::vector<std::string> Values) {
    CWmiValue Value = Typed(kTexts);
    Value.Texts = std::move(Values);
    return Value;
}

bool CWmiValue::operator==(const CWmiValue& rOther) const {
    const bool bSameObject = pObject && rOther.pObject ? *pObject == *rOther.pObject : pObject == rOther.pObject;
    return bSameObject && usType == rOther.usType && nNumber == rOther.nNumber && sText == rOther.sText &&
           Integers == rOther.Integers && Bytes == rOther.Bytes && Texts == rOther.Texts &&
           bNullArray == rOther.bNullArray && bNoData == rOther.bNoData;
}

// --- queries

CSimWmi::CSimWmi(CSimMachine& rMachine) : m_rMachine(rMachine), m_rDescription(rMachine.Description()) {
    if (m_rDescription.oFirmware) m_pFirmware = std::make_unique<CSimFirmware>(rMachine);
}

CSimWmi::~CSimWmi() = default;

std::string CSimWmi::NamespaceName(std::string_view sNamespace) {
    std::string sName(sNamespace);
    for (char& c : sName)  // whatever the language of the system
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return sName == "root\\cimv2" || sName == CSimFirmware::kNamespace ? sName : "";
}

const CSimFirmware* CSimWmi::_FirmwareIn(std::string_view sNamespace) const {
    return NamespaceName(sNamespace) == CSimFirmware::kNamespace ? m_pFirmware.get() : nullptr;
}

std::optional<std::vector<CWmiObject>> CSimWmi::GetInstances(std::string_view sNamespace,
                                                             std::string_view sClass) const {
    std::vector<CWmiObject> Found;
    const CSimFirmware* const pFirmware = _FirmwareIn(sNamespace);
    if (pFirmware && CSimFirmware::HasClass(sClass)) {
        if (sClass == CSimFirmware::kClass) Found.push_back(pFirmware->Instance());
        return Found;  // a package has no instances
    }
    const std::string sWanted = NamespaceName(sNamespace);
    const auto Add = [&](const std::string& sName, std::map<std::string, CWmiValue> Properties) {
        std::string sPath = sName + ".Number=" + std::to_string(Found.size());
        Found.push_back(g_Named(sName, std::move(sPath), std::move(Properties)));
    };
    const CDriveClass* const pDrives = sWanted == "root\\cimv2" ? g_FindDriveClass(sClass) : nullptr;
    if (pDrives)
        for (auto& rProperties : g_DriveInstances(*pDrives, m_rDescription.Devices, m_rMachine.Uptime()))
            Add(std::string(sClass), std::move(rProperties));
    for (const auto& [sSpace, sName, Properties] : m_rDescription.Wmi)
        if (sSpace == sWanted && sName == sClass) Add(sName, Properties);
    return Found.empty() && !pDrives ? std::nullopt : std::optional(std::move(Found));
}

std::optional<CWmiObject> CSimWmi::GetObject(std::string_view sNamespace, std::string_view sPath) const {
    const std::string_view sClass = sPath.substr(0, std::min(sPath.find('.'), sPath.size()));
    auto Instances = GetInstances(sNamespace, sClass);
    if (!Instances) return std::nullopt;
    if (sPath != sClass) {
        const CWmiValue Path = CWmiValue::Text(std::string(sPath));
        const auto it =
            std::ranges::find_if(*Instances, [&](auto& rInstance) { return rInstance.Properties["__PATH"] == Path; });
        return it == Instances->end() ? std::nullopt : std::optional(std::move(*it));
    }
    if (_FirmwareIn(sNamespace) && CSimFirmware::HasClass(sClass)) return m_pFirmware->ClassObject(sClass);
    std::map<std::string, CWmiValue> Properties;  // a definition knows its properties and no values
    for (const CWmiObject& rInstance : *Instances)
        for (const auto& [sName, rValue] : rInstance.Properties) Properties[sName] = CWmiValue::Typed(CWmiValue::kNull);
    return g_Named(std::string(sClass), std::string(sClass), std::move(Properties));
}

std::vector<CSimWmi::CEnumeration> CSimWmi::Enumerations() const {
    const std::lock_guard Lock(m_Lock);
    return m_Enumerations;
}

size_t CSimWmi::RecordEnumeration(std::string_view sClass, uint32_t uFlags) {
    const std::lock_guard Lock(m_Lock);
    m_Enumerations.push_back({std::string(sClass), uFlags, {}});
    return m_Enumerations.size() - 1;
}

void CSimWmi::RecordNext(size_t uEnumeration, uint32_t uTimeout) {
    const std::lock_guard Lock(m_Lock);
    m_Enumerations.at(uEnumeration).Timeouts.push_back(uTimeout);
}

std::optional<CWmiMethod> CSimWmi::GetMethod(std::string_view sNamespace, std::string_view sClass,
                                             std::string_view sMethod) const {
    const CSimFirmware* const pFirmware = sClass == CSimFirmware::kClass ? _FirmwareIn(sNamespace) : nullptr;
    return pFirmware ? pFirmware->Method(sMethod) : std::nullopt;
}

bool CSimWmi::Execute(std::string_view sNamespace, std::string_view sPath, std::string_view sMethod,
                      const CWmiObject* pInput, std::optional<CWmiObject>& rOutput) {
    rOutput.reset();
    return _FirmwareIn(sNamespace) && sPath == m_pFirmware->ExecutionPath() &&
           m_pFirmware->Execute(sMethod, pInput, rOutput);
}

}  // namespace vxtsim
