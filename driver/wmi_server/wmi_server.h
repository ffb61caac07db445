// The management service of the tests as a program sees it that wants to know about it.
#pragma once

#include <windows.h>

#include <cstdint>

/// Two exports of vxt_wmi_server.dll, loaded into this process for good.
class CWmiServer {
public:
    CWmiServer() : m_hModule(LoadLibraryW(L"vxt_wmi_server.dll")) {
        _Find(LiveObjects, "VxtWmiServerLiveObjects"), _Find(UseMachine, "VxtWmiServerUseMachine");
    }
    bool IsComplete() const { return LiveObjects && UseMachine; }

    /// Objects of the server that somebody still holds.
    int32_t (*LiveObjects)() = nullptr;
    /// Makes this text of a machine file the process's PC, in place of the one that VXT_MACHINE names. Answers null, or
    /// what is wrong with it. Only while nobody is connected.
    const char* (*UseMachine)(const char* pszText) = nullptr;

private:
    template <class TFunction> void _Find(TFunction& rpFunction, const char* pszName) {
        const FARPROC pFound = m_hModule ? GetProcAddress(m_hModule, pszName) : nullptr;
        rpFunction = reinterpret_cast<TFunction>(reinterpret_cast<void*>(pFound));
    }
    HMODULE m_hModule;
};
