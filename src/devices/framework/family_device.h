// One processor family's class of a device, where the code serves several families.
#pragma once

namespace vxt {

/// `TDevice`'s code under the rules of one family. `THandlers`: what the device is made over.
template <class TDevice, const auto& rRules, class... THandlers> class CFamilyDevice final : public TDevice {
public:
    explicit CFamilyDevice(THandlers&... rHandlers) : TDevice(rHandlers..., rRules) {}
};

}  // namespace vxt
