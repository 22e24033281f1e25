#include "samples/localize/Resources.h"

#include <windows.h>

#include <msxml2.h>
#include <oleauto.h>

#include <memory>
#include <type_traits>

#include <I18nResource.h>

#include "samples/exchange/Console.h"
#include "samples/localize/Output.h"

namespace {

template <auto destroy>
struct Destroy {
    template <class Handle>
    void operator()(Handle handle) const {
        destroy(handle);
    }
};
using Icon = std::unique_ptr<std::remove_pointer_t<HICON>, Destroy<::DestroyIcon>>;
using Menu = std::unique_ptr<std::remove_pointer_t<HMENU>, Destroy<::DestroyMenu>>;
using Bitmap = std::unique_ptr<std::remove_pointer_t<HBITMAP>, Destroy<::DeleteObject>>;

const wchar_t* resourceName(const Options& options) {
    // The id is passed in place of a pointer to a name.
    // cppcheck-suppress CastIntegerToAddressAtReturn
    return MAKEINTRESOURCEW(static_cast<WORD>(*options.id));
}

std::wstring libraryName(HINSTANCE library) {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(library, path, MAX_PATH);
    const std::wstring name = path;
    return name.substr(name.find_last_of(L'\\') + 1);
}

void printMenu(HMENU menu, const std::wstring& indentation) {
    const int count = ::GetMenuItemCount(menu);
    for (int i = 0; i < count; ++i) {
        wchar_t text[256] = L"";
        ::GetMenuStringW(menu, static_cast<UINT>(i), text, 256, MF_BYPOSITION);
        print(indentation + (*text ? text : L"----") + L"\n");
        if (const HMENU below = ::GetSubMenu(menu, i)) printMenu(below, indentation + L"    ");
    }
}

}  // namespace

bool showHtml(const Options& options) {
    std::string page;
    if (i18nres::loadHTMLDocumentFromResource(
            options.module.c_str(), static_cast<unsigned short>(*options.id), page) != S_OK)
        return false;
    printUtf8(stdout, page);
    return true;
}

bool showXml(const Options& options) {
    ATL::CComPtr<IXMLDOMDocument2> document;
    if (i18nres::loadXMLDocumentFromResource(
            options.module.c_str(), static_cast<unsigned short>(*options.id), document.p) != S_OK)
        return false;

    ATL::CComBSTR text;
    if (!options.node) {
        document->get_xml(&text);
    } else {
        ATL::CComPtr<IXMLDOMElement> root;
        if (document->get_documentElement(&root) != S_OK ||
            i18nres::getLocalizedNodeValue(root, options.node->c_str(), &text) != S_OK)
            return false;
    }
    print(std::wstring(text, text.Length()) + L"\n");
    return true;
}

bool showIcon(const Options& options) {
    const Icon icon(i18nres::loadImageIcon(options.module.c_str(), resourceName(options), 0, 0, 0));
    ICONINFO parts{};
    if (!icon || !::GetIconInfo(icon.get(), &parts)) return false;
    const Bitmap mask(parts.hbmMask), color(parts.hbmColor);
    BITMAP image{};
    ::GetObjectW(color ? color.get() : mask.get(), sizeof image, &image);
    print(L"  icon of " + std::to_wstring(image.bmWidth) + L" x " +
          std::to_wstring(image.bmHeight) + L" from " +
          libraryName(i18nres::getResLibHandle(options.module.c_str(), resourceName(options),
                                               RT_GROUP_ICON)) +
          L"\n");
    return true;
}

bool showMenu(const Options& options) {
    const Menu menu(i18nres::loadMenu(options.module.c_str(), resourceName(options)));
    if (!menu) return false;
    printMenu(menu.get(), L"  ");
    return true;
}

void showSettings() {
    constexpr int kSize = 260;
    wchar_t text[kSize] = L"";
    const auto row = [&text](const wchar_t* name, bool known) {
        print(std::wstring(L"  ") + name + L"\t" + (known ? text : L"(unknown)") + L"\n");
    };
    row(L"system culture", i18nsys::getSystemCulture(text, kSize));
    row(L"system language", i18nsys::getSystemLanguage(text, kSize));
    row(L"user culture", i18nsys::getUserCulture(text, kSize));
    row(L"user language", i18nsys::getUserLanguage(text, kSize));
    row(L"time zone key", i18nsys::GetTimeZoneID(text, kSize) != TIME_ZONE_ID_INVALID);
}
