// XML documents in memory, one function a call of the system's parser. Results are COM's: negative means failed, and
// LastError() tells nothing. A conforming parser: what is not well-formed is refused whole. Neither document types nor
// external entities are looked up, so parsing opens no file and no connection. White space is kept as it stands.
//
// Threads: a document and its nodes are used and closed on the thread that made the document (COM's apartment rule).
// Nodes are used and closed while their document lives.
#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "platform/owned_handle.h"

namespace vxt::platform {

void ReleaseXmlDocument(uintptr_t uHandle);
void ReleaseXmlNode(uintptr_t uHandle);
using CXmlDocument = COwnedHandle<ReleaseXmlDocument>;  ///< holds COM on the thread that made it while it lives
using CXmlNode = COwnedHandle<ReleaseXmlNode>;

/// Initialises COM for the calling thread (apartment-threaded; another mode that it has already serves as well) and makes
/// an empty document.
int32_t CreateXmlDocument(CXmlDocument& rDocument);

/// Where and why a text could not be parsed.
struct CXmlParseError {
    bool bIsText = false;  ///< the text is to blame: it is not well-formed
    uint32_t uLine = 0;    ///< from 1; 0: not told
    std::wstring sReason = {};
};
/// Parses a text, which says itself how it is encoded, in the place of what the document held. Prefixes have to be declared.
/// On failure the document is empty, and `rError` tells why as far as the parser does.
int32_t LoadXml(const CXmlDocument& rDocument, std::span<const std::byte> Text, CXmlParseError& rError);

/// The document as UTF-8. Whether a declaration with an encoding stands in front is the parser's choice.
int32_t SaveXml(const CXmlDocument& rDocument, std::string& rsText);

/// The document's element; none, and no failure, for an empty document.
int32_t RootXmlElement(const CXmlDocument& rDocument, CXmlNode& rRoot);
// The first child of any kind, and the one behind a node; none, and no failure, at the end. The results may be the arguments.
int32_t FirstXmlChild(const CXmlNode& rNode, CXmlNode& rChild);
int32_t NextXmlNode(const CXmlNode& rNode, CXmlNode& rNext);
/// An element's name with its prefix; empty for a node of another kind.
int32_t GetXmlName(const CXmlNode& rNode, std::wstring& rsName);
/// The text of a node and of all below it, comments left out.
int32_t GetXmlText(const CXmlNode& rNode, std::wstring& rsText);
/// In the place of all that the element holds.
int32_t PutXmlText(const CXmlNode& rElement, const wchar_t* pszText);

/// Gives an empty document its element.
int32_t PutXmlRoot(const CXmlDocument& rDocument, const wchar_t* pszName, CXmlNode& rRoot);
// Behind an element's last child. Names are not checked by every parser: hand over names only. A new element is of its
// parent's namespace.
int32_t AppendXmlElement(const CXmlNode& rParent, const wchar_t* pszName, CXmlNode& rElement);
int32_t AppendXmlText(const CXmlNode& rParent, const wchar_t* pszText);

}  // namespace vxt::platform
