#include "samples/localize/Strings.h"

#include <windows.h>

#include <array>
#include <cwchar>
#include <set>

#include <I18nResource.h>

#include "samples/localize/Output.h"

namespace {

BOOL CALLBACK collectBlock(HMODULE, LPCWSTR, LPWSTR name, LONG_PTR blocks) {
    if (IS_INTRESOURCE(name))
        reinterpret_cast<std::set<unsigned>*>(blocks)->insert(
            LOWORD(reinterpret_cast<ULONG_PTR>(name)));
    return TRUE;
}

void collectBlocks(HMODULE library, std::set<unsigned>& blocks) {
    if (library)
        ::EnumResourceNamesW(library, RT_STRING, collectBlock, reinterpret_cast<LONG_PTR>(&blocks));
}

/// Returns the ids for which the module or its satellites may contain a string. A string table
/// consists of blocks of 16 strings. The ids in block b start at (b - 1) * 16.
std::set<unsigned> candidateIds(const Options& options) {
    std::set<unsigned> blocks;
    i18nres::Manager& manager = *i18nres::Manager::Instance();
    const wchar_t* const module = options.module.c_str();

    // If no culture is set, getResLibHandle returns the satellite for the default culture.
    manager.setCulture(nullptr);
    collectBlocks(i18nres::getResLibHandle(module, nullptr, nullptr), blocks);
    if (options.culture) manager.setCulture(options.culture->c_str());
    collectBlocks(i18nres::getResLibHandle(module, nullptr, nullptr), blocks);
    collectBlocks(::GetModuleHandleW(module), blocks);

    std::set<unsigned> ids;
    for (const unsigned block : blocks)
        for (unsigned i = 0; i < 16 && block > 0; ++i) ids.insert((block - 1) * 16 + i);
    return ids;
}

/// Returns true if the insert %n in `pattern` is a number, as in %n!d!, and not a string.
bool isNumericInsert(const std::wstring& pattern, std::size_t n) {
    const std::wstring insert = L"%" + std::to_wstring(n) + L"!";
    const std::size_t at = pattern.find(insert);
    if (at == std::wstring::npos) return false;
    const std::size_t end = pattern.find(L'!', at + insert.size());
    return end != std::wstring::npos && end > 0 &&
           std::wstring(L"diuxXoc").find(pattern[end - 1]) != std::wstring::npos;
}

std::wstring formatted(const Options& options) {
    const wchar_t* const module = options.module.c_str();
    const std::wstring pattern = i18nres::loadStdStringW(module, *options.id);
    // Each value is an 8-byte number or pointer. If the command line specifies fewer than 9 values,
    // the remaining values are empty strings, so that no insert reads past the end of the list.
    std::array<ULONG_PTR, 9> values;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const wchar_t* const text = i < options.inserts.size() ? options.inserts[i].c_str() : L"";
        values[i] = isNumericInsert(pattern, i + 1)
                        ? static_cast<ULONG_PTR>(std::wcstoll(text, nullptr, 10))
                        : reinterpret_cast<ULONG_PTR>(text);
    }
    return i18nres::detail::UNSAFE_loadStdStringFormatW(module, *options.id, values[0], values[1],
                                                        values[2], values[3], values[4], values[5],
                                                        values[6], values[7], values[8]);
}

bool printRow(unsigned id, const std::wstring& text) {
    if (!text.empty()) print(L"  " + std::to_wstring(id) + L"\t" + text + L"\n");
    return !text.empty();
}

bool printString(const std::wstring& module, unsigned id) {
    return printRow(id, i18nres::loadStdStringW(module.c_str(), id));
}

}  // namespace

Shown showStrings(const Options& options) {
    if (options.formatted)
        return printRow(*options.id, formatted(options)) ? Shown::kAll : Shown::kMissing;
    if (options.id) return printString(options.module, *options.id) ? Shown::kAll : Shown::kMissing;

    Shown shown = Shown::kNoStrings;
    for (const unsigned id : candidateIds(options))
        if (printString(options.module, id)) shown = Shown::kAll;
    return shown;
}
