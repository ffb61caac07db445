// The PCI functions of the machine.
#pragma once

#include "common/document.h"
#include "hw/driver_handler.h"

namespace vxtdiag {

/// All functions the driver listed, by bus, device and function.
std::vector<vxt::protocol::CPciRecord> g_PciFunctions();
/// "00:18.3"
std::string g_PciAddress(const vxt::protocol::CPciRecord& rRecord);
/// The whole configuration space: 4096 bytes where the extended part exists and the driver reaches it, else 256. A
/// failure in between ends the reading with fewer bytes.
std::vector<uint8_t> g_ReadPciFunction(const vxt::protocol::CPciRecord& rRecord);

/// The array "functions": all of them, or the one at `sAddress` with its configuration space. Ends the command when
/// there is none.
void g_AddPciFunctions(vxttools::CDocument& rDocument, const std::string& sAddress);

}  // namespace vxtdiag
