#include "host_library.h"

#include <algorithm>

#include "common/console.h"
#include "common/exit_code.h"
#include "device_types.h"

namespace vxtctl {

using vxttools::CFailure;
using vxttools::EExit;

CHostLibrary::CHostLibrary(const vxttools::CGlobalOptions& rOptions) {
    const std::filesystem::path Path = rOptions.oLibrary ? vxttools::g_Path(*rOptions.oLibrary)
                                                         : vxttools::g_ExecutableFolder() / vxttools::kLibraryFileName;
    std::string sReason;
    m_sPath = Path.string();
    if (!m_Library.Open(Path, sReason)) throw CFailure(EExit::kNoLibrary, "cannot load the library: " + sReason);
    _Bind(m_pInit, "InitVXTAPI");
    _Bind(m_pUnInit, "UnInitVXTAPI");
    _Bind(m_pGetDeviceManager, "GetDeviceManager");
    if (m_pInit(rOptions.bLog)) return;
    m_pUnInit();  // a failed start leaves its earlier steps standing
    throw CFailure(EExit::kNoLibrary, "the library did not start: no driver, no rights or no known hardware; " +
                                          std::string(rOptions.bLog ? "see the log below ./Logs" : "--log tells why"));
}

std::string g_DevicePath(vxtapi::eDeviceType eType, uint32_t uIndex) {
    const auto pType = std::ranges::find(kDeviceTypes, eType, &CDeviceTypeName::eType);
    return "/" + std::string(pType->pszWord) + "/" + std::to_string(uIndex);
}

CHostLibrary::~CHostLibrary() { m_pUnInit(); }

template <class TFunction> void CHostLibrary::_Bind(TFunction*& rpFunction, const char* pszName) {
    rpFunction = reinterpret_cast<TFunction*>(m_Library.Find(pszName));
    if (!rpFunction) throw CFailure(EExit::kNoLibrary, m_sPath + " has no export " + pszName);
}

std::vector<CInventoryEntry> CHostLibrary::Devices(vxtapi::eDeviceType eType) const {
    std::vector<CInventoryEntry> Entries;
    // Look-ups by type and index are silent; asking for a count would log an error for every absent type.
    for (uint32_t i = 0; vxtapi::CDevice* pDevice = m_pGetDeviceManager()->GetDevice(eType, i); ++i)
        Entries.push_back({eType, i, pDevice});
    return Entries;
}

std::vector<CInventoryEntry> CHostLibrary::Devices() const {
    std::vector<CInventoryEntry> Entries;
    for (const CDeviceTypeName& rType : kDeviceTypes)
        for (const CInventoryEntry& rEntry : Devices(rType.eType)) Entries.push_back(rEntry);
    return Entries;
}

}  // namespace vxtctl
