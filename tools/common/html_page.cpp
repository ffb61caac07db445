#include "common/html_page.h"

#include <algorithm>
#include <utility>

#include "common/markup.h"

namespace vxttools {
namespace {

constexpr const char* kStyle =
    R"(:root{color-scheme:light dark;--back:#fff;--text:#1b1f24;--soft:#5a636e;--line:#d5d9de;--head:#f3f5f7;--mark:#9a2a1f;--link:#0a5ca8}
@media screen and (prefers-color-scheme:dark){:root{--back:#15181c;--text:#e6e8eb;--soft:#9aa4af;--line:#3a414a;--head:#1f242a;--mark:#ff9c90;--link:#7db8f2}}
*{box-sizing:border-box}
body{margin:0 auto;padding:1.5rem clamp(.8rem,3vw,2.5rem) 4rem;max-width:80rem;background:var(--back);color:var(--text);font:16px/1.5 system-ui,-apple-system,"Segoe UI",Roboto,"Helvetica Neue",Arial,sans-serif;overflow-wrap:break-word}
h1{font-size:1.7rem;line-height:1.25;margin:.2rem 0 1rem}
h2{font-size:1.25rem;margin:2.6rem 0 .8rem;padding-bottom:.3rem;border-bottom:1px solid var(--line)}
a{color:var(--link)}p{max-width:48rem}.soft{color:var(--soft)}
nav ul{display:flex;flex-wrap:wrap;gap:.3rem 1.2rem;list-style:none;padding:0;margin:.3rem 0}
.findings{border-left:4px solid var(--mark);margin:0;padding:.2rem 0 .2rem 1.8rem}
.scroll{overflow-x:auto;margin:0 0 1.4rem}.scroll:focus-visible{outline:2px solid var(--link)}
table{border-collapse:collapse;font-size:.92rem;font-variant-numeric:tabular-nums}
caption{text-align:left;font-weight:600;padding:.2rem 0 .4rem}
th,td{text-align:left;vertical-align:top;padding:.3rem .9rem .3rem .5rem;border-bottom:1px solid var(--line);unicode-bidi:isolate}
thead th{background:var(--head);font-weight:600;white-space:nowrap}
tbody th{font-weight:400}.facts tbody th{color:var(--soft);white-space:nowrap}
@media (min-width:56rem),print{.half{float:left;width:calc(50% - 1.2rem);margin-right:1.2rem}.half table{width:100%}}
h2,nav,.tree,.scroll:not(.half),section::after{clear:both}section::after{content:"";display:block}
.n{text-align:right;white-space:nowrap}
.tree{margin:.2rem 0 1.4rem}.tree ul{padding-left:1.3rem}.tree p{font-weight:600;margin:0}.tree small{color:var(--soft)}

@media print{@page{margin:15mm}body{font-size:10pt;padding:0;max-width:none}nav{display:none}h1,h2,caption,figcaption,.tree p{break-after:avoid}
tr,li,figure svg{break-inside:avoid}thead{display:table-header-group}.scroll{overflow:visible}table{max-width:100%;font-size:8.5pt}
th,td{padding:.15rem .4rem}.facts td{overflow-wrap:anywhere}.short,thead{break-inside:avoid;break-after:avoid}.short{break-after:auto}thead th,.n,.facts tbody th{white-space:normal}.chart{min-width:0}}
)";

/// A heading without the marks of text tables.
struct CColumn {
    std::string sHeading;
    bool bIsNumber;
};

std::vector<CColumn> g_Columns(const CTextTable& rTable) {
    std::vector<CColumn> Columns;
    for (const std::string& rsHeading : rTable.Columns) {
        const size_t uBegin = std::min(rsHeading.find_first_not_of("~>"), rsHeading.size());
        Columns.push_back({rsHeading.substr(uBegin), rsHeading.substr(0, uBegin).ends_with('>')});
    }
    return Columns;
}

std::string g_Cell(const std::string& sText, bool bIsHead, bool bIsNumber, const char* pszScope) {
    const size_t uBegin = std::min(sText.find_first_not_of(' '), sText.size());
    const std::string sClass = bIsNumber ? " class=\"n\"" : "";
    const std::string sOpen = bIsHead ? "<th scope=\"" + std::string(pszScope) + "\"" : "<td";
    return sOpen + sClass + ">" + g_Markup(sText.substr(uBegin)) + (bIsHead ? "</th>" : "</td>");
}

/// Lists within lists: who hears the page knows what is behind what.
std::string g_Tree(const CTextTable& rTable) {
    std::string sTree = "<div class=\"tree\">\n<p>" + g_Markup(rTable.sTitle) + "</p>\n";
    size_t uOpen = 0;
    for (const std::vector<std::string>& rRow : rTable.Rows) {
        const size_t uBlanks = std::min(rRow.front().find_first_not_of(' '), rRow.front().size());
        const size_t uLevel = std::min(uBlanks / 2 + 1, uOpen + 1);
        for (; uOpen > uLevel; --uOpen) sTree += "</li></ul>\n";
        sTree += uOpen < uLevel ? "<ul>\n<li>" : "</li>\n<li>";
        uOpen = uLevel;
        sTree += g_Markup(rRow.front().substr(uBlanks));
        if (rRow.size() > 1) sTree += " <small>" + g_Markup(rRow[1]) + "</small>";
    }
    for (; uOpen > 0; --uOpen) sTree += "</li></ul>\n";
    return sTree + "</div>\n";
}

}  // namespace

std::string g_Scrollable(const std::string& sLabel, const std::string& sMarkup, const char* pszClass) {
    return "<div class=\"" + std::string(pszClass) + "\" role=\"group\" tabindex=\"0\" aria-label=\"" +
           g_Markup(sLabel) + "\">\n" + sMarkup + "</div>\n";
}

CHtmlPage::CHtmlPage(const std::string& sTitle, const std::string& sGenerator, const std::string& sMoreStyle)
    : m_sTitle(sTitle),
      // The policy lets no script run and nothing be loaded, whatever stands below.
      m_sHead(
          "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"generator\" content=\"" +
          g_Markup(sGenerator) +
          "\">\n<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src "
          "'unsafe-inline'\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<meta "
          "name=\"color-scheme\" content=\"light dark\">\n<title>" +
          g_Markup(sTitle) + "</title>\n<style>\n" + kStyle + sMoreStyle + "</style>\n</head>\n") {}

void CHtmlPage::Section(const std::string& sId, const std::string& sTitle) {
    if (!m_bInSection)
        m_sIntroduction = std::exchange(m_sBody, "");
    else
        m_sBody += "</section>\n";
    m_bInSection = true;
    m_sContents += "<li><a href=\"#" + sId + "\">" + g_Markup(sTitle) + "</a></li>\n";
    m_sBody += "<section aria-labelledby=\"" + sId + "\">\n<h2 id=\"" + sId + "\">" + g_Markup(sTitle) + "</h2>\n";
}

void CHtmlPage::Paragraph(const std::string& sText, const char* pszClass) {
    m_sBody += "<p" + (*pszClass ? " class=\"" + std::string(pszClass) + "\"" : "") + ">" + g_Markup(sText) + "</p>\n";
}

void CHtmlPage::List(const std::vector<std::string>& rItems, const char* pszClass) {
    m_sBody += "<ul class=\"" + std::string(pszClass) + "\">\n";
    for (const std::string& rsItem : rItems) m_sBody += "<li>" + g_Markup(rsItem) + "</li>\n";
    m_sBody += "</ul>\n";
}

void CHtmlPage::Table(const CTextTable& rTable) {
    if (rTable.bIsTree) return Raw(g_Tree(rTable));
    const std::vector<CColumn> Columns = g_Columns(rTable);
    const bool bHasHead = std::ranges::any_of(Columns, [](const CColumn& r) { return !r.sHeading.empty(); });
    std::string sTable = bHasHead ? "<table>\n" : "<table class=\"facts\">\n";
    if (!rTable.sTitle.empty()) sTable += "<caption>" + g_Markup(rTable.sTitle) + "</caption>\n";
    if (bHasHead) {
        sTable += "<thead><tr>";
        for (const CColumn& rColumn : Columns) sTable += g_Cell(rColumn.sHeading, true, rColumn.bIsNumber, "col");
        sTable += "</tr></thead>\n";
    }
    sTable += "<tbody>\n";
    for (const std::vector<std::string>& rRow : rTable.Rows) {
        sTable += "<tr>";
        for (size_t i = 0; i < Columns.size(); ++i)
            sTable += g_Cell(i < rRow.size() ? rRow[i] : "", i == 0, Columns[i].bIsNumber, "row");
        sTable += "</tr>\n";
    }
    constexpr size_t kShort = 15;  // rows that stay on one sheet of paper
    const std::string sClass =
        std::string("scroll") + (bHasHead ? "" : " half") + (rTable.Rows.size() <= kShort ? " short" : "");
    m_sBody += g_Scrollable(rTable.sTitle, sTable + "</tbody>\n</table>\n", sClass.c_str());
}

void CHtmlPage::Append(const CHtmlPage& rOther) {
    if (m_bInSection) m_sBody += "</section>\n";
    m_sContents += rOther.m_sContents;
    m_sBody += rOther.m_sBody;
    m_bInSection = rOther.m_bInSection;
}

std::string CHtmlPage::Text() const {
    return m_sHead + "<body>\n<header>\n<h1>" + g_Markup(m_sTitle) + "</h1>\n" + m_sIntroduction +
           "</header>\n<nav aria-label=\"Contents\">\n<ul>\n" + m_sContents + "</ul>\n</nav>\n<main>\n" + m_sBody +
           (m_bInSection ? "</section>\n" : "") + "</main>\n</body>\n</html>\n";
}

}  // namespace vxttools
