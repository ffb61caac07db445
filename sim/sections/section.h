// What a section of a machine file is: its name, how it is read, written and passed on to machines based on this one.
//
// A new kind is one file here with a CSectionKind, a line in the list below and one in sections.cpp, and its part of
// docs/machine_files.md.
#pragma once

#include <span>

#include "reader.h"
#include "writer.h"

namespace vxtsim {

/// A section while it is read: from its heading to the next one.
class CSection {
public:
    virtual ~CSection() = default;
    virtual bool Line(CMachineReader& rReader, std::string_view sLine) = 0;
    /// What its lines asked for as a whole.
    virtual bool Close(CMachineReader&) { return true; }
};

struct CSectionKind {
    std::string_view sName;
    const char* pszForm;  ///< of its heading
    const char* pszDoc;
    std::vector<std::string_view> (*pKeys)();  ///< those that it knows by name; null: its lines have another form
    /// Null for a heading of another form; it may have told more precisely what was expected.
    std::unique_ptr<CSection> (*pOpen)(CMachineReader& rReader, std::string_view sArgument);
    void (*pWrite)(CMachineWriter& rWriter, const CMachineDescription& rMachine);
    /// Adds what the base says and the machine does not.
    void (*pInherit)(CMachineDescription& rMachine, const CMachineDescription& rBase);
    /// Forgets the section that the argument names, all of them without one. False: there is none.
    bool (*pForget)(CMachineDescription& rMachine, std::string_view sArgument);
};

extern const CSectionKind kBeginSection, kMachineSection, kCpuidSection, kMsrSection, kPciSection, kMemorySection,
    kAcpiSection, kDramDataSection, kLinkPhySection, kPortsSection, kSmbusSection, kIndexPortsSection, kSuperIoSection,
    kFanSection, kDeviceSection, kDisplaySection, kRegistrySection, kWmiSection, kFirmwareSection,
    kFirmwareObjectSection, kFirmwareItemSection, kFirmwareCommandSection, kFirmwareAnswerSection, kEndSection;

/// All of them, in the order in which they are written.
std::span<const CSectionKind* const> g_SectionKinds();
/// The kind that a heading without its brackets names; null when nobody knows it. Cuts the name off.
const CSectionKind* g_FindSectionKind(std::string_view& rsHeading);

}  // namespace vxtsim
