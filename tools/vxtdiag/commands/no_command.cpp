// vxtdiag without a command: only says that one is needed.
#include "common/command.h"

namespace vxtdiag {

using namespace vxttools;

namespace {

constexpr const char* kExamples =
    "  vxtdiag snapshot my-pc.machine          this PC as a machine file, to attach to a report\n"
    "  vxtctl --machine my-pc.machine devices  replays it (simulated builds)\n"
    "  vxtdiag pci                             every PCI function\n"
    "  vxtdiag pci 00:18.3                     its configuration space\n"
    "  vxtdiag acpi FACP                       one ACPI table\n"
    "  vxtdiag cpu 0                           features, caches and limits of core 0\n"
    "  vxtdiag firmware                        what the board's firmware can tune\n"
    "  vxtdiag cmos set \"Core Trim Boost=Disabled\" --dry-run\n"
    "  vxtdiag machines                        names for --machine";

EExit g_NoCommand(CTool&) { throw CFailure(EExit::kUsage, "a command is needed; try 'vxtdiag --help'"); }

}  // namespace

extern constexpr CCommand kNoCommand{
    "", "Show what lies below the devices: PCI functions, ACPI tables, firmware, whole machines", kExamples,
    g_NewCall<g_NoCommand>};

}  // namespace vxtdiag
