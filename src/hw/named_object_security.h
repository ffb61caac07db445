// Who may use the objects that processes share by name.
#pragma once

namespace vxt {

/// Guests and anonymous users denied; authenticated users read, write, execute; administrators everything.
inline constexpr const wchar_t* kNamedObjectSecurity =
    L"D:(D;OICI;GA;;;BG)(D;OICI;GA;;;AN)(A;OICI;GRGWGX;;;AU)(A;OICI;GA;;;BA)";

}  // namespace vxt
