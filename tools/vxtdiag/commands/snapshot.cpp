// vxtdiag snapshot: this machine as a machine file.
#include "snapshot.h"

#include <algorithm>

#include "common/command.h"
#include "common/console.h"
#include "driver_session.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

struct CWanted {
    std::optional<std::string> oFile;
};
constexpr COption<CWanted> kOptions[] = {
    {"FILE", "", "Machine file to write; standard output when left out, and for -", &CWanted::oFile},
};

EExit g_Snapshot(CTool& rTool, const CWanted& rWanted) {
    const std::optional<std::string> oFile = rWanted.oFile == "-" ? std::nullopt : rWanted.oFile;
    const CLibrarySession Library(rTool.Options());
    const CDriverSession Driver(Library);
    const CSnapshot Snapshot = g_TakeSnapshot();
    const std::string sText = vxtsim::g_FormatMachine(Snapshot.Machine);
    vxtsim::CMachineDescription ReadBack;
    std::string sError;
    if (!vxtsim::g_ParseMachine(sText, "snapshot", ReadBack, sError) || ReadBack != Snapshot.Machine)
        throw CFailure(EExit::kFailed, "this machine does not fit into a machine file: " + sError);
    if (oFile) g_WriteFile(g_Path(*oFile), *oFile, sText);

    const vxtsim::CMachineDescription& rMachine = Snapshot.Machine;
    CDocument Document = rTool.NewDocument();
    CQuantity Reference{"/machine/reference_clock", "Reference clock", "MHz"};
    Reference.Judge(rMachine.dReferenceMHz, {1, 2'000});
    Document.SetCsv("reference_clock");
    Document["file"] = oFile;
    Document["name"] = rMachine.sName;
    Document["cores"] = rMachine.uCores;
    Document["reference_clock"] = Reference.ToJson();
    Document["cpuid_leaves"] = rMachine.Cpuid.size();
    Document["msrs"] = rMachine.Msr.size();
    Document["pci_functions"] = rMachine.Pci.size();
    Document["acpi_tables"] = rMachine.Acpi.size();
    Document["memory_modules"] = rMachine.Smbus.size();
    Document["bios_identities"] = std::ranges::count(rMachine.Wmi, "Win32_BIOS", &vxtsim::CWmiInstance::sClass);
    Document["devices"] = rMachine.Devices.size();
    Document["firmware_objects"] = rMachine.oFirmware ? rMachine.oFirmware->Objects.size() : 0;
    Document["setup_items"] = rMachine.oFirmware ? rMachine.oFirmware->Items.size() : 0;
    Document["text"] = oFile ? nullptr : CJson(sText);
    CTextTable Table{oFile.value_or(""), {"", ""}};
    for (const char* pszKey :
         {"name", "cores", "reference_clock", "cpuid_leaves", "msrs", "pci_functions", "acpi_tables", "memory_modules",
          "bios_identities", "devices", "firmware_objects", "setup_items"})
        Table.Rows.push_back({"  " + std::string(pszKey), g_Cell(Document[pszKey], true)});
    if (!oFile)
        Document.SetText(sText);
    else
        Document.AddTable(std::move(Table));
    return g_EmitWithFindings(rTool, Document, Snapshot.Findings);
}

}  // namespace

extern constexpr CCommand kSnapshot{"snapshot", "Write this machine as a machine file",
                                    "  vxtdiag snapshot my-pc.machine\n  vxtdiag snapshot > my-pc.machine",
                                    g_NewCall<CWanted, kOptions, g_Snapshot>};

}  // namespace vxtdiag
