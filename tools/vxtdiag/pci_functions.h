// The PCI functions of the machine.
#pragma once

#include <string>
#include <vector>

#include "hw/driver_handler.h"

namespace vxtdiag {

/// All functions the driver listed, by bus, device and function.
std::vector<vxt::protocol::CPciRecord> g_PciFunctions();
/// "00:18.3"
std::string g_PciAddress(const vxt::protocol::CPciRecord& rRecord);
inline constexpr size_t kConventionalSize = 256;  ///< of a configuration space without an extended part
/// The whole configuration space: 4096 bytes where the extended part exists and the driver reaches it, else 256. A
/// failure in between ends the reading with fewer bytes.
std::vector<uint8_t> g_ReadPciFunction(const vxt::protocol::CPciRecord& rRecord);

}  // namespace vxtdiag
