#include "host_library.h"

#include <algorithm>

#include "common/console.h"
#include "common/exit_code.h"
#include "device_types.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

namespace {

constexpr uint32_t kMostOfAKind = 16;  ///< devices that the library's inventory takes

}  // namespace

CHostLibrary::CHostLibrary(const vxttools::CGlobalOptions& rOptions, EStart eStart) {
    const std::filesystem::path Path = rOptions.oLibrary ? vxttools::g_Path(*rOptions.oLibrary)
                                                         : vxttools::g_ExecutableFolder() / vxttools::kLibraryFileName;
    std::string sReason;
    m_sPath = Path.string();
    if (!m_Library.Open(Path, sReason)) throw CFailure(EExit::kNoLibrary, "cannot load the library: " + sReason);
    _Bind(m_pInit, "InitVXTAPI");
    _Bind(m_pUnInit, "UnInitVXTAPI");
    _Bind(m_pGetDeviceManager, "GetDeviceManager");
    _Bind(m_pGetProfileSettings, "GetProfileSettings");
    _Bind(m_pGetPerformanceControl, "GetPerformanceControl");
    _Find(m_pSimulatedError, "VXTSimulatedError");
    _Find(m_pSimulatedFailures, "VXTSimulatedFailures");
    _Find(m_pSimulatedProcessors, "VXTSimulatedProcessors");
    _Find(m_pSimulatedWait, "VXTSimulatedWait");
    if (const char* const pszError = m_pSimulatedError ? m_pSimulatedError() : nullptr)
        throw CFailure(std::string_view(pszError).starts_with("--fault: ") ? EExit::kUsage : EExit::kNoLibrary,
                       pszError);
    m_bStarted = m_pInit(rOptions.bLog);
    if (m_bStarted) return;
    m_pUnInit();  // a failed start leaves its earlier steps standing
    if (eStart == EStart::kIfPossible) return;
    throw CFailure(EExit::kNoLibrary, "the library did not start; " +
                                          std::string(rOptions.bLog ? "see the log below ./Logs" : "--log tells why"));
}

std::string g_DevicePath(vxtapi::eDeviceType eType, uint32_t uIndex) {
    const auto pType = std::ranges::find(kDeviceTypes, eType, &CDeviceTypeName::eType);
    return "/" + std::string(pType->pszWord) + "/" + std::to_string(uIndex);
}

CHostLibrary::~CHostLibrary() {
    if (m_bStarted) m_pUnInit();
}

template <class TFunction> void CHostLibrary::_Find(TFunction*& rpFunction, const char* pszName) {
    rpFunction = reinterpret_cast<TFunction*>(m_Library.Find(pszName));
}

template <class TFunction> void CHostLibrary::_Bind(TFunction*& rpFunction, const char* pszName) {
    _Find(rpFunction, pszName);
    if (!rpFunction) throw CFailure(EExit::kNoLibrary, m_sPath + " has no export " + pszName);
}

std::vector<CInventoryEntry> CHostLibrary::Devices(vxtapi::eDeviceType eType) const {
    std::vector<CInventoryEntry> Entries;
    // Look-ups by type and index are silent; asking for a count would log an error for every absent type.
    for (uint32_t i = 0; vxtapi::CDevice* pDevice = m_bStarted ? m_pGetDeviceManager()->GetDevice(eType, i) : nullptr;
         ++i)
        Entries.push_back({eType, i, pDevice});
    return Entries;
}

uint32_t CHostLibrary::_SystemCores() const {
    return m_pSimulatedProcessors ? m_pSimulatedProcessors() : vxttools::g_ProcessorCount();
}

uint32_t CHostLibrary::ExpectedCores() const { return std::min(_SystemCores(), kMostOfAKind); }

void CHostLibrary::RemarkOnCores(const vxttools::COutput& rOutput) const {
    if (_SystemCores() <= kMostOfAKind || Devices(vxtapi::kDeviceCpu).empty()) return;
    rOutput.Note("the library lists " + std::to_string(kMostOfAKind) + " of this machine's " +
                 std::to_string(_SystemCores()) + " cores");
}

EExit CHostLibrary::Emit(vxttools::CTool& rTool, vxttools::CDocument& rDocument, vxttools::CFindings Found) const {
    for (std::string& rsFinding : Findings()) Found.push_back(std::move(rsFinding));  // now: all has been read
    return vxttools::g_EmitWithFindings(rTool, rDocument, Found);
}

bool CHostLibrary::Pause(std::chrono::milliseconds Duration) const {
    if (!vxttools::g_Pause(Duration)) return false;
    if (m_pSimulatedWait) m_pSimulatedWait(static_cast<uint32_t>(Duration.count()));
    return true;
}

EExit CHostLibrary::Finish(EExit eExit) const {
    return m_pSimulatedError && m_pSimulatedError() ? EExit::kFailed : eExit;  // the simulated system has said why
}

std::string CHostLibrary::FilterHint() {
    return std::filesystem::exists("DeviceList.cfg") ? "; DeviceList.cfg in this folder leaves device types out" : "";
}

vxttools::CFindings CHostLibrary::Findings() const {
    vxttools::CFindings Findings;
    const size_t uCores = Devices(vxtapi::kDeviceCpu).size();
    const bool bLinks = !Devices(vxtapi::kDeviceHtLink).empty(),
               bMemory = !Devices(vxtapi::kDeviceMemoryController).empty();
    const bool bIsFiltered = !FilterHint().empty();  // then types may be left out on purpose
    if ((uCores > 0 || bLinks || bMemory) && !bIsFiltered) {
        if (uCores < ExpectedCores())
            Findings.push_back(std::to_string(ExpectedCores() - uCores) + " of " + std::to_string(ExpectedCores()) +
                               " processor cores could not be read");
        if (!bLinks) Findings.push_back("the processor's HyperTransport links could not be read");
        if (!bMemory) Findings.push_back("the processor's memory controller could not be read");
    }
    if (const uint64_t ullFailures = m_pSimulatedFailures ? m_pSimulatedFailures() : 0)
        Findings.push_back(std::to_string(ullFailures) +
                           " requests to the driver went wrong: devices or readings may be missing");
    return Findings;
}

CFailure CHostLibrary::Absent(const std::string& sWhat) const {
    const vxttools::CFindings Found = Findings();
    if (Found.empty())
        return {EExit::kNoSuchDevice, "this machine has no " + sWhat + " that the library knows" + FilterHint()};
    return {EExit::kFailed, "no " + sWhat + " could be read: " + Found.front() + "; --log tells more"};
}

std::vector<CInventoryEntry> CHostLibrary::Devices() const {
    std::vector<CInventoryEntry> Entries;
    for (const CDeviceTypeName& rType : kDeviceTypes)
        for (const CInventoryEntry& rEntry : Devices(rType.eType)) Entries.push_back(rEntry);
    return Entries;
}

}  // namespace vxtctl
