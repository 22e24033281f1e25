#pragma once
/// @file
/// The clipboard format for a single instrument code.

#include <windows.h>

#include <ole2.h>

#include <string>

#include "dll/export.h"

namespace OrvexClipboard {

/// Stores and reads one instrument code, in the registered format "DALVO_RECORD_FORMAT" and as
/// plain text. Programs that support only plain text can therefore paste an exported code.
/// Conversely, a code that was copied as plain text can be pasted as an instrument. The class is
/// stateless and takes no locks.
///
/// The data in the registered format is called a record. A record consists of a type character
/// followed by the code, as narrow text in the system's ANSI code page.
class I18NRESOURCE_API FormatSym {
public:
    /// Returns the registered name of the format.
    static const wchar_t* GetClipboardName();
    /// Returns the identifier of the clipboard format. The format is registered on first use. If
    /// the registration fails, the function returns 0, and the other functions of this class use 0
    /// as the identifier.
    static unsigned int GetClipboardID();

    /// Tests whether `obj` offers a record or, if `onlyOwnFormat` is false, CF_UNICODETEXT. The
    /// function fails for an object that offers only CF_TEXT, although `ImportData` can read
    /// CF_TEXT.
    ///
    /// @return S_OK if `obj` offers one of these formats; otherwise the result of the object's
    ///         `QueryGetData`.
    static HRESULT AcceptData(IDataObject& obj, bool onlyOwnFormat);

    /// Stores a record. If `onlyOwnFormat` is false, the function also stores the code, without the
    /// type, as CF_UNICODETEXT and CF_TEXT. If the plain text cannot be stored, the record remains
    /// in the data object.
    ///
    /// @param type  The type character. A longer string is stored completely, but `ImportData`
    ///              reads only its first character as the type, and treats the other characters as
    ///              part of the code. If `type` is empty, no record is stored.
    /// @return
    /// - E_FAIL if `type` is empty and `onlyOwnFormat` is true. Nothing is stored.
    /// - E_FAIL if the record cannot be converted to narrow text. Nothing is stored.
    /// - E_OUTOFMEMORY if a global memory block cannot be allocated.
    /// - Otherwise, the result of the object's `SetData`.
    /// @throws std::bad_alloc if a string cannot be allocated.
    static HRESULT ExportData(IDataObject& obj, bool onlyOwnFormat, const std::wstring& type,
                              const std::wstring& code);

    /// Reads a record. If no record can be read and `onlyOwnFormat` is false, the function reads
    /// CF_UNICODETEXT. If that format cannot be read either, the function reads CF_TEXT. Plain text
    /// contains no type.
    ///
    /// A record or plain text ends at its first control character (U+0000 to U+001F). If the record
    /// or text starts with a control character other than NUL, the code is empty, and the result is
    /// still S_OK. The type of such a record is also empty.
    ///
    /// A code that contains no uppercase letters is converted to uppercase, unless it consists of
    /// "n" followed by digits. The type is also converted to uppercase, unless the value of the
    /// DALVOEXTKEY environment variable is "TRUE" (compared case-insensitively) or is longer than
    /// 15 characters.
    ///
    /// @param[out] type  Unchanged on failure or if plain text was read.
    /// @param[out] code  Unchanged on failure.
    /// @return S_OK; E_FAIL if no text can be read or if the text is empty.
    /// @throws std::bad_alloc if memory runs out.
    static HRESULT ImportData(IDataObject& obj, bool onlyOwnFormat, std::wstring& type,
                              std::wstring& code);

private:
    static void SymCaseConversion(std::wstring& text, bool hasTypeCharacter);
};

}  // namespace OrvexClipboard
