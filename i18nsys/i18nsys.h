#pragma once
/// @file
/// Culture tags and locale identifiers; the cultures, time zone and user interface languages of the
/// machine, the user and the process.
///
/// A culture tag is a NUL-terminated text in the form of RFC 1766: a language in lower case, and
/// after a hyphen a region in upper case ("en-US"), or a script ("zh-Hant"). Buffer sizes count
/// characters, including the terminator. A text that does not fit into a buffer is never cut.
/// Unless a function says otherwise, the buffer then holds the empty text, and a buffer with a size
/// below 1 stays untouched.
///
/// The functions keep no state between calls and can be called from any thread, but not from
/// DllMain: some of them use COM or load libraries.

#include "dll/export.h"

namespace i18nsys {

// Culture tags and locale identifiers.
//
// The two conversions call the multi-language service of the system (MLang) and create a new
// instance of it for each call. Around the call they initialise COM with CoInitialize, that is, for
// a single-threaded apartment. In a thread that already belongs to an apartment of another kind
// they use that apartment.

/// Finds the locale identifier (LCID) of a culture tag.
///
/// @param[out] lcid  Receives the identifier. Untouched when the service was not reached; otherwise
///                   it holds the value that the service stored, even after a failure.
/// @return E_POINTER for a null `tag`; otherwise the failure code of creating the service, or the
///         service's own result: S_OK; S_FALSE when the identifier matches only the primary
///         language of the tag; E_FAIL or E_INVALIDARG when the service does not support the tag.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API long getLcidFromRfc1766(const wchar_t* tag, unsigned long& lcid);

/// Finds the culture tag of a locale identifier.
///
/// The tag is the one that the service returns, with two changes. All letters after the third
/// character become upper case: "en-gb" becomes "en-GB", and a script loses its usual form
/// ("zh-hant" becomes "zh-HANT"). A tag of fewer than three characters becomes the full tag for 19
/// cultures ("ja" becomes "ja-JP" for 0x0411) and stays as it is for every other identifier.
///
/// @return E_POINTER for a null `buffer`; E_FAIL when the service's tag does not fit, even if the
///         buffer then holds the full tag; otherwise the failure code of creating the service, or
///         the service's own result: S_OK, or E_FAIL or E_INVALIDARG when it does not support the
///         identifier. The buffer is untouched when the service failed. When the service's tag
///         fits but the full tag does not, the result is S_OK and the buffer holds the empty text.
I18NRESOURCE_API long getRfc1766FromLcid(const unsigned long& lcid, wchar_t* buffer, int size);

/// Returns whether getLcidFromRfc1766() succeeds for the tag; false for a null `tag`.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API bool isRfc1766StringValid(const wchar_t* tag);

/// Returns whether the tag is valid and names a language by two letters, without a region ("en");
/// false for a null `tag` and for language codes of three letters.
/// @throws _com_error with E_OUTOFMEMORY only, when memory runs out.
I18NRESOURCE_API bool isRfc1766NeutralLanguage(const wchar_t* tag);

/// Changes the letters of a tag to the usual case, in place: upper case after the last hyphen,
/// lower case before it ("EN-us" becomes "en-US", "zh-hant-tw" becomes "zh-hant-TW"). The tag need
/// not be valid. A script after the last hyphen does not get its usual form ("ZH-HANT" becomes
/// "zh-HANT").
///
/// @param tag  Must not be null.
/// @return S_OK; S_FALSE when the tag has no hyphen and stays unchanged.
I18NRESOURCE_API long normalizeCulture(wchar_t* tag);

/// Copies the short name of a culture's writing system into a buffer: "JaHani" for "ja-JP",
/// "ZhHans" for "zh-Hans", "ZhHant" for "zh-Hant", "Ko" for "ko-KR", and for every other tag the
/// tag itself. The comparison is case-sensitive.
///
/// @return false, with the buffer untouched, when `tag` is null or `size` is below 1; otherwise
///         true, also when the name does not fit and the buffer holds the empty text.
I18NRESOURCE_API bool mapRfc1766ToLocalWritingSystem(const wchar_t* tag, wchar_t* buffer, int size);

// Settings of the machine and the user.

/// Copies the culture of the system's default locale into a buffer: the ISO 639 language and the
/// ISO 3166 region, as in "en-US".
/// @return false when `buffer` is null, `size` is below 1 or the tag does not fit.
I18NRESOURCE_API bool getSystemCulture(wchar_t* buffer, int size);

/// The same for the user's default locale.
I18NRESOURCE_API bool getUserCulture(wchar_t* buffer, int size);

/// Copies the ISO 639 language of the system's default locale into a buffer, as in "en".
///
/// @param[out] buffer  All `size` characters are changed to lower case, also those after the
///                     terminator. After a failure the contents are undefined.
/// @return false when `buffer` is null, `size` is below 1 or the language does not fit.
I18NRESOURCE_API bool getSystemLanguage(wchar_t* buffer, int size);

/// The same for the user's default locale.
I18NRESOURCE_API bool getUserLanguage(wchar_t* buffer, int size);

/// Copies the name of the registry key that describes the current time zone, such as "W. Europe
/// Standard Time", into a buffer. Unlike a time zone's display names, the name of the key is not
/// localized.
///
/// @return the result of GetTimeZoneInformation: 0 when daylight saving time is not used, 1 during
///         standard time, 2 during daylight saving time. 0xFFFFFFFF when the time zone or its key
///         is not found or the name does not fit.
I18NRESOURCE_API unsigned long GetTimeZoneID(wchar_t* buffer, int size);

/// Sets the preferred user interface languages of the process with SetProcessPreferredUILanguages.
/// Where the system lacks that function (before Windows 7), SetThreadPreferredUILanguages sets those
/// of the calling thread. Where it lacks both (before Windows Vista), InitMUILanguage sets the first
/// language of `languages` for the common controls.
///
/// @param flags       4 (MUI_LANGUAGE_ID) when `languages` holds identifiers, 8 (MUI_LANGUAGE_NAME)
///                    when it holds culture tags.
/// @param languages   Texts that each end in NUL, and another NUL after the last one. An identifier
///                    is four hexadecimal digits ("0411"); where only the common controls use it,
///                    it is a decimal number ("1041").
/// @param[out] count  Optional. Receives the number of languages that were set; untouched where
///                    only the common controls use a language.
/// @return 0 when `languages` is null; otherwise the result of the system's function, which is 0 on
///         failure. Where only the common controls use a language: 1, or 0 when `flags` contains
///         neither 4 nor 8, or when the first language is not supported.
I18NRESOURCE_API int setPreferredUILanguages(unsigned long flags, const wchar_t* languages,
                                             unsigned long* count);

}  // namespace i18nsys
