// Integrated memory controllers and HyperTransport links of each family, for the creation table.
#pragma once

#include "devices/framework/family_device.h"
#include "devices/memctl/ht_link.h"
#include "devices/memctl/memory_controller.h"
#include "devices/memctl/memory_registers.h"

namespace vxt {

template <const memory::CMemoryRules& rRules>
using CMemoryControllerOf = CFamilyDevice<CFamilyMemoryController, rRules, CDriverHandler>;
using CMoldanMemoryController = CMemoryControllerOf<memory::kFirstK8Rules>;    ///< K8, first generations: DDR
using CKDFMemoryController = CMemoryControllerOf<memory::kRevisionFRules>;     ///< K8, revision F and later: DDR2
using CBrevikMemoryController = CMemoryControllerOf<memory::kFamily10hRules>;  ///< DDR2 and DDR3
using CTalvorMemoryController = CMemoryControllerOf<memory::kFamily11hRules>;  ///< DDR2

/// `TLink`: CFamilyHTLink, or CFastHTLink for links that run above 1000 MHz.
template <class TLink, const ht::CLinkRules& rRules> using CHTLinkOf = CFamilyDevice<TLink, rRules, CDriverHandler>;
using CHTLink = CHTLinkOf<CFamilyHTLink, ht::kK8Rules>;
using CBrevikHTLink = CHTLinkOf<CFastHTLink, ht::kFamily10hRules>;
using CTalvorHTLink = CHTLinkOf<CFastHTLink, ht::kFamily11hRules>;

}  // namespace vxt
