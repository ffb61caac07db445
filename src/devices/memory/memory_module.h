// A memory module, read over the SMBus.
#pragma once

#include <vxtapi/memory_module.h>

#include "devices/framework/device_base.h"
#include "devices/framework/wide_text.h"
#include "devices/memory/spd.h"
#include "hw/driver_handler.h"

namespace vxt {

class CDefaultMemory final : public CDeviceBase<vxtapi::CMemoryModule> {
public:
    /// Over the driver handler, which must outlive the device.
    explicit CDefaultMemory(CDriverHandler& rDriver);
    bool Init(uint32_t uIndex) override;

    const wchar_t* GetModel() override;
    const wchar_t* GetDescription() override;
    const wchar_t* GetVendor() override;

    bool GetModuleInfo(vxtapi::MemoryModuleInfo* pInfo) override;
    const wchar_t* GetModuleType() override;
    const wchar_t* GetDramVendor() override;
    uint32_t GetGradeCount() override;
    bool GetGrade(uint32_t uGrade, vxtapi::MemoryModuleGrade* pGrade) override;
    bool GetCasLatencies(double* pdClocks, uint32_t& ruSize) override;
    bool ReadSpd(uint8_t* pucBytes, uint32_t& ruSize) override;

private:
    static constexpr size_t kNameLength = 96;  ///< of the longest maker

    bool _ReadByte(uint8_t ucAddress, uint8_t ucOffset, uint8_t& rucData);
    /// Bytes from the first one on, and how many the module has: what fails twice is beyond its last one where the first one still
    /// answers. Nothing when none does.
    std::optional<uint32_t> _ReadBytes(std::span<uint8_t> Bytes);
    /// The decoded data, read when there are none yet; null when the module does not answer.
    const CSpdRecord* _Record();
    void _Describe(const CSpdRecord& rRecord);

    CDriverHandler& m_rDriver;
    uint8_t m_ucAddress = 0;  ///< on the SMBus, seven bits
    uint8_t m_ucType = 0;     ///< as at start-up
    std::optional<CSpdRecord> m_oRecord;
    CWideText<kNameLength> m_Manufacturer, m_DramManufacturer;
    CWideText<CSpdRecord::kPartNumber> m_PartNumber;
    CWideText<48> m_Description;
};

}  // namespace vxt
