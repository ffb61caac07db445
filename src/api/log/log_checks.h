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

/// Writes one level 1 line and returns true; allocates nothing and cannot throw. `pszClass`: the class to log under; null:
/// the one in the compiler's signature. `pszFunction` counts beside a class only.
bool g_ReportCheck(const char* pszKind, const char* pszText, int nLine, const char* pszClass, const char* pszFunction,
                   std::string_view sSignature) noexcept;

/// Called for each failed check, logged or not, on the thread where it failed, with "CClass::Method" (of a class that
/// logs under its family's name: "CClass"). Null: nobody looks. For diagnostics; set it before other threads run.
using CCheckObserver = void (*)(std::string_view sWhere) noexcept;
void g_ObserveChecks(CCheckObserver pObserver);

constexpr const char* g_CheckText(const char* pszExpression) { return pszExpression; }
constexpr const char* g_CheckText(const char*, const char* pszText) { return pszText; }

}  // namespace vxt

/// Class under which checks are logged; null: the class whose code it is. A class whose code serves several families hides
/// it with a member of this name.
constexpr const char* LogClass() { return nullptr; }
/// Operation under which such a class logs. A body that several operations share hides it with a local of this name, which
/// answers the operation that runs.
constexpr const char* LogFunction(const char* pszFunction) { return pszFunction; }

// clang-format off
// #expr is taken in the outermost macro: one level deeper, macros inside the expression are already expanded.
// Success costs a predicted branch; everything else happens out of line.
#define LOG_REPORT_(kind, failed, ...) \
    (__builtin_expect(!!(failed), 0) && \
     ::vxt::g_ReportCheck(kind, ::vxt::g_CheckText(__VA_ARGS__), __LINE__, LogClass(), LogFunction(__func__), __PRETTY_FUNCTION__))

/// Fatal for the function: logs and returns its failure value ({}: false, 0, 0.0, null, none). A second argument replaces
/// the logged text. Clean-up is the business of owners.
#define LOG_PROCESS_ERROR(expr, ...) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), #expr __VA_OPT__(,) __VA_ARGS__)) return {}; } while (0)
/// The same where the failure value is another.
#define LOG_PROCESS_ERROR_OR(bad, expr, ...) \
    do { if (LOG_REPORT_("LOG_PROCESS_ERROR", !(expr), #expr __VA_OPT__(,) __VA_ARGS__)) return bad; } while (0)
/// A failed COM result (negative), fatal for the function.
#define LOG_COM_PROCESS_ERROR(hr) \
    do { if (LOG_REPORT_("LOG_COM_PROCESS_ERROR", (hr) < 0, #hr)) return {}; } while (0)
/// Reported; the function goes on.
#define LOG_CHECK_ERROR(expr, ...) \
    do { (void)LOG_REPORT_("LOG_CHECK_ERROR", !(expr), #expr __VA_OPT__(,) __VA_ARGS__); } while (0)
#define ALOG_CHECK_ERROR(expr) \
    do { (void)LOG_REPORT_("ALOG_CHECK_ERROR", !(expr), #expr); } while (0)
// clang-format on
