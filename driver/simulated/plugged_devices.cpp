#include "plugged_devices.h"

#include <windows.h>
#include <winternl.h>

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

// Documented in the driver kit only; these live in ntdll and are callable from both sides.
extern "C" {
NTSTATUS NTAPI NtCreateSymbolicLinkObject(HANDLE* phLink, ACCESS_MASK Access, OBJECT_ATTRIBUTES* pAttributes,
                                          UNICODE_STRING* pTarget);
NTSTATUS NTAPI NtOpenSymbolicLinkObject(HANDLE* phLink, ACCESS_MASK Access, OBJECT_ATTRIBUTES* pAttributes);
NTSTATUS NTAPI NtQuerySymbolicLinkObject(HANDLE hLink, UNICODE_STRING* pTarget, ULONG* pulLength);
NTSTATUS NTAPI NtMakeTemporaryObject(HANDLE hObject);
}

namespace vxtdriver {

using vxtsim::CPluggedDevice;

namespace {

constexpr ACCESS_MASK kQueryLink = 1, kAllLinkAccess = STANDARD_RIGHTS_REQUIRED | kQueryLink;
constexpr ULONG kPermanent = 0x10;  // an object that outlives its last handle

/// Texts of the simulated PC have one character a byte.
std::wstring g_Widen(std::string_view sText) {
    std::wstring sWide(sText.size(), L'\0');
    std::ranges::transform(sText, sWide.begin(), [](char c) { return wchar_t{static_cast<unsigned char>(c)}; });
    return sWide;
}

struct CKeyCloser {
    using pointer = HKEY;
    void operator()(HKEY hKey) const { RegCloseKey(hKey); }
};
using CKey = std::unique_ptr<HKEY, CKeyCloser>;

/// Gone at the latest when the system ends, so that a driver which is killed leaves nothing for ever.
CKey g_CreateKey(HKEY hParent, const std::wstring& rsPath, DWORD dwOptions = REG_OPTION_VOLATILE) {
    HKEY hKey = nullptr;
    RegCreateKeyExW(hParent, rsPath.c_str(), 0, nullptr, dwOptions, KEY_ALL_ACCESS, nullptr, &hKey, nullptr);
    return CKey(hKey);
}

void g_PutBytes(const CKey& rKey, const wchar_t* pszValue, DWORD dwType, const void* pData, size_t uBytes) {
    RegSetValueExW(rKey.get(), pszValue, 0, dwType, static_cast<const BYTE*>(pData), static_cast<DWORD>(uBytes));
}

/// With its zero. A device has no value for a text that it does not have.
void g_PutText(const CKey& rKey, const wchar_t* pszValue, std::string_view sText, DWORD dwType = REG_SZ) {
    const std::wstring sWide = g_Widen(sText);
    if (!sText.empty()) g_PutBytes(rKey, pszValue, dwType, sWide.c_str(), (sWide.size() + 1) * sizeof(wchar_t));
}

void g_PutTexts(const CKey& rKey, const wchar_t* pszValue, const std::vector<std::string>& rTexts) {
    std::string sAll;
    for (const std::string& rsText : rTexts) sAll.append(rsText).push_back('\0');
    g_PutText(rKey, pszValue, sAll, REG_MULTI_SZ);
}

constexpr const wchar_t* kTree = LR"(System\CurrentControlSet\Enum)";
constexpr int kTreeLevels = 3;  // enumerator, device, instance
CKey g_OpenTree() { return g_CreateKey(HKEY_LOCAL_MACHINE, kTree, REG_OPTION_NON_VOLATILE); }

// The system lists no device whose class it does not know. The PC's own have a mark beside it.
constexpr const wchar_t *kClass = L"ClassGUID", *kHiddenClass = L"VXTHiddenClassGUID", *kOwnMark = L"VXTDevice";

/// Gives the value `pszFrom` of the system's devices below the key the name `pszTo`.
void g_RenameValues(const CKey& rKey, int nLevels, const wchar_t* pszFrom, const wchar_t* pszTo) {
    if (nLevels == 0) {
        std::array<BYTE, 256> aucValue{};
        DWORD dwSize = aucValue.size(), dwType = 0;
        if (RegQueryValueExW(rKey.get(), pszFrom, nullptr, &dwType, aucValue.data(), &dwSize) != ERROR_SUCCESS ||
            RegQueryValueExW(rKey.get(), kOwnMark, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS)
            return;
        g_PutBytes(rKey, pszTo, dwType, aucValue.data(), dwSize);
        RegDeleteValueW(rKey.get(), pszFrom);
        return;
    }
    std::array<wchar_t, 256> szName{};  // as long as a key's name can be
    for (DWORD i = 0; RegEnumKeyW(rKey.get(), i, szName.data(), szName.size()) == ERROR_SUCCESS; ++i) {
        HKEY hBelow = nullptr;
        if (RegOpenKeyExW(rKey.get(), szName.data(), 0, KEY_ALL_ACCESS, &hBelow) == ERROR_SUCCESS)
            g_RenameValues(CKey(hBelow), nLevels - 1, pszFrom, pszTo);
    }
}

/// A device's entry in the tree.
class CTreeEntry {
public:
    explicit CTreeEntry(const CPluggedDevice& rDevice) : m_sId(g_Widen(rDevice.sId)) {
        if (std::ranges::count(m_sId, L'\\') != 2) return;  // the system keeps enumerator\device\instance and no other
        (void)g_CreateKey(m_hRoot.get(), m_sId.substr(0, m_sId.find(L'\\')), REG_OPTION_NON_VOLATILE);  // the system's
        const CKey hKey = g_CreateKey(m_hRoot.get(), m_sId);
        g_PutBytes(hKey, kOwnMark, REG_NONE, nullptr, 0);  // before the class, which others look for
        const auto pClass = std::ranges::find(vxtsim::kSetupClasses, rDevice.sClass, &vxtsim::CSetupClassName::sName);
        g_PutText(hKey, L"Class", rDevice.sClass);
        if (pClass != std::end(vxtsim::kSetupClasses)) g_PutText(hKey, L"ClassGUID", pClass->pszGuid);
        g_PutText(hKey, L"DeviceDesc", rDevice.sDescription);
        g_PutText(hKey, L"FriendlyName", rDevice.sFriendlyName);
        g_PutText(hKey, L"Mfg", rDevice.sManufacturer);
        g_PutTexts(hKey, L"HardwareID", rDevice.HardwareIds);
        g_PutTexts(hKey, L"CompatibleIDs", rDevice.CompatibleIds);
        const CKey hParameters = g_CreateKey(hKey.get(), L"Device Parameters");
        if (rDevice.sClass == "monitor" && !rDevice.Image.empty())
            g_PutBytes(hParameters, L"EDID", REG_BINARY, rDevice.Image.data(), rDevice.Image.size());
        if (rDevice.sParent.empty()) return;
        // DEVPKEY_Device_Parent as Wine keeps it: a key, whose type has a mark and the number of a property's text.
        const CKey hParent = g_CreateKey(hKey.get(), LR"(Properties\{4340a6c5-93fa-4706-972c-7b648008a5a7}\0008)");
        g_PutText(hParent, nullptr, rDevice.sParent, 0xFFFF0012);
    }
    CTreeEntry(const CTreeEntry&) = delete;
    ~CTreeEntry() {
        if (std::ranges::count(m_sId, L'\\') != 2) return;
        RegDeleteTreeW(m_hRoot.get(), m_sId.c_str());
        const std::wstring sDevice = m_sId.substr(0, m_sId.rfind(L'\\'));
        RegDeleteKeyW(m_hRoot.get(), sDevice.c_str());  // fails as long as another instance is there: good
        RegDeleteKeyW(m_hRoot.get(), sDevice.substr(0, sDevice.find(L'\\')).c_str());
    }

private:
    const std::wstring m_sId;
    const CKey m_hRoot = g_OpenTree();
};

/// A name that leads to a device object. If it led elsewhere, it does so again afterwards.
class CDriveName {
public:
    CDriveName(const std::string& rsName, const std::wstring& rsTarget) : m_sName(L"\\??\\" + g_Widen(rsName)) {
        HANDLE hOld = nullptr;
        const CName Name(m_sName);
        if (NT_SUCCESS(NtOpenSymbolicLinkObject(&hOld, DELETE | kQueryLink, Name.Attributes(0)))) {
            std::wstring sTarget(MAX_PATH, L'\0');
            UNICODE_STRING Target{0, MAX_PATH * sizeof(wchar_t), sTarget.data()};
            if (NT_SUCCESS(NtQuerySymbolicLinkObject(hOld, &Target, nullptr)))
                m_oOldTarget = sTarget.substr(0, Target.Length / sizeof(wchar_t));
            NtMakeTemporaryObject(hOld);
            NtClose(hOld);
        }
        m_hLink = _Create(rsTarget, 0);
    }
    CDriveName(const CDriveName&) = delete;
    ~CDriveName() {
        if (!m_hLink) return;  // somebody else has the name
        NtClose(m_hLink);      // the name goes with its only handle
        if (!m_oOldTarget) return;
        if (const HANDLE hLink = _Create(*m_oOldTarget, kPermanent)) NtClose(hLink);
    }

private:
    /// Of an object, whatever the letter case.
    class CName {
    public:
        explicit CName(const std::wstring& rsName) : m_sName(rsName) { RtlInitUnicodeString(&m_Name, m_sName.c_str()); }
        OBJECT_ATTRIBUTES* Attributes(ULONG ulMore) const {
            InitializeObjectAttributes(&m_Attributes, &m_Name, OBJ_CASE_INSENSITIVE | ulMore, nullptr, nullptr);
            return &m_Attributes;
        }

    private:
        const std::wstring m_sName;
        mutable UNICODE_STRING m_Name{};
        mutable OBJECT_ATTRIBUTES m_Attributes{};
    };

    HANDLE _Create(const std::wstring& rsTarget, ULONG ulMore) const {
        HANDLE hLink = nullptr;
        UNICODE_STRING Target;
        RtlInitUnicodeString(&Target, rsTarget.c_str());
        const NTSTATUS lStatus =
            NtCreateSymbolicLinkObject(&hLink, kAllLinkAccess, CName(m_sName).Attributes(ulMore), &Target);
        return NT_SUCCESS(lStatus) ? hLink : nullptr;
    }

    const std::wstring m_sName;
    std::optional<std::wstring> m_oOldTarget;
    HANDLE m_hLink = nullptr;
};

}  // namespace

struct CPluggedDevices::CPlug {
    CPlug(const CPluggedDevice& rDevice, size_t uDevice) : Entry(rDevice) {
        if (!rDevice.sDrive.empty()) oName.emplace(rDevice.sDrive, g_DriveObjectName(uDevice));
    }
    CTreeEntry Entry;
    std::optional<CDriveName> oName;
};

std::wstring g_DriveObjectName(size_t uDevice) { return L"\\Device\\VXTDrive" + std::to_wstring(uDevice); }

/// The system puts its display devices back into the tree whenever a desktop begins: a thread takes them out again.
class CPluggedDevices::CHiding {
public:
    CHiding() { m_hThread = CreateThread(nullptr, 0, &_Run, this, 0, nullptr); }
    CHiding(const CHiding&) = delete;
    ~CHiding() {
        SetEvent(m_hEnd);
        WaitForSingleObject(m_hThread, INFINITE);
        g_RenameValues(m_hTree, kTreeLevels, kHiddenClass, kClass);
        for (const HANDLE hObject : {m_hThread, m_hEnd, m_hChange}) CloseHandle(hObject);
    }

private:
    static DWORD WINAPI _Run(void* pHiding) {
        const auto& [hTree, hEnd, hChange, hThread] = *static_cast<const CHiding*>(pHiding);
        const HANDLE ahEvents[] = {hEnd, hChange};
        do {  // asked for before the look, so that no change is missed
            RegNotifyChangeKeyValue(hTree.get(), TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET, hChange,
                                    TRUE);
            g_RenameValues(hTree, kTreeLevels, kClass, kHiddenClass);
        } while (WaitForMultipleObjects(2, ahEvents, FALSE, INFINITE) == WAIT_OBJECT_0 + 1);
        return 0;
    }

    const CKey m_hTree = g_OpenTree();
    const HANDLE m_hEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const HANDLE m_hChange = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    HANDLE m_hThread = nullptr;
};

CPluggedDevices::CPluggedDevices(std::span<const CPluggedDevice> Devices) : m_Devices(Devices) {
    Follow(0);
    if (m_Devices.empty()) return;
    g_RenameValues(g_OpenTree(), kTreeLevels, kClass, kHiddenClass);
    m_pHiding = std::make_unique<CHiding>();
}

CPluggedDevices::~CPluggedDevices() = default;

void CPluggedDevices::_Change(uint64_t ullUptime) {
    constexpr uint64_t kSecond = 1'000'000'000;
    m_ullNextChange = std::numeric_limits<uint64_t>::max();
    // What goes first: its name may be the next one's.
    std::erase_if(m_Plugs, [&](const auto& rPlug) { return !m_Devices[rPlug.first].IsThere(ullUptime); });
    for (size_t uDevice = 0; uDevice < m_Devices.size(); ++uDevice) {
        const CPluggedDevice& rDevice = m_Devices[uDevice];
        if (rDevice.IsThere(ullUptime) && !m_Plugs.contains(uDevice))
            m_Plugs[uDevice] = std::make_unique<CPlug>(rDevice, uDevice);
        for (const uint64_t ullDue : {rDevice.uFrom * kSecond, rDevice.uUntil * kSecond})
            if (ullDue > ullUptime) m_ullNextChange = std::min(m_ullNextChange, ullDue);
    }
}

}  // namespace vxtdriver
