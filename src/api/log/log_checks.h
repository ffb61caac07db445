// Failed checks leave one level 1 line each: "KIND(expression) at line N in CClass::Method".
#pragma once

#include <cstdint>
#include <string_view>

namespace vxt {

/// Shortens the compiler's signature to `CClass::Method` or `g_Function`, whatever namespace the code stands in.
constexpr std::string_view g_QualifiedName(std::string_view sSignature) {
    const size_t uEnd = sSignature.find('(');
    std::string_view sName = sSignature.substr(0, uEnd);
    sName.remove_prefix(sName.rfind(' ') + 1);  // a constructor has no return type: npos + 1 == 0
    while (!sName.empty() && (sName.front() == '*' || sName.front() == '&'))
        sName.remove_prefix(1);  // clang: "char *f"
    // Namespaces are lower case here, classes begin with C: keep the last two parts if the first of them is a class.
    const size_t uMethod = sName.rfind("::");
    if (uMethod == std::string_view::npos) return sName;
    const size_t uClass = sName.rfind("::", uMethod - 1);
    const size_t uBegin = uClass == std::string_view::npos || uMethod == 0 ? 0 : uClass + 2;
    const bool bHasClass = sName[uBegin] >= 'A' && sName[uBegin] <= 'Z';
    return sName.substr(bHasClass ? uBegin : uMethod + 2);
}
static_assert(g_QualifiedName("virtual bool vxt::CDevice::Init(uint32_t)") == "CDevice::Init");
static_assert(g_QualifiedName("virtual bool CDevice::Init(uint32_t)") == "CDevice::Init");
static_assert(g_QualifiedName("vxt::CDevice::CDevice()") == "CDevice::CDevice");
static_assert(g_QualifiedName("bool vxt::g_InitEngine()") == "g_InitEngine");
static_assert(g_QualifiedName("bool InitVXTAPI(bool)") == "InitVXTAPI");
static_assert(g_QualifiedName("const wchar_t *vxt::CDevice::GetName()") == "CDevice::GetName");
static_assert(g_QualifiedName("vxt::CDevice::Init(uint32_t)::<lambda(int)>") == "CDevice::Init");

/// Writes one level 1 line and returns true. `pszFormat` is a kind's format, `pszSignature` the compiler's.
bool g_ReportCheck(const char* pszFormat, const char* pszExpression, int nLine, std::string_view sSignature);

}  // namespace vxt

// clang-format off
// #expr is taken in the outermost macro: one level deeper, macros inside the expression are already expanded.
// Success costs a predicted branch; everything else happens out of line.
#define LOG_REPORT_(kind, failed, text) \
    (__builtin_expect(!!(failed), 0) && ::vxt::g_ReportCheck(kind "(%s) at line %d in %s\n", text, __LINE__, __PRETTY_FUNCTION__))

/// Fatal for the function: logs and returns false. Clean-up is the business of owners.
#define LOG_PROCESS_ERROR(expr) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), #expr)) return false; } while (0)
/// The same, returning `bad`.
#define LOG_PROCESS_ERROR_OR(bad, expr) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), #expr)) return bad; } while (0)
/// The same where the logged text is fixed and the expression differs from it.
#define LOG_PROCESS_ERROR_TEXT(text, expr) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), text)) return false; } while (0)
#define LOG_PROCESS_ERROR_TEXT_OR(bad, text, expr) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), text)) return bad; } while (0)
/// A failed COM result (negative).
#define LOG_COM_PROCESS_ERROR(expr) \
    do { if (LOG_REPORT_("LOG_COM_PROCESS_ERROR", (expr) < 0, #expr)) return false; } while (0)
#define LOG_COM_PROCESS_ERROR_OR(bad, expr) \
    do { if (LOG_REPORT_("LOG_COM_PROCESS_ERROR", (expr) < 0, #expr)) return bad; } while (0)
/// Reported; the function goes on.
#define LOG_CHECK_ERROR(expr) \
    do { (void)LOG_REPORT_("LOG_CHECK_ERROR", !(expr), #expr); } while (0)
#define LOG_CHECK_ERROR_TEXT(text, expr) \
    do { (void)LOG_REPORT_("LOG_CHECK_ERROR", !(expr), text); } while (0)
#define ALOG_CHECK_ERROR(expr) \
    do { (void)LOG_REPORT_("ALOG_CHECK_ERROR", !(expr), #expr); } while (0)
// clang-format on
