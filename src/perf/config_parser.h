// XML settings addressed by section, element and key: the configuration file and profiles.
#pragma once

#include <span>
#include <string>

#include "platform/file.h"
#include "platform/xml_document.h"

namespace vxt {

/// One file of the layout that vxtapi::CProfile describes. Threads: one, see platform/xml_document.h.
class CConfigParser {
public:
    static constexpr size_t kPathSize = 260;  ///< with the terminating zero
    static constexpr size_t kNameSize = 256;  ///< of an element's name, likewise

    /// A name without "/" lies in the install directory, or in the current folder where there is none. Kept: so does one
    /// with backslashes. Loads the file with reset on: what is no XML is deleted.
    explicit CConfigParser(const wchar_t* pszFile) : CConfigParser(pszFile, true) {}
    CConfigParser(const wchar_t* pszFile, bool bReset);

    /// Reads the file. What is not there becomes an empty document; so does what cannot be read with `bReset`, and what is
    /// no XML is deleted then; without, it is left alone and kept open until the next call. XML that is not for settings
    /// (xml_guard.h, another element, more than 1 MiB) is never deleted. True when there is a document.
    bool Load(bool bReset);
    /// Reads the file again, for what others wrote meanwhile. False, and no settings, when that fails.
    bool Reload();

    /// The node of a setting; none when there is no such setting. Of elements of one name the first counts.
    platform::CXmlNode FindNode(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey) const;
    /// The text of a setting; false when there is none or it cannot be read.
    bool ReadValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                   std::wstring& rsText) const;
    /// Sets a value, finite, as its shortest decimal text; what is missing on the way is created. `bSave`: writes the file.
    bool WriteValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey, double dValue,
                    bool bSave);
    /// Begins an empty document. On failure everything stays as it was.
    bool Clear();
    /// Writes the file: beside the old one, to the disk, then in its place. False, and nothing written, without a document.
    bool Save();

    const platform::CXmlDocument& Document() const { return m_Document; }
    const wchar_t* Path() const { return m_szPath; }  ///< empty when it did not fit
    bool FileExists() const { return m_bFileExists; }
    /// Why the file was not read, in words; empty when it was or does not exist.
    const std::wstring& Problem() const { return m_sProblem; }

private:
    /// How reading went. Refused: by the system; foreign: this class never wrote such a file; bad: no settings.
    enum class ERead { kGood, kAbsent, kRefused, kForeign, kBad };

    void _Forget();
    bool _SetPath(const wchar_t* pszFile);
    static bool _GetInstallDir(std::span<wchar_t, kPathSize> Folder);
    ERead _Read();
    bool _Append(const platform::CXmlNode& rParent, uint32_t uDepth, const wchar_t* pszName,
                 platform::CXmlNode& rChild) const;

    platform::CFile m_hFile;  ///< of a file that could not be read and was left in place
    platform::CXmlDocument m_Document;
    wchar_t m_szFileName[kPathSize] = {};
    wchar_t m_szDirectory[kPathSize] = {};
    wchar_t m_szPath[kPathSize] = {};
    bool m_bFileExists = false;
    std::wstring m_sProblem;
};

/// The configuration file, "VXTConfig.xml", opened by the first call; on the thread of that call it stays.
CConfigParser& g_GetConfigParser();

}  // namespace vxt
