// [begin] and [end]: around what a program wrote, so that a file that was cut is known.
#include "section.h"

namespace vxtsim {

namespace {

class CMark final : public CSection {
    bool Line(CMachineReader& rReader, std::string_view sLine) override { return rReader.Fail("a section", sLine); }
};

template <bool (CMachineReader::*pMark)()>
std::unique_ptr<CSection> g_Open(CMachineReader& rReader, std::string_view sArgument) {
    return sArgument.empty() && (rReader.*pMark)() ? std::make_unique<CMark>() : nullptr;
}

void g_Inherit(CMachineDescription&, const CMachineDescription&) {}

}  // namespace

const CSectionKind kBeginSection = {
    "begin",
    "[begin]",
    "The first line of a file that a program wrote; without its [end] it is refused.",
    nullptr,
    g_Open<&CMachineReader::Begin>,
    [](CMachineWriter& rWriter, const CMachineDescription&) { rWriter.Heading("begin"); },
    g_Inherit,
    nullptr,
};

const CSectionKind kEndSection = {
    "end",
    "[end]",
    "The last line of a file that has a [begin]; nothing follows it.",
    nullptr,
    g_Open<&CMachineReader::End>,
    [](CMachineWriter& rWriter, const CMachineDescription&) { rWriter.Heading("end"); },
    g_Inherit,
    nullptr,
};

}  // namespace vxtsim
