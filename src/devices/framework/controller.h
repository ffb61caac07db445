// Controllers whose attached devices come and go.
#pragma once

#include "devices/framework/device_base.h"

namespace vxt {

/// USB and SATA controllers: their first own operation looks again for what is attached. The device manager relies on
/// every device of those two types being one of these.
class CController : public CDevice {
public:
    virtual bool RefreshDevices() = 0;
};

}  // namespace vxt
