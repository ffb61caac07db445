#include <windows.h>

#include <array>
#include <memory>
#include <system_error>
#include <utility>

#include "common/child_process.h"
#include "common/console.h"

namespace vxttools {
namespace {

void g_Check(BOOL bDone) {
    if (!bDone) throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

HANDLE g_Handle(intptr_t nHandle) { return reinterpret_cast<HANDLE>(nHandle); }

/// Both ends of a pipe; what is taken out belongs to who took it.
class CPipe {
public:
    CPipe() {
        constexpr DWORD kRoom = 1u << 16;  // the usual 4 KB are less than a plan
        g_Check(CreatePipe(&m_ahEnds[0], &m_ahEnds[1], nullptr, kRoom));
    }
    CPipe(const CPipe&) = delete;
    ~CPipe() {
        for (const HANDLE hEnd : m_ahEnds)
            if (hEnd) CloseHandle(hEnd);
    }
    HANDLE ForChild(size_t uEnd) const {
        g_Check(SetHandleInformation(m_ahEnds[uEnd], HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
        return m_ahEnds[uEnd];
    }
    intptr_t Take(size_t uEnd) { return reinterpret_cast<intptr_t>(std::exchange(m_ahEnds[uEnd], nullptr)); }

private:
    std::array<HANDLE, 2> m_ahEnds{};
};

constexpr size_t kRead = 0, kWrite = 1;

/// As CommandLineToArgvW takes it apart: backslashes count only in front of a quote.
std::wstring g_Quoted(const std::wstring& sArgument) {
    std::wstring sQuoted = L"\"";
    size_t uBackslashes = 0;
    for (const wchar_t c : sArgument) {
        if (c == L'"') sQuoted.append(uBackslashes + 1, L'\\');
        uBackslashes = c == L'\\' ? uBackslashes + 1 : 0;
        sQuoted += c;
    }
    return sQuoted.append(uBackslashes, L'\\') + L'"';
}

/// The list of what a process inherits.
class CInheritance {
public:
    explicit CInheritance(std::array<HANDLE, 3>& rHandles) {
        SIZE_T uSize = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &uSize);
        m_pMemory = std::make_unique<std::byte[]>(uSize);
        g_Check(InitializeProcThreadAttributeList(Get(), 1, 0, &uSize));
        g_Check(UpdateProcThreadAttribute(Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, rHandles.data(), sizeof rHandles,
                                          nullptr, nullptr));
    }
    CInheritance(const CInheritance&) = delete;
    ~CInheritance() { DeleteProcThreadAttributeList(Get()); }
    LPPROC_THREAD_ATTRIBUTE_LIST Get() const { return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_pMemory.get()); }

private:
    std::unique_ptr<std::byte[]> m_pMemory;
};

}  // namespace

CChildProcess::CChildProcess(const std::vector<std::string>& rArguments) {
    const std::wstring sProgram = g_Executable().wstring();
    std::wstring sLine = g_Quoted(sProgram);
    for (const std::string& rsArgument : rArguments) sLine += L' ' + g_Quoted(g_Path(rsArgument).wstring());
    CPipe Input, Output, Errors;
    std::array<HANDLE, 3> Handles{Input.ForChild(kRead), Output.ForChild(kWrite), Errors.ForChild(kWrite)};
    DWORD dwMode = PIPE_READMODE_BYTE | PIPE_NOWAIT;
    g_Check(SetNamedPipeHandleState(Handles[2], &dwMode, nullptr, nullptr));
    const CInheritance Inheritance(Handles);
    STARTUPINFOEXW Start{};
    Start.StartupInfo.cb = sizeof Start;
    Start.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    Start.StartupInfo.hStdInput = Handles[0];
    Start.StartupInfo.hStdOutput = Handles[1];
    Start.StartupInfo.hStdError = Handles[2];
    Start.lpAttributeList = Inheritance.Get();
    PROCESS_INFORMATION Process{};
    g_Check(CreateProcessW(sProgram.c_str(), sLine.data(), nullptr, nullptr, TRUE,
                           DETACHED_PROCESS | CREATE_NEW_PROCESS_GROUP | EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr,
                           &Start.StartupInfo, &Process));
    CloseHandle(Process.hThread);
    m_nProcess = reinterpret_cast<intptr_t>(Process.hProcess);
    m_nInput = Input.Take(kWrite);
    m_nOutput = Output.Take(kRead);
    m_nErrors = Errors.Take(kRead);
}

void CChildProcess::_Close(intptr_t nPipe) { CloseHandle(g_Handle(nPipe)); }

bool CChildProcess::_Write(std::string_view sData) const {
    while (!sData.empty()) {
        DWORD dwWritten = 0;
        if (!WriteFile(g_Handle(m_nInput), sData.data(), static_cast<DWORD>(sData.size()), &dwWritten, nullptr))
            return false;
        sData.remove_prefix(dwWritten);
    }
    return true;
}

// The child's end counts, not the pipe's: what the system starts on the child's behalf, the desktop for one, may have
// inherited its end of the pipe and live on.
std::string CChildProcess::_Read(intptr_t nPipe) const {
    constexpr DWORD kLook = 10;  // ms
    std::string sData(4096, '\0');
    DWORD dwRead = 0;
    for (bool bHasEnded = false; PeekNamedPipe(g_Handle(nPipe), nullptr, 0, nullptr, &dwRead, nullptr);) {
        if (dwRead != 0) {
            if (!ReadFile(g_Handle(nPipe), sData.data(), static_cast<DWORD>(sData.size()), &dwRead, nullptr)) break;
            sData.resize(dwRead);
            return sData;
        }
        if (bHasEnded) break;
        bHasEnded = WaitForSingleObject(g_Handle(m_nProcess), kLook) == WAIT_OBJECT_0;
    }
    return {};
}

std::optional<int> CChildProcess::Wait() {
    DWORD dwCode = 0;
    const bool bEnded = WaitForSingleObject(g_Handle(m_nProcess), INFINITE) == WAIT_OBJECT_0 &&
                        GetExitCodeProcess(g_Handle(m_nProcess), &dwCode);
    CloseHandle(g_Handle(m_nProcess));
    return bEnded ? std::optional(static_cast<int>(dwCode)) : std::nullopt;
}

}  // namespace vxttools
