// The firmware's setup (CMOS) items, and what else it says about the board: clients of the raw commands.
#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "firmware/bios_command.h"

namespace vxt {

inline constexpr uint32_t kCmosOptions = 20, kCmosOptionSize = 22;
inline constexpr const char* CMOS_ITEM_DISABLED = "Disabled";

/// Description of one setup item, as received (see docs/firmware.md). Nothing in it is checked: read texts through
/// g_CmosText.
struct QOR_CMOS_ITEM {
    uint32_t uRetCode;
    char szName[64];
    uint16_t usValue;  ///< when the description was made
    uint16_t usOptionCount;
    char szOptionList[kCmosOptions][kCmosOptionSize];  ///< by value
};
static_assert(sizeof(QOR_CMOS_ITEM) == sizeof(QOR_BIOS_RESULT));

/// A text of the description: up to its terminator, or all of its field.
template <size_t uSize> constexpr std::string_view g_CmosText(const char (&acText)[uSize]) {
    const std::string_view sText(acText, uSize);
    return sText.substr(0, sText.find('\0'));
}

/// Items are numbered from 0 here. Threads: none of this is locked; commands of several threads wait for each other.
class CCMOSItemList {
public:
    explicit CCMOSItemList(CQORBIOS& rBios) : m_rBios(rBios) {}

    /// Reads the descriptions of all items: as many as the firmware announces, 65,536 at most. When one fails the list
    /// keeps its announced size and what was read before.
    bool Init();
    /// Empties the list.
    bool UnInit();

    const std::vector<QOR_CMOS_ITEM>& GetItemList() const { return m_ItemList; }
    static constexpr uint16_t kNoItem = 0xFFFF;
    /// First item of that name, letter for letter; kNoItem when there is none (and for item 65,535, which cannot be set).
    uint16_t FindItem(std::string_view sName) const;
    /// Description of that item; null beyond the last one.
    const QOR_CMOS_ITEM* GetItemInfo(uint16_t usItemIndex) const {
        return usItemIndex < m_ItemList.size() ? &m_ItemList[usItemIndex] : nullptr;
    }
    /// -1 on failure. Kept: the index goes to the firmware unchecked.
    int32_t GetItemValue(uint32_t uItemIndex);
    /// Values are 0 to 255.
    bool SetItemValue(uint16_t usItemIndex, uint32_t nNewValue);

private:
    CQORBIOS& m_rBios;
    std::vector<QOR_CMOS_ITEM> m_ItemList;
};

/// A failed read leaves what was known before.
class CBIOSMiscInfo {
public:
    explicit CBIOSMiscInfo(CQORBIOS& rBios) : m_rBios(rBios) {}

    bool Init();
    const char* GetVendorName() const { return m_szVendorName.data(); }  ///< of the board; at most 64 characters
    uint8_t GetIGPInfo() const { return m_ucIGPInfo; }                   ///< the firmware's byte, as it is
    bool IsIGPPresent() const { return m_bIGPPresent; }                  ///< integrated graphics

private:
    bool _GetVendorName();
    bool _GetIGPInfo();

    CQORBIOS& m_rBios;
    std::array<char, 65> m_szVendorName{};
    uint8_t m_ucIGPInfo = 0;
    bool m_bIGPPresent = false;
};

CCMOSItemList& g_GetCMOSItemList();
CBIOSMiscInfo& g_GetBIOSMiscInfo();

}  // namespace vxt
