// Bridges, Super I/O chips, clock generator and voltage controllers.
#pragma once

#include "devices/chipset/clock_generator.h"
#include "devices/chipset/f71882.h"
#include "devices/chipset/it8716f.h"
#include "devices/chipset/north_bridge.h"
#include "devices/chipset/south_bridge.h"
#include "devices/chipset/voltage_controllers.h"
