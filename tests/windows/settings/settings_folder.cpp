#include "support/settings_folder.h"

#include <windows.h>

#include <filesystem>
#include <optional>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr const char *kSettingsRoot = "Software\\QOR", *kSaveInTurn = "--save-in-turn";

/// The folder, and the way back.
struct CFolder {
    fs::path Old = fs::current_path(), New = fs::temp_directory_path() / "vxt-settings";

    CFolder() {
        fs::create_directory(New);
        fs::current_path(New);
    }
    ~CFolder() {
        fs::current_path(Old);
        fs::remove_all(New);
        RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSettingsRoot);
    }
};

}  // namespace

namespace vxttest {

CSettingsFolder::CSettingsFolder() : m_pWorld(std::make_shared<CFolder>()) {}
CSettingsFolder::~CSettingsFolder() = default;

void CSettingsFolder::SetInstallDir(const char* pszValue) {
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, kSettingsRoot);
    if (pszValue)
        RegSetKeyValueA(HKEY_LOCAL_MACHINE, "Software\\QOR\\QOR Velomar", "InstallDir", REG_SZ, pszValue,
                        static_cast<DWORD>(std::string(pszValue).size() + 1));
}

CSaver::CSaver() {
    char szCommand[MAX_PATH + 32] = {};
    GetModuleFileNameA(nullptr, szCommand, MAX_PATH);
    std::string sCommand = '"' + std::string(szCommand) + "\" " + kSaveInTurn;
    STARTUPINFOA Startup{};
    Startup.cb = sizeof Startup;
    PROCESS_INFORMATION Process{};
    if (!CreateProcessA(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &Startup, &Process))
        return;
    CloseHandle(Process.hThread);
    m_uProcess = reinterpret_cast<uintptr_t>(Process.hProcess);
}

// Starting a process takes a third of a second.
int CSaver::AffordableKills() { return 20; }

void CSaver::Kill() {
    const auto hProcess = reinterpret_cast<HANDLE>(m_uProcess);
    if (!hProcess) return;
    TerminateProcess(hProcess, 9);
    WaitForSingleObject(hProcess, INFINITE);
    CloseHandle(hProcess);
    m_uProcess = 0;
}

}  // namespace vxttest

int main(int nArguments, char** ppszArguments) {
    if (nArguments == 2 && std::string(ppszArguments[1]) == kSaveInTurn) vxttest::g_SaveInTurn();
    testing::InitGoogleTest(&nArguments, ppszArguments);
    return RUN_ALL_TESTS();
}
