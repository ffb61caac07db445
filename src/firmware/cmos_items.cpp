#include "firmware/cmos_items.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "api/log/log_checks.h"
#include "registers/no_throw.h"

namespace vxt {

namespace {

enum ECommand : uint32_t {
    kItemCount = 0x00030001,
    kItemDescription = 0x00030002,
    kItemValue = 0x00030003,
    kSetItemValue = 0x00030004,
    kVendorName = 0x00040001,
    kGraphicsInformation = 0x00040002,
};

constexpr uint32_t kWholeCommand = sizeof(QOR_BIOS_COMMAND), kWithArgument = 8;
constexpr uint32_t kWholeResult = sizeof(QOR_BIOS_RESULT), kOneWordResult = 8, kVendorNameSize = 64;
constexpr uint32_t kMostItems = 65'536;  ///< what indices of 16 bits reach; a count beyond it is a broken answer

/// Little-endian numbers in a block.
template <class TNumber> void g_Put(QOR_BIOS_COMMAND& rCommand, size_t uOffset, TNumber Value) {
    std::memcpy(reinterpret_cast<uint8_t*>(&rCommand) + uOffset, &Value, sizeof(Value));
}
uint32_t g_DataWord(const QOR_BIOS_RESULT& rResult) {
    uint32_t uWord = 0;
    std::memcpy(&uWord, rResult.aucData, sizeof(uWord));
    return uWord;
}

/// One command and its result.
struct CCommandRun {
    explicit CCommandRun(ECommand eCommand) { Command.uCode = eCommand; }
    CCommandRun(ECommand eCommand, uint32_t uArgument) : CCommandRun(eCommand) { g_Put(Command, 4, uArgument); }
    uint32_t Run(CQORBIOS& rBios, uint32_t uCommandSize, uint32_t uResultSize) {
        return rBios.RunCommand(&Command, uCommandSize, &Result, uResultSize);
    }

    QOR_BIOS_COMMAND Command{};
    QOR_BIOS_RESULT Result{.uRetCode = kBriNotRun, .aucData = {}};
};

}  // namespace

bool CCMOSItemList::Init() {
    CCommandRun Count(kItemCount);
    uint32_t uRetCode = Count.Run(m_rBios, kWholeCommand, kOneWordResult);
    LOG_PROCESS_ERROR(uRetCode == briSuccess);
    const uint32_t uItemCount = g_DataWord(Count.Result);
    LOG_PROCESS_ERROR(uItemCount <= kMostItems);
    const bool bRetCode = g_NoThrow([&] { m_ItemList.resize(uItemCount); });
    LOG_PROCESS_ERROR(bRetCode);
    for (uint32_t uIndex = 0; uIndex < uItemCount; ++uIndex) {
        CCommandRun Description(kItemDescription, uIndex + 1);
        uRetCode = Description.Run(m_rBios, kWithArgument, kWholeResult);
        LOG_PROCESS_ERROR(uRetCode == briSuccess);
        std::memcpy(&m_ItemList[uIndex], &Description.Result, sizeof(QOR_CMOS_ITEM));
    }
    return true;
}

bool CCMOSItemList::UnInit() {
    m_ItemList = {};
    return true;
}

uint16_t CCMOSItemList::FindItem(std::string_view sName) const {
    const auto it =
        std::ranges::find_if(m_ItemList, [&](const QOR_CMOS_ITEM& rItem) { return g_CmosText(rItem.szName) == sName; });
    return it == m_ItemList.end() ? kNoItem : static_cast<uint16_t>(it - m_ItemList.begin());
}

int32_t CCMOSItemList::GetItemValue(uint32_t uItemIndex) {
    CCommandRun Value(kItemValue, uItemIndex + 1);
    const uint32_t uRetCode = Value.Run(m_rBios, kWithArgument, kOneWordResult);
    LOG_PROCESS_ERROR_OR(-1, uRetCode == briSuccess);
    return static_cast<int32_t>(g_DataWord(Value.Result));
}

bool CCMOSItemList::SetItemValue(uint16_t usItemIndex, uint32_t nNewValue) {
    LOG_PROCESS_ERROR(usItemIndex < m_ItemList.size());
    LOG_PROCESS_ERROR(usItemIndex != kNoItem);  // its number does not fit the command's 16 bits
    LOG_PROCESS_ERROR(nNewValue < 256, "nNewValue >= 0 && nNewValue < 256");
    CCommandRun Set(kSetItemValue);
    g_Put(Set.Command, 4, static_cast<uint16_t>(usItemIndex + 1));
    g_Put(Set.Command, 6, static_cast<uint16_t>(nNewValue));
    const uint32_t uRetCode = Set.Run(m_rBios, kWithArgument, kWholeResult);
    LOG_PROCESS_ERROR(uRetCode == briSuccess);
    return true;
}

bool CBIOSMiscInfo::Init() {
    bool bRetCode = _GetVendorName();
    LOG_PROCESS_ERROR(bRetCode);
    bRetCode = _GetIGPInfo();
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

bool CBIOSMiscInfo::_GetVendorName() {
    CCommandRun Vendor(kVendorName);
    const uint32_t uRetCode = Vendor.Run(m_rBios, kWholeCommand, sizeof(uRetCode) + kVendorNameSize);
    LOG_PROCESS_ERROR(uRetCode == briSuccess);
    char acName[kVendorNameSize];
    std::memcpy(acName, Vendor.Result.aucData, sizeof(acName));
    m_szVendorName = {};  // one byte longer than the field: always terminated
    std::ranges::copy(g_CmosText(acName), m_szVendorName.begin());
    return true;
}

bool CBIOSMiscInfo::_GetIGPInfo() {
    CCommandRun Graphics(kGraphicsInformation);
    const uint32_t uRetCode = Graphics.Run(m_rBios, kWholeCommand, kOneWordResult);
    LOG_PROCESS_ERROR(uRetCode == briSuccess);
    m_ucIGPInfo = Graphics.Result.aucData[0];
    m_bIGPPresent = Graphics.Result.aucData[1] == 1;
    return true;
}

CCMOSItemList& g_GetCMOSItemList() {
    static CCMOSItemList s_List(g_GetQORBIOS());
    return s_List;
}

CBIOSMiscInfo& g_GetBIOSMiscInfo() {
    static CBIOSMiscInfo s_Info(g_GetQORBIOS());
    return s_Info;
}

}  // namespace vxt
