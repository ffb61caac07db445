#include "sensor_selection.h"

#include <algorithm>

#include "common/text.h"

namespace vxtctl {

using vxttools::CCandidate;

namespace {

bool g_IsNamed(const CSensor& rSensor, const std::string& sWord) {
    if (sWord == g_KindWord(rSensor.eKind)) return true;
    const std::string sPath = (sWord.starts_with('/') ? "" : "/") + sWord;
    const bool bIsEnd = sWord.find('/', 1) != std::string::npos && rSensor.sId.ends_with(sPath);
    return rSensor.sId == sPath || rSensor.sId.starts_with(sPath + "/") || bIsEnd;
}

/// Kinds, types of devices, devices.
std::vector<CCandidate> g_Names(const std::vector<CSensor>& rSensors) {
    std::vector<CCandidate> Names;
    const auto Add = [&Names](const std::string& sWord, const std::string& sMeaning) {
        if (std::ranges::count(Names, sWord, &CCandidate::sWord) == 0) Names.push_back({sWord, sMeaning});
    };
    for (const CSensor& rSensor : rSensors) Add(g_KindWord(rSensor.eKind), "every sensor of that kind");
    for (const CSensor& rSensor : rSensors) {
        const std::string sDevice = rSensor.sDevicePath.substr(1);
        Add(sDevice.substr(0, sDevice.find('/')), "every device of that type");
        Add(sDevice, rSensor.sDevice);
    }
    return Names;
}

}  // namespace

std::vector<CSensor> g_SelectSensors(const CHostLibrary& rLibrary, const std::vector<std::string>& rWords) {
    std::vector<CSensor> Sensors = g_FindSensors(rLibrary);
    if (Sensors.empty()) throw rLibrary.Absent("sensor");
    std::vector<std::string> Words;
    for (const std::string& rsWord : rWords) {
        const std::string& rsLower = Words.emplace_back(vxttools::g_Lower(rsWord));
        if (std::ranges::any_of(Sensors, [&](const CSensor& r) { return g_IsNamed(r, rsLower); })) continue;
        const vxttools::CFailure Absent = rLibrary.Absent("sensor '" + rsWord + "'");
        std::vector<std::string> Known;
        for (const CCandidate& rName : g_Names(Sensors)) Known.push_back(rName.sWord);
        throw vxttools::CFailure(Absent.Exit(), Absent.what() + vxttools::g_DidYouMean(rsLower, Known));
    }
    const auto IsLeftOut = [&](const CSensor& rSensor) {
        return std::ranges::none_of(Words, [&](const std::string& rsWord) { return g_IsNamed(rSensor, rsWord); });
    };
    if (!Words.empty()) std::erase_if(Sensors, IsLeftOut);
    return Sensors;
}

std::vector<CCandidate> g_SensorCandidates(const vxttools::CTool& rTool, const std::string& sBegun) {
    const CHostLibrary Library(rTool.Options());
    const std::vector<CSensor> Sensors = g_FindSensors(Library);
    const bool bAsPrinted = sBegun.starts_with('/');
    std::vector<CCandidate> Candidates;
    if (!bAsPrinted) Candidates = g_Names(Sensors);
    if (sBegun.find('/') != std::string::npos)
        for (const CSensor& rSensor : Sensors)
            Candidates.push_back({rSensor.sId.substr(bAsPrinted ? 0 : 1), rSensor.sDevice + ", " + rSensor.sLabel});
    return Candidates;
}

}  // namespace vxtctl
