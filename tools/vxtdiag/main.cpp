// vxtdiag: what the library's exports cannot give. Works on the hardware layer directly.
#include "common/command_line.h"

namespace vxtdiag {

// Each stands in commands/, in the file that is called like it.
extern const vxttools::CCommand kNoCommand, kSnapshot, kAcpi, kPci, kCpu, kFirmware, kCmos, kCmosSet, kMachines;

}  // namespace vxtdiag

int main(int nArguments, char** ppszArguments) {
    using namespace vxtdiag;
    constexpr const vxttools::CCommand* kCommands[] = {&kNoCommand, &kSnapshot, &kAcpi,    &kPci,     &kCpu,
                                                       &kFirmware,  &kCmos,     &kCmosSet, &kMachines};
    return vxttools::g_RunTool({"vxtdiag", false, kCommands}, nArguments, ppszArguments);
}
