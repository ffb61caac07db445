// What no settings file needs and no parser should be given.
#pragma once

#include <cstddef>
#include <span>

namespace vxt {

/// Looks through an XML text in UTF-8 or UTF-16 before it is parsed. Null where it may be; else why not: document types
/// (entities that grow, other files), deep nesting, other encodings. Whether the text is well-formed is the parser's
/// business.
const wchar_t* g_WhyNoSettings(std::span<const std::byte> Text);

}  // namespace vxt
