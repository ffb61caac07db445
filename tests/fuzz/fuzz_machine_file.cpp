// Hostile machine files: the parser neither crashes nor asks for much memory; what it accepts survives the way through
// text and runs as a machine.
#include <cstdlib>

#include "sim/driver_server.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    using namespace vxtsim;
    CMachineDescription Machine, Again;
    std::string sError;
    if (!g_ParseMachine({reinterpret_cast<const char*>(pData), uSize}, "fuzz", Machine, sError)) {
        if (!sError.starts_with("fuzz:")) std::abort();
        return 0;
    }
    if (!g_ParseMachine(g_FormatMachine(Machine), "again", Again, sError) || Again != Machine) std::abort();

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
    Running.Advance(1'000'000);
    return 0;
}
