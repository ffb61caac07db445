// The elements below an element.
#pragma once

#include <string>

#include "platform/xml_document.h"

namespace vxt {

/// Calls `Work` with each element below a node and its name, until it answers false. It may take the element over.
/// Negative: how looking failed; the elements until then had their call.
int32_t g_ForEachElement(const platform::CXmlNode& rParent, auto Work) {
    platform::CXmlNode Child;
    std::wstring sName;
    int32_t hRetCode = platform::FirstXmlChild(rParent, Child);
    while (hRetCode >= 0 && Child) {
        hRetCode = platform::GetXmlName(Child, sName);
        if (hRetCode >= 0 && !sName.empty() && !Work(Child, sName)) break;
        if (hRetCode >= 0) hRetCode = platform::NextXmlNode(Child, Child);
    }
    return hRetCode;
}

}  // namespace vxt
