#include "platform/physical_section.h"

#include <memory>
#include <type_traits>

#include "platform/windows/windows_api.h"

namespace vxt::platform {

namespace {

// Native section calls: documented for driver writers, so no import library of the user mode promises them.
using ZwOpenSection = NTSTATUS NTAPI(HANDLE* phSection, ACCESS_MASK Access, OBJECT_ATTRIBUTES* pAttributes);
using ZwMapViewOfSection = NTSTATUS NTAPI(HANDLE hSection, HANDLE hProcess, void** ppBase, ULONG_PTR ulpZeroBits,
                                          SIZE_T uCommitSize, LARGE_INTEGER* pOffset, SIZE_T* puViewSize,
                                          DWORD dwInherit, ULONG ulAllocationType, ULONG ulProtection);
using ZwUnmapViewOfSection = NTSTATUS NTAPI(HANDLE hProcess, void* pBase);

constexpr ACCESS_MASK kMapRead = 4;
constexpr DWORD kViewShare = 1;
constexpr ULONG kReadOnly = 2;

class CNativeLibrary {
public:
    CNativeLibrary() : m_hModule(LoadLibraryW(L"ntdll.dll")) {}
    template <class TFunction> TFunction* Find(const char* pszName) const {
        const FARPROC pFound = m_hModule ? GetProcAddress(m_hModule.get(), pszName) : nullptr;
        return reinterpret_cast<TFunction*>(reinterpret_cast<void*>(pFound));
    }

private:
    struct CFree {
        void operator()(HMODULE hModule) const { FreeLibrary(hModule); }
    };
    std::unique_ptr<std::remove_pointer_t<HMODULE>, CFree> m_hModule;
};

}  // namespace

void UnmapPhysicalSection(uintptr_t uAddress) {
    const CNativeLibrary Library;
    if (const auto pUnmap = Library.Find<ZwUnmapViewOfSection>("ZwUnmapViewOfSection"))
        pUnmap(GetCurrentProcess(), g_ToHandle<void*>(uAddress));
}

CPhysicalView MapPhysicalSection(uint64_t ullPhysical, uint32_t uSize) {
    const CNativeLibrary Library;
    const auto pOpen = Library.Find<ZwOpenSection>("ZwOpenSection");
    const auto pMap = Library.Find<ZwMapViewOfSection>("ZwMapViewOfSection");
    // A view that could not be unmapped again is not made.
    if (!pOpen || !pMap || !Library.Find<ZwUnmapViewOfSection>("ZwUnmapViewOfSection")) return {};

    wchar_t szName[] = L"\\device\\physicalmemory";
    UNICODE_STRING Name{sizeof(szName) - sizeof(wchar_t), sizeof(szName), szName};
    OBJECT_ATTRIBUTES Attributes;
    InitializeObjectAttributes(&Attributes, &Name, OBJ_CASE_INSENSITIVE, nullptr, nullptr);
    HANDLE hSection = nullptr;
    if (!NT_SUCCESS(pOpen(&hSection, kMapRead, &Attributes))) return {};
    void* pBase = nullptr;
    LARGE_INTEGER Offset;
    Offset.QuadPart = static_cast<LONGLONG>(ullPhysical);
    SIZE_T uViewSize = uSize;
    const NTSTATUS lStatus =
        pMap(hSection, GetCurrentProcess(), &pBase, 0, uSize, &Offset, &uViewSize, kViewShare, 0, kReadOnly);
    CloseHandle(hSection);  // the view holds the section
    return NT_SUCCESS(lStatus) ? CPhysicalView(reinterpret_cast<uintptr_t>(pBase)) : CPhysicalView();
}

}  // namespace vxt::platform
