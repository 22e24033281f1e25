#pragma once

#include <windows.h>

#include <ole2.h>

#include <cstddef>
#include <string>
#include <vector>

#include <I18nResource.h>

/// The contents of a clipboard format as readable text. Control characters other than tabs are
/// replaced by dots.
struct Decoded {
    /// "text", "code", "instruments", "workbook", "document" or, for everything else, "bytes".
    std::wstring kind;
    std::vector<std::wstring> lines;
    /// Rows after the lines, the first one with the titles. Empty if there is no table.
    std::vector<std::vector<std::wstring>> table;
    std::size_t linesLeftOut = 0;  ///< of the lines and rows together
    bool isReadable = true;        ///< false if the contents do not match the format's name
};

/// Decodes the bytes of a format, up to `mostLines` lines and rows. If the contents do not match
/// the name of the format, they are shown as bytes after a line that reports it.
///
/// Call it in an OLE apartment.
Decoded decode(unsigned format, const std::string& bytes, std::size_t mostLines);

/// The lines, then the table with its columns aligned.
std::vector<std::wstring> linesOf(const Decoded& decoded);

/// A data object of this process with the bytes in this format, for functions that read from one.
/// @return null if it cannot be created.
ATL::CComPtr<IDataObject> objectWith(unsigned format, const std::string& bytes);
