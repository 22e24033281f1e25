#pragma once
/// @file
/// The clipboard format of a single instrument code.

#include <windows.h>

#include <ole2.h>

#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores and reads one instrument code, in the registered format "DALVO_RECORD_FORMAT" and as
/// plain text. Because of the plain text, any program can paste an exported code, and a code that
/// was copied in any program can be pasted as an instrument. The class keeps no data and takes no
/// lock.
///
/// The data in the registered format is called a record. It is a type character followed by the
/// code, as narrow text in the system's ANSI code page.
class I18NRESOURCE_API FormatSym {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the number of the format, which is registered on first use. If the registration
    /// fails, the number is 0, and the other functions use 0 as well.
    static unsigned int GetClipboardID();

    /// Tests whether `obj` offers a record or, if `onlyOwnFormat` is false, CF_UNICODETEXT. An
    /// object that offers only CF_TEXT is not accepted, although `ImportData` can read it.
    ///
    /// @return S_OK if `obj` offers one of these formats; otherwise the result of its
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj, bool onlyOwnFormat);

    /// Stores a record. If `onlyOwnFormat` is false, also stores the code without the type as
    /// CF_UNICODETEXT and CF_TEXT.
    ///
    /// @param type  The type character. A longer string is stored completely, but `ImportData` then
    ///              reads only its first character as the type, and the other characters as the
    ///              start of the code. If the string is empty, no record is stored.
    /// @return the object's `SetData` result; E_FAIL if `type` is empty and `onlyOwnFormat` is
    ///         true; E_FAIL if the record cannot be converted to narrow text; E_OUTOFMEMORY. In
    ///         both cases of E_FAIL, nothing is stored.
    static HRESULT ExportData(IDataObject& obj, bool onlyOwnFormat, const std::wstring& type,
                              const std::wstring& code);

    /// Reads a record. If no record can be read and `onlyOwnFormat` is false, reads plain text,
    /// which has no type: CF_UNICODETEXT or, if that cannot be read, CF_TEXT. The text ends before
    /// its first control character.
    ///
    /// A code without upper-case letters is changed to upper case, except a code that consists of
    /// "n" followed by digits. The type is also changed to upper case, except if the value of the
    /// environment variable DALVOEXTKEY is "TRUE" (in upper or lower case) or is longer than 15
    /// characters.
    ///
    /// @param[out] type  Unchanged on failure, and if plain text was read.
    /// @param[out] code  Unchanged on failure.
    /// @return S_OK; E_FAIL if no text can be read or the text is empty.
    static HRESULT ImportData(IDataObject& obj, bool onlyOwnFormat, std::wstring& type,
                              std::wstring& code);

private:
    static void SymCaseConversion(std::wstring& text, bool hasTypeCharacter);
};

}  // namespace OrvexClipboard
