#include "i18nstr/AnsiTables.h"

#include <windows.h>

#include "i18nstr/SingleByteTables.h"
#include "i18nstr/SystemConverters.h"

namespace i18nstr::ansi {
namespace {

constinit SingleByteTables s_tables{};

BOOL CALLBACK fillTables(INIT_ONCE*, void* areFilled, void**) noexcept {
    *static_cast<bool*>(areFilled) = s_tables.fill(kAnsi);
    return TRUE;
}

// Fills the tables the first time. Not by an object with a constructor: its guard takes memory.
bool haveTables() noexcept {
    static INIT_ONCE s_once = INIT_ONCE_STATIC_INIT;
    static bool s_areFilled = false;
    ::InitOnceExecuteOnce(&s_once, fillTables, &s_areFilled, nullptr);
    return s_areFilled;
}

}  // namespace

std::size_t wideLength(std::string_view text) noexcept {
    return haveTables() && s_tables.isPlain(text) ? text.size() : 0;
}

bool toWide(std::string_view text, std::span<wchar_t> wide) noexcept {
    s_tables.toWide(text.data(), text.size(), wide.data());
    return true;
}

std::size_t narrowLength(std::wstring_view text) noexcept {
    return haveTables() && s_tables.isPlain(text) ? text.size() : 0;
}

bool toNarrow(std::wstring_view text, std::span<char> narrow) noexcept {
    s_tables.toNarrow(text.data(), text.size(), narrow.data());
    return true;
}

}  // namespace i18nstr::ansi
