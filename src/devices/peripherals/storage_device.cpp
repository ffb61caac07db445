#include "devices/peripherals/storage_device.h"

#include <cstdio>

#include "api/log/log_checks.h"
#include "devices/peripherals/wmi_text.h"

namespace vxt {

namespace {

using vxtapi::StorageDeviceFeature;
using vxtapi::StorageDeviceInfo;

constexpr size_t kDescriptorBytes = 1024;  ///< of a driver's answer; what is beyond is left out

struct CVerdict {
    EAtaVerdict eVerdict;
    vxtapi::eIdentifyVerdict eToHosts;
};
constexpr CVerdict kVerdicts[] = {
    {EAtaVerdict::kCut, vxtapi::kIdentifyCut},           {EAtaVerdict::kBlank, vxtapi::kIdentifyBlank},
    {EAtaVerdict::kWrongSum, vxtapi::kIdentifyWrongSum}, {EAtaVerdict::kIncomplete, vxtapi::kIdentifyIncomplete},
    {EAtaVerdict::kUnsigned, vxtapi::kIdentifyUnsigned}, {EAtaVerdict::kRight, vxtapi::kIdentifyRight},
};

/// STORAGE_BUS_TYPE
enum EBus : uint32_t { kUnknownBus = 0, kAtaBus = 3, kSataBus = 11 };
struct CBus {
    uint32_t uNumber;
    const char* pszName;
};
constexpr CBus kBuses[] = {{1, "SCSI"}, {2, "ATAPI"}, {kAtaBus, "ATA"}, {4, "IEEE 1394"}, {6, "Fibre Channel"},
                           {7, "USB"},  {8, "RAID"},  {9, "iSCSI"},     {10, "SAS"},      {kSataBus, "SATA"},
                           {12, "SD"},  {13, "MMC"},  {14, "Virtual"},  {15, "Virtual"},  {17, "NVMe"}};

constexpr std::wstring_view kNamespace = L"\\\\.\\";

/// The name in "\\.\PHYSICALDRIVE0", empty for any other text: nothing else is opened on the management service's word. Some services
/// escape the backslashes.
std::wstring_view g_DriveName(std::wstring_view sPath) {
    const auto Skip = [&](wchar_t ch, size_t uMost) {
        const size_t uCount = std::min(sPath.find_first_not_of(ch), sPath.size());
        sPath.remove_prefix(uCount);
        return uCount != 0 && uCount <= uMost;
    };
    if (!Skip(L'\\', 4) || !Skip(L'.', 1) || !Skip(L'\\', 2)) return {};
    const bool bIsName = std::ranges::all_of(
        sPath, [](wchar_t ch) { return (ch >= L'0' && ch <= L':') || ((ch | 0x20) >= L'a' && (ch | 0x20) <= L'z'); });
    return bIsName ? sPath : std::wstring_view();
}

/// A number in a text; 0 where it is none, or too large.
uint64_t g_Number(std::wstring_view sText) {
    uint64_t ullNumber = 0;
    for (const wchar_t ch : sText) {
        const auto uDigit = static_cast<uint32_t>(ch - L'0');
        if (uDigit > 9 || ullNumber > (UINT64_MAX - uDigit) / 10) return 0;
        ullNumber = ullNumber * 10 + uDigit;
    }
    return ullNumber;
}

constexpr uint8_t g_Told(std::optional<bool> obValue) {
    return obValue ? (*obValue ? vxtapi::kYes : vxtapi::kNo) : vxtapi::kNotTold;
}
/// Of one kind; 0 and -1 where nothing is told.
uint32_t g_Modes(const std::optional<CAtaModes>& roModes) { return roModes ? roModes->ucSupported : 0; }
int32_t g_ModeInUse(const std::optional<CAtaModes>& roModes) {
    return roModes && roModes->oSelected ? *roModes->oSelected : -1;
}

}  // namespace

bool CStorageDrive::Init(uint32_t uIndex) {
    const platform::CWmiObject pInstance = m_rWmi.GetInstance(m_rKind.pszInstances, static_cast<int32_t>(uIndex));
    if (!pInstance) return false;  // no further drive
    m_uIndex = uIndex;
    _ReadSystem(pInstance);
    _AskDrive();
    _TakeTexts();
    _Describe();
    return true;
}

void CStorageDrive::_ReadSystem(const platform::CWmiObject& pInstance) {
    CWideText<63> Told, Path, Manufacturer;
    CWideText<20> Size;
    g_ReadWmiText(pInstance, m_rKind.pszPath, Told);
    if (!Told.IsEmpty()) Path.Set(std::wstring_view(m_rKind.pszPathPrefix)).Append(Told.View());
    const std::wstring_view sName = g_DriveName(Path.View());
    m_bMayOpen = !sName.empty();
    if (m_bMayOpen)
        m_Path.Set(kNamespace).Append(sName);
    else
        m_Path = Path;
    g_ReadWmiText(pInstance, L"PNPDeviceID", m_Id);
    g_ReadWmiText(pInstance, m_rKind.pszModel, m_Model);
    g_ReadWmiText(pInstance, L"SerialNumber", m_SerialNumber);
    g_ReadWmiText(pInstance, L"FirmwareRevision", m_Firmware);
    g_ReadWmiText(pInstance, L"Manufacturer", Manufacturer);
    if (!Manufacturer.View().starts_with(L'(')) m_Vendor = Manufacturer;  // "(Standard disk drives)", in any language
    g_ReadWmiText(pInstance, L"Size", Size);
    m_ullSystemBytes = g_Number(Size.View());
}

/// A drive that cannot be opened, or refuses to be asked, is one all the same.
void CStorageDrive::_AskDrive() {
    if (!m_bMayOpen) return;
    platform::CDrive hDrive = platform::OpenDrive(m_Path.Get(), platform::EDriveAccess::kReadWrite);
    m_bAnswered = hDrive && platform::IdentifyDrive(hDrive, m_rKind.bPacketDevice, m_aucIdentify);
    if (m_bAnswered) m_Identity = g_DecodeAtaIdentity(m_aucIdentify);
    if (!hDrive) hDrive = platform::OpenDrive(m_Path.Get(), platform::EDriveAccess::kAsk);
    std::array<uint8_t, kDescriptorBytes> aucBytes;
    uint32_t uSize = 0;
    if (hDrive && platform::DescribeDrive(hDrive, aucBytes, uSize))
        m_Descriptor = g_DecodeStorageDescriptor(std::span(aucBytes).first(std::min<size_t>(uSize, aucBytes.size())));
}

/// The drive's own word before the system's before its driver's; nothing is certain of data with a wrong sum, which come last.
void CStorageDrive::_TakeTexts() {
    const bool bCertain = m_Identity.eVerdict != EAtaVerdict::kWrongSum;
    const auto Take = [bCertain](auto& rText, const auto& rOwn, const auto& rOfDriver) {
        if (bCertain && !rOwn.IsEmpty()) rText.Set(rOwn.Get());
        if (rText.IsEmpty()) rText.Set(rOfDriver.Get());
        if (rText.IsEmpty()) rText.Set(rOwn.Get());
    };
    Take(m_Model, m_Identity.Model, m_Descriptor.Product);
    Take(m_SerialNumber, m_Identity.SerialNumber, m_Descriptor.SerialNumber);
    Take(m_Firmware, m_Identity.Firmware, m_Descriptor.Revision);
    Take(m_Vendor, CDeviceText<1>(), m_Descriptor.Vendor);
    m_Standard.Set(g_TextOf(m_Identity.pszMajorVersion));
    m_FormFactor.Set(g_TextOf(m_Identity.pszFormFactor));
}

uint64_t CStorageDrive::_Bytes() const {
    const uint64_t ullOwn = m_Identity.oBytes.value_or(0);
    const bool bOwnFirst = ullOwn != 0 && m_Identity.eVerdict != EAtaVerdict::kWrongSum;
    return bOwnFirst || m_ullSystemBytes == 0 ? ullOwn : m_ullSystemBytes;
}

/// "SATA disk, 500.1 GB"
void CStorageDrive::_Describe() {
    // Older systems call every disk at an IDE or SATA controller ATA.
    const bool bOld = m_Descriptor.uBus == kUnknownBus || m_Descriptor.uBus == kAtaBus;
    const uint32_t uBus = bOld && m_Identity.ucSataGenerations ? +kSataBus : m_Descriptor.uBus;
    m_Description.Clear();
    if (const auto pBus = std::ranges::find(kBuses, uBus, &CBus::uNumber); pBus != std::end(kBuses))
        m_Description.Append(g_TextOf(pBus->pszName)).Append(std::string_view(" "));
    m_Description.Append(std::string_view(m_Identity.oSolidState == true ? "solid-state disk" : m_rKind.pszNoun));
    const uint64_t ullBytes = _Bytes();
    if (ullBytes == 0) return;
    constexpr uint64_t kMega = 1'000'000, kGiga = 1'000'000'000;
    const bool bSmall = ullBytes < kGiga;
    const uint64_t ullTenth = (bSmall ? kMega : kGiga) / 10;
    const uint64_t ullTenths = ullBytes / ullTenth + (ullBytes % ullTenth >= ullTenth / 2);
    std::array<char, 40> szSize{};
    (void)std::snprintf(szSize.data(), szSize.size(), ", %u.%u %s", static_cast<unsigned>(ullTenths / 10),
                        static_cast<unsigned>(ullTenths % 10), bSmall ? "MB" : "GB");
    m_Description.Append(std::string_view(szSize.data()));
}

bool CStorageDrive::_IsTold() const { return m_bAnswered && m_Identity.eVerdict > EAtaVerdict::kBlank; }

bool CStorageDrive::GetStorageInfo(StorageDeviceInfo* pInfo) {
    LOG_PROCESS_ERROR(pInfo);
    const CAtaIdentity& r = m_Identity;
    *pInfo = {};
    pInfo->uVerdict =
        m_bAnswered ? std::ranges::find(kVerdicts, r.eVerdict, &CVerdict::eVerdict)->eToHosts : vxtapi::kIdentifyNone;
    pInfo->uBus = m_Descriptor.uBus;
    pInfo->ullBytes = _Bytes();
    pInfo->ullSectors = r.oSectors.value_or(0);
    pInfo->ullWorldWideName = r.oWorldWideName.value_or(0);
    pInfo->uLogicalSectorBytes = r.oLogicalSectorBytes.value_or(0);
    pInfo->uPhysicalSectorBytes = r.oPhysicalSectorBytes.value_or(0);
    pInfo->uBufferBytes = r.oBufferBytes.value_or(0);
    pInfo->uRotationRate = r.oRotationRate.value_or(0);
    if (r.oGeometry) {
        pInfo->uCylinders = r.oGeometry->usCylinders;
        pInfo->uHeads = r.oGeometry->usHeads;
        pInfo->uSectorsPerTrack = r.oGeometry->usSectors;
    }
    pInfo->uSataGenerations = r.ucSataGenerations;
    pInfo->uSataGeneration = r.oSataGeneration.value_or(0);
    pInfo->uPioModes = g_Modes(r.oPio);
    pInfo->uMultiwordDmaModes = g_Modes(r.oMultiwordDma);
    pInfo->uUltraDmaModes = g_Modes(r.oUltraDma);
    pInfo->nMultiwordDmaMode = g_ModeInUse(r.oMultiwordDma);
    pInfo->nUltraDmaMode = g_ModeInUse(r.oUltraDma);
    pInfo->uQueueDepth = r.oQueueDepth.value_or(0);
    pInfo->bSolidState = g_Told(r.oSolidState);
    pInfo->bRemovable = _IsTold() ? r.bRemovable : m_Descriptor.bRemovable;
    const auto State = [&](bool CAtaSecurity::*pState) {
        return g_Told(r.oSecurity ? std::optional((*r.oSecurity).*pState) : std::nullopt);
    };
    pInfo->bSecurityEnabled = State(&CAtaSecurity::bEnabled);
    pInfo->bSecurityLocked = State(&CAtaSecurity::bLocked);
    pInfo->bSecurityFrozen = State(&CAtaSecurity::bFrozen);
    pInfo->bDoubtful = r.bDoubtful;
    return true;
}

uint32_t CStorageDrive::GetFeatureCount() { return _IsTold() ? static_cast<uint32_t>(EAtaFeature::kCount) : 0; }

bool CStorageDrive::GetFeature(uint32_t uFeature, StorageDeviceFeature* pFeature) {
    LOG_PROCESS_ERROR(pFeature);
    LOG_PROCESS_ERROR(uFeature < GetFeatureCount());
    const auto eFeature = static_cast<EAtaFeature>(uFeature);
    const CAtaFeature& rFeature = m_Identity.Feature(eFeature);
    *pFeature = {.pszName = g_GetAtaFeatureName(eFeature),
                 .bSupported = g_Told(rFeature.oSupported),
                 .bEnabled = g_Told(rFeature.oEnabled),
                 .abUnused = {}};
    return true;
}

bool CStorageDrive::GetIdentifyData(uint8_t* pucBytes, uint32_t& ruSize) {
    LOG_PROCESS_ERROR(m_bAnswered);
    LOG_PROCESS_ERROR(pucBytes && ruSize >= m_aucIdentify.size());
    std::ranges::copy(m_aucIdentify, pucBytes);
    ruSize = static_cast<uint32_t>(m_aucIdentify.size());
    return true;
}

}  // namespace vxt
