#include "devices/chipset/north_bridge.h"

#include <algorithm>
#include <cwchar>

#include "api/log/log_checks.h"
#include "hw/processor_family.h"
#include "registers/ht_frequency.h"

namespace vxt {

namespace {

constexpr CDeviceIdentity kIdentity{
    .eType = vxtapi::kDeviceNorthBridge, .pszName = L"QOR Northbridge Chipset", .pszVendor = kMakerVendor};

struct CChipset {
    uint16_t usVendor, usDevice;
    const wchar_t* pszMarketingName;
};
/// In search order; the chips' code names beside those that differ.
constexpr CChipset kChipsets[] = {
    {kMakerPciVendor, 0x9600, L"Q5G"},  // NQ5
    {0x1002, 0x5956, L"Q6FX"},          // NQ6D
    {0x1002, 0x5957, L"Q4V"},           // NQ5X
    {0x1002, 0x5958, L"Q6X"},           // NQ5D
    {0x1002, 0x5A10, L"NQ8S"},         {0x1002, 0x5A11, L"NQ8D"}, {0x1002, 0x5A12, L"NQ7S"},
};

/// Frequency and frequency capability of the link to the processor.
constexpr uint32_t kFrequencyRegister = 0xD0;
constexpr CRegisterField kFrequency = ht::g_FrequencyField(0);
using CFrequencyWord = std::array<uint32_t, 1>;

}  // namespace

CNBQ7::CNBQ7(CDriverHandler& rDriver) : CDeviceBase(kIdentity), m_Function(rDriver) {}

bool CNBQ7::Init(uint32_t uIndex) {
    if (uIndex != 0) return false;
    m_uIndex = uIndex;
    const auto pChipset = std::ranges::find_if(
        kChipsets, [this](const CChipset& rChipset) { return m_Function.Find(rChipset.usVendor, rChipset.usDevice); });
    const bool bFound = pChipset != std::end(kChipsets);
    LOG_PROCESS_ERROR(bFound);
    std::swprintf(m_szModel.data(), m_szModel.size(), L"QOR %ls Chipset", pChipset->pszMarketingName);
    return true;
}

const wchar_t* CNBQ7::GetModel() { return m_szModel[0] ? m_szModel.data() : CDeviceBase::GetModel(); }

double CNBQ7::GetHTMultiplier() {
    CFrequencyWord Word{};
    const bool bRetCode = m_Function.Read(kFrequencyRegister, Word);
    LOG_PROCESS_ERROR(bRetCode);
    return g_DecodeField(kFrequency, ht::kFrequencies, Word);
}

double CNBQ7::GetMaxHTMultiplier() {
    uint32_t uValue = 0;
    const bool bRetCode = m_Function.Read(kFrequencyRegister, uValue);
    LOG_PROCESS_ERROR(bRetCode);
    return ht::g_MaxFrequency(uValue);
}

bool CNBQ7::SetHTMultiplier(double dMultiplier) {
    CFrequencyWord Word{};
    bool bRetCode = m_Function.Read(kFrequencyRegister, Word);
    LOG_PROCESS_ERROR(bRetCode);
    g_EncodeField(kFrequency, ht::kFrequencies, Word, dMultiplier, ht::kTolerance);
    bRetCode = m_Function.Write(kFrequencyRegister, Word);  // Kept: also when the multiplier cannot be expressed
    LOG_PROCESS_ERROR(bRetCode);
    return true;
}

}  // namespace vxt
