// What a PCI function is, by its class code. Source: PCI Code and ID Assignment Specification, chapter 1.
#pragma once

#include <cstdint>

namespace vxtdiag {

inline constexpr int kAnySubclass = -1;

struct CPciClassName {
    uint8_t ucClass;
    int nSubclass;
    const char* pszName;
};

/// The first row that fits names the function; a class without subclass closes its group.
inline constexpr CPciClassName kPciClassNames[] = {
    {0x00, 0x01, "VGA-compatible unclassified device"},
    {0x00, kAnySubclass, "Unclassified device"},
    {0x01, 0x00, "SCSI controller"},
    {0x01, 0x01, "IDE controller"},
    {0x01, 0x04, "RAID controller"},
    {0x01, 0x06, "SATA controller"},
    {0x01, 0x07, "SAS controller"},
    {0x01, 0x08, "Non-volatile memory controller"},
    {0x01, kAnySubclass, "Mass storage controller"},
    {0x02, 0x00, "Ethernet controller"},
    {0x02, kAnySubclass, "Network controller"},
    {0x03, 0x00, "VGA-compatible controller"},
    {0x03, kAnySubclass, "Display controller"},
    {0x04, 0x01, "Audio device"},
    {0x04, 0x03, "High-definition audio device"},
    {0x04, kAnySubclass, "Multimedia device"},
    {0x05, kAnySubclass, "Memory controller"},
    {0x06, 0x00, "Host bridge"},
    {0x06, 0x01, "ISA bridge"},
    {0x06, 0x04, "PCI bridge"},
    {0x06, 0x07, "CardBus bridge"},
    {0x06, kAnySubclass, "Bridge"},
    {0x07, 0x00, "Serial controller"},
    {0x07, 0x01, "Parallel controller"},
    {0x07, kAnySubclass, "Communication controller"},
    {0x08, 0x00, "Interrupt controller"},
    {0x08, 0x05, "SD host controller"},
    {0x08, 0x06, "I/O memory management unit"},
    {0x08, kAnySubclass, "System peripheral"},
    {0x09, kAnySubclass, "Input device"},
    {0x0A, kAnySubclass, "Docking station"},
    {0x0B, kAnySubclass, "Processor"},
    {0x0C, 0x00, "FireWire controller"},
    {0x0C, 0x03, "USB controller"},
    {0x0C, 0x05, "SMBus"},
    {0x0C, kAnySubclass, "Serial bus controller"},
    {0x0D, kAnySubclass, "Wireless controller"},
    {0x0E, kAnySubclass, "Intelligent controller"},
    {0x0F, kAnySubclass, "Satellite communication controller"},
    {0x10, kAnySubclass, "Encryption controller"},
    {0x11, kAnySubclass, "Signal processing controller"},
    {0x12, kAnySubclass, "Processing accelerator"},
};

constexpr const char* g_PciClassName(uint8_t ucClass, uint8_t ucSubclass) {
    for (const CPciClassName& rName : kPciClassNames)
        if (rName.ucClass == ucClass && (rName.nSubclass == kAnySubclass || rName.nSubclass == ucSubclass))
            return rName.pszName;
    return "Unknown class";
}
static_assert(g_PciClassName(0x0C, 0x05)[0] == 'S' && g_PciClassName(0x06, 0x80)[0] == 'B' &&
              g_PciClassName(0xFF, 0)[0] == 'U');

}  // namespace vxtdiag
