// What no settings file needs and no parser should be given.
#pragma once

#include <cstddef>
#include <span>

namespace vxt {

inline constexpr wchar_t kNoXml[] = L"it is no XML";

/// Looks through a text before it is parsed. Null where it may be; else why not: kNoXml (by address) for what cannot be
/// any, and for XML document types (entities that grow, other files), elements nested deeper than kDeepestXml, other
/// encodings than UTF-8, UTF-16, ISO 8859-1 and Windows-1252. Whether the text is well-formed is the parser's business.
const wchar_t* g_WhyNoSettings(std::span<const std::byte> Text);

inline constexpr int kDeepestXml = 32;  ///< a setting stands at the fourth level

}  // namespace vxt
