#pragma once
/// @file
/// Declares the resource manager, which stores the user's culture, loads satellite libraries and
/// finds localized resources.

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

/// Calls i18nres::Manager::Init(). Do not call this function from DllMain.
///
/// Like Init(), this function throws std::bad_alloc if memory runs out. Visual Studio projects use
/// the /EHsc option by default. With this option, the compiler assumes that extern "C" functions
/// never throw, and may omit the code that catches the exception. To catch the exception, call
/// i18nres::Manager::Init() instead.
I18NRESOURCE_API void i18nres_Init();

/// Calls i18nres::Manager::Term(). Do not call this function from DllMain.
I18NRESOURCE_API void i18nres_Term();
}

#if defined(_MSC_VER)
#pragma warning(push)
// C4251: the DLL does not export the types of some private members. Clients never use these
// members.
#pragma warning(disable : 4251)
#endif

namespace i18nres {

struct ModuleRecord;  // a Manager::LocaleBase with additional internal members

/// Finds resources in the user's language. A process has at most one manager: Init() creates it,
/// and Term() destroys it.
///
/// A culture is identified by a tag such as "en-US". The language of a culture is the part of its
/// tag before the first "-". The comparison of tags is case-sensitive. The manager stores two
/// cultures: the current culture, which the user prefers, and the default culture, for which every
/// module is expected to have resources.
///
/// Callers identify a module by its file name or path. For each name, the manager keeps a record of
/// the module's libraries. Names are compared exactly, so "charts.dll" and "Charts.dll" have
/// separate records. The translations of a module are in satellite libraries. For "charts.dll",
/// these are resource DLLs such as "charts_fr-CA.dll" and "charts_fr.dll". The manager searches for
/// each satellite in the folder of the module, then under the resource path (see
/// setResourcePath()), and then in the folders of the system's DLL search order.
///
/// A lookup searches up to three libraries: the satellite of the current culture, the satellite of
/// the default culture, and the module itself. If a module has no satellite for a culture, the
/// manager uses the satellite for the language of this culture. If the module is not loaded, the
/// manager tries to load it by its file name before it searches for satellites. The module itself
/// is searched only if GetModuleHandleW returns a handle for the name that the caller passed. Other
/// threads must not free the module during the lookup. When the manager is destroyed, it frees the
/// modules that it has loaded.
///
/// Compatibility: if the two cultures are the same, satellites are loaded only for the default
/// culture. If the cultures differ but have the same language, only the default culture falls back
/// to the satellite of this language. For example, if the current culture is "en-GB" and the
/// default culture is "en-US", the satellite for "en" is not loaded for the current culture.
/// Callers rely on the resulting search order, which also determines the strings to which marks are
/// added (see Init()).
///
/// Every method can be called from any thread, and from several threads at the same time. Each
/// method holds the manager's lock while it uses the state of the manager and while it loads or
/// frees libraries. However, callers of getLocale(), of loadLibrary() and of the methods whose
/// names begin with "_get" must hold the lock themselves. The lock is recursive: the thread that
/// holds the lock can acquire it again.
///
/// Do not call any method of this class, or any function in the i18nres namespace, from DllMain.
/// The call could deadlock. While DllMain runs, the thread holds the system's loader lock, and the
/// call waits for the manager's lock. Another thread may hold the manager's lock while it loads a
/// satellite and waits for the loader lock.
///
/// Unless documented otherwise, methods throw only std::bad_alloc if memory runs out, or _com_error
/// with E_OUTOFMEMORY if a BSTR cannot be allocated. The manager's lock is released before an
/// exception escapes from a method.
class I18NRESOURCE_API Manager {
public:
    /// The libraries of one module.
    struct LocaleBase {
        HINSTANCE hCultureLib = nullptr;  ///< Satellite of the current culture, or null.
        HINSTANCE hDefaultLib = nullptr;  ///< Satellite of the default culture, or null.
        std::wstring moduleName;          ///< The name or path that the caller passed.
        bool ownsModule = false;          ///< True if the manager loaded the module.
    };

    // Lifecycle

    /// Increments the reference count of the manager. The first call creates the manager. A new
    /// manager has the default culture "en-US", and no current culture, resource path or libraries.
    ///
    /// The first call also checks whether two environment variables are defined, regardless of
    /// their values. If ZEPH_RES_STRING_ORIGIN is defined, the module name and the string id are
    /// added to the beginning of every string. If ORVEX_LOCAL_SIMULATION is defined, marks (CJK
    /// characters) are added before and after every string from the satellite of the default
    /// culture. Methods with "Default" in their names do not add marks.
    ///
    /// Do not call Init() from DllMain. The thread that runs DllMain holds the loader lock. Init()
    /// may wait for a call to Term() in another thread, and Term() needs the loader lock to free
    /// libraries.
    ///
    /// @throws std::bad_alloc if there is no memory for the manager. After this exception, the
    ///         reference count stays incremented, and the calling thread still holds the
    ///         `s_ccsInstance` lock. Before another attempt, call `s_ccsInstance.Unlock()` and then
    ///         Term().
    static void Init();

    /// Decrements the reference count of the manager. The last call destroys the manager and frees
    /// every library that the manager has loaded. Each call to Term() must follow a matching call
    /// to Init(). After a call to Term() without a matching call to Init(), the next call to Init()
    /// does not create a manager.
    ///
    /// Do not call Term() from DllMain. Term() frees libraries, which DllMain must not do. Term()
    /// may also wait for a call to Term() in another thread, and this call may be waiting for the
    /// loader lock.
    static void Term();

    /// Returns the manager, or null before the first call to Init() and after the last call to
    /// Term(). This method does not acquire a lock: the caller must ensure that no thread makes the
    /// last call to Term() while the manager is in use.
    static Manager* Instance();

    Manager(const Manager&) = delete;  // a manager owns its libraries and its lock
    Manager& operator=(const Manager&) = delete;

    // Cultures

    /// Sets the current culture and the preferred user interface language of the process. If the
    /// new culture differs from the previous culture, all satellites are freed, and later lookups
    /// load the satellites of the new culture. At the end, the method calls
    /// synchronizeProcessUICulture(), even if `culture` is not a valid tag.
    ///
    /// @param culture  The tag of the new culture. If `culture` is null or empty, the current
    ///                 culture is removed and all satellites are freed.
    /// @return true if a culture was set; false if `culture` is null, empty or not a valid tag. If
    ///         the tag is not valid, the current culture does not change.
    bool setCulture(const wchar_t* culture);

    /// Sets the default culture in the same way as setCulture() sets the current culture. If
    /// `culture` is null or empty, the default culture does not change, and the result is false.
    /// The preferred user interface language of the process is changed only if there is no current
    /// culture.
    bool setDefaultCulture(const wchar_t* culture);

    /// Copies the tag of the current culture. The tag is empty if there is no current culture.
    /// @param size  Size of `buf` in characters, including the terminator.
    /// @return true if the tag was copied; false if `buf` is null or too small. On failure, `buf`
    ///         is unchanged.
    bool getCulture(wchar_t* buf, int size) const;
    void getCulture(std::wstring& out) const;

    /// Copies the tag of the default culture in the same way as getCulture().
    bool getDefaultCulture(wchar_t* buf, int size) const;
    void getDefaultCulture(std::wstring& out) const;

    /// Copies the language of the current culture. `out` is empty if there is no current culture.
    void getLanguage(std::wstring& out) const;
    /// Copies the language of the default culture.
    void getDefaultLanguage(std::wstring& out) const;

    /// Sets the preferred user interface language of the process to the current culture, or to the
    /// default culture if there is no current culture. Does nothing if the previous call used the
    /// same culture.
    void synchronizeProcessUICulture();

    // Files and libraries

    /// Sets the resource path. The manager searches for satellites first in the folder of their
    /// module, and then under this path. Satellites that are already loaded stay loaded.
    ///
    /// @param path  The prefix that is added to file names. If it is the path of a folder, it must
    ///              end with "\". An empty `path` removes the resource path. A null `path` has no
    ///              effect.
    void setResourcePath(const wchar_t* path);

    /// If `only` is true, the manager searches for satellites only in the folder of their module
    /// and under the resource path. If `only` is false, it also searches the folders of the
    /// system's DLL search order. The initial setting is false.
    void useResourcePathOnly(bool only);

    /// Finds the localized variant of a file. For example, if the current culture is "fr-CA" and
    /// the default culture is "en-US", the variant of "guide.chm" is the first of these files that
    /// exists: "guide_fr-CA.chm", "guide_fr.chm", "guide_en-US.chm", "guide_en.chm". Folders with
    /// these names are ignored. "guide.chm" itself is not a variant.
    ///
    /// @param[out] result   Receives the path of the variant. Unchanged if there is no variant.
    /// @param[out] culture  Optional. Receives the culture tag that the name of the variant
    ///                      contains. Unchanged if there is no variant.
    /// @return false if there is no variant, or if a part of the path (drive, folder, name or
    ///         extension) has 260 characters or more; otherwise true.
    bool getLocaleFileName(const std::wstring& file, std::wstring& result,
                           std::wstring* culture) const;

    /// Selects the first of these tags that `available` contains: the current culture, the language
    /// of the current culture, the default culture, the language of the default culture.
    ///
    /// @param file          A path. If a part of it (drive, folder, name or extension) has 260
    ///                      characters or more, no tag is found. Otherwise, the path has no effect.
    /// @param[out] culture  Optional. Receives the tag. Unchanged if no tag is found.
    /// @return the position of the tag in `available`, or `available.end()` if no tag is found.
    std::vector<std::wstring>::iterator selectLocaleFileName(const std::wstring& file,
                                                             std::vector<std::wstring>& available,
                                                             std::wstring* culture);

    /// Finds the first library that contains a resource. The libraries are searched in this order:
    /// the satellite of the current culture, the satellite of the default culture, the module. For
    /// the types RT_ICON and RT_GROUP_ICON, a library is considered to contain the resource if
    /// LoadImageW can load the icon from the library.
    ///
    /// @param resName  The name of the resource. If `resName` is null, the result is the first
    ///                 loaded library in the same order.
    /// @return the handle of the library, or null if `module` is null or if no library contains the
    ///         resource. The caller must not free the library. The handle is valid until one of the
    ///         cultures is changed or removed, the module is freed, or the manager is destroyed.
    HINSTANCE getResLibHandle(const wchar_t* module, const wchar_t* resName,
                              const wchar_t* resType) const;

    // Strings
    //
    // The methods for strings search the satellite of the current culture, then the satellite of
    // the default culture, and then the module. However, the methods with "Default" in their names
    // search the module first and then the satellite of the default culture. An empty string is
    // treated as missing.
    //
    // Compatibility: if the module is loaded, the methods with "Default" in their names do not load
    // satellites. They search the satellite of the default culture only if another method has
    // loaded this satellite and the satellite has not been freed since. Callers rely on this
    // behavior.
    //
    // If the ZEPH_RES_STRING_ORIGIN environment variable is defined, each string begins with its
    // origin. For example, the string "Open" with the id 7 in "charts.dll" becomes
    // "charts.dll(7):Open". If the origin has 255 characters or more, not counting the terminator,
    // the string is treated as missing.
    //
    // If the ORVEX_LOCAL_SIMULATION environment variable is defined, a string from the satellite of
    // the default culture has marks: U+65B9 U+672C before the text and U+6587 U+65B9 after it. The
    // methods with "Default" in their names do not add marks.
    //
    // Methods that return an int return the length of the string in wide characters, without the
    // terminator, even if they store narrow text. This length includes the origin but not the
    // marks. These methods return 0 if the string is missing or if `module` is null.

    /// Copies a string into a buffer.
    ///
    /// If the whole string does not fit, only the part before its first embedded NUL is copied,
    /// provided that this part fits. If the string has marks, only this part is copied even if the
    /// whole string fits. If this part and the marks do not fit, or have 2048 characters or more in
    /// total, `buf` receives the empty string. The marks do not affect the return value.
    ///
    /// @param[out] buf  Receives the string and a terminator, or the empty string if the result is
    ///                  0. Nothing is written if `buf` is null or `size` is below 1.
    /// @param size      Size of `buf` in characters, including the terminator.
    /// @return one of these values:
    ///         - 0 if the string is missing or does not fit, if `buf` is null, or if `size` is
    ///           below 1.
    ///         - `size` - 1 if only the part before the first NUL fits.
    ///         - Otherwise, the length of the string.
    int loadStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const;
    int loadDefaultStringW(const wchar_t* module, unsigned id, wchar_t* buf, int size) const;

    /// Copies a string into a std::wstring.
    /// @param[out] out  Receives the string. Unchanged if the result is 0.
    int loadStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const;
    int loadDefaultStdStringW(const wchar_t* module, unsigned id, std::wstring& out) const;

    /// Converts a string with i18nstr::wide2mb() and copies it into a buffer.
    ///
    /// @param[out] buf  Receives the converted string and a terminator, or the empty string if the
    ///                  string is missing, does not fit or cannot be converted. Nothing is written
    ///                  if `buf` is null or `size` is below 1.
    /// @param size      Size of `buf` in bytes, including the terminator.
    /// @return the length of the wide string, even if it cannot be converted or the converted
    ///         string does not fit. The result is 0 if the string is missing, if `buf` is null, or
    ///         if `size` is below 1.
    int loadStringA(const wchar_t* module, unsigned id, char* buf, int size) const;
    int loadDefaultStringA(const wchar_t* module, unsigned id, char* buf, int size) const;

    /// Converts a string with i18nstr::wide2mb() and copies it into a std::string.
    /// @param[out] out  Receives the converted string, which is empty if the conversion fails.
    ///                  Unchanged if the result is 0.
    int loadStdStringA(const wchar_t* module, unsigned id, std::string& out) const;
    int loadDefaultStdStringA(const wchar_t* module, unsigned id, std::string& out) const;

    /// Copies a string into a new BSTR.
    /// @param[out] out  Receives the BSTR, which the caller frees with SysFreeString. Null on
    ///                  failure.
    /// @return S_OK on success; E_POINTER if `out` is null; E_FAIL if the string is missing or if
    ///         `module` is null.
    HRESULT loadBString(const wchar_t* module, unsigned id, BSTR* out);
    HRESULT loadDefaultBString(const wchar_t* module, unsigned id, BSTR* out);

    // Strings with inserts
    //
    // The methods load a format string for FormatMessageW, which replaces insert sequences such as
    // "%1" and "%2!d!" with the inserts. The origin and the marks are copied unchanged, even if the
    // origin contains a "%". The caller must pass inserts that match the string in number and type,
    // because the methods do not check the inserts. The length of the formatted text includes the
    // origin and the marks.

    /// Formats a string into a buffer.
    ///
    /// @param[out] buf  Receives the formatted text and a terminator. `buf` receives the empty
    ///                  string if the string is missing or cannot be formatted, or if the formatted
    ///                  text does not fit. The terminator is written even if `size` is 0. Nothing
    ///                  is written if `buf` is null or `size` is negative.
    /// @param size      Size of `buf` in characters, including the terminator.
    /// @return the length of the formatted text in characters, without the terminator. Other
    ///         results:
    ///         - 0 if `buf` is null, if `size` is negative, or if the string is missing.
    ///         - 0 if the string cannot be formatted or does not fit, and `size` is 1 or more.
    ///         - -1 if `size` is 0, `buf` is not null, and the string exists.
    int loadStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                          va_list args) const;
    int loadDefaultStringFormatW(const wchar_t* module, unsigned id, wchar_t* buf, int size,
                                 va_list args) const;

    /// Formats a string and stores the text in `out`. If `out` is a std::string, the formatted text
    /// is converted with i18nstr::wide2mb().
    /// @param[out] out  Receives the formatted text, which is empty if the string is missing or
    ///                  cannot be formatted, or if the conversion to a std::string fails.
    /// @return the length of the formatted text in wide characters, even if `out` is a std::string
    ///         or the conversion fails. The result is 0 if the string is missing or cannot be
    ///         formatted.
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
    // The methods for images, HTML pages and XML documents search the satellite of the current
    // culture, then the satellite of the default culture, and then the module. loadMenu() searches
    // only the two satellites.

    /// Calls LoadImageW for the satellites and then for the module, until a call returns an image.
    /// The arguments after `module` are passed to LoadImageW unchanged.
    /// @return the image. The result is null if `module` or `name` is null, or if no library
    ///         contains the image. Unless `flags` contains LR_SHARED, the caller destroys the image
    ///         with DestroyIcon, DestroyCursor or DeleteObject.
    HANDLE loadImage(const wchar_t* module, const wchar_t* name, unsigned type, int cx, int cy,
                     unsigned flags) const;
    HICON loadImageIcon(const wchar_t* module, const wchar_t* name, int cx, int cy, unsigned flags);
    HICON loadImageCursor(const wchar_t* module, const wchar_t* name, int cx, int cy,
                          unsigned flags);
    HBITMAP loadImageBitmap(const wchar_t* module, const wchar_t* name, int cx, int cy,
                            unsigned flags);

    /// Loads a menu from a satellite. A menu that only the module itself contains is not found. If
    /// the result is null, load the untranslated menu from the module.
    /// @return the menu, which the caller destroys with DestroyMenu. The result is null if `module`
    ///         is null or if no satellite contains the menu.
    HMENU loadMenu(const wchar_t* module, const wchar_t* name);

    /// Copies the bytes of an HTML page, which is a resource of type RT_HTML. The bytes are not
    /// converted, and no terminator is added. Only the first library that contains the page is
    /// used.
    ///
    /// @param[out] out  Receives the bytes. Empty on failure.
    /// @return S_OK on success; E_FAIL if `module` is null, if `id` is 0, if no library contains
    ///         the page, or if the library specifies an invalid position or size for the page.
    HRESULT loadHTMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                         std::string& out);

    /// Creates an MSXML 3.0 document from an XML resource (type "XML") and sets XPath as the query
    /// language of the document. Only the first library that contains the resource is used. COM
    /// must be initialized on the calling thread.
    ///
    /// If the resource begins with a byte order mark, this mark specifies whether the text is UTF-8
    /// or UTF-16. Otherwise, the text is in the ANSI code page of the calling thread. The encoding
    /// in the XML declaration is ignored.
    ///
    /// @param[out] doc  Receives the document, which the caller releases. Null if no document was
    ///                  created.
    /// @return E_FAIL if no document was created; otherwise the result of setting the query
    ///         language, which may be an error code. No document is created in these cases:
    ///         - `module` is null, `id` is 0, or no library contains the resource.
    ///         - The library specifies an invalid position or size for the resource.
    ///         - The text is not valid in the encoding that its byte order mark specifies.
    ///         - The text is not well-formed.
    ///         - MSXML is not available.
    /// @throws _com_error with E_INVALIDARG if the size that the library specifies for the resource
    ///         is 2 GB or more.
    HRESULT loadXMLDocumentFromResource(const wchar_t* module, unsigned short id,
                                        IXMLDOMDocument2*& doc);
    /// Creates an MSXML 6.0 document in the same way as loadXMLDocumentFromResource().
    HRESULT loadXML6DocumentFromResource(const wchar_t* module, unsigned short id,
                                         IXMLDOMDocument2*& doc);

    /// Finds the child element of `node` that best matches the current and default cultures, and
    /// reads the text of that element. Only children whose name is `name` are considered. The
    /// method selects the child whose xml:lang attribute is one of these tags, in this order of
    /// preference: the current culture, its language, the default culture, its language. If no
    /// child has one of these tags, the method reads the first child with this name, regardless of
    /// its language.
    ///
    /// The manager's lock is not held while the node is queried, so `node` may be a proxy for a
    /// node in another apartment.
    ///
    /// @param name        The name of the child elements. It is inserted unchanged into the query
    ///                    that selects the child element.
    /// @param[out] value  Receives the text, which the caller frees with SysFreeString. Null on
    ///                    failure.
    /// @return S_OK on success; E_POINTER if `value` is null; E_INVALIDARG if `node` or `name` is
    ///         null; E_FAIL if no child was found or if its text could not be read.
    HRESULT getLocalizedNodeValue(IXMLDOMNode* node, const wchar_t* const name, BSTR* value);

protected:
    void _getCulture(std::wstring& out) const;
    void _getDefaultCulture(std::wstring& out) const;
    void _getLanguage(std::wstring& out) const;
    void _getDefaultLanguage(std::wstring& out) const;

    /// Appends the tags in the order in which lookups use them: the current culture, its language,
    /// the default culture, its language. Empty tags are omitted. The current culture is appended
    /// even if `out` already contains it. The other tags are appended only if `out` does not
    /// contain them.
    /// @return true if `out` contains a tag after the call.
    bool _getNormalizeCultureList(std::list<std::wstring>& out) const;

    /// Returns the record of a module. As long as the record has no satellites, each call searches
    /// for them again, unless it is certain that the search would fail. Satellites are therefore
    /// found even if they are installed later.
    ///
    /// @param forDefault  If true and the module is loaded, the method does not search for
    ///                    satellites.
    /// @return the record, even if the module does not exist; null if `module` is null, or while
    ///         freeLocales() runs. The manager owns the record and deletes it in freeLocales().
    const LocaleBase* getLocale(const wchar_t* module, bool forDefault) const;

    /// Loads the satellite of a module for one tag.
    /// @return a handle that the caller must pass to FreeLibrary, or null if no satellite is found.
    HINSTANCE loadLibrary(const std::wstring& modulePath, const std::wstring& tag) const;

    /// Frees the libraries that the manager has loaded, and deletes all records.
    void freeLocales();

    int _loadStringFormatW(bool useDefault, const wchar_t* module, unsigned id, wchar_t* buf,
                           int size, va_list args) const;
    int _loadStdStringFormatW(bool useDefault, const wchar_t* module, unsigned id,
                              std::wstring& out, va_list args) const;

private:
    Manager();
    ~Manager();

    /// Returns the same record as getLocale(), but gives access to its internal members.
    ModuleRecord* resolve(const wchar_t* module, bool forDefault) const;

    // `std::less<>` compares the keys directly with the caller's string, so that a lookup allocates
    // no memory for a key.
    using Locales = std::map<std::wstring, std::unique_ptr<ModuleRecord>, std::less<>>;
    mutable Locales m_locales;
    // The map entry that the previous lookup used. Consecutive lookups usually use the same entry.
    mutable const Locales::value_type* m_latest = nullptr;
    std::wstring m_resourcePath;
    std::wstring m_culture;
    std::wstring m_defaultCulture;
    std::wstring m_syncedUICulture;
    bool m_resourcePathOnly = false;
    bool m_isFreeing = false;                     // true while freeLocales() runs
    mutable ATL::CComAutoCriticalSection m_lock;  // protects all data members above

public:
    static Manager* s_pInstance;  ///< The manager, or null.
    /// Number of calls to Init() minus number of calls to Term().
    static long s_nRefCount;
    static ATL::CComAutoCriticalSection s_ccsInstance;  ///< Serializes Init() and Term().
};

}  // namespace i18nres

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
