#pragma once
/// @file
/// The resource manager: the user's culture, the satellite libraries of the modules that callers
/// name, and the localized resources in them.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <cstdarg>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "dll/atl.h"
#include "dll/export.h"

extern "C" {

/// Calls i18nres::Manager::Init(). Do not call it from DllMain.
///
/// Like Init() it throws std::bad_alloc if memory runs out. Visual C++ assumes by default (/EHsc)
/// that extern "C" functions never throw, and may leave out the code that catches the exception. A
/// client that wants to catch it calls i18nres::Manager::Init() instead.
I18NRESOURCE_API void i18nres_Init();

/// Calls i18nres::Manager::Term(). Do not call it from DllMain.
I18NRESOURCE_API void i18nres_Term();
}

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // private members of standard types: no client touches them
#endif

namespace i18nres {

struct ModuleRecord;  // a LocaleBase with the members that only the manager itself uses

/// Finds resources in the language of the user. There is at most one manager in a process. Init()
/// creates it and Term() destroys it.
///
/// A culture is named by a tag such as "en-US"; its language is the text before the first "-".
/// Tags are compared exactly. Two cultures are held: the current one, which the user wants, and the
/// default one, which every module is expected to have.
///
/// A module is named by its file name or path. The name is resolved once and the result is kept
/// under exactly this name: "charts.dll" and "Charts.dll" have separate records. The translations
/// of a module "charts.dll" are in satellite libraries, DLLs of resources such as
/// "charts_fr-CA.dll" and "charts_fr.dll". The manager looks for each in the folder of the module,
/// then under the resource path, then where the system searches for DLLs. A lookup searches up to
/// three libraries: the satellite of the current culture or of its language, the satellite of the
/// default culture or of its language, and the module itself. The module is searched only while it
/// is loaded under its name. It must stay loaded during the lookup: no other thread may free it.
///
/// Every method may be called from any thread, and from several at once: each holds the manager's
/// lock while it runs, and also while it loads and frees libraries. The methods whose names begin
/// with "_" and getLocale() expect the lock to be held. Its thread can enter it again.
///
/// Do not call any method from DllMain, nor the flat functions of i18nres: DllMain runs while its
/// thread holds the loader lock of the system, and would wait for the manager's lock. Another
/// thread may hold the manager's lock and wait for the loader lock to load a satellite: a deadlock.
///
/// Methods throw only when memory runs out: std::bad_alloc, or _com_error with E_OUTOFMEMORY where
/// a BSTR cannot be allocated. The lock is released before that.
class I18NRESOURCE_API Manager {
public:
    /// The libraries of one module.
    struct LocaleBase {
        HINSTANCE hCultureLib = nullptr;  ///< Satellite of the current culture; null if none.
        HINSTANCE hDefaultLib = nullptr;  ///< Satellite of the default culture; null if none.
        std::wstring moduleName;          ///< As the caller passed it.
        bool ownsModule = false;          ///< Whether the manager itself loaded the module.
    };

    // Lifecycle

    /// Counts one more client. The first call creates the manager: no current culture, default
    /// culture "en-US", no resource path, no libraries.
    ///
    /// The first call also reads two environment variables. Each is on if it is defined, whatever
    /// its value: "ZEPH_RES_STRING_ORIGIN" puts the name of the module and the id before every
    /// string, and "ORVEX_LOCAL_SIMULATION" marks the strings that the current culture had to take
    /// from the default culture.
    ///
    /// Do not call it from DllMain: it waits for a Term() of another thread, which frees libraries
    /// and so waits for the loader lock that the caller of DllMain holds.
    ///
    /// @throws std::bad_alloc if there is no memory for the manager. The client is counted then,
    ///         and this thread still holds `s_ccsInstance`. To try again, call its Unlock() and then
    ///         Term().
    static void Init();

    /// Counts one client less. The last call destroys the manager and frees every library that it
    /// has loaded. Each call needs an Init() before it: after one Term() too many, a later Init()
    /// counts without creating a manager.
    ///
    /// Do not call it from DllMain: it frees libraries, which DllMain must not do, and it waits for
    /// an Init() or Term() of another thread, which may wait for the loader lock.
    static void Term();

    /// Returns the manager; null before the first Init() and after the last Term(). Takes no lock:
    /// the caller makes sure that no thread calls the last Term() while the manager is in use.
    static Manager* Instance();

    Manager(const Manager&) = delete;  // records and the lock belong to one manager
    Manager& operator=(const Manager&) = delete;

    // Cultures

    /// Sets the current culture and the preferred user interface languages of the process. If the
    /// culture differs from the one before, all satellites are freed and the next lookups load
    /// those of the new culture.
    ///
    /// @param culture  Null or empty removes the current culture.
    /// @return whether a culture was set: false for null or empty, and for a tag that is not valid,
    ///         which changes nothing.
    bool setCulture(const wchar_t* culture);

    /// Sets the default culture in the same way. Null and empty are not valid here.
    bool setDefaultCulture(const wchar_t* culture);

    /// Copies the tag of the current culture, which is empty if there is none.
    /// @param size  Of `buf`, in characters, the terminator included.
    /// @return false, with `buf` untouched, if the tag does not fit or `buf` is null.
    bool getCulture(wchar_t* buf, int size) const;
    void getCulture(std::wstring& out) const;

    /// The same for the default culture.
    bool getDefaultCulture(wchar_t* buf, int size) const;
    void getDefaultCulture(std::wstring& out) const;

    /// Returns the language of a culture; empty if there is no culture.
    void getLanguage(std::wstring& out) const;
    void getDefaultLanguage(std::wstring& out) const;

    /// Makes the current culture the preferred user interface language of the process, or the
    /// default culture if there is no current one. Does nothing if the last call set the same.
    void synchronizeProcessUICulture();

    // Files and libraries

    /// Sets a second place to search for satellites, after the folder of their module. Loaded
    /// satellites stay loaded.
    ///
    /// @param path  A prefix of the file name, so it should end in "\". Null changes nothing.
    void setResourcePath(const wchar_t* path);

    /// Sets whether satellites are searched for only in the folder of their module and under the
    /// resource path, and not where the system searches for DLLs.
    void useResourcePathOnly(bool only);

    /// Finds the localized variant of a file: for "guide.chm" the first that exists of
    /// "guide_fr-CA.chm", "guide_fr.chm", "guide_en-US.chm" and "guide_en.chm". Folders of such
    /// names, and the file without a tag, are not found.
    ///
    /// @param[out] result   The path of the variant. Untouched if there is none.
    /// @param[out] culture  Optional. The tag in its name. Untouched if there is none.
    /// @return false also if a part of the path (drive, folder, name or extension) is 260
    ///         characters or longer.
    bool getLocaleFileName(const std::wstring& file, std::wstring& result,
                           std::wstring* culture) const;

    /// Finds the first of these tags that is in `available`: the current culture, its language, the
    /// default culture, its language.
    ///
    /// @param file          If a part of it is 260 characters or longer, no tag is found. It has no
    ///                      other effect.
    /// @param[out] culture  Optional. The tag. Untouched if there is none.
    /// @return the position of the tag; `available.end()` if there is none.
    std::vector<std::wstring>::iterator selectLocaleFileName(const std::wstring& file,
                                                             std::vector<std::wstring>& available,
                                                             std::wstring* culture);

    /// Finds the library that has a resource: the satellite of the current culture, that of the
    /// default culture, or the module. A library has an icon or a group of icons if LoadImageW can
    /// create an icon from it.
    ///
    /// @param resName  Null finds the first of the three that is loaded.
    /// @return a handle that the caller does not free. It is valid until a culture changes, the
    ///         manager is destroyed or the module is freed. Null if no library has the resource.
    HINSTANCE getResLibHandle(const wchar_t* module, const wchar_t* resName,
                              const wchar_t* resType) const;

    // Strings
    //
    // A string is searched for in the satellite of the current culture, then in the satellite of
    // the default culture, then in the module. The forms with Default in their names search the
    // module first and then the satellite of the default culture. An empty string counts as
    // missing.
    //
    // While the origin is switched on, a string reads "charts.dll(7):Open". If the origin takes 255
    // characters or more, its terminator counted, the string counts as missing.
    //
    // While the marks are switched on, a string that the satellite of the default culture had to
    // supply reads U+65B9 U+672C text U+6587 U+65B9. Results do not count the marks. The forms with
    // Default in their names do not add them.
    //
    // Results are counts of wide characters without the terminator, also in the narrow forms. They
    // are 0 when the string is missing or the module is null.

    /// Copies a string into a buffer.
    ///
    /// @param[out] buf  Emptied when the result is 0, unless it is null or `size` is below 1. Also
    ///                  emptied, although the count is returned, if the text fits but not with its
    ///                  marks, or if text and marks take 2048 characters or more.
    /// @param size      Of `buf`, in characters, terminator counted.
    /// @return 0 also when the string does not fit. Of a string that holds terminators, only the
    ///         part before the first must fit; the rest counts as far as the buffer goes.
    int loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const;
    int loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const;

    /// Copies a string into a std::wstring.
    /// @param[out] out  Untouched when the result is 0.
    int loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const;
    int loadDefaultStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const;

    /// Copies a string, converted by i18nstr::wide2mb(), into a buffer.
    ///
    /// @param[out] buf  Emptied when the string is missing. Also emptied, although the count is
    ///                  returned, when it does not fit or cannot be converted.
    /// @param size      Of `buf`, in bytes, terminator counted.
    /// @return 0 also for a null `buf` or a `size` below 1.
    int loadStringA(const wchar_t* module, unsigned id, char* buf, int size) const;
    int loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size) const;

    /// Copies a string, converted by i18nstr::wide2mb(), into a std::string.
    /// @param[out] out  Untouched when the result is 0. Emptied when the string cannot be
    ///                  converted.
    int loadStdStringA(const wchar_t* module, unsigned id, std::string& out) const;
    int loadDefaultStdStringA(const wchar_t* module, unsigned id, std::string& out) const;

    /// Copies a string into a new BSTR.
    /// @param[out] out  The caller frees it with SysFreeString. Null on failure.
    /// @return S_OK; E_POINTER for a null `out`; E_FAIL when the string is missing.
    HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out);
    HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out);

    // Strings with inserts
    //
    // The string is a pattern for FormatMessageW: "%1" and "%2!d!" are replaced by inserts. The
    // origin and the marks are part of the text, never inserts. The inserts must match the pattern,
    // in number and type: they are not checked.

    /// Formats a string into a buffer.
    ///
    /// @param[out] buf  Emptied when the pattern cannot be formatted or the text does not fit. Also
    ///                  emptied for a `size` of 0: one character is written even then.
    /// @param size      Of `buf`, in characters, terminator counted.
    /// @return count of characters without the terminator; 0 for a null `buf`, a negative `size` or
    ///         a missing string; -1 for a `size` of 0 and a string that exists.
    int loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                          va_list args) const;
    int loadDefaultStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                                 va_list args) const;

    /// Formats a string into a standard string. The narrow forms convert it by i18nstr::wide2mb().
    /// @param[out] out  Emptied when the string is missing or cannot be formatted.
    /// @return count of wide characters, also in the narrow forms.
    int loadStdStringFormatW(const wchar_t* module, unsigned id, std::wstring& out,
                             va_list args) const;
    int loadDefaultStdStringFormatW(const wchar_t* module, unsigned id, std::wstring& out,
                                    va_list args) const;
    int loadStdStringFormatA(const wchar_t* module, unsigned id, std::string& out,
                             va_list args) const;
    int loadDefaultStdStringFormatA(const wchar_t* module, unsigned id, std::string& out,
                                    va_list args) const;

    // Images, menus and documents
    //
    // Images, HTML pages and XML documents are searched for in the satellite of the current
    // culture, then in the satellite of the default culture, then in the module. Menus are searched
    // for in the two satellites only.

    /// Loads the first image that LoadImageW returns for one of these libraries. LoadImageW gets
    /// the other arguments unchanged.
    /// @return an image that the caller destroys as its type requires, unless `flags` contain
    ///         LR_SHARED. Null for a null `name`, and when no library has the image.
    HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx, int cy,
                     unsigned flags) const;
    HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags);
    HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy,
                          unsigned flags);
    HBITMAP loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                            unsigned flags);

    /// Loads a menu from a satellite. A menu that only the module itself has is not found: clients
    /// load their own menu when they get null, which means that it is not translated.
    /// @return a menu that the caller destroys with DestroyMenu. Null when no satellite has it.
    HMENU loadMenu(const wchar_t* module, const wchar_t* name);

    /// Copies the bytes of an HTML page (type RT_HTML), unchanged and without a terminator.
    ///
    /// @param[out] out  Empty on failure.
    /// @return S_OK; E_FAIL for an `id` of 0, and when no library has the page.
    HRESULT loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                         std::string& out);

    /// Creates an MSXML 3.0 document from an XML resource (type "XML") and makes XPath its query
    /// language. Call it in an apartment.
    ///
    /// A resource that begins with a byte order mark is UTF-8 or UTF-16 text, as the mark states.
    /// Otherwise it is ANSI text in the code page of the thread. The encoding that the XML
    /// declaration names is ignored.
    ///
    /// @param[out] doc  With a reference for the caller. Null when the document was not created.
    /// @return with a document, the result of setting the query language, whatever it is. Without
    ///         one, E_FAIL: for an `id` of 0, when no library has the resource, when MSXML is not
    ///         available, when the text is not valid in the encoding that its byte order mark
    ///         states, and when it is not well-formed.
    /// @throws _com_error also with E_INVALIDARG, for a resource whose stated size is 2 GB or more.
    HRESULT loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                        IXMLDOMDocument2*& doc);
    /// The same with an MSXML 6.0 document.
    HRESULT loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                         IXMLDOMDocument2*& doc);

    /// Reads the text of the child of `node` that suits the cultures best: the first child `name`
    /// whose attribute xml:lang is the current culture, its language, the default culture or its
    /// language; otherwise the first child `name`, whatever its language.
    ///
    /// The node may belong to another apartment: the lock is not held while the node is queried.
    ///
    /// @param name        Becomes part of the query, unchanged.
    /// @param[out] value  The caller frees it with SysFreeString. Null on failure.
    /// @return S_OK; E_POINTER for a null `value`; E_INVALIDARG for a null `node` or `name`; E_FAIL
    ///         when no child was found and readable.
    HRESULT getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name, BSTR* value);

protected:
    void _getCulture(std::wstring& out) const;
    void _getDefaultCulture(std::wstring& out) const;
    void _getLanguage(std::wstring& out) const;
    void _getDefaultLanguage(std::wstring& out) const;

    /// Appends the tags to try one after the other: the current culture, its language, the default
    /// culture, its language. Empty tags are left out, and so are tags that are in `out` already,
    /// except for the current culture.
    /// @return whether `out` has any tag now.
    bool _getNormalizeCultureList(std::list<std::wstring>& out) const;

    /// Returns the record of a module, after loading its satellites. Each lookup resolves a record
    /// without satellites again, so that satellites are found once they exist.
    ///
    /// @param forDefault  Returns the record of a loaded module as it is, with or without
    ///                    satellites.
    /// @return null for a null `module`, and while freeLocales() runs. A module that does not exist
    ///         has a record, too.
    const LocaleBase* getLocale(const wchar_t* module, bool forDefault) const;

    /// Loads the satellite of a module for one tag.
    /// @return a handle that the caller frees; null if it is not found.
    HINSTANCE loadLibrary(const std::wstring& modulePath, const std::wstring& tag) const;

    /// Deletes every record and frees the libraries that the manager loaded for it.
    void freeLocales();

    int _loadStringFormatW(bool useDefault, const wchar_t* module, unsigned id, wchar_t* buf,
                           int size, va_list args) const;
    int _loadStdStringFormatW(bool useDefault, const wchar_t* module, unsigned id,
                              std::wstring& out, va_list args) const;

private:
    Manager();
    ~Manager();

    /// Does what getLocale() does, and returns the whole record.
    ModuleRecord* resolve(const wchar_t* module, bool forDefault) const;

    // Looked up by text, so that no lookup needs memory for a key.
    using Locales = std::map<std::wstring, std::unique_ptr<ModuleRecord>, std::less<>>;
    mutable Locales m_locales;
    // The record of the last lookup: most lookups name the same module as the one before.
    mutable const Locales::value_type* m_latest = nullptr;
    std::wstring m_resourcePath;
    std::wstring m_culture;
    std::wstring m_defaultCulture;
    std::wstring m_syncedUICulture;
    bool m_resourcePathOnly = false;
    bool m_isFreeing = false;                     // freeLocales() runs
    mutable ATL::CComAutoCriticalSection m_lock;  // guards every member above

public:
    static Manager* s_pInstance;                        ///< The manager, or null.
    static long s_nRefCount;                            ///< Calls of Init() minus calls of Term().
    static ATL::CComAutoCriticalSection s_ccsInstance;  ///< Serialises Init() and Term().
};

}  // namespace i18nres

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
