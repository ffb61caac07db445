#include "platform/xml_document.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <limits>
#include <memory>

#include "platform/simulated/simulated_system.h"
#include "platform/simulated/utf8.h"

namespace vxt::platform {

using simulated::CSystemSide;
using simulated::g_GetSystem;
using simulated::Utf8Text;
using simulated::WideText;
using EHandle = simulated::CSimulatedSystem::EHandle;

namespace {

constexpr int32_t kOk = 0;
constexpr int32_t kFailed = static_cast<int32_t>(0x80004005);         // E_FAIL
constexpr int32_t kInvalidHandle = static_cast<int32_t>(0x80070006);  // E_HANDLE
constexpr int32_t kOutOfMemory = static_cast<int32_t>(0x8007000E);    // E_OUTOFMEMORY

struct CFreeDocument {
    void operator()(xmlDoc* pDocument) const { xmlFreeDoc(pDocument); }
};
struct CFreeParser {
    void operator()(xmlParserCtxt* pParser) const { xmlFreeParserCtxt(pParser); }
};
struct CFreeText {
    void operator()(xmlChar* pText) const { xmlFree(pText); }
};
using CTree = std::unique_ptr<xmlDoc, CFreeDocument>;
using CText = std::unique_ptr<xmlChar, CFreeText>;

std::shared_ptr<CTree> g_Tree(const CXmlDocument& rDocument) {
    return g_GetSystem().State<CTree>(rDocument.Get(), EHandle::kXmlDocument);
}

// A node is its own handle: it belongs to its document and goes with it. NOLINTNEXTLINE(performance-no-int-to-ptr)
xmlNode* g_Node(const CXmlNode& rNode) { return reinterpret_cast<xmlNode*>(rNode.Get()); }
CXmlNode g_Handle(xmlNode* pNode) { return CXmlNode(reinterpret_cast<uintptr_t>(pNode)); }

const xmlChar* g_Chars(const std::string& sText) { return reinterpret_cast<const xmlChar*>(sText.c_str()); }
std::wstring g_Wide(const xmlChar* pText) { return pText ? WideText(reinterpret_cast<const char*>(pText)) : L""; }

}  // namespace

void ReleaseXmlDocument(uintptr_t uHandle) {
    const CSystemSide SystemSide;
    g_GetSystem().Close(uHandle);
}
void ReleaseXmlNode(uintptr_t) {}

int32_t CreateXmlDocument(CXmlDocument& rDocument) {
    const CSystemSide SystemSide;
    if (g_GetSystem().Refuses("CreateXmlDocument")) return kFailed;
    static const bool s_bStarted = (xmlInitParser(), true);  // once, before threads may parse
    rDocument =
        CXmlDocument(s_bStarted ? g_GetSystem().Open(EHandle::kXmlDocument, L"", std::make_shared<CTree>()) : 0);
    return kOk;
}

int32_t LoadXml(const CXmlDocument& rDocument, std::span<const std::byte> Text, CXmlParseError& rError) {
    const CSystemSide SystemSide;
    const auto pTree = g_Tree(rDocument);
    if (!pTree) return kInvalidHandle;
    pTree->reset();
    if (g_GetSystem().Refuses("LoadXml") || Text.size() > std::numeric_limits<int>::max()) return kFailed;
    const std::unique_ptr<xmlParserCtxt, CFreeParser> pParser(xmlNewParserCtxt());
    if (!pParser) return kOutOfMemory;
    pTree->reset(xmlCtxtReadMemory(pParser.get(), reinterpret_cast<const char*>(Text.data()),
                                   static_cast<int>(Text.size()), nullptr, nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    if (*pTree && pParser->nsWellFormed) return kOk;
    pTree->reset();
    const xmlError& rLast = pParser->lastError;
    rError.bIsText = rLast.code != XML_ERR_NO_MEMORY;
    rError.uLine = static_cast<uint32_t>(rLast.line);
    rError.sReason = g_Wide(reinterpret_cast<const xmlChar*>(rLast.message));
    return kFailed;
}

int32_t SaveXml(const CXmlDocument& rDocument, std::string& rsText) {
    const CSystemSide SystemSide;
    const auto pTree = g_Tree(rDocument);
    if (!pTree) return kInvalidHandle;
    if (g_GetSystem().Refuses("SaveXml") || !*pTree) return kFailed;
    xmlChar* pText = nullptr;
    int nSize = 0;
    xmlDocDumpMemoryEnc(pTree->get(), &pText, &nSize, "UTF-8");
    const CText Owner(pText);
    if (!pText) return kOutOfMemory;
    rsText.assign(reinterpret_cast<const char*>(pText), static_cast<size_t>(nSize));
    return kOk;
}

int32_t RootXmlElement(const CXmlDocument& rDocument, CXmlNode& rRoot) {
    const CSystemSide SystemSide;
    const auto pTree = g_Tree(rDocument);
    if (!pTree) return kInvalidHandle;
    if (g_GetSystem().Refuses("RootXmlElement")) return kFailed;
    rRoot = g_Handle(*pTree ? xmlDocGetRootElement(pTree->get()) : nullptr);
    return kOk;
}

int32_t FirstXmlChild(const CXmlNode& rNode, CXmlNode& rChild) {
    const CSystemSide SystemSide;
    if (!rNode) return kInvalidHandle;
    if (g_GetSystem().Refuses("FirstXmlChild")) return kFailed;
    rChild = g_Handle(g_Node(rNode)->children);
    return kOk;
}

int32_t NextXmlNode(const CXmlNode& rNode, CXmlNode& rNext) {
    const CSystemSide SystemSide;
    if (!rNode) return kInvalidHandle;
    if (g_GetSystem().Refuses("NextXmlNode")) return kFailed;
    rNext = g_Handle(g_Node(rNode)->next);
    return kOk;
}

int32_t GetXmlName(const CXmlNode& rNode, std::wstring& rsName) {
    const CSystemSide SystemSide;
    if (!rNode) return kInvalidHandle;
    if (g_GetSystem().Refuses("GetXmlName")) return kFailed;
    rsName.clear();
    if (g_Node(rNode)->type != XML_ELEMENT_NODE) return kOk;
    const xmlNs* const pPrefix = g_Node(rNode)->ns;
    rsName = (pPrefix && pPrefix->prefix ? g_Wide(pPrefix->prefix) + L":" : L"") + g_Wide(g_Node(rNode)->name);
    return kOk;
}

int32_t GetXmlText(const CXmlNode& rNode, std::wstring& rsText) {
    const CSystemSide SystemSide;
    if (!rNode) return kInvalidHandle;
    if (g_GetSystem().Refuses("GetXmlText")) return kFailed;
    rsText = g_Wide(CText(xmlNodeGetContent(g_Node(rNode))).get());
    return kOk;
}

int32_t PutXmlText(const CXmlNode& rElement, const wchar_t* pszText) {
    const CSystemSide SystemSide;
    if (!rElement) return kInvalidHandle;
    if (g_GetSystem().Refuses("PutXmlText")) return kFailed;
    xmlNodeSetContent(g_Node(rElement), nullptr);
    return AppendXmlText(rElement, pszText);
}

int32_t PutXmlRoot(const CXmlDocument& rDocument, const wchar_t* pszName, CXmlNode& rRoot) {
    const CSystemSide SystemSide;
    const auto pTree = g_Tree(rDocument);
    if (!pTree) return kInvalidHandle;
    if (g_GetSystem().Refuses("PutXmlRoot") || *pTree) return kFailed;
    pTree->reset(xmlNewDoc(g_Chars("1.0")));
    xmlNode* const pRoot = *pTree ? xmlNewDocNode(pTree->get(), nullptr, g_Chars(Utf8Text(pszName)), nullptr) : nullptr;
    if (!pRoot) return kOutOfMemory;
    xmlDocSetRootElement(pTree->get(), pRoot);
    rRoot = g_Handle(pRoot);
    return kOk;
}

int32_t AppendXmlElement(const CXmlNode& rParent, const wchar_t* pszName, CXmlNode& rElement) {
    const CSystemSide SystemSide;
    if (!rParent) return kInvalidHandle;
    if (g_GetSystem().Refuses("AppendXmlElement")) return kFailed;
    xmlNode* const pElement = xmlNewChild(g_Node(rParent), nullptr, g_Chars(Utf8Text(pszName)), nullptr);
    if (!pElement) return kOutOfMemory;
    rElement = g_Handle(pElement);
    return kOk;
}

int32_t AppendXmlText(const CXmlNode& rParent, const wchar_t* pszText) {
    const CSystemSide SystemSide;
    if (!rParent) return kInvalidHandle;
    if (g_GetSystem().Refuses("AppendXmlText")) return kFailed;
    xmlNode* const pText = xmlNewDocText(g_Node(rParent)->doc, g_Chars(Utf8Text(pszText)));
    return pText && xmlAddChild(g_Node(rParent), pText) ? kOk : kOutOfMemory;
}

}  // namespace vxt::platform
