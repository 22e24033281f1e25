#pragma once

#include <windows.h>

#include <ole2.h>

#include <cstddef>
#include <string>
#include <vector>

#include <I18nResource.h>

/// The contents of a clipboard format as readable text. Dots replace control characters other than
/// tabs.
struct Decoded {
    /// "text", "code", "instruments", "workbook" or "document"; "bytes" for all other contents.
    std::wstring kind;
    std::vector<std::wstring> lines;
    /// The table that is shown after the lines. The first row contains the column titles. Empty if
    /// there is no table.
    std::vector<std::vector<std::wstring>> table;
    std::size_t omittedLines = 0;  ///< the number of omitted lines and rows
    bool isReadable = true;        ///< false if the contents do not match the format's name
};

/// Decodes data in a clipboard format. The result has at most `maxLines` lines and rows in total.
/// If the contents do not match the name of the format, the result is a hex dump and `isReadable`
/// is false.
///
/// Call this function on a thread that has initialized OLE.
Decoded decode(unsigned format, const std::string& bytes, std::size_t maxLines);

/// Returns the lines, followed by the rows of the table with aligned columns.
std::vector<std::wstring> linesOf(const Decoded& decoded);

/// Creates a data object that contains the bytes in the given format, for functions that read from
/// a data object. If `bytes` is empty, the data object contains one NUL.
/// @return Null if the data object cannot be created.
ATL::CComPtr<IDataObject> objectWith(unsigned format, const std::string& bytes);
