// Hostile machine files: the parser neither crashes nor asks for much memory; what it accepts survives the way through
// text, and a share of it runs as a machine, answers management queries, has its ports used and comes back from its description.
#include <cstdlib>

#include "sim/driver_server.h"
#include "sim/wmi.h"

namespace {

using namespace vxtsim;

/// Every method of the firmware, those with an ID for two objects, each setup item asked and set.
void g_Ask(CSimMachine& rMachine) {
    constexpr size_t kFew = 8;  // lists may be long
    constexpr std::string_view kNamespace = CSimFirmware::kNamespace;
    CSimWmi Wmi(rMachine);
    for (const CWmiInstance& rInstance : rMachine.Description().Wmi) {
        const auto Instances = Wmi.GetInstances(rInstance.sNamespace, rInstance.sClass);
        if (!Instances || Instances->empty()) std::abort();
        if (!Wmi.GetObject(rInstance.sNamespace, Instances->back().Properties.at("__PATH").sText)) std::abort();
        if (Instances->size() > kFew) break;
    }
    if (!Wmi.Firmware()) return;
    const CFirmwareDescription& rFirmware = *rMachine.Description().oFirmware;
    const CWmiObject Target = rFirmware.bStaticMethods ? Wmi.GetObject(kNamespace, CSimFirmware::kClass).value()
                                                       : Wmi.GetInstances(kNamespace, CSimFirmware::kClass)->front();
    const std::string& rsPath = Target.Properties.at("__PATH").sText;
    std::optional<CWmiObject> Output;
    for (const char* const pszMethod : {"GetObjectID", "Init", "QueryVersion", "QueryCommandList"})
        if (Wmi.Execute(kNamespace, rsPath, pszMethod, nullptr, Output) && !Output) std::abort();

    const auto Run = [&](const char* pszMethod, const char* pszName, CWmiValue Value) {
        const CWmiObject Input{"", {{pszName, std::move(Value)}}};
        return Wmi.Execute(kNamespace, rsPath, pszMethod, &Input, Output);
    };
    for (size_t i = 0; i < std::min(kFew, rFirmware.Objects.size()); ++i) {
        const CFirmwareObject& rObject = rFirmware.Objects[i];
        const CWmiValue Id = CWmiValue::Integer(static_cast<int32_t>(rObject.uId));
        for (const char* const pszMethod : {"GetValue", "GetInfo", "GetDValues"}) Run(pszMethod, "id", Id);
        CWmiObject Package = Wmi.GetObject(kNamespace, CSimFirmware::kSetValuePackage).value();
        Package.Properties["id"] = Id;
        Package.Properties["value"] = CWmiValue::Integer(rObject.Values.empty() ? INT32_MIN : rObject.Values.back());
        Run("SetValue", "pack", CWmiValue::Object(std::move(Package)));
    }
    for (uint8_t ucCode = 0; ucCode < 6; ++ucCode)
        for (uint8_t ucItem = 0; ucItem < kFew; ++ucItem) {
            std::vector<uint8_t> Block(CSimFirmware::kCommandBytes);
            Block[0] = ucCode % 4 + 1, Block[2] = ucCode < 4 ? 3 : 4, Block[4] = ucItem, Block[6] = ucItem;
            Run("RunCMD", "Inbuf", CWmiValue::ByteArray(std::move(Block)));
        }
}

/// Keys that open every chip, then each register behind each pair of ports, read and written.
void g_UsePorts(CSimMachine& rMachine) {
    std::vector<uint16_t> Pairs{0x2E, 0x4E};
    for (const auto& [Part, rRegisters] : rMachine.Description().SuperIo)
        if (Part.eKind == CSuperIoPart::kDevice && rRegisters.size() > 0x61)
            Pairs.push_back(static_cast<uint16_t>((rRegisters[0x60] << 8 | (rRegisters[0x61] & 0xF8)) + 5));
    for (const auto& [usPort, rRegisters] : rMachine.Description().IndexPorts) Pairs.push_back(usPort);
    for (const uint32_t uKey : {0x87, 0x87, 0x01, 0x55, 0x55, 0x87, 0x01, 0x55, 0xAA})
        rMachine.WritePort(0x2E, 1, uKey), rMachine.WritePort(0x4E, 1, uKey);
    for (const uint16_t usPort : Pairs)
        for (uint32_t uRegister = 0; uRegister < 0x100; ++uRegister) {
            rMachine.WritePort(usPort, 1, uRegister);
            const uint32_t uData = rMachine.ReadPort(static_cast<uint16_t>(usPort + 1), 1);
            rMachine.WritePort(static_cast<uint16_t>(usPort + 1), 1, uData ^ uRegister);
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    CMachineDescription Machine, Again;
    std::string sError;
    if (!g_ParseMachine({reinterpret_cast<const char*>(pData), uSize}, "fuzz", Machine, sError)) {
        if (!sError.starts_with("fuzz:")) std::abort();
        return 0;
    }
    if (!g_ParseMachine(g_FormatMachine(Machine), "again", Again, sError) || Again != Machine) std::abort();

    // Switching a machine on takes longer than all the rest: each input is in the share by its content.
    constexpr size_t kShare = 16;
    if (std::hash<std::string_view>()({reinterpret_cast<const char*>(pData), uSize}) % kShare) return 0;
    CSimMachine Running(std::move(Machine));
    std::vector<uint8_t> Bytes(0x20000);
    Running.ReadMemory(0xE0000, Bytes);
    for (const auto& [sSignature, Table] : Running.Description().Acpi)
        Running.ReadMemory(Running.AcpiAddress(sSignature), std::span(Bytes).first(64));
    for (const auto& [Address, rFunction] : Running.Description().Pci) {
        Running.ReadPci(Address, 0xFE, std::span(Bytes).first(8));
        Running.WritePci(Address, 0xFE, std::span(Bytes).first(8));
    }
    for (const auto& [Key, ullValue] : Running.Description().Msr) Running.WriteMsr(0, Key.second, ~ullValue);
    g_Ask(Running);
    g_UsePorts(Running);
    Running.Advance(1'000'000'000);
    const CMachineDescription State = Running.Describe();
    if (CSimMachine(State).Describe() != State) std::abort();
    return 0;
}
