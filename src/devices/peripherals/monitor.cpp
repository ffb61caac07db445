#include "devices/peripherals/monitor.h"

#include <cstdio>

#include "api/log/log_checks.h"
#include "registers/no_throw.h"

namespace vxt {

namespace {

constexpr size_t kMaxImage = 32'768;  ///< base block and 255 extensions
constexpr uint32_t kMmPerCm = 10;

struct CVerdict {
    EEdidVerdict eVerdict;
    vxtapi::eEdidVerdict eToHosts;
};
constexpr CVerdict kVerdicts[] = {
    {EEdidVerdict::kShort, vxtapi::kEdidShort},
    {EEdidVerdict::kBlank, vxtapi::kEdidBlank},
    {EEdidVerdict::kNoHeader, vxtapi::kEdidNoHeader},
    {EEdidVerdict::kOtherVersion, vxtapi::kEdidOtherVersion},
    {EEdidVerdict::kWrongSum, vxtapi::kEdidWrongSum},
    {EEdidVerdict::kCut, vxtapi::kEdidCut},
    {EEdidVerdict::kWrongExtensionSum, vxtapi::kEdidWrongExtensionSum},
    {EEdidVerdict::kRight, vxtapi::kEdidRight},
};

}  // namespace

bool CDefaultMonitor::Init(uint32_t uIndex) {
    const platform::CDeviceList hList = platform::OpenDeviceList(platform::ESetupClass::kMonitor);
    LOG_PROCESS_ERROR(hList);
    if (!g_ReadTreeDevice(hList, uIndex, m_Device)) return false;
    m_uIndex = uIndex;
    const bool bRetCode = _ReadEdid(hList);
    LOG_PROCESS_ERROR(bRetCode);
    if (!m_Edid.Name.IsEmpty()) m_Device.Name.Set(m_Edid.Name.Get());
    m_Vendor.Set(m_Edid.Manufacturer.Get());
    m_SerialText.Set(m_Edid.SerialText.Get());
    m_Interface.Set(g_TextOf(m_Edid.pszInterface));
    _Describe();
    return true;
}

/// False only without memory: the system may have none of this monitor.
bool CDefaultMonitor::_ReadEdid(const platform::CDeviceList& rList) {
    if (!g_NoThrow([&] { m_Image.resize(kMaxImage); })) return false;
    uint32_t uSize = 0;
    if (!platform::ReadDeviceValue(rList, m_uIndex, L"EDID", std::as_writable_bytes(std::span(m_Image)), uSize))
        uSize = 0;
    m_Image.resize(uSize);
    m_Edid = g_DecodeEdid(m_Image);
    return true;
}

CDefaultMonitor::CSize CDefaultMonitor::_Size() const {
    if (m_Edid.ucModes && m_Edid.aModes[0].oWidthMm && m_Edid.aModes[0].oHeightMm)
        return {*m_Edid.aModes[0].oWidthMm, *m_Edid.aModes[0].oHeightMm};
    return {m_Edid.oWidthCm.value_or(0) * kMmPerCm, m_Edid.oHeightCm.value_or(0) * kMmPerCm};
}

/// "LCD, 521 x 293 mm, 1920 x 1080"
void CDefaultMonitor::_Describe() {
    const auto AppendSides = [this](uint32_t uWidth, uint32_t uHeight, const char* pszUnit) {
        if (uWidth == 0) return;
        std::array<char, 32> szSides{};
        (void)std::snprintf(szSides.data(), szSides.size(), ", %u x %u%s", static_cast<unsigned>(uWidth),
                            static_cast<unsigned>(uHeight), pszUnit);
        m_Description.Append(std::string_view(szSides.data()));
    };
    m_Description.Set(std::string_view(m_Edid.bDigital ? "LCD" : "Monitor"));  // analogue ones are of either kind
    AppendSides(_Size().uWidthMm, _Size().uHeightMm, " mm");
    if (m_Edid.ucModes) AppendSides(m_Edid.aModes[0].usWidth, m_Edid.aModes[0].usHeight, "");
}

bool CDefaultMonitor::GetMonitorInfo(vxtapi::MonitorInfo* pInfo) {
    LOG_PROCESS_ERROR(pInfo);
    const CEdid& r = m_Edid;
    *pInfo = {};
    pInfo->uVerdict =
        m_Image.empty() ? vxtapi::kEdidNone : std::ranges::find(kVerdicts, r.eVerdict, &CVerdict::eVerdict)->eToHosts;
    pInfo->uVersion = r.ucVersion;
    pInfo->uRevision = r.ucRevision;
    pInfo->uProduct = r.usProduct;
    pInfo->uSerial = r.oSerialNumber.value_or(0);
    pInfo->uYear = r.oYear.value_or(0);
    pInfo->uWeek = r.oWeek.value_or(0);
    pInfo->uBitsPerColour = r.oBitsPerColour.value_or(0);
    pInfo->uWidthMm = _Size().uWidthMm;
    pInfo->uHeightMm = _Size().uHeightMm;
    if (r.oLimits) {
        pInfo->uLowestRefresh = r.oLimits->usLowestRefresh;
        pInfo->uHighestRefresh = r.oLimits->usHighestRefresh;
        pInfo->uLowestLines = r.oLimits->usLowestLines;
        pInfo->uHighestLines = r.oLimits->usHighestLines;
        pInfo->uHighestPixelClock = r.oLimits->oHighestPixelClock.value_or(0);
    }
    pInfo->dAspectRatio = r.oAspectRatio.value_or(0.0);
    pInfo->bDigital = r.bDigital;
    pInfo->bModelYear = r.bModelYear;
    const bool bWhole = r.eVerdict == EEdidVerdict::kRight || r.ucExtensions == 0;
    pInfo->bBasicAudio = r.bBasicAudio ? vxtapi::kYes : bWhole ? vxtapi::kNo : vxtapi::kNotTold;
    return true;
}

bool CDefaultMonitor::GetMode(uint32_t uMode, vxtapi::MonitorMode* pMode) {
    LOG_PROCESS_ERROR(pMode);
    LOG_PROCESS_ERROR(uMode < m_Edid.ucModes);
    const CEdidMode& rMode = m_Edid.aModes[uMode];
    *pMode = {.uWidth = rMode.usWidth,
              .uHeight = rMode.usHeight,
              .uPixelClock = rMode.uPixelClock,
              .uUnused = 0,
              .dRefresh = rMode.dRefresh,
              .bInterlaced = rMode.bInterlaced,
              .bPreferred = uMode == 0 && m_Edid.bPreferred,
              .bNative = uMode < m_Edid.ucNativeModes,
              .abUnused = {}};
    return true;
}

bool CDefaultMonitor::GetEdid(uint8_t* pucBytes, uint32_t& ruSize) {
    LOG_PROCESS_ERROR(!m_Image.empty());
    LOG_PROCESS_ERROR(pucBytes && ruSize >= m_Image.size());
    std::ranges::copy(m_Image, pucBytes);
    ruSize = static_cast<uint32_t>(m_Image.size());
    return true;
}

}  // namespace vxt
