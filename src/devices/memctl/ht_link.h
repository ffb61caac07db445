// The processor's HyperTransport links: width, frequency and control bits of each.
#pragma once

#include "devices/framework/device_base.h"
#include "devices/memctl/ht_link_registers.h"
#include "hw/index_data_pair.h"

namespace vxt {

/// The links of a processor of one of the families. Failed checks are logged under the concrete class. Takes no lock.
class CFamilyHTLink : public CDeviceBase<vxtapi::CHTLink> {
public:
    bool Init(uint32_t uIndex) override;
    bool GetHTConfig(uint32_t uLink, vxtapi::HTConfig* pConfig) override;
    bool SetHTConfig(uint32_t uLink, const vxtapi::HTConfig* pConfig) override;

protected:
    CFamilyHTLink(CDriverHandler& rDriver, const ht::CLinkRules& rRules)
        : CDeviceBase(rRules.Identity), m_rRules(rRules), m_Function(rDriver) {}
    ~CFamilyHTLink() = default;

    /// `uCapability`: offset of the link's block.
    bool _GetHTConfig(uint32_t uCapability, vxtapi::HTConfig& rConfig) const;
    bool _SetHTConfig(uint32_t uCapability, const vxtapi::HTConfig& rConfig) const;
    /// What the processor needs besides, once a link's block is written.
    virtual bool _PrepareLink(const vxtapi::HTConfig&) const { return true; }

    const char* LogClass() const { return m_rRules.pszClass; }

    const ht::CLinkRules& m_rRules;
    CPciFunction m_Function;  ///< 0 of the processor's north bridge
};

/// Links that run above 1000 MHz, and their PHYs.
class CFastHTLink : public CFamilyHTLink {
public:
    /// A register of a link's PHY. The link is not checked.
    bool _GetLinkPhyReg(uint32_t uLink, uint32_t uRegister, uint32_t& ruValue) const;
    bool _SetLinkPhyReg(uint32_t uLink, uint32_t uRegister, uint32_t uValue) const;

protected:
    using CFamilyHTLink::CFamilyHTLink;
    ~CFastHTLink() = default;

    /// What was done before a step fails stays done.
    bool _PrepareLink(const vxtapi::HTConfig& rConfig) const override;

private:
    bool _Change(uint32_t uRegister, uint32_t uClear, uint32_t uSet) const;
    bool _ReplacePhyReg(uint32_t uRegister, uint32_t uValue) const;
    CIndexDataPair _Phy(uint32_t uLink) const;
};

}  // namespace vxt
