#include "devices/framework/device_manager.h"

#include <vxtapi/device_controller.h>

#include "api/log/log.h"
#include "api/log/log_checks.h"
#include "devices/framework/device_list_file.h"
#include "platform/text.h"
#include "registers/no_throw.h"

namespace vxt {

namespace {

constexpr const char* kDeviceListFile = "DeviceList.cfg";  ///< in the current directory
constexpr size_t kModeLength = 4;                          ///< characters of the mode line that are compared
constexpr uint32_t kMaximumInstances = 16;                 ///< of one class
constexpr size_t kLoggedName = 255;                        ///< bytes of a name in a log line

// Kinds that come and go while the system runs.
constexpr eDeviceType kRefreshedTypes[] = {vxtapi::kDeviceHardDisk, vxtapi::kDeviceCdRom, vxtapi::kDeviceKeyboard,
                                           vxtapi::kDeviceMouse};

void g_LogDevice(const char* pszFormat, CDevice& rDevice) {
    std::string sName;  // without memory for it the line goes without
    if (!g_NoThrow([&] { sName = platform::NarrowText(rDevice.GetName()); })) sName.clear();
    if (sName.size() > kLoggedName) sName.resize(kLoggedName);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    g_GetLog().WriteLog(kLogInformation, pszFormat, sName.c_str());
#pragma GCC diagnostic pop
}

/// Lets go of a device that is no longer wanted.
bool g_Retire(CDevicePointer& rpDevice) {
    const bool bRetCode = rpDevice->UnInit();
    rpDevice.reset();
    return bRetCode;
}

}  // namespace

CDeviceManager::CDeviceManager(std::span<const CCreateFunction> CreateFunctions) : m_CreateFunctions(CreateFunctions) {}

CDeviceManager::~CDeviceManager() { UnInit(); }

CDevicePointer CDeviceManager::_CreateDevice(uint32_t uIndex) {
    LOG_PROCESS_ERROR(uIndex < m_CreateFunctions.size(), "uIndex < g_GetDeviceListCount()");
    return m_CreateFunctions[uIndex]();
}

bool CDeviceManager::_ReadDeviceListConfig() {
    std::list<std::wstring> Lines;
    if (!g_ReadDeviceListFile(kDeviceListFile, Lines)) return false;
    if (Lines.empty()) return true;  // Kept: an empty file lists nothing, in whatever mode was last in force
    const std::wstring_view sMode = Lines.front();
    const bool bAllow = g_BeginsWith(sMode, std::wstring_view(L"[on]").substr(0, kModeLength));
    const bool bDeny = g_BeginsWith(sMode, std::wstring_view(L"[off]").substr(0, kModeLength));
    LOG_PROCESS_ERROR(bAllow || bDeny, "false");
    m_bFilterOn = bAllow;
    Lines.pop_front();
    m_DeviceFilter.splice(m_DeviceFilter.end(), Lines);
    return true;
}

bool CDeviceManager::_IsListed(const wchar_t* pszTypeName) const {
    // Kept: only the type text's own length counts, so the line "Memory Controller" lists the type "Memory" too.
    for (const std::wstring& sEntry : m_DeviceFilter)
        if (g_BeginsWith(sEntry, pszTypeName)) return true;
    return false;
}

void CDeviceManager::_File(CDevicePointer pDevice, uint32_t uPosition, uint32_t uIndex) {
    const eDeviceType eType = pDevice->GetType();
    g_LogDevice("Added device %s.", *pDevice);
    m_ModuleList[eType][uIndex] = nullptr;  // built in
    m_CreateList[eType] = {&CDeviceManager::_CreateDevice, uPosition};
    ++m_ModuleRefCount[nullptr];
    m_DeviceList[eType].insert_or_assign(uIndex, std::move(pDevice));  // last: what is listed is known in full
}

// Init and Refresh fill containers at every turn: memory that runs out anywhere ends the whole operation.
bool CDeviceManager::Init(void* /*pUnused*/) try {
    const bool bFilterActive = _ReadDeviceListConfig();
    for (uint32_t uPosition = 0; uPosition < m_CreateFunctions.size(); ++uPosition) {
        for (uint32_t i = 0; i < kMaximumInstances; ++i) {
            CDevicePointer pDevice = _CreateDevice(uPosition);
            LOG_CHECK_ERROR(pDevice);
            if (!pDevice) break;
            g_LogDevice("Created device %s.", *pDevice);
            if (bFilterActive && _IsListed(pDevice->GetTypeName()) != m_bFilterOn) break;
            if (!pDevice->Init(i)) {
                g_LogDevice("Failed to initialize device %s.", *pDevice);
                break;
            }
            const eDeviceType eType = pDevice->GetType();
            CDevice* const pOld = GetDevice(eType, i);
            if (!pOld) {
                _File(std::move(pDevice), uPosition, i);
            } else if (pOld->GetVersion() < pDevice->GetVersion()) {
                g_LogDevice("Delete old device %s and add new device.", *pOld);
                // Kept: a built-in device has no module and is never replaced; two classes of one type that both accept
                // the same hardware are a fault of the creation list.
                const CModuleHandle hTempModule = m_ModuleList[eType][i];
                LOG_PROCESS_ERROR(hTempModule);
                const bool bRetCode = g_Retire(m_DeviceList[eType][i]);
                LOG_CHECK_ERROR(bRetCode);
                --m_ModuleRefCount[hTempModule];
                _File(std::move(pDevice), uPosition, i);
            } else {
                g_LogDevice("Delete old device %s.", *pDevice);
                const bool bRetCode = g_Retire(pDevice);
                LOG_CHECK_ERROR(bRetCode);
            }
        }
    }
    return true;
} catch (const std::bad_alloc&) {
    constexpr bool bEnoughMemory = false;
    LOG_PROCESS_ERROR(bEnoughMemory);
    return false;
}

bool CDeviceManager::UnInit() {
    for (auto& [eType, Devices] : m_DeviceList) {
        for (auto& [uIndex, pDevice] : Devices) {
            if (pDevice) {
                const bool bRetCode = g_Retire(pDevice);
                LOG_CHECK_ERROR(bRetCode);
            }
            const auto itModuleType = m_ModuleList.find(eType);
            LOG_CHECK_ERROR(itModuleType != m_ModuleList.end());
            if (itModuleType == m_ModuleList.end()) continue;
            const auto itModule = itModuleType->second.find(uIndex);
            LOG_CHECK_ERROR(itModule != itModuleType->second.end());
            if (itModule != itModuleType->second.end()) --m_ModuleRefCount[itModule->second];
        }
    }
    m_DeviceFilter.clear();
    m_DeviceList.clear();
    m_ModuleList.clear();
    m_ModuleRefCount.clear();
    m_CreateList.clear();
    return true;
}

CDevice* CDeviceManager::GetDevice(uint32_t uIndex) {
    LOG_PROCESS_ERROR(uIndex < m_DeviceList.size());
    return GetDevice(std::next(m_DeviceList.begin(), uIndex)->first, 0);
}

CDevice* CDeviceManager::GetDevice(eDeviceType eType, uint32_t uIndex) {
    const auto itType = m_DeviceList.find(eType);
    if (itType == m_DeviceList.end()) return nullptr;
    const auto it = itType->second.find(uIndex);
    return it == itType->second.end() ? nullptr : it->second.get();
}

uint32_t CDeviceManager::GetDeviceCountByName(const wchar_t* pszName) {
    if (!pszName) return 0;
    uint32_t uCount = 0;
    for (const auto& [eType, Devices] : m_DeviceList)
        for (const auto& [uIndex, pDevice] : Devices)
            if (pDevice && std::wstring_view(pDevice->GetName()) == pszName) ++uCount;
    return uCount;
}

uint32_t CDeviceManager::GetDeviceCount(eDeviceType eType) {
    const auto itType = m_DeviceList.find(eType);
    LOG_PROCESS_ERROR(itType != m_DeviceList.end());
    return static_cast<uint32_t>(itType->second.size());
}

uint32_t CDeviceManager::GetDeviceTypeCount() { return static_cast<uint32_t>(m_DeviceList.size()); }

bool CDeviceManager::_RefreshDevice(eDeviceType eType) {
    const auto it = m_DeviceList.find(eType);
    LOG_PROCESS_ERROR(it != m_DeviceList.end());
    auto& rDevices = it->second;
    for (auto& [uIndex, pDevice] : rDevices) {
        LOG_PROCESS_ERROR(pDevice);
        const bool bRetCode = g_Retire(pDevice);
        LOG_PROCESS_ERROR(bRetCode);
    }
    rDevices.clear();
    const CCreateEntry Entry = m_CreateList[eType];
    LOG_PROCESS_ERROR(Entry.m_pCreateDevice, "m_CreateList[eDeviceType].m_pCreateDevice");
    for (uint32_t i = 0;; ++i) {  // as many as there are now
        CDevicePointer pDevice = (this->*Entry.m_pCreateDevice)(Entry.uArgument);
        if (!pDevice || !pDevice->Init(i)) return true;
        LOG_PROCESS_ERROR(pDevice->GetType() == eType, "pDevice->GetType() == eDeviceType");
        rDevices.insert_or_assign(i, std::move(pDevice));
    }
}

bool CDeviceManager::Refresh() try {
    for (const eDeviceType eType : kRefreshedTypes) {
        const bool bRetCode = _RefreshDevice(eType);
        LOG_CHECK_ERROR(bRetCode);
    }
    // Kept: looking the two types up makes them present, without devices, where the machine has no such controller.
    for (auto& [uIndex, pUSBController] : m_DeviceList[vxtapi::kDeviceUsb]) {
        LOG_PROCESS_ERROR(pUSBController);
        const bool bRetCode = static_cast<vxtapi::CDeviceController&>(*pUSBController).RefreshDevices();
        LOG_PROCESS_ERROR(bRetCode);
    }
    for (auto& [uIndex, pSATAController] : m_DeviceList[vxtapi::kDeviceSata]) {
        LOG_PROCESS_ERROR(pSATAController);
        const bool bRetCode = static_cast<vxtapi::CDeviceController&>(*pSATAController).RefreshDevices();
        LOG_PROCESS_ERROR(bRetCode);
    }
    return true;
} catch (const std::bad_alloc&) {
    constexpr bool bEnoughMemory = false;
    LOG_PROCESS_ERROR(bEnoughMemory);
    return false;
}

}  // namespace vxt
