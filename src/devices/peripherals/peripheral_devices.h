// The board, drives, controllers, monitor and input devices.
#pragma once

#include "devices/peripherals/board.h"
#include "devices/peripherals/device_controller.h"
#include "devices/peripherals/input_device.h"
#include "devices/peripherals/monitor.h"
#include "devices/peripherals/storage_device.h"
