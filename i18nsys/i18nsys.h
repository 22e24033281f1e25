#pragma once
/// @file
/// Functions for culture tags and locale identifiers, and for the culture, the time zone and the
/// user interface languages of the machine, the user and the process.
///
/// A culture tag is a NUL-terminated string in the format of RFC 1766. A tag starts with a language
/// in lower case. The language may be followed by a hyphen and either a region in upper case
/// ("en-US") or a script ("zh-Hant").
///
/// Buffer sizes are in characters and include the terminator. A string that does not fit into a
/// buffer is never truncated: unless a function documents otherwise, the buffer receives the empty
/// string. A buffer with a size below 1 is unchanged.
///
/// The functions keep no state between calls and can be called from any thread. Do not call them
/// from DllMain, because some of them use COM or load libraries.

#include "dll/export.h"

namespace i18nsys {

// Culture tags and locale identifiers.
//
// getLcidFromRfc1766() and getRfc1766FromLcid() use the multi-language service of the system
// (MLang) and create a new instance of the service for each call. During the call, both functions
// initialize COM with CoInitialize, which requests a single-threaded apartment. If the thread
// already belongs to an apartment of another kind, the functions use this apartment.

/// Finds the locale identifier (LCID) of a culture tag.
///
/// @param[out] lcid  Receives the identifier. If the service fails, `lcid` contains the value that
///                   the service has stored. If the service is not called, `lcid` is unchanged.
/// @return E_POINTER for a null `tag`; the error code from creating the service if it cannot be
///         created; otherwise the result of the service. This result is S_OK; S_FALSE if the
///         identifier matches only the primary language of the tag; E_FAIL or E_INVALIDARG if the
///         service does not support the tag.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out. The function throws no other
///         exceptions.
I18NRESOURCE_API long getLcidFromRfc1766(const wchar_t* tag, unsigned long& lcid);

/// Finds the culture tag of a locale identifier.
///
/// The result is the tag that the service returns, with two changes:
/// - In a tag of three or more characters, all letters after the third character become upper case.
///   For example, "en-gb" becomes "en-GB". This also changes the usual form of a script: "zh-hant"
///   becomes "zh-HANT".
/// - If the identifier belongs to one of 19 cultures, a tag of fewer than three characters is
///   replaced with the full tag, which includes the region. For example, "ja" becomes "ja-JP" for
///   0x0411. For every other identifier, the short tag is unchanged.
///
/// @param[out] buffer  Unchanged if the service fails or cannot be created.
/// @return E_POINTER for a null `buffer`; the error code from creating the service if it cannot be
///         created; E_FAIL if the service's tag does not fit, even if the buffer then receives the
///         full tag; otherwise the result of the service. This result is S_OK; E_FAIL or
///         E_INVALIDARG if the service does not support the identifier. If the service's tag fits
///         but the full tag does not, the result is S_OK and the buffer receives the empty string.
I18NRESOURCE_API long getRfc1766FromLcid(const unsigned long& lcid, wchar_t* buffer, int size);

/// Returns true if getLcidFromRfc1766() succeeds for the tag, and false for a null `tag`.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out. The function throws no other
///         exceptions.
I18NRESOURCE_API bool isRfc1766StringValid(const wchar_t* tag);

/// Returns true if the tag is valid and consists only of a two-letter language, such as "en". The
/// function returns false for a null `tag` and for three-letter languages.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out. The function throws no other
///         exceptions.
I18NRESOURCE_API bool isRfc1766NeutralLanguage(const wchar_t* tag);

/// Changes the letter case of a tag in place: letters after the last hyphen become upper case, and
/// letters before the last hyphen become lower case. For example, "EN-us" becomes "en-US", and
/// "zh-hant-tw" becomes "zh-hant-TW". The tag need not be valid. A script after the last hyphen
/// does not get its usual form: "ZH-HANT" becomes "zh-HANT".
///
/// @param tag  Must not be null.
/// @return S_OK; S_FALSE, with the tag unchanged, if the tag has no hyphen.
I18NRESOURCE_API long normalizeCulture(wchar_t* tag);

/// Copies the short name of a culture's writing system into a buffer. The name is "JaHani" for
/// "ja-JP", "ZhHans" for "zh-Hans", "ZhHant" for "zh-Hant" and "Ko" for "ko-KR". For every other
/// tag, the name is the tag itself. The comparison is case-sensitive.
///
/// @return false if `tag` is null or `size` is below 1, with the buffer unchanged; otherwise true.
///         The result is true even if the name does not fit and the buffer receives the empty
///         string. If `buffer` is null, nothing is stored, but the result is still true.
I18NRESOURCE_API bool mapRfc1766ToLocalWritingSystem(const wchar_t* tag, wchar_t* buffer, int size);

// Settings of the machine and the user.

/// Copies the culture of the system's default locale into a buffer. The culture consists of the ISO
/// 639 language and the ISO 3166 region, as in "en-US".
///
/// If the system does not return one of the codes, the function does not fail. The tag then
/// contains only the hyphen and the other code.
///
/// @return false if `buffer` is null, `size` is below 1 or the tag does not fit; otherwise true.
I18NRESOURCE_API bool getSystemCulture(wchar_t* buffer, int size);

/// Copies the culture of the user's default locale into a buffer. See getSystemCulture().
I18NRESOURCE_API bool getUserCulture(wchar_t* buffer, int size);

/// Copies the ISO 639 language of the system's default locale into a buffer, as in "en".
///
/// @param[out] buffer  All `size` characters become lower case, even those after the terminator.
///                     After a failure, the contents are undefined.
/// @return false if `buffer` is null, `size` is below 1 or the language does not fit.
I18NRESOURCE_API bool getSystemLanguage(wchar_t* buffer, int size);

/// Copies the ISO 639 language of the user's default locale into a buffer. See getSystemLanguage().
I18NRESOURCE_API bool getUserLanguage(wchar_t* buffer, int size);

/// Copies the name of the registry key for the current time zone into a buffer. An example of a
/// name is "Pacific Standard Time". The names of these keys are not localized, but the display
/// names of time zones are.
///
/// @param[out] buffer  Unchanged if the time zone or its key is not found.
/// @return the result of GetTimeZoneInformation: 0 if daylight saving time is not used, 1 during
///         standard time, 2 during daylight saving time. The result is 0xFFFFFFFF if the time zone
///         or its key is not found, `buffer` is null or the name does not fit.
I18NRESOURCE_API unsigned long GetTimeZoneID(wchar_t* buffer, int size);

/// Sets the preferred user interface languages of the process with SetProcessPreferredUILanguages.
/// Systems before Windows 7 lack this function. There, SetThreadPreferredUILanguages sets the
/// languages of the calling thread instead. Systems before Windows Vista lack both functions.
/// There, InitMUILanguage sets the first language in `languages` for the common controls.
///
/// @param flags       4 (MUI_LANGUAGE_ID) if `languages` contains language identifiers; 8
///                    (MUI_LANGUAGE_NAME) if it contains culture tags.
/// @param languages   A list of NUL-terminated strings. Another NUL marks the end of the list. A
///                    language identifier consists of four hexadecimal digits ("0411"). If
///                    InitMUILanguage is used, it is a decimal number ("1041").
/// @param[out] count  Optional. Receives the number of languages that were set. Unchanged if
///                    InitMUILanguage is used.
/// @return 0 if `languages` is null; otherwise the result of the system's function, which is 0 on
///         failure. If InitMUILanguage is used, the result is 1, or 0 if `flags` contains neither
///         value or the first language is not supported.
I18NRESOURCE_API int setPreferredUILanguages(unsigned long flags, const wchar_t* languages,
                                             unsigned long* count);

}  // namespace i18nsys
