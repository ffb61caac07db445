// Checks in code that several classes share: failed ones are logged under the concrete class, whichever class holds the
// code. A class that uses them has `const char* _GetClassName() const`.
#pragma once

namespace vxt {

/// Writes one level 1 line for CLASS::FUNCTION and returns true. `pszFormat` is a kind's format.
bool g_ReportClassCheck(const char* pszFormat, const char* pszExpression, int nLine, const char* pszClass,
                        const char* pszFunction);

}  // namespace vxt

// clang-format off
// `function` is __func__, or the operation that a helper serves.
#define FAMILY_REPORT_(kind, text, function, expr) \
    (__builtin_expect(!(expr), 0) && \
     ::vxt::g_ReportClassCheck(kind "(%s) at line %d in %s\n", text, __LINE__, _GetClassName(), function))
#define FAMILY_CHECK_(bad, text, function, expr) \
    do { if (FAMILY_REPORT_("LOG_PROCESS_ERROR", text, function, expr)) return bad; } while (0)
#define FAMILY_PROCESS_ERROR(expr) FAMILY_CHECK_(false, #expr, __func__, expr)
#define FAMILY_PROCESS_ERROR_OR(bad, expr) FAMILY_CHECK_(bad, #expr, __func__, expr)
#define FAMILY_PROCESS_ERROR_TEXT(text, expr) FAMILY_CHECK_(false, text, __func__, expr)
#define FAMILY_CHECK_ERROR(expr) \
    do { (void)FAMILY_REPORT_("LOG_CHECK_ERROR", #expr, __func__, expr); } while (0)
// clang-format on
