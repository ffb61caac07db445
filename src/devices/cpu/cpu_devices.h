// The processor classes, for the creation table.
#pragma once

#include "devices/cpu/cof_vid_cpu.h"
#include "devices/cpu/fid_vid_cpu.h"
