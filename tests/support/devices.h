// Devices for tests and benchmarks.
#pragma once

#include <type_traits>

#include "firmware/acpi_table.h"
#include "firmware/bios_handler.h"
#include "firmware/cmos_items.h"

/// A device over the library's own handlers, as the creation list makes it.
template <class TDevice> TDevice g_Make() {
    if constexpr (std::is_constructible_v<TDevice, vxt::CDriverHandler&, vxt::CSystemTables&>)
        return TDevice(vxt::g_GetDriverHandler(), vxt::g_GetACPITable());
    else if constexpr (std::is_constructible_v<TDevice, vxt::CDriverHandler&, vxt::CCMOSItemList&>)
        return TDevice(vxt::g_GetDriverHandler(), vxt::g_GetCMOSItemList());
    else if constexpr (std::is_constructible_v<TDevice, vxt::CDriverHandler&>)
        return TDevice(vxt::g_GetDriverHandler());
    else if constexpr (std::is_constructible_v<TDevice, vxt::CWmiHandler&>)
        return TDevice(vxt::g_GetSystemWmi());
    else
        return TDevice(vxt::g_GetQORBIOSHandler());
}
