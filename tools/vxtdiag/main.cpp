// vxtdiag: what the library's exports cannot give. Works on the hardware layer directly.
#include "acpi_report.h"
#include "cmos_report.h"
#include "common/command_line.h"
#include "common/console.h"
#include "driver_session.h"
#include "firmware_report.h"
#include "pci_report.h"
#include "snapshot.h"

using namespace vxttools;
using namespace vxtdiag;

namespace {

constexpr const char* kExamples =
    "  vxtdiag snapshot my-pc.machine          this PC as a machine file, to attach to a report\n"
    "  vxtctl --machine my-pc.machine devices  replays it (simulated builds)\n"
    "  vxtdiag pci                             every PCI function\n"
    "  vxtdiag pci 00:18.3                     its configuration space\n"
    "  vxtdiag acpi FACP                       one ACPI table\n"
    "  vxtdiag firmware                        what the board's firmware can tune\n"
    "  vxtdiag cmos set \"Core Trim Boost=Disabled\" --dry-run\n"
    "  vxtdiag machines                        names for --machine";

class CDiagnosticTool {
public:
    CDiagnosticTool()
        : m_CommandLine("vxtdiag",
                        "Show what lies below the devices: PCI functions, ACPI tables, firmware, whole machines",
                        kExamples,
                        []() -> EExit { throw CFailure(EExit::kUsage, "a command is needed; try 'vxtdiag --help'"); }) {
        CLI::App& rRoot = m_CommandLine.Root();
        m_CommandLine.AddWritingOptions();
        m_CommandLine
            .Add(rRoot, "snapshot", "Write this machine as a machine file",
                 "  vxtdiag snapshot my-pc.machine\n  vxtdiag snapshot > my-pc.machine", [this] { return _Snapshot(); })
            .add_option("FILE", m_sFile, "Machine file to write; standard output when left out")
            ->type_name("");
        m_CommandLine
            .Add(rRoot, "acpi", "List the ACPI tables, or dump one", "  vxtdiag acpi\n  vxtdiag acpi MCFG --json",
                 [this] { return _Hardware("acpi", g_AddAcpiTables, m_sSignature); })
            .add_option("SIGNATURE", m_sSignature, "Table to dump")
            ->type_name("");
        m_CommandLine
            .Add(rRoot, "pci", "List the PCI functions, or dump one", "  vxtdiag pci\n  vxtdiag pci 00:18.3",
                 [this] { return _Hardware("pci", g_AddPciFunctions, m_sAddress); })
            .add_option("ADDRESS", m_sAddress, "Function to dump, as bus:device.function in hexadecimal")
            ->type_name("");
        m_CommandLine
            .Add(rRoot, "firmware", "Show what the board's firmware can tune: objects, commands",
                 "  vxtdiag firmware\n  vxtdiag firmware 01010000 --json",
                 [this] {
                     return _Firmware("firmware", [this](CDocument& rDocument, const CFirmwareSession& rSession) {
                         return g_AddFirmware(rDocument, rSession, m_sObject);
                     });
                 })
            .add_option("ID", m_sObject, "Object to show, in hexadecimal")
            ->type_name("");
        CLI::App& rCmos = m_CommandLine.Add(
            rRoot, "cmos", "List the firmware's setup items and their options", "  vxtdiag cmos\n  vxtdiag cmos --csv",
            [this] {
                return _Firmware(
                    "cmos", [](CDocument& rDocument, const CFirmwareSession&) { return g_AddSetupItems(rDocument); });
            });
        CLI::App& rSet = m_CommandLine.Add(rCmos, "set", "Change setup items",
                                           "  vxtdiag cmos set \"core trim boost=disabled\" --dry-run\n"
                                           "  vxtdiag cmos set 1=0 --yes",
                                           [this] { return _CmosSet(); });
        rSet.add_option("ITEM=OPTION", m_Words, "Items by name or number; an option's text or its number")
            ->required()
            ->type_name("");
        rSet.add_flag("--force", m_bForce, "Also try numbers that no option stands for");
        m_CommandLine.Add(rRoot, "machines", "List the simulated PCs built in", "  vxtdiag machines",
                          [this] { return _Machines(); });
    }

    int Run(int nArguments, char** ppszArguments) { return m_CommandLine.Run(nArguments, ppszArguments); }

private:
    EExit _Snapshot() {
        const CLibrarySession Library(m_CommandLine.Options());
        const CDriverSession Driver(Library);
        const CSnapshot Snapshot = g_TakeSnapshot();
        const std::string sText = vxtsim::g_FormatMachine(Snapshot.Machine);
        vxtsim::CMachineDescription ReadBack;
        std::string sError;
        if (!vxtsim::g_ParseMachine(sText, "snapshot", ReadBack, sError) || ReadBack != Snapshot.Machine)
            throw CFailure(EExit::kFailed, "this machine does not fit into a machine file: " + sError);
        if (!m_sFile.empty()) g_WriteFile(g_Path(m_sFile), m_sFile, sText);

        const vxtsim::CMachineDescription& rMachine = Snapshot.Machine;
        CDocument Document = m_CommandLine.NewDocument("snapshot");
        CQuantity Reference{"/machine/reference_clock", "Reference clock", "MHz"};
        Reference.Judge(rMachine.dReferenceMHz, {1, 2'000});
        Document["file"] = m_sFile.empty() ? CJson(nullptr) : CJson(m_sFile);
        Document["name"] = rMachine.sName;
        Document["cores"] = rMachine.uCores;
        Document["reference_clock"] = Reference.ToJson();
        Document["cpuid_leaves"] = rMachine.Cpuid.size();
        Document["msrs"] = rMachine.Msr.size();
        Document["pci_functions"] = rMachine.Pci.size();
        Document["acpi_tables"] = rMachine.Acpi.size();
        Document["memory_modules"] = rMachine.Smbus.size();
        Document["bios_identities"] = rMachine.Wmi.size();
        Document["firmware_objects"] = rMachine.Firmware ? rMachine.Firmware->Objects.size() : 0;
        Document["setup_items"] = rMachine.Firmware ? rMachine.Firmware->Items.size() : 0;
        Document["text"] = m_sFile.empty() ? CJson(sText) : CJson(nullptr);
        CTextTable Table{m_sFile, {"", ""}};
        for (const char* pszKey :
             {"name", "cores", "reference_clock", "cpuid_leaves", "msrs", "pci_functions", "acpi_tables",
              "memory_modules", "bios_identities", "firmware_objects", "setup_items"})
            Table.Rows.push_back({"  " + std::string(pszKey), g_Cell(Document[pszKey], true)});
        if (m_sFile.empty())
            Document.SetText(sText);
        else
            Document.AddTable(std::move(Table));
        return _Finish(Document, Snapshot.Findings);
    }

    EExit _Finish(CDocument& rDocument, const std::vector<std::string>& rFindings) {
        rDocument["findings"] = rFindings;
        for (const std::string& rsFinding : rFindings) m_CommandLine.Output().Note(rsFinding);
        m_CommandLine.Output().Emit(rDocument);
        return rFindings.empty() ? EExit::kDone : EExit::kFindings;
    }

    /// A report on the firmware; `Add` returns the findings.
    template <class TAdd> EExit _Firmware(const char* pszCommand, TAdd Add) {
        const CLibrarySession Library(m_CommandLine.Options());
        const CFirmwareSession Firmware;
        Firmware.Require(Library);
        CDocument Document = m_CommandLine.NewDocument(pszCommand);
        const std::vector<std::string> Findings = Add(Document, Firmware);
        return _Finish(Document, Findings);
    }

    EExit _CmosSet() {
        const CLibrarySession Library(m_CommandLine.Options());
        const CFirmwareSession Firmware;
        Firmware.Require(Library);
        CDocument Document = m_CommandLine.NewDocument("cmos set");
        CChangePlan Plan = g_PlanSetupChanges(m_Words, m_bForce);
        const EExit eExit = Plan.Run(Document, m_CommandLine.Options(), m_CommandLine.Output());
        m_CommandLine.Output().Emit(Document);
        return eExit;
    }

    /// A report on what the driver reaches: all of it, or what the argument names.
    EExit _Hardware(const char* pszCommand, void (*pAdd)(CDocument&, const std::string&),
                    const std::string& sArgument) {
        const CLibrarySession Library(m_CommandLine.Options());
        const CDriverSession Driver(Library);
        CDocument Document = m_CommandLine.NewDocument(pszCommand);
        pAdd(Document, sArgument);
        m_CommandLine.Output().Emit(Document);
        return EExit::kDone;
    }

    EExit _Machines() {
        CDocument Document = m_CommandLine.NewDocument("machines");
        Document.SetCsv("machines");
        CJson& rMachines = Document["machines"] = CJson::array();
        CTextTable Table{"", {"Name", ">Cores", "Machine"}};
        for (const std::string& rsName : vxtsim::g_MachineNames()) {
            vxtsim::CMachineDescription Machine;
            std::string sError;
            if (!vxtsim::g_LoadMachine(rsName, Machine, sError)) throw CFailure(EExit::kFailed, sError);
            rMachines.push_back(
                {{"id", "/machine/" + rsName}, {"name", rsName}, {"cores", Machine.uCores}, {"title", Machine.sName}});
            Table.Rows.push_back({rsName, std::to_string(Machine.uCores), Machine.sName});
        }
        Document.AddTable(std::move(Table));
        m_CommandLine.Output().Emit(Document);
        return EExit::kDone;
    }

    CCommandLine m_CommandLine;
    std::string m_sFile, m_sSignature, m_sAddress, m_sObject;
    std::vector<std::string> m_Words;
    bool m_bForce = false;
};

}  // namespace

int main(int nArguments, char** ppszArguments) { return CDiagnosticTool().Run(nArguments, ppszArguments); }
