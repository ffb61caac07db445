#include "devices/peripherals/attached_devices.h"

#include <algorithm>
#include <cwchar>
#include <map>
#include <string>

#include "devices/peripherals/tree_device.h"
#include "platform/error_code.h"
#include "registers/no_throw.h"

namespace vxt {

namespace {

using vxtapi::AttachedDevice;

constexpr uint32_t kMaxDevices = 65'536;  ///< of a tree; no system has a tenth of that

/// IDs are the same in any letter case.
std::wstring g_Capitals(std::wstring_view sId) {
    std::wstring sCapitals(sId);
    for (wchar_t& ch : sCapitals)
        if (ch >= L'a' && ch <= L'z') ch = static_cast<wchar_t>(ch - L'a' + L'A');
    return sCapitals;
}

class CTree {
public:
    /// False when the system does not tell.
    bool Read() {
        m_hList = platform::OpenDeviceList(platform::ESetupClass::kAnyDevice);
        if (!m_hList) return false;
        std::wstring sId, sParent;
        for (uint32_t uDevice = 0; uDevice < kMaxDevices; ++uDevice) {
            if (!platform::GetDeviceId(m_hList, uDevice, sId))
                return platform::LastError() == platform::kErrorNoMoreItems;
            m_Ids.push_back(sId);
            if (platform::GetDeviceParent(m_hList, uDevice, sParent)) m_Children.emplace(g_Capitals(sParent), uDevice);
        }
        return true;
    }

    void List(std::wstring_view sId, CAttachedDevices& rDevices) {
        struct CLevel {
            CChildren::const_iterator it, itEnd;
        };
        std::vector<bool> Listed(m_Ids.size());
        std::vector<CLevel> Levels;  // where the walk is, from the controller down
        const auto Descend = [&](const std::wstring& sParent) {
            const auto [it, itEnd] = m_Children.equal_range(sParent);
            Levels.push_back({it, itEnd});
        };
        const std::wstring sTop = g_Capitals(sId);
        for (Descend(sTop); !Levels.empty();) {
            CLevel& rLevel = Levels.back();
            if (rLevel.it == rLevel.itEnd) {
                Levels.pop_back();
                continue;
            }
            const uint32_t uDevice = (rLevel.it++)->second;
            const std::wstring sCapitals = g_Capitals(m_Ids[uDevice]);
            if (Listed[uDevice] || sCapitals == sTop) continue;  // a tree that bites its tail
            Listed[uDevice] = true;
            rDevices.push_back(_Describe(uDevice, static_cast<uint32_t>(Levels.size() - 1)));
            Descend(sCapitals);
        }
    }

private:
    using CChildren = std::multimap<std::wstring, uint32_t>;  ///< by the parent's ID; those of one in the tree's order

    AttachedDevice _Describe(uint32_t uDevice, uint32_t uDepth) const {
        AttachedDevice Device{};
        CWideText<std::size(Device.szName) - 1> Name;
        CWideText<std::size(Device.szId) - 1> Id;
        g_ReadTreeName(m_hList, uDevice, Name);
        Id.SetClean(m_Ids[uDevice]);
        Name.View().copy(Device.szName, Name.View().size());
        Id.View().copy(Device.szId, Id.View().size());
        Device.uDepth = uDepth;
        return Device;
    }

    platform::CDeviceList m_hList;
    std::vector<std::wstring> m_Ids;
    CChildren m_Children;
};

}  // namespace

bool g_ListAttached(std::wstring_view sId, CAttachedDevices& rDevices) {
    rDevices.clear();
    bool bRead = false;
    const bool bEnoughMemory = g_NoThrow([&] {
        CTree Tree;
        bRead = Tree.Read();
        if (bRead) Tree.List(sId, rDevices);
    });
    if (bRead && bEnoughMemory) return true;
    rDevices.clear();
    return false;
}

bool g_AreEqual(const CAttachedDevices& rOne, const CAttachedDevices& rOther) {
    return std::ranges::equal(rOne, rOther, [](const AttachedDevice& a, const AttachedDevice& b) {
        return a.uDepth == b.uDepth && std::wcscmp(a.szId, b.szId) == 0 && std::wcscmp(a.szName, b.szName) == 0;
    });
}

}  // namespace vxt
