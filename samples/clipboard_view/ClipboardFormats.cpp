#include "samples/clipboard_view/ClipboardFormats.h"

#include <iterator>
#include <utility>

std::vector<unsigned> currentFormats() {
    UINT count = 0;
    ::GetUpdatedClipboardFormats(nullptr, 0, &count);
    std::vector<unsigned> formats(count + 16);  // formats may be added between the two calls
    if (!::GetUpdatedClipboardFormats(formats.data(), static_cast<UINT>(formats.size()), &count))
        count = 0;
    formats.resize(count);
    return formats;
}

std::wstring nameOfFormat(unsigned number) {
    static const wchar_t* const predefined[] = {
        L"CF_TEXT",   L"CF_BITMAP",  L"CF_METAFILEPICT", L"CF_SYLK",        L"CF_DIF",
        L"CF_TIFF",   L"CF_OEMTEXT", L"CF_DIB",          L"CF_PALETTE",     L"CF_PENDATA",
        L"CF_RIFF",   L"CF_WAVE",    L"CF_UNICODETEXT",  L"CF_ENHMETAFILE", L"CF_HDROP",
        L"CF_LOCALE", L"CF_DIBV5"};
    if (number >= 1 && number <= std::size(predefined)) return predefined[number - 1];
    wchar_t name[256];
    return ::GetClipboardFormatNameW(number, name, static_cast<int>(std::size(name))) ? name : L"";
}

std::vector<std::wstring> namesOfStorage(DWORD storage) {
    static const std::pair<DWORD, const wchar_t*> names[] = {
        {TYMED_HGLOBAL, L"HGLOBAL"},   {TYMED_FILE, L"FILE"}, {TYMED_ISTREAM, L"ISTREAM"},
        {TYMED_ISTORAGE, L"ISTORAGE"}, {TYMED_GDI, L"GDI"},   {TYMED_MFPICT, L"MFPICT"},
        {TYMED_ENHMF, L"ENHMF"}};
    std::vector<std::wstring> found;
    for (const auto& [type, name] : names)
        if (storage & type) found.push_back(name);
    return found;
}
