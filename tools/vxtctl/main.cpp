// vxtctl: the command-line host. Loads the library as any host does and knows nothing but its SDK.
#include "bios_report.h"
#include "common/command_line.h"
#include "cpu_report.h"
#include "cpu_set.h"
#include "device_report.h"
#include "firmware_settings.h"
#include "links.h"
#include "memory.h"

using namespace vxttools;
using namespace vxtctl;

namespace {

constexpr const char* kExamples =
    "  vxtctl                                  the inventory and the cores\n"
    "  vxtctl devices --json                   every device, for a script\n"
    "  vxtctl device board                     one kind of device\n"
    "  vxtctl cpu 0                            everything about core 0\n"
    "  vxtctl cpu set --core 0 --multiplier 12 --dry-run\n"
    "  vxtctl cpu set --voltage 1.25 --yes     all cores, without asking\n"
    "  vxtctl memory set tcl=9 trcd=9 --yes    timings; vxtctl memory lists the legal values\n"
    "  vxtctl clocks set external=205 --yes    through the firmware, where the board offers it\n"
    "  vxtctl --machine k8-revf-dual cpu       a simulated PC (simulated builds)";

class CControlTool {
public:
    CControlTool()
        : m_CommandLine("vxtctl", "Show and tune the hardware that VXTAPI knows", kExamples,
                        [this] { return _Overview(); }) {
        CLI::App& rRoot = m_CommandLine.Root();
        m_CommandLine.AddLibraryOption();
        m_CommandLine.AddWritingOptions();
        m_CommandLine.Add(rRoot, "devices", "List every device",
                          "  vxtctl devices\n  vxtctl devices --csv --output devices.csv",
                          [this] { return _Devices(); });
        m_CommandLine
            .Add(rRoot, "device", "Show the devices of one type", "  vxtctl device board\n  vxtctl device cpu:1",
                 [this] { return _Device(); })
            .add_option("TYPE[:INDEX]", m_sSelector, "Device type as in the list's first column, and which one of it")
            ->required()
            ->type_name("");
        CLI::App& rCpu = m_CommandLine.Add(rRoot, "cpu", "Show the cores: identification, readings, P-states",
                                           "  vxtctl cpu\n  vxtctl cpu 1 --json", [this] { return _Cpu(); });
        rCpu.add_option("CORE", m_oCore, "Core number; all cores when left out")->type_name("");
        CLI::App& rSet = m_CommandLine.Add(rCpu, "set", "Change multiplier, voltage or P-state",
                                           "  vxtctl cpu set --core 0 --multiplier 12 --dry-run\n"
                                           "  vxtctl cpu set --multiplier 14 --voltage 1.3\n"
                                           "  vxtctl cpu set --pstate 0 --yes",
                                           [this] { return _CpuSet(); });
        rSet.add_option("--core", m_Request.sCore, "Which core; all of them when left out")->type_name("N|all");
        CLI::Option* pPstate = rSet.add_option("--pstate", m_Request.oPstate, "Go to this P-state")->type_name("N");
        rSet.add_option("--multiplier", m_Request.oMultiplier, "Core clock / reference clock")
            ->type_name("X")
            ->excludes(pPstate);
        rSet.add_option("--voltage", m_Request.oVoltage, "Core voltage in volts")->type_name("V")->excludes(pPstate);
        _AddPlatformCommands();
        _AddFirmwareCommands();
    }

    int Run(int nArguments, char** ppszArguments) { return m_CommandLine.Run(nArguments, ppszArguments); }

private:
    void _AddPlatformCommands() {
        CLI::App& rRoot = m_CommandLine.Root();
        CLI::App& rMemory = m_CommandLine.Add(
            rRoot, "memory", "Show memory timings and configuration with their legal values",
            "  vxtctl memory\n  vxtctl memory --json", [this] { return _Show("memory", g_AddMemory); });
        _AddAssignments(
            m_CommandLine.Add(rMemory, "set", "Change timings or configuration",
                              "  vxtctl memory set tcl=9 trcd=9 --dry-run\n  vxtctl memory set slow_access=on --yes",
                              [this] { return _Set("memory set", g_PlanMemoryChanges); }));
        CLI::App& rLinks =
            m_CommandLine.Add(rRoot, "links", "Show the processor's HyperTransport links",
                              "  vxtctl links\n  vxtctl links --json", [this] { return _Show("links", g_AddLinks); });
        CLI::App& rLinksSet =
            m_CommandLine.Add(rLinks, "set", "Change a link's widths or clock (in force after its next reset)",
                              "  vxtctl links set --link 0 frequency=5 --dry-run", [this] { return _LinksSet(); });
        rLinksSet.add_option("--link", m_uLink, "Which link; 0 when left out")->type_name("N");
        _AddAssignments(rLinksSet);
        m_CommandLine.Add(rRoot, "northbridge", "Show the chipset's side of the link", "  vxtctl northbridge",
                          [this] { return _Show("northbridge", g_AddNorthBridge); });
    }

    void _AddFirmwareCommands() {
        CLI::App& rRoot = m_CommandLine.Root();
        m_CommandLine.Add(rRoot, "bios", "Show who made the BIOS, and when", "  vxtctl bios\n  vxtctl bios --json",
                          [this] { return _Show("bios", g_AddBios); });
        CLI::App& rClocks = m_CommandLine.Add(
            rRoot, "clocks", "Show the clock generator's clocks with their legal values",
            "  vxtctl clocks\n  vxtctl clocks --json", [this] { return _Show("clocks", g_AddClocks); });
        _AddAssignments(m_CommandLine.Add(
            rClocks, "set", "Change clocks, in MHz",
            "  vxtctl clocks set external=205 --dry-run\n  vxtctl clocks set external=205 pcie=101 --yes",
            [this] { return _Set("clocks set", g_PlanClockChanges); }));
        CLI::App& rVoltages = m_CommandLine.Add(
            rRoot, "voltages", "Show the voltage controller's voltages with their limits",
            "  vxtctl voltages\n  vxtctl voltages --csv", [this] { return _Show("voltages", g_AddVoltages); });
        _AddAssignments(m_CommandLine.Add(rVoltages, "set", "Change voltages, in V; the names stand in the list",
                                          "  vxtctl voltages set memory_voltage=1.6 --dry-run",
                                          [this] { return _Set("voltages set", g_PlanVoltageChanges); }));
    }

    void _AddAssignments(CLI::App& rCommand) {
        rCommand.add_option("NAME=VALUE", m_Words, "Settings by the names of the list; 'on' and 'off' for switches")
            ->required()
            ->type_name("");
        rCommand.add_flag("--force", m_bForce, "Also try values outside the list or the limits");
    }

    EExit _Show(const char* pszCommand, void (*pAdd)(CDocument&, const CHostLibrary&)) {
        const CHostLibrary Library = _Start();
        CDocument Document = m_CommandLine.NewDocument(pszCommand);
        pAdd(Document, Library);
        return _Emit(Document);
    }

    using CPlanner = std::function<CChangePlan(const CHostLibrary&, const std::vector<CAssignment>&, bool bForce)>;

    EExit _Set(const char* pszCommand, const CPlanner& rPlanner) {
        const std::vector<CAssignment> Assignments = g_ParseAssignments(m_Words);
        const CHostLibrary Library = _Start();
        return _RunPlan(pszCommand, rPlanner(Library, Assignments, m_bForce));
    }

    EExit _LinksSet() {
        return _Set("links set", [this](const CHostLibrary& rLibrary, const auto& rAssignments, bool bForce) {
            return g_PlanLinkChanges(rLibrary, m_uLink, rAssignments, bForce);
        });
    }

    EExit _Emit(const CDocument& rDocument) {
        m_CommandLine.Output().Emit(rDocument);
        return EExit::kDone;
    }

    EExit _RunPlan(const char* pszCommand, CChangePlan Plan) {
        CDocument Document = m_CommandLine.NewDocument(pszCommand);
        const EExit eExit = Plan.Run(Document, m_CommandLine.Options(), m_CommandLine.Output());
        m_CommandLine.Output().Emit(Document);
        return eExit;
    }

    CHostLibrary _Start() const { return {m_CommandLine.Options().sLibrary, m_CommandLine.Options().bLog}; }

    EExit _Overview() {
        const CHostLibrary Library = _Start();
        CDocument Document = m_CommandLine.NewDocument("overview");
        g_AddDevices(Document, Library.Devices());
        g_AddInventoryTable(Document);
        if (const std::vector<CInventoryEntry> Cores = Library.Devices(vxtapi::kDeviceCpu); !Cores.empty()) {
            g_AddCores(Document, Cores);
            g_AddCoreOverview(Document);
        } else {
            Document["cores"] = CJson::array();
        }
        return _Emit(Document);
    }

    EExit _Devices() {
        const CHostLibrary Library = _Start();
        CDocument Document = m_CommandLine.NewDocument("devices");
        Document.SetCsv("devices");
        g_AddDevices(Document, Library.Devices());
        g_AddInventoryTable(Document);
        return _Emit(Document);
    }

    EExit _Device() {
        const CDeviceSelector Selector(m_sSelector);
        const CHostLibrary Library = _Start();
        CDocument Document = m_CommandLine.NewDocument("device");
        Document.SetCsv("devices");
        g_AddDevices(Document, g_SelectDevices(Library, Selector));
        g_AddDeviceTables(Document);
        m_CommandLine.Output().Emit(Document);
        return EExit::kDone;
    }

    EExit _Cpu() {
        const CHostLibrary Library = _Start();
        CDocument Document = m_CommandLine.NewDocument("cpu");
        g_AddCores(Document, g_SelectCores(Library, m_oCore));
        g_AddCoreTables(Document);
        m_CommandLine.Output().Emit(Document);
        return EExit::kDone;
    }

    EExit _CpuSet() {
        m_Request.Check();
        const CHostLibrary Library = _Start();
        return _RunPlan("cpu set", g_PlanCpuChanges(Library, m_Request));
    }

    CCommandLine m_CommandLine;
    std::string m_sSelector;
    std::optional<uint32_t> m_oCore;
    CCpuRequest m_Request;
    std::vector<std::string> m_Words;
    uint32_t m_uLink = 0;
    bool m_bForce = false;
};

}  // namespace

int main(int nArguments, char** ppszArguments) { return CControlTool().Run(nArguments, ppszArguments); }
