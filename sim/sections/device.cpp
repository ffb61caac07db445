// [device ID]: a device of the system's device tree.
#include "../machine_words.h"
#include "dump.h"
#include "inherit.h"
#include "keys.h"

namespace vxtsim {

namespace {

constexpr size_t kText = 255, kIds = 16;  // characters; IDs of a device

template <auto pMember> constexpr CKey<CPluggedDevice> g_IdsKey(std::string_view sName) {
    return {sName,
            [](CMachineReader& rReader, std::string_view sValue, CPluggedDevice& rDevice) {
                std::string sText;
                const bool bRetCode = rReader.Value(sValue, sText);
                return bRetCode && rReader.Texts(sText, rDevice.*pMember, kIds, kText);
            },
            [](const CPluggedDevice& rDevice) { return g_TextsText(rDevice.*pMember); }};
}

constexpr CKey<CPluggedDevice> kKeys[] = {
    {"class",
     [](CMachineReader& rReader, std::string_view sValue, CPluggedDevice& rDevice) {
         if (!rReader.Value(sValue, rDevice.sClass)) return false;
         std::string sKnown;
         for (const CSetupClassName& rClass : kSetupClasses) {
             if (rClass.sName == rDevice.sClass) return true;
             sKnown += (sKnown.empty() ? "" : ", ") + std::string(rClass.sName);
         }
         return rReader.Fail(sKnown, sValue);
     },
     [](const CPluggedDevice& rDevice) { return rDevice.sClass; }, kAlways},
    g_TextKey<&CPluggedDevice::sDescription, kText>("description"),
    g_TextKey<&CPluggedDevice::sFriendlyName, kText>("friendly_name"),
    g_TextKey<&CPluggedDevice::sManufacturer, kText>("manufacturer"),
    g_TextKey<&CPluggedDevice::sParent, kText>("parent"),
    g_IdsKey<&CPluggedDevice::HardwareIds>("hardware_ids"),
    g_IdsKey<&CPluggedDevice::CompatibleIds>("compatible_ids"),
    {"drive",
     [](CMachineReader& rReader, std::string_view sValue, CPluggedDevice& rDevice) {
         const auto IsOfName = [](char ch) {
             return (ch >= '0' && ch <= ':') || ((ch | 0x20) >= 'a' && (ch | 0x20) <= 'z');
         };
         return rReader.Value(sValue, rDevice.sDrive) &&
                (std::ranges::all_of(rDevice.sDrive, IsOfName) || rReader.Fail("PHYSICALDRIVE0 or D:", sValue));
     },
     [](const CPluggedDevice& rDevice) { return rDevice.sDrive; }},
    g_TextKey<&CPluggedDevice::sVendor, kText>("vendor"),
    g_TextKey<&CPluggedDevice::sSerial, kText>("serial"),
    g_TextKey<&CPluggedDevice::sRevision, kText>("revision"),
    g_Key<&CPluggedDevice::uBus>("bus"),
    {"bytes",
     [](CMachineReader& rReader, std::string_view sValue, CPluggedDevice& rDevice) {
         return rReader.Number(sValue, rDevice.ullBytes, std::numeric_limits<int64_t>::max(), 0);
     },
     [](const CPluggedDevice& rDevice) { return g_ValueText(rDevice.ullBytes); }},
    g_Key<&CPluggedDevice::bRemovable>("removable"),
    g_Key<&CPluggedDevice::uFrom>("from"),
    g_Key<&CPluggedDevice::uUntil>("until"),
};

/// Two that are there at the same time and open as the same drive.
bool g_Clash(const CPluggedDevice& rOne, const CPluggedDevice& rOther) {
    const auto EndsBefore = [](const auto& a, const auto& b) { return a.uUntil != 0 && a.uUntil <= b.uFrom; };
    return rOne.sId != rOther.sId && rOne.sDrive == rOther.sDrive && !EndsBefore(rOne, rOther) &&
           !EndsBefore(rOther, rOne);
}

/// Keys, and lines of a dump, which have no "=".
class CDeviceSection final : public CKeySection<CPluggedDevice> {
public:
    explicit CDeviceSection(CPluggedDevice& rDevice)
        : CKeySection(kKeys, rDevice), m_Image(rDevice.Image, CPluggedDevice::kImage) {}

    bool Line(CMachineReader& rReader, std::string_view sLine) override {
        const bool bKey = CMachineReader::WithoutComment(sLine).find('=') != std::string_view::npos;
        return bKey ? CKeySection::Line(rReader, sLine) : m_Image.Line(rReader, sLine);
    }

private:
    bool Close(CMachineReader& rReader) override {
        if (m_rRecord.sClass.empty()) return rReader.Fail("class of the device", "none");
        if (m_rRecord.uUntil != 0 && m_rRecord.uUntil <= m_rRecord.uFrom)
            return rReader.Fail("an until after from", std::to_string(m_rRecord.uUntil));
        if (!m_rRecord.sDrive.empty())
            rReader.AtEnd([Own = m_rRecord](CMachineReader& rLater) {
                return std::ranges::none_of(rLater.Machine().Devices, [&](const auto& r) { return g_Clash(r, Own); }) ||
                       rLater.Fail("a drive for each device at a time", Own.sDrive);
            });
        return true;
    }

    CDumpSection m_Image;
};

const std::string& g_IdOf(const CPluggedDevice& rDevice) { return rDevice.sId; }

std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    CPluggedDevice Device;
    if (sArgument.empty() || !rReader.Text(sArgument, Device.sId, kText)) return nullptr;
    auto& rDevices = rReader.Machine().Devices;
    if (std::ranges::find(rDevices, Device.sId, g_IdOf) != rDevices.end())
        return rReader.FailTwice("device", sArgument), nullptr;
    if (!rReader.MayAdd(rDevices.size())) return nullptr;
    rDevices.push_back(std::move(Device));
    return std::make_unique<CDeviceSection>(rDevices.back());
}

void g_Write(CMachineWriter& rWriter, const CMachineDescription& rMachine) {
    for (const CPluggedDevice& rDevice : rMachine.Devices) {
        rWriter.Heading("device " + rDevice.sId);
        g_WriteKeys(rWriter, kKeys, rDevice);
        if (!rDevice.Image.empty()) rWriter.Dump(rDevice.Image);
    }
}

void g_Inherit(CMachineDescription& rMachine, const CMachineDescription& rBase) {
    g_InheritElements(rMachine.Devices, rBase.Devices, g_IdOf);
}

bool g_Forget(CMachineDescription& rMachine, std::string_view sArgument) {
    if (sArgument.empty()) return g_ForgetAll<&CMachineDescription::Devices>(rMachine, sArgument);
    return std::erase_if(rMachine.Devices, [&](const auto& rDevice) { return rDevice.sId == sArgument; }) != 0;
}

}  // namespace

const CSectionKind kDeviceSection = {
    "device",          "[device ID]", "A device of the system's device tree, and from when to when it is there.",
    g_KeyNames<kKeys>, g_Open,        g_Write,
    g_Inherit,         g_Forget,
};

}  // namespace vxtsim
