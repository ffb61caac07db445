#include "devices/framework/class_checks.h"

#include <cstdio>

#include "api/log/log_checks.h"

namespace vxt {

bool g_ReportClassCheck(const char* pszFormat, const char* pszExpression, int nLine, const char* pszClass,
                        const char* pszFunction) {
    char szName[128];
    std::snprintf(szName, sizeof(szName), "%s::%s", pszClass, pszFunction);
    return g_ReportCheck(pszFormat, pszExpression, nLine, szName);
}

}  // namespace vxt
