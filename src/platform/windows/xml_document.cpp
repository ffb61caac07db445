#include "platform/xml_document.h"

#include <cstring>

#include "platform/windows/com_owners.h"

// Behind windows_api.h, as com_owners.h.
#include <msxml.h>

namespace vxt::platform {

namespace {

constexpr const wchar_t* kDocumentClass = L"Msxml2.DOMDocument.3.0";

using CDocument = CConnection<IXMLDOMDocument>;

IXMLDOMDocument* g_Document(const CXmlDocument& rDocument) {
    return rDocument ? g_ToHandle<CDocument*>(rDocument.Get())->pInterface.Get() : nullptr;
}
IXMLDOMNode* g_Node(const CXmlNode& rNode) { return g_ToHandle<IXMLDOMNode*>(rNode.Get()); }
CXmlNode g_Own(CReference<IXMLDOMNode>& rpNode) { return CXmlNode(reinterpret_cast<uintptr_t>(rpNode.Detach())); }

/// What a call hands out as a text.
struct CReceivedText {
    BSTR pszText = nullptr;
    ~CReceivedText() { SysFreeString(pszText); }
    operator std::wstring() const { return g_ReadText(pszText); }
};

std::string g_Utf8(BSTR pszText) {
    const int nWide = static_cast<int>(SysStringLen(pszText));
    if (nWide == 0) return {};
    std::string sUtf8(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, pszText, nWide, nullptr, 0, nullptr, nullptr)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, pszText, nWide, sUtf8.data(), static_cast<int>(sUtf8.size()), nullptr, nullptr);
    return sUtf8;
}

/// Parses at once, looks nothing up and keeps white space.
HRESULT g_Arrange(IXMLDOMDocument& rDocument) {
    HRESULT hRetCode = rDocument.put_async(VARIANT_FALSE);
    if (SUCCEEDED(hRetCode)) hRetCode = rDocument.put_validateOnParse(VARIANT_FALSE);
    if (SUCCEEDED(hRetCode)) hRetCode = rDocument.put_resolveExternals(VARIANT_FALSE);
    if (SUCCEEDED(hRetCode)) hRetCode = rDocument.put_preserveWhiteSpace(VARIANT_TRUE);
    return hRetCode;
}

// At the end the call succeeds and hands out nothing.
int32_t g_Neighbour(const CXmlNode& rNode, HRESULT (__stdcall IXMLDOMNode::*pNeighbour)(IXMLDOMNode**),
                    CXmlNode& rFound) {
    if (!rNode) return E_HANDLE;
    CReference<IXMLDOMNode> pFound;
    const HRESULT hRetCode = (g_Node(rNode)->*pNeighbour)(pFound.Receive());
    if (SUCCEEDED(hRetCode)) rFound = g_Own(pFound);
    return hRetCode;
}

}  // namespace

void ReleaseXmlDocument(uintptr_t uHandle) { delete g_ToHandle<CDocument*>(uHandle); }
void ReleaseXmlNode(uintptr_t uHandle) { g_ToHandle<IXMLDOMNode*>(uHandle)->Release(); }

int32_t CreateXmlDocument(CXmlDocument& rDocument) {
    return g_Guarded([&]() -> HRESULT {
        auto pNew = std::make_unique<CDocument>();
        if (FAILED(pNew->Com.Result())) return pNew->Com.Result();
        CLSID Class;
        HRESULT hRetCode = CLSIDFromProgID(kDocumentClass, &Class);
        if (FAILED(hRetCode)) return hRetCode;
        hRetCode = CoCreateInstance(Class, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                                    reinterpret_cast<void**>(pNew->pInterface.Receive()));
        if (SUCCEEDED(hRetCode)) hRetCode = g_Arrange(*pNew->pInterface.Get());
        if (SUCCEEDED(hRetCode)) rDocument = CXmlDocument(reinterpret_cast<uintptr_t>(pNew.release()));
        return hRetCode;
    });
}

int32_t LoadXml(const CXmlDocument& rDocument, std::span<const std::byte> Text, CXmlParseError& rError) {
    if (!rDocument) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CSafeArray pBytes(SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(Text.size())));
        if (!pBytes) return E_OUTOFMEMORY;
        {
            const CArrayData Data(pBytes.get());
            if (FAILED(Data.Result())) return Data.Result();
            std::memcpy(Data.As<BYTE>(), Text.data(), Text.size());
        }
        CVariant Source;
        Source.vt = VT_ARRAY | VT_UI1;
        Source.parray = pBytes.release();
        VARIANT_BOOL bLoaded = VARIANT_FALSE;
        const HRESULT hRetCode = g_Document(rDocument)->load(Source, &bLoaded);
        if (SUCCEEDED(hRetCode) && bLoaded) return hRetCode;
        CReference<IXMLDOMParseError> pError;
        if (SUCCEEDED(g_Document(rDocument)->get_parseError(pError.Receive())) && pError) {
            LONG lLine = 0, lError = E_OUTOFMEMORY;
            CReceivedText Reason;
            rError.bIsText =
                SUCCEEDED(hRetCode) && SUCCEEDED(pError->get_errorCode(&lError)) && lError != E_OUTOFMEMORY;
            if (SUCCEEDED(pError->get_line(&lLine)) && lLine > 0) rError.uLine = static_cast<uint32_t>(lLine);
            if (SUCCEEDED(pError->get_reason(&Reason.pszText))) rError.sReason = Reason;
        }
        return FAILED(hRetCode) ? hRetCode : E_FAIL;
    });
}

int32_t SaveXml(const CXmlDocument& rDocument, std::string& rsText) {
    if (!rDocument) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CReceivedText Text;
        const HRESULT hRetCode = g_Document(rDocument)->get_xml(&Text.pszText);
        if (SUCCEEDED(hRetCode)) rsText = g_Utf8(Text.pszText);
        return hRetCode;
    });
}

int32_t RootXmlElement(const CXmlDocument& rDocument, CXmlNode& rRoot) {
    if (!rDocument) return E_HANDLE;
    CReference<IXMLDOMElement> pRoot;
    const HRESULT hRetCode = g_Document(rDocument)->get_documentElement(pRoot.Receive());
    CReference<IXMLDOMNode> pNode(pRoot.Detach());
    if (SUCCEEDED(hRetCode)) rRoot = g_Own(pNode);
    return hRetCode;
}

int32_t FirstXmlChild(const CXmlNode& rNode, CXmlNode& rChild) {
    return g_Neighbour(rNode, &IXMLDOMNode::get_firstChild, rChild);
}
int32_t NextXmlNode(const CXmlNode& rNode, CXmlNode& rNext) {
    return g_Neighbour(rNode, &IXMLDOMNode::get_nextSibling, rNext);
}

int32_t GetXmlName(const CXmlNode& rNode, std::wstring& rsName) {
    if (!rNode) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        DOMNodeType eType = NODE_INVALID;
        CReceivedText Name;
        HRESULT hRetCode = g_Node(rNode)->get_nodeType(&eType);
        if (SUCCEEDED(hRetCode) && eType == NODE_ELEMENT) hRetCode = g_Node(rNode)->get_nodeName(&Name.pszText);
        if (SUCCEEDED(hRetCode)) rsName = Name;
        return hRetCode;
    });
}

int32_t GetXmlText(const CXmlNode& rNode, std::wstring& rsText) {
    if (!rNode) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CReceivedText Text;
        const HRESULT hRetCode = g_Node(rNode)->get_text(&Text.pszText);
        if (SUCCEEDED(hRetCode)) rsText = Text;
        return hRetCode;
    });
}

int32_t PutXmlText(const CXmlNode& rElement, const wchar_t* pszText) {
    if (!rElement) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT { return g_Node(rElement)->put_text(CBstr(pszText)); });
}

int32_t PutXmlRoot(const CXmlDocument& rDocument, const wchar_t* pszName, CXmlNode& rRoot) {
    if (!rDocument) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CXmlNode Present;
        HRESULT hRetCode = RootXmlElement(rDocument, Present);
        if (FAILED(hRetCode) || Present) return FAILED(hRetCode) ? hRetCode : E_FAIL;
        CReference<IXMLDOMElement> pElement;
        hRetCode = g_Document(rDocument)->createElement(CBstr(pszName), pElement.Receive());
        if (FAILED(hRetCode)) return hRetCode;
        CReference<IXMLDOMNode> pAppended;
        hRetCode = g_Document(rDocument)->appendChild(pElement.Get(), pAppended.Receive());
        if (SUCCEEDED(hRetCode)) rRoot = g_Own(pAppended);
        return hRetCode;
    });
}

int32_t AppendXmlElement(const CXmlNode& rParent, const wchar_t* pszName, CXmlNode& rElement) {
    if (!rParent) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CReference<IXMLDOMDocument> pDocument;
        HRESULT hRetCode = g_Node(rParent)->get_ownerDocument(pDocument.Receive());
        if (FAILED(hRetCode)) return hRetCode;
        CReceivedText Namespace;  // S_FALSE and none where there is none
        hRetCode = g_Node(rParent)->get_namespaceURI(&Namespace.pszText);
        if (FAILED(hRetCode)) return hRetCode;
        CVariant Type;
        Type.vt = VT_I4;
        Type.lVal = NODE_ELEMENT;
        CReference<IXMLDOMNode> pElement;
        hRetCode = pDocument->createNode(Type, CBstr(pszName), Namespace.pszText, pElement.Receive());
        if (FAILED(hRetCode)) return hRetCode;
        CReference<IXMLDOMNode> pAppended;
        hRetCode = g_Node(rParent)->appendChild(pElement.Get(), pAppended.Receive());
        if (SUCCEEDED(hRetCode)) rElement = g_Own(pAppended);
        return hRetCode;
    });
}

int32_t AppendXmlText(const CXmlNode& rParent, const wchar_t* pszText) {
    if (!rParent) return E_HANDLE;
    return g_Guarded([&]() -> HRESULT {
        CReference<IXMLDOMDocument> pDocument;
        HRESULT hRetCode = g_Node(rParent)->get_ownerDocument(pDocument.Receive());
        if (FAILED(hRetCode)) return hRetCode;
        CReference<IXMLDOMText> pText;
        hRetCode = pDocument->createTextNode(CBstr(pszText), pText.Receive());
        if (FAILED(hRetCode)) return hRetCode;
        CReference<IXMLDOMNode> pAppended;
        return g_Node(rParent)->appendChild(pText.Get(), pAppended.Receive());
    });
}

}  // namespace vxt::platform
