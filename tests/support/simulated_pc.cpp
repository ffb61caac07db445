#include "support/simulated_pc.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "api/log/log.h"
#include "firmware/acpi_table.h"
#include "firmware/bios_handler.h"
#include "hw/driver_handler.h"

namespace vxttest {

namespace fs = std::filesystem;
using namespace vxt::platform::simulated;

namespace {

/// "MMDD-HHMMSS<LEVEL>: TEXT at line 12 in F" -> "LEVEL TEXT at line # in F".
std::string g_Normalized(const std::string& sLine) {
    const size_t uLevel = sLine.find('<') + 1, uLevelEnd = sLine.find(">: ");
    std::string sResult = sLine.substr(uLevel, uLevelEnd - uLevel) + ' ' + sLine.substr(uLevelEnd + 3);
    constexpr std::string_view kBefore = ") at line ";
    if (const size_t uNumber = sResult.find(kBefore) + kBefore.size();
        uNumber >= kBefore.size() && uNumber < sResult.size())
        sResult.replace(uNumber, sResult.find(' ', uNumber) - uNumber, "#");
    return sResult;
}

}  // namespace

CLogCapture::CLogCapture() : m_sOldFolder(fs::current_path()) {
    std::string sPattern = (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) / "vxt-XXXXXX";
    m_sFolder = mkdtemp(sPattern.data());
    fs::current_path(m_sFolder);
    vxt::g_GetLog().Init("VXTAPI", 65535, vxt::CLog::kToFile, 10000);
}

CLogCapture::~CLogCapture() {
    vxt::g_GetLog().UnInit();
    fs::current_path(m_sOldFolder);
    fs::remove_all(m_sFolder);
}

Lines CLogCapture::Take() {
    std::vector<fs::path> Files;
    if (fs::exists("Logs"))
        for (const auto& rEntry : fs::recursive_directory_iterator("Logs"))
            if (rEntry.is_regular_file()) Files.push_back(rEntry.path());
    std::ranges::sort(Files);
    Lines Result;
    for (const fs::path& rPath : Files) {
        std::ifstream File(rPath, std::ios::binary);
        std::ostringstream Content;
        Content << File.rdbuf();
        const std::string sAll = Content.str();
        std::string& rsOld = m_Read[rPath.string()];
        // A log opened again within the second starts the same file anew.
        std::istringstream New(sAll.starts_with(rsOld) ? sAll.substr(rsOld.size()) : sAll);
        for (std::string sLine; std::getline(New, sLine);) Result.push_back(g_Normalized(sLine));
        rsOld = sAll;
    }
    return Result;
}

Lines CLogCapture::TakeErrors() {
    Lines Result;
    for (const std::string& sLine : Take())
        if (sLine.starts_with("1 ")) Result.push_back(sLine.substr(2));
    return Result;
}

void CLogCapture::Forget() {
    fs::remove_all("Logs");
    m_Read.clear();
}

std::string g_ProcessError(const std::string& sExpression, const std::string& sFunction) {
    return "LOG_PROCESS_ERROR(" + sExpression + ") at line # in " + sFunction;
}

std::string g_CheckError(const std::string& sExpression, const std::string& sFunction) {
    return "LOG_CHECK_ERROR(" + sExpression + ") at line # in " + sFunction;
}

std::string g_ComError(const std::string& sExpression, const std::string& sFunction) {
    return "LOG_COM_PROCESS_ERROR(" + sExpression + ") at line # in " + sFunction;
}

CSimulatedPc::~CSimulatedPc() {
    System().StopFailing();
    System().m_RequestFaults = {};
    _LetGo();
    System().m_pTrace = nullptr;
    System().m_Server.Record(nullptr);
}

vxtsim::CMachineDescription CSimulatedPc::Describe(const std::string& sMachine) {
    vxtsim::CMachineDescription Description;
    std::string sError;
    if (!vxtsim::g_LoadMachine(sMachine, Description, sError)) ADD_FAILURE() << sError;
    return Description;
}

void CSimulatedPc::Start(const std::string& sMachine, const std::function<void(vxtsim::CMachineDescription&)>& Change) {
    vxtsim::CMachineDescription Description = Describe(sMachine);
    if (Change) Change(Description);
    Start(std::move(Description));
}

void CSimulatedPc::Start(vxtsim::CMachineDescription Description) {
    _LetGo();
    vxt::g_GetACPITable().Clear();  // as a new process would find it
    g_Restart(std::move(Description));
    System().m_pTrace = &m_Trace;
    System().m_Server.Record(&m_Trace);
    m_Trace.clear();
    m_Log.Take();
}

void CSimulatedPc::_LetGo() {
    vxt::g_GetDriverHandler().UnInit();
    for (vxt::CWmiHandler* const pHandler : {&vxt::g_GetSystemWmi(), &vxt::g_GetFirmwareWmi(),
                                             static_cast<vxt::CWmiHandler*>(&vxt::g_GetQORBIOSHandler())})
        pHandler->Disconnect();
}

bool CSimulatedPc::StartDriver() {
    const bool bStarted = vxt::g_GetDriverHandler().Init(vxt::g_GetACPITable());
    EXPECT_TRUE(bStarted);
    m_Trace.clear();
    m_Log.Take();
    return bStarted;
}

Lines CSimulatedPc::TakeTrace() { return std::exchange(m_Trace, {}); }

Lines CSimulatedPc::TakeRequests() {
    Lines Trace = TakeTrace();
    std::erase_if(Trace, [](const std::string& sLine) { return sLine[0] >= 'A' && sLine[0] <= 'Z'; });
    return Trace;
}

}  // namespace vxttest
