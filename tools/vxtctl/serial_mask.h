// Keeps the serial numbers that this PC's devices tell out of all other texts.
#pragma once

#include <string>
#include <vector>

#include "common/text_table.h"
#include "host_library.h"

namespace vxtctl {

class CSerialMask {
public:
    /// Takes nothing out.
    CSerialMask() = default;
    /// Asks every device for its serial numbers. Those of less than five characters stay: they stand in too many texts.
    explicit CSerialMask(const CHostLibrary& rLibrary);

    /// The text with "(serial)" for each of them, in whatever case it stands there. One of digits alone is only found
    /// where no other digit is next to it.
    std::string Without(std::string sText) const;
    /// All of its texts but the headings.
    vxttools::CTextTable Without(vxttools::CTextTable Table) const;

private:
    std::vector<std::string> m_Serials;  ///< in lower case, the longest first
};

}  // namespace vxtctl
