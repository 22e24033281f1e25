#pragma once
/// @file
/// The clipboard format of a single instrument code.

#include <windows.h>

#include <ole2.h>

#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

/// Writes and reads one instrument code, also as plain text. So any program can paste an exported
/// code, and a code from any program can be pasted as an instrument. The registered format
/// "DALVO_RECORD_FORMAT" contains a record of narrow text in the system's ANSI code page, a type
/// character and then the code. Keeps no data and takes no lock.
class I18NRESOURCE_API FormatSym {
public:
    /// The registered name of the format.
    static const wchar_t* GetClipboardName();
    /// The registered number of the format, which is registered on first use. 0 if the
    /// registration failed; the class then works with the format number 0.
    static unsigned int GetClipboardID();

    /// Tests for a record or, unless `onlyOwnFormat`, for CF_UNICODETEXT. Narrow plain text alone
    /// is not accepted, although `ImportData` reads it.
    ///
    /// @return S_OK if there is one, otherwise the result of the object's `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj, bool onlyOwnFormat);

    /// Stores a record and, unless `onlyOwnFormat`, also the code alone as CF_UNICODETEXT and
    /// CF_TEXT.
    ///
    /// @param type  The type character. A longer text is written completely, and is read back as a
    ///              type of one character and a longer code. If it is empty, there is no record.
    /// @return the object's `SetData` result; E_FAIL if there is neither a record nor plain text to
    ///         store, or if the record cannot be converted to narrow text, in which case nothing is
    ///         stored; E_OUTOFMEMORY.
    static HRESULT ExportData(IDataObject& obj, bool onlyOwnFormat, const std::wstring& type,
                              const std::wstring& code);

    /// Reads a record or, unless `onlyOwnFormat`, plain text, which has no type: CF_UNICODETEXT if
    /// there is some, otherwise CF_TEXT. The code ends at its first control character.
    ///
    /// A code without upper-case letters is changed to upper case, except "n" followed only by
    /// digits. The type is changed to upper case, unless the environment variable DALVOEXTKEY is
    /// TRUE, in any case, or longer than 15 characters.
    ///
    /// @param[out] type  Unchanged for plain text and on failure.
    /// @param[out] code  Unchanged on failure.
    /// @return S_OK; E_FAIL if there is nothing to read.
    static HRESULT ImportData(IDataObject& obj, bool onlyOwnFormat, std::wstring& type,
                              std::wstring& code);

private:
    static void SymCaseConversion(std::wstring& text, bool hasTypeCharacter);
};

}  // namespace OrvexClipboard
