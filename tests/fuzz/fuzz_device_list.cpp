// DeviceList.cfg of any content: read, split and matched.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "devices/framework/device_list_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t uSize) {
    static const std::string s_sPath = "/dev/shm/vxt-fuzz-" + std::to_string(getpid()) + ".cfg";
    static const int s_nRegistered = std::atexit([] { std::remove(s_sPath.c_str()); });
    (void)s_nRegistered;
    if (std::FILE* const pFile = std::fopen(s_sPath.c_str(), "wb")) {
        std::fwrite(pData, 1, uSize, pFile);
        std::fclose(pFile);
    }
    std::list<std::wstring> Lines;
    if (!vxt::g_ReadDeviceListFile(s_sPath.c_str(), Lines)) return 0;
    for (const std::wstring& sLine : Lines) {
        if (sLine.empty() || sLine.size() > 63) __builtin_trap();
        vxt::g_BeginsWith(sLine, L"Memory Controller");
    }
    return 0;
}
