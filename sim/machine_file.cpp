#include "machine_file.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "embedded_machines.h"
#include "machine_words.h"

namespace vxtsim {

bool g_LoadMachine(const std::string& sNameOrPath, CMachineDescription& rMachine, std::string& rsError) {
    const auto itMachine = std::ranges::find(g_EmbeddedMachines, sNameOrPath, &CEmbeddedMachine::sName);
    if (itMachine != g_EmbeddedMachines.end())
        return g_ParseMachine(itMachine->sText, sNameOrPath + ".machine", rMachine, rsError);

    const std::unique_ptr<FILE, int (*)(FILE*)> pFile(std::fopen(sNameOrPath.c_str(), "rb"), std::fclose);
    std::string sText;
    size_t uRead = 0;
    char acChunk[4096];
    while (pFile && sText.size() <= kMaximumFile && (uRead = std::fread(acChunk, 1, sizeof(acChunk), pFile.get())) != 0)
        sText.append(acChunk, uRead);
    if (!pFile || std::ferror(pFile.get())) {
        rsError = sNameOrPath + ": expected a readable machine file or one of the built-in machines";
        for (const std::string& sName : g_MachineNames()) rsError += " " + sName;
        return false;
    }
    return g_ParseMachine(sText, sNameOrPath, rMachine, rsError);
}

std::vector<std::string> g_MachineNames() {
    std::vector<std::string> Names;
    for (const CEmbeddedMachine& rMachine : g_EmbeddedMachines) Names.emplace_back(rMachine.sName);
    return Names;
}

}  // namespace vxtsim
