// The registry of the devices found in the machine.
#pragma once

#include <vxtapi/device_manager.h>

#include <list>
#include <map>
#include <memory>
#include <new>
#include <span>
#include <string>

#include "devices/framework/device_base.h"

namespace vxt {

/// Devices have no virtual destructor (it would take a slot), so the deleter is captured where the class is known.
struct CDeviceDeleter {
    void (*m_pDelete)(CDevice*) = nullptr;
    void operator()(CDevice* pDevice) const { m_pDelete(pDevice); }
};
using CDevicePointer = std::unique_ptr<CDevice, CDeviceDeleter>;

/// Makes one device of a class; null when there is no memory for it.
using CCreateFunction = CDevicePointer (*)();

/// `Sources` answer what the class is made with, in the order of its constructor's arguments.
template <class TDevice, auto&... Sources> CDevicePointer g_CreateDevice() {
    return CDevicePointer(new (std::nothrow) TDevice(Sources()...),
                          {[](CDevice* pDevice) { delete static_cast<TDevice*>(pDevice); }});
}

class CDeviceManager final : public vxtapi::CDeviceManager {
public:
    /// `CreateFunctions`: all device classes in the order in which they are tried; must outlive the manager.
    explicit CDeviceManager(std::span<const CCreateFunction> CreateFunctions);
    ~CDeviceManager() override;

    CDevice* GetDevice(uint32_t uIndex) override;
    CDevice* GetDevice(eDeviceType eType, uint32_t uIndex) override;
    uint32_t GetDeviceCountByName(const wchar_t* pszName) override;
    uint32_t GetDeviceCount(eDeviceType eType) override;
    uint32_t GetDeviceTypeCount() override;
    bool Refresh() override;

    /// Creates, filters (DeviceList.cfg in the current directory) and initialises every device. The argument is not used.
    bool Init(void* pUnused);
    bool UnInit();

private:
    using CModuleHandle = const void*;  ///< module that supplied a device; null: this library
    struct CCreateEntry {
        CDevicePointer (CDeviceManager::*m_pCreateDevice)(uint32_t) = nullptr;
        uint32_t uArgument = 0;  ///< position in the creation list
    };

    CDevicePointer _CreateDevice(uint32_t uIndex);
    bool _ReadDeviceListConfig();
    bool _RefreshDevice(eDeviceType eType);
    bool _IsListed(const wchar_t* pszTypeName) const;
    void _File(CDevicePointer pDevice, uint32_t uPosition, uint32_t uIndex);

    std::map<eDeviceType, std::map<uint32_t, CDevicePointer>> m_DeviceList;
    std::map<eDeviceType, std::map<uint32_t, CModuleHandle>> m_ModuleList;
    std::map<eDeviceType, CCreateEntry> m_CreateList;
    std::map<CModuleHandle, uint32_t> m_ModuleRefCount;
    std::list<std::wstring> m_DeviceFilter;  ///< entry lines of DeviceList.cfg
    bool m_bFilterOn = true;                 ///< the file is an allow list, else a deny list
    std::span<const CCreateFunction> m_CreateFunctions;
};

}  // namespace vxt
