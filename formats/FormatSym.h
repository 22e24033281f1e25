#pragma once
/// @file
/// The clipboard format for a single instrument code.

#include <windows.h>

#include <ole2.h>

#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores and reads one instrument code, in the registered format "DALVO_RECORD_FORMAT" and as
/// plain text. Programs that support only plain text can therefore paste an exported code, and a
/// code that was copied in such a program can be pasted as an instrument. The class is stateless
/// and takes no locks.
///
/// The data in the registered format is called a record. A record consists of a type character
/// followed by the code, as narrow text in the system's ANSI code page.
class I18NRESOURCE_API FormatSym {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the identifier is 0, and the other functions use 0 as well.
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
    /// @return E_FAIL if `type` is empty and `onlyOwnFormat` is true, or if the record cannot be
    ///         converted to narrow text; E_OUTOFMEMORY if memory runs out; otherwise the result of
    ///         the object's `SetData`. If the result is E_FAIL for one of these reasons, nothing is
    ///         stored. If the plain text cannot be stored, the record stays in the object.
    static HRESULT ExportData(IDataObject& obj, bool onlyOwnFormat, const std::wstring& type,
                              const std::wstring& code);

    /// Reads a record. If no record can be read and `onlyOwnFormat` is false, reads CF_UNICODETEXT
    /// or, if that cannot be read, CF_TEXT. Such plain text contains no type. In a record and in
    /// plain text, only the part before the first control character (U+0000 to U+001F) is used. If
    /// the text starts with a control character, this part is empty, and the result is still S_OK.
    ///
    /// A code that contains no upper-case letters is changed to upper case, unless it consists of
    /// "n" followed by digits. The type is also changed to upper case, unless the value of the
    /// DALVOEXTKEY environment variable is "TRUE" (compared case-insensitively) or is longer than
    /// 15 characters.
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
