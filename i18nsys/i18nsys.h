#pragma once
/// @file
/// Culture tags and locale identifiers; the cultures, time zone and user interface languages of the
/// machine, the user and the process.
///
/// A culture tag is a NUL-terminated text in the form of RFC 1766: a language in lower case, and
/// after a hyphen a region in upper case ("en-US"), or a script ("zh-Hant"). Sizes are in
/// characters, the terminator counted. A text that does not fit a buffer is never cut: unless a
/// function says otherwise, the buffer then holds the empty text, and stays untouched when its size
/// is below 1.
///
/// The functions have no state of their own and can be called from any thread.

#include "dll/export.h"

namespace i18nsys {

// Culture tags and locale identifiers.
//
// The two conversions ask the multi-language service of the system (MLang), a new instance for each
// call. They initialise COM for a single-threaded apartment around that, unless the thread has
// already chosen otherwise: then they use its apartment.

/// Gives the locale identifier (LCID) of a culture tag, upper and lower case alike.
///
/// @param[out] lcid  What the service wrote; untouched when it was not reached.
/// @return S_OK; E_POINTER for a null `tag`; E_FAIL when the service does not know the tag;
/// otherwise
///         the code with which creating or asking the service failed.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API long getLcidFromRfc1766(const wchar_t* tag, unsigned long& lcid);

/// Gives the culture tag of a locale identifier.
///
/// The service answers in lower case and names a language by two letters where the region is the
/// usual one. What follows the third character is raised to upper case ("en-gb" becomes "en-GB",
/// and a script loses its form: "zh-hant" becomes "zh-HANT"). A two-letter answer becomes the full
/// tag for 19 cultures ("ja" becomes "ja-JP" for 0x0411); for any other identifier it stays.
///
/// @return S_OK; E_POINTER for a null `buffer`; E_FAIL when the service does not know the
/// identifier
///         or its answer does not fit; otherwise the code with which creating or asking the service
///         failed. When the two-letter answer fits but the full tag does not, the result is the
///         service's S_OK and the buffer holds the empty text. A buffer is untouched when the
///         service failed.
I18NRESOURCE_API long getRfc1766FromLcid(const unsigned long& lcid, wchar_t* buffer, int size);

/// Whether getLcidFromRfc1766() succeeds for the tag. A null `tag` is not valid.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API bool isRfc1766StringValid(const wchar_t* tag);

/// Whether the tag is valid and names a language by two letters, without a region ("en"). A null
/// `tag` is not. Language codes of three letters never count.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API bool isRfc1766NeutralLanguage(const wchar_t* tag);

/// Brings the letters of a tag into the usual case, in place: upper case after the last hyphen,
/// lower case before it ("EN-us" becomes "en-US", "zh-hant-tw" becomes "zh-hant-TW"). The tag need
/// not be valid; a script in the last place does not get its usual form ("ZH-HANT" becomes
/// "zh-HANT").
///
/// @param tag  Must not be null.
/// @return S_OK; S_FALSE when the tag has no hyphen: it is left alone.
I18NRESOURCE_API long normalizeCulture(wchar_t* tag);

/// Gives the short name of the writing system of a culture: "JaHani" for "ja-JP", "ZhHans" for
/// "zh-Hans", "ZhHant" for "zh-Hant", "Ko" for "ko-KR", and for everything else the tag itself.
/// Upper and lower case differ.
///
/// @return false, with the buffer untouched, when `tag` is null or `size` below 1; otherwise true,
///         also when the name did not fit and the buffer holds the empty text.
I18NRESOURCE_API bool mapRfc1766ToLocalWritingSystem(const wchar_t* tag, wchar_t* buffer, int size);

// Settings of the machine and the user.

/// Gives the culture of the system's default locale: language and region, as in "en-US".
/// @return false when `buffer` is null, `size` below 1, or the tag does not fit.
I18NRESOURCE_API bool getSystemCulture(wchar_t* buffer, int size);

/// The same for the user's default locale.
I18NRESOURCE_API bool getUserCulture(wchar_t* buffer, int size);

/// Gives the language of the system's default locale, as in "en".
///
/// @param[out] buffer  All `size` characters are brought to lower case, also those behind the
///                     terminator. After a failure it may hold a part of the code.
/// @return false when `buffer` is null, `size` below 1, or the code does not fit.
I18NRESOURCE_API bool getSystemLanguage(wchar_t* buffer, int size);

/// The same for the user's default locale.
I18NRESOURCE_API bool getUserLanguage(wchar_t* buffer, int size);

/// Gives the name of the registry key that describes the current time zone, such as
/// "W. Europe Standard Time": unlike the zone's display names it is the same in every language.
///
/// @return 0 (no daylight saving time is known), 1 (standard time) or 2 (daylight saving time);
///         0xFFFFFFFF when the zone or the key cannot be found, or its name does not fit.
I18NRESOURCE_API unsigned long GetTimeZoneID(wchar_t* buffer, int size);

/// Sets the preferred user interface languages of the process, or of the thread where the system
/// knows only those. On systems that know neither, the common controls get the first language of
/// the list.
///
/// @param flags       4 (MUI_LANGUAGE_ID) when the list holds identifiers, 8 (MUI_LANGUAGE_NAME)
///                    when it holds culture tags.
/// @param languages   Each ends in NUL, and the list in another.
/// @param[out] count  Optional. How many languages were set; untouched where only the common
///                    controls take a language. There an identifier is read as a decimal number,
///                    though the system writes it in hexadecimal: give it as "1041", not as "0411".
/// @return what the system answered, and 1 where only the common controls took a language. 0 when
///         `languages` is null; for the common controls also when `flags` names neither form, or
///         the first language is not known.
I18NRESOURCE_API int setPreferredUILanguages(unsigned long flags, const wchar_t* languages,
                                             unsigned long* count);

}  // namespace i18nsys
