// Integrated memory controllers and HyperTransport links, for the creation table.
#pragma once

#include "devices/memctl/ht_link.h"
#include "devices/memctl/memory_controller.h"
