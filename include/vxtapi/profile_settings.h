// Stored tuning profiles.
#pragma once

#include <cstdint>

namespace vxtapi {

/// One setting of a profile as the file holds it. Texts belong to the profile and are valid until its next call.
struct ProfileEntry {
    const wchar_t* pszSection;  ///< element names, see ProfileCharacter
    const wchar_t* pszElement;
    const wchar_t* pszKey;
    const wchar_t* pszText;  ///< the whole text
    double dValue;           ///< what ApplySettings takes the text for; 0.0 when it is no number
    uint8_t bIsNumber;       ///< 1: it is one
};

/// A profile in memory, for hosts that write profiles or look into them: an XML file with the element
/// "VXT_Configuration_File", below it one element a section (class of devices), below that one a device, below that one
/// a setting, whose text is a decimal number. Of elements of one name only the first counts.
///
/// Names may hold what the element names of a file cannot: they are converted (ProfileCharacter) and cut after 255
/// characters. Values are doubles in the units of the devices' operations. A text is a number when it is one as a whole,
/// white space around it apart, with a point, in whatever country: "1,5", "NaN", "1e999" and "" are none.
///
/// Files may be UTF-8, UTF-16, ISO 8859-1 or Windows-1252, which the declaration has to name, and of 1 MiB; they are written
/// as UTF-8 with lines that end in LF. What else a file holds (comments, attributes, other elements, blanks) is kept.
/// Document types, elements nested deeper than 32 and another outermost element are refused: then there is a problem, and
/// nothing that the file refers to is ever opened.
///
/// Ownership: the host releases it. Threads: it is used and released on the thread that made it, which has COM
/// initialised (apartment-threaded) as long; one thread at a time otherwise.
class CProfile {
public:
    virtual void Release() = 0;  ///< slot 0
    /// Slot 1: why the file could not be read, with the line where that is known; empty: it was, or there is none yet. A
    /// profile with a problem has no entries, takes none and is not saved.
    virtual const wchar_t* GetProblem() = 0;
    virtual const wchar_t* GetPath() = 0;  ///< slot 2: where Save writes
    /// Slot 3: there is such a file, readable or not, as far as OpenProfile could see.
    virtual bool FileExists() = 0;
    virtual uint32_t GetEntryCount() = 0;  ///< slot 4
    /// Slot 5: entries are numbered from 0 in the file's order. Elements of the same name count each. False beyond the
    /// last one.
    virtual bool GetEntry(uint32_t uIndex, ProfileEntry* pEntry) = 0;
    /// Slot 6: what ApplySettings would apply. False, and nothing written, when there is no such setting or it is no
    /// number.
    virtual bool GetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                          double* pdValue) = 0;
    /// Slot 7: adds or changes a setting. The text is the shortest that reads back as the same number. False for what is
    /// not finite, for names that cannot be an element's ("12V", "") and when memory runs out.
    virtual bool SetValue(const wchar_t* pszSection, const wchar_t* pszElement, const wchar_t* pszKey,
                          double dValue) = 0;
    /// Slot 8: begins anew, also where there was a problem. On failure everything stays as it was.
    virtual bool Clear() = 0;
    /// Slot 9: writes the file. It is on disk when the call returns; whenever the process or the machine dies, the file
    /// holds all of the old or all of the new settings. Beside it there is a file with ".new" behind the name meanwhile, so
    /// that Windows takes paths of 255 characters here; one that was left by a process that died is overwritten. False,
    /// and the old file as it was, also when others have either of them open or save at the same time.
    virtual bool Save() = 0;

protected:
    ~CProfile() = default;
};

/// Applies stored profiles. Obtained from GetProfileSettings(). The spelling of the name is kept: hosts rely on it.
///
/// Paths: one without "/" is a name in the install directory (local machine, "Software\QOR\QOR Velomar", value
/// "InstallDir", up to its last backslash), or in the current folder where there is none. Kept: also when it has backslashes,
/// so spell paths with "/". 259 characters at most.
class CProfileSettgins {
public:
    /// Slot 0: writes the settings of the file to the hardware, in this order: cores' switches, multipliers and voltages,
    /// link, clock generator, integrated graphics, the board's own voltages, its common voltages, memory timings and
    /// configuration (profile_keys.h). What the file does not hold stays as it is.
    ///
    /// False for an empty path only. Kept: a missing device or a failed step leaves a line in the log, the rest is
    /// applied, nothing is put back, and the answer is true: read back what matters. Kept: a file that is no XML is
    /// DELETED and counts as an empty one; OpenProfile tells beforehand. XML that is no profile, a file that is too large and
    /// one that cannot be opened count as empty, too, and stay. Neither limits nor P-states are looked at:
    /// what the devices' operations take is written.
    /// Threads: as every device. Processor settings leave the thread pinned to the last core. May block as those do.
    virtual bool ApplySettings(const wchar_t* pszPath) = 0;

    /// Slot 1: reads a profile and leaves its file alone, whatever is in it. Without a file it is empty. Null for an
    /// empty or overlong path and when memory or the system's XML parser is not to be had. Works without InitVXTAPI.
    virtual CProfile* OpenProfile(const wchar_t* pszPath) = 0;

protected:
    ~CProfileSettgins() = default;
};

}  // namespace vxtapi
