// vxtdiag machines: the simulated PCs built in.
#include "common/command.h"
#include "sim/machine_file.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

EExit g_Machines(CTool& rTool) {
    CDocument Document = rTool.NewDocument();
    Document.SetCsv("machines");
    CJson& rMachines = Document["machines"] = CJson::Array();
    CTextTable Table{"", {"Name", ">Cores", "Machine"}};
    for (const std::string& rsName : vxtsim::g_MachineNames()) {
        vxtsim::CMachineDescription Machine;
        std::string sError;
        if (!vxtsim::g_LoadMachine(rsName, Machine, sError)) throw CFailure(EExit::kFailed, sError);
        rMachines.Push(
            {{"id", "/machine/" + rsName}, {"name", rsName}, {"cores", Machine.uCores}, {"title", Machine.sName}});
        Table.Rows.push_back({rsName, std::to_string(Machine.uCores), Machine.sName});
    }
    Document.AddTable(std::move(Table));
    return rTool.Emit(Document);
}

}  // namespace

extern constexpr CCommand kMachines{"machines", "List the simulated PCs built in", "  vxtdiag machines",
                                    g_NewCall<g_Machines>};

}  // namespace vxtdiag
