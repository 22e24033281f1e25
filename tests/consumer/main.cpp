// Calls functions of i18nres, i18nsys and i18nstr in the installed package. The exit status is the
// number of wrong results.
#include <I18nResource.h>

#include <cstdio>
#include <string>

namespace {

int g_wrong = 0;

void expect(const char* what, bool right) {
    std::printf("%s: %s\n", what, right ? "ok" : "WRONG");
    if (!right) ++g_wrong;
}

void useResources() {
    i18nres_Init();
    i18nres::Manager::Instance()->setCulture(L"fr");
    expect("a string of this program's own satellite",
           i18nres::loadStdStringW(L"consumer.exe", 1) == L"Ouvrir");
    i18nres_Term();
}

void useCultures() {
    wchar_t culture[] = L"EN-us";
    expect("normalizeCulture",
           i18nsys::normalizeCulture(culture) == S_OK && std::wstring(culture) == L"en-US");
}

void useConversions() {
    std::string utf8;
    expect("wide2UTF8", i18nstr::wide2UTF8(L"\u00e9", 1, utf8) && utf8 == "\xc3\xa9");
}

}  // namespace

int main() {
    useResources();
    useCultures();
    useConversions();
    return g_wrong;
}
