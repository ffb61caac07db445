// DeviceList.cfg of any content: decoded, split and matched.
#include "devices/framework/device_list_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    std::list<std::wstring> Lines;
    vxt::g_DecodeDeviceList({reinterpret_cast<const char*>(pData), uSize}, Lines);
    for (const std::wstring& sLine : Lines) {
        if (sLine.empty() || sLine.size() > 63) __builtin_trap();
        vxt::g_BeginsWith(sLine, L"Memory Controller");
    }
    return 0;
}
