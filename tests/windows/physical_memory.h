// The section object that shows physical memory, as systems have it that let programs read that: Wine has none.
#pragma once

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <string_view>

extern "C" NTSTATUS NTAPI NtCreateSection(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, LARGE_INTEGER*, ULONG ulProtection,
                                          ULONG ulAttributes, HANDLE hFile);

/// While it lives there is one with zeros below 1 MiB, but for what is written.
class CPhysicalMemory {
public:
    CPhysicalMemory() {
        wchar_t szName[] = L"\\Device\\PhysicalMemory";
        UNICODE_STRING Name{sizeof(szName) - sizeof(wchar_t), sizeof(szName), szName};
        OBJECT_ATTRIBUTES Attributes;
        InitializeObjectAttributes(&Attributes, &Name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
        LARGE_INTEGER Size;
        Size.QuadPart = 0x100000;
        NtCreateSection(&m_hSection, SECTION_ALL_ACCESS, &Attributes, &Size, PAGE_READWRITE, SEC_COMMIT, nullptr);
        m_pcView = static_cast<char*>(MapViewOfFile(m_hSection, FILE_MAP_WRITE, 0, 0, 0));
    }
    ~CPhysicalMemory() {
        UnmapViewOfFile(m_pcView);
        CloseHandle(m_hSection);
    }
    CPhysicalMemory(const CPhysicalMemory&) = delete;

    bool Exists() const { return m_pcView != nullptr; }
    void Write(size_t uAddress, std::string_view sText) { std::ranges::copy(sText, m_pcView + uAddress); }

private:
    HANDLE m_hSection = nullptr;
    char* m_pcView = nullptr;
};
