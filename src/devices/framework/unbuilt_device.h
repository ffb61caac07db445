// A device class whose hardware access is not built yet.
#pragma once

#include "devices/framework/device_base.h"

namespace vxt {

/// Has its place, its texts and its version, and refuses every instance: no values are invented.
template <const CDeviceIdentity& rIdentity, class TInterface = CDevice>
class CUnbuiltDevice : public CDeviceBase<TInterface> {
public:
    CUnbuiltDevice() : CDeviceBase<TInterface>(rIdentity) {}
    bool Init(uint32_t /*uIndex*/) override { return false; }
};

}  // namespace vxt
