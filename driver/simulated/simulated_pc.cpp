#include "simulated_pc.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fstream>

#include "firmware_call.h"
#include "silicon_call.h"
#include "src/hw/driver_protocol.h"

// Documented in the driver kit only; these live in ntdll and are callable from both sides.
extern "C" NTSTATUS NTAPI NtMapViewOfSection(HANDLE hSection, HANDLE hProcess, void** ppAddress, ULONG_PTR uZeroBits,
                                             SIZE_T uCommit, LARGE_INTEGER* pOffset, SIZE_T* puSize, int nInherit,
                                             ULONG ulType, ULONG ulProtection);
extern "C" NTSTATUS NTAPI NtUnmapViewOfSection(HANDLE hProcess, void* pAddress);

namespace vxtdriver {

namespace {

constexpr uint32_t kPageSize = 4096;
constexpr ULONG_PTR kBelow2GiB = 0x7FFFFFFF;  ///< as "zero bits": the mask of usable address bits
constexpr uint64_t kFirstHighAddress = 0x1000000000, kAddressStep = 0x10000;  ///< the system's granularity
constexpr int kViewUnmap = 2;                                                 ///< children do not inherit the view

struct CHandleCloser {
    void operator()(HANDLE hObject) const { CloseHandle(hObject); }
};
using CHandle = std::unique_ptr<void, CHandleCloser>;
struct CViewCloser {
    void operator()(void* pView) const { UnmapViewOfFile(pView); }
};
using CView = std::unique_ptr<void, CViewCloser>;

/// A view of a section inside another process: below 2 GiB in a 32-bit one, above 4 GiB in a 64-bit one, where a host
/// that keeps half an address shall notice.
class CClientView {
public:
    CClientView(CHandle hProcess, HANDLE hSection, uint64_t ullNumber) : m_hProcess(std::move(hProcess)) {
        BOOL bIsWow64 = FALSE;
        if (!m_hProcess || !IsWow64Process(m_hProcess.get(), &bIsWow64)) return;
        const uint64_t ullWanted = kFirstHighAddress + ullNumber * kAddressStep;
        const bool bMapped =
            bIsWow64 ? _Map(hSection, 0, kBelow2GiB) : _Map(hSection, ullWanted, 0) || _Map(hSection, 0, 0);
        if (!bMapped) m_pAddress = nullptr;
    }
    CClientView(CClientView&& rOther) noexcept
        : m_hProcess(std::move(rOther.m_hProcess)), m_pAddress(std::exchange(rOther.m_pAddress, nullptr)) {}
    ~CClientView() {
        if (m_pAddress) NtUnmapViewOfSection(m_hProcess.get(), m_pAddress);  // fails when the process is gone: good
    }
    uint64_t Address() const { return reinterpret_cast<uintptr_t>(m_pAddress); }

private:
    bool _Map(HANDLE hSection, uint64_t ullWanted, ULONG_PTR uZeroBits) {
        m_pAddress = reinterpret_cast<void*>(ullWanted);  // 0: anywhere
        SIZE_T uSize = 0;                                 // the whole section
        return NT_SUCCESS(NtMapViewOfSection(hSection, m_hProcess.get(), &m_pAddress, uZeroBits, 0, nullptr, &uSize,
                                             kViewUnmap, 0, PAGE_READWRITE));
    }

    CHandle m_hProcess;
    void* m_pAddress = nullptr;
};

bool g_Is32Bit(uint32_t uProcess) {
    BOOL bIsWow64 = FALSE;
    const CHandle hProcess(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, uProcess));
    return hProcess && IsWow64Process(hProcess.get(), &bIsWow64) && bIsWow64;
}

/// Lowest processor that the thread may run on: the one it is pinned to, 0 when it is not pinned.
uint32_t g_CoreOfThread(uint32_t uThread) {
    struct {  // THREAD_BASIC_INFORMATION
        NTSTATUS lExitStatus;
        void* pTeb;
        CLIENT_ID Client;
        ULONG_PTR uAffinity;
        LONG lPriority, lBasePriority;
    } Information{};
    const CHandle hThread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, uThread));
    constexpr auto kThreadBasicInformation = static_cast<THREADINFOCLASS>(0);
    if (!hThread || !NT_SUCCESS(NtQueryInformationThread(hThread.get(), kThreadBasicInformation, &Information,
                                                         sizeof(Information), nullptr)))
        return 0;
    return Information.uAffinity ? static_cast<uint32_t>(std::countr_zero(static_cast<uint64_t>(Information.uAffinity)))
                                 : 0;
}

}  // namespace

/// The memory that stands for a range of physical addresses, and the machine's view of it.
struct CClientMappings::CRegisters {
    CRegisters(uint64_t ullPhysicalAddress, uint32_t uBytes)
        : ullPhysical(ullPhysicalAddress),
          uSize(uBytes),
          uOffset(static_cast<uint32_t>(ullPhysical % kPageSize)),
          hSection(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, uOffset + uSize, nullptr)),
          pView(hSection ? MapViewOfFile(hSection.get(), FILE_MAP_WRITE, 0, 0, 0) : nullptr) {}

    const uint64_t ullPhysical;
    const uint32_t uSize;
    const uint32_t uOffset;  ///< views begin on a page, registers do not
    const CHandle hSection;
    const CView pView;
};

struct CClientMappings::CMapping {
    const void* pFile;
    std::shared_ptr<CRegisters> pRegisters;
    CClientView ClientView;
};

CClientMappings::CClientMappings() = default;
CClientMappings::~CClientMappings() = default;

uint64_t CClientMappings::Map(uint64_t ullPhysical, uint32_t uSize, uint32_t*& rpBacking, uint64_t& rullHandle) {
    const auto pRegisters = _FindRegisters(ullPhysical, uSize);
    if (!pRegisters->pView) return 0;
    CHandle hProcess(OpenProcess(PROCESS_VM_OPERATION | PROCESS_QUERY_INFORMATION, FALSE, m_Client.uProcess));
    CClientView ClientView(std::move(hProcess), pRegisters->hSection.get(), m_ullNextHandle);
    if (!ClientView.Address()) return 0;

    rpBacking = reinterpret_cast<uint32_t*>(static_cast<uint8_t*>(pRegisters->pView.get()) + pRegisters->uOffset);
    rullHandle = m_ullNextHandle++;
    const uint64_t ullAddress = ClientView.Address() + pRegisters->uOffset;
    m_Mappings[rullHandle].reset(new CMapping{m_Client.pFile, pRegisters, std::move(ClientView)});
    return ullAddress;
}

std::shared_ptr<CClientMappings::CRegisters> CClientMappings::_FindRegisters(uint64_t ullPhysical,
                                                                             uint32_t uSize) const {
    for (const auto& [ullHandle, pMapping] : m_Mappings)
        if (pMapping->pRegisters->ullPhysical == ullPhysical && pMapping->pRegisters->uSize == uSize)
            return pMapping->pRegisters;
    return std::make_shared<CRegisters>(ullPhysical, uSize);
}

void CClientMappings::Unmap(uint64_t ullHandle) { m_Mappings.erase(ullHandle); }

uint64_t CClientMappings::FindMapping(const void* pFile) const {
    for (const auto& [ullHandle, pMapping] : m_Mappings)
        if (pMapping->pFile == pFile) return ullHandle;
    return 0;
}

CSimulatedPc::CSimulatedPc(vxtsim::CMachineDescription Description, std::unique_ptr<vxtsim::CMachineState> pState)
    : m_Devices(Description.Devices), m_pState(std::move(pState)) {
    _SwitchOn(std::move(Description));
}

void CSimulatedPc::_SwitchOn(vxtsim::CMachineDescription Description) {
    m_pRunning.reset();  // the new PC's devices have the old one's names
    m_pRunning = std::make_unique<CRunning>(std::move(Description));
    _Machine().SetMappingProvider(&m_Mappings);
}

void CSimulatedPc::_Reset() {
    vxtsim::CMachineDescription Anew = _Machine().Description();  // as it was switched on here
    std::string sError;
    if (m_pState && !m_pState->Reset(_Machine(), Anew, sError)) g_LeaveError(sError);
    _SwitchOn(std::move(Anew));
}

vxtsim::CControlReply CSimulatedPc::Control(const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                                            std::span<uint8_t> Out) {
    const std::lock_guard Guard(m_Lock);
    _Begin(rClient);
    const vxtsim::CControlReply Reply = _Serve(rClient, uCode, In, Out);
    _End();
    std::string sError;
    if (!m_pState || m_pState->Keep(_Machine(), sError)) return Reply;
    if (m_sStateError.empty()) g_LeaveError(m_sStateError = sError);
    return {};
}

EDriveStatus CSimulatedPc::ControlDrive(size_t uDevice, const CClient& rClient, uint32_t uCode,
                                        std::span<const uint8_t> In, std::span<uint8_t> Out, uint32_t& ruReturned) {
    const std::lock_guard Guard(m_Lock);
    _Begin(rClient);
    const bool bIsThere = m_Devices[uDevice].IsThere(_Machine().Uptime());
    const bool b32Bit = uCode == kAtaPassThrough && g_Is32Bit(rClient.uProcess);  // no other request depends on it
    const EDriveStatus eStatus = bIsThere
                                     ? g_AnswerDriveRequest(m_Devices[uDevice], {uCode, In, Out, b32Bit}, ruReturned)
                                     : EDriveStatus::kDeviceIsGone;
    _End();
    return eStatus;
}

void CSimulatedPc::_Begin(const CClient& rClient) {
    m_Mappings.SetClient(rClient);
    _Machine().Advance(0);  // takes over what clients wrote to mapped registers before this request lets time pass
    _LetPausePass();
}

void CSimulatedPc::_End() {
    m_pRunning->Devices.Follow(_Machine().Uptime());
    m_LastRequest = std::chrono::steady_clock::now();
}

void CSimulatedPc::_LetPausePass() {
    using namespace std::chrono_literals;
    const auto Pause = std::chrono::steady_clock::now() - m_LastRequest;
    if (Pause > 100ms)
        _Machine().Rest(static_cast<uint64_t>(std::chrono::nanoseconds(std::min<decltype(Pause)>(Pause, 60s)).count()));
}

vxtsim::CControlReply CSimulatedPc::_Serve(const CClient& rClient, uint32_t uCode, std::span<const uint8_t> In,
                                           std::span<uint8_t> Out) {
    if (uCode == kRunFirmware) return _RunFirmware(rClient.pFile, In, Out);
    if (uCode == kTakeFirmwareAnswer) return _TakeAnswer(rClient.pFile, Out);
    if (uCode == kAskSilicon || uCode == kLetTimePass) return _AskSilicon(rClient.uThread, In, Out);
    // Asking Windows for the core costs as much as the request itself, and only these two are for one core.
    const bool bForOneCore = uCode == vxt::protocol::kReadMsr || uCode == vxt::protocol::kWriteMsr;
    return m_pRunning->Server.Control(uCode, bForOneCore ? g_CoreOfThread(rClient.uThread) : 0, In, Out);
}

vxtsim::CControlReply CSimulatedPc::_RunFirmware(const void* pFile, std::span<const uint8_t> In,
                                                 std::span<uint8_t> Out) {
    CFirmwareCall Call;
    if (!g_Unpack(In, Call) || Out.size() != sizeof(uint32_t)) return {};
    std::vector<uint8_t>& rAnswer = m_Answers[pFile];
    rAnswer = g_Pack(g_Answer(m_pRunning->Wmi, _Machine(), Call));
    const auto uSize = static_cast<uint32_t>(rAnswer.size());
    std::memcpy(Out.data(), &uSize, sizeof(uSize));
    return {true, sizeof(uSize)};
}

vxtsim::CControlReply CSimulatedPc::_TakeAnswer(const void* pFile, std::span<uint8_t> Out) {
    const auto it = m_Answers.find(pFile);
    if (it == m_Answers.end() || it->second.size() != Out.size()) return {};
    std::ranges::copy(it->second, Out.begin());
    m_Answers.erase(it);
    return {true, static_cast<uint32_t>(Out.size())};
}

vxtsim::CControlReply CSimulatedPc::_AskSilicon(uint32_t uThread, std::span<const uint8_t> In, std::span<uint8_t> Out) {
    constexpr uint64_t kNanosecondsPerMillisecond = 1'000'000;
    vxtsim::CSimMachine& rMachine = _Machine();
    CSiliconAnswer Answer;
    if (Out.size() != sizeof(Answer)) return {};
    if (uint32_t uMilliseconds = 0; In.size() == sizeof(uMilliseconds)) {
        std::memcpy(&uMilliseconds, In.data(), sizeof(uMilliseconds));
        const uint64_t ullDue = rMachine.ErrorsDue();
        rMachine.Rest(uMilliseconds * kNanosecondsPerMillisecond);
        Answer.bErrorDue = rMachine.ErrorsDue() != ullDue;
    } else {
        Answer.ullBits = rMachine.Miscompute(g_CoreOfThread(uThread));
    }
    if (rMachine.HasHung()) {
        rMachine.HangReason().copy(Answer.szHang, sizeof(Answer.szHang) - 1);
        _Reset();
    }
    std::memcpy(Out.data(), &Answer, sizeof(Answer));
    return {true, sizeof(Answer)};
}

void CSimulatedPc::Close(const void* pFile) {
    const std::lock_guard Guard(m_Lock);
    m_Answers.erase(pFile);
    while (const uint64_t ullHandle = m_Mappings.FindMapping(pFile)) {
        _Machine().Unmap(ullHandle);
        m_Mappings.Unmap(ullHandle);  // also when the machine does not know it
    }
}

namespace {

/// The loaded driver file with another extension.
std::string g_BesideDriver(const char* pszExtension) {
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&g_BesideDriver), &hModule);
    std::array<char, MAX_PATH> szPath{};
    const DWORD dwLength = GetModuleFileNameA(hModule, szPath.data(), static_cast<DWORD>(szPath.size()));
    const std::string sDriver(szPath.data(), dwLength < szPath.size() ? dwLength : 0);
    return sDriver.substr(0, sDriver.rfind('.')) + pszExtension;
}

}  // namespace

std::unique_ptr<CSimulatedPc> g_MakePcBesideDriver() {
    const std::string sFile = g_BesideDriver(".machine");
    const bool bHasFile = GetFileAttributesA(sFile.c_str()) != INVALID_FILE_ATTRIBUTES;
    std::string sState, sMachine = bHasFile ? sFile : vxtsim::kDefaultMachine, sError;
    if (std::ifstream Keep(g_BesideDriver(".keep")); Keep) std::getline(Keep, sState), std::getline(Keep, sMachine);
    vxtsim::CMachineDescription Description;
    std::unique_ptr<vxtsim::CMachineState> pState;
    if (!sState.empty()) pState = std::make_unique<vxtsim::CMachineState>();
    const bool bRetCode = pState ? pState->Open(sState, sMachine, Description, sError)
                                 : vxtsim::g_LoadMachine(sMachine, Description, sError);
    if (bRetCode) return std::make_unique<CSimulatedPc>(std::move(Description), std::move(pState));
    g_LeaveError(sError);
    return nullptr;
}

void g_LeaveError(const std::string& sError) { std::ofstream(g_BesideDriver(".error")) << sError << "\n"; }

}  // namespace vxtdriver
