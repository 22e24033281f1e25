#pragma once
/// @file
/// Functions that convert and check culture tags, read the culture, language and time zone settings
/// of the system and the user, and set the user interface languages of the process.
///
/// A culture tag is a NUL-terminated string in the format of RFC 1766. A tag starts with a language
/// in lowercase. The language may be followed by a hyphen and either a region in uppercase
/// ("en-US") or a script ("zh-Hant").
///
/// Buffer sizes are in characters and include the terminator. If a string does not fit into a
/// buffer, the buffer receives the empty string unless the function documents otherwise. Strings
/// are never truncated. A buffer with a size below 1 is unchanged.
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
// already belongs to an apartment, the functions use this apartment.

/// Uses the MLang service to find the locale identifier (LCID) for a culture tag.
///
/// @param[out] lcid  Receives the identifier. If the service fails, it may still change `lcid`. If
///                   the service is not called, `lcid` is unchanged.
/// @return one of these codes:
///         - S_OK if the service finds an identifier for the tag.
///         - S_FALSE if the identifier matches only the primary language of the tag.
///         - E_FAIL or E_INVALIDARG if the service does not support the tag.
///         - E_POINTER if `tag` is null.
///         - The result of CoCreateInstance if the service cannot be created.
///         - Any other result of the service.
/// @throws _com_error with E_OUTOFMEMORY if memory runs out. The function throws no other
///         exceptions.
I18NRESOURCE_API long getLcidFromRfc1766(const wchar_t* tag, unsigned long& lcid);

/// Uses the MLang service to find the culture tag for a locale identifier.
///
/// The result is the tag that the service returns, with two changes:
/// - In a tag of three or more characters, all letters after the third character become uppercase.
///   For example, "en-gb" becomes "en-GB". A script also becomes uppercase: "zh-hant" becomes
///   "zh-HANT".
/// - If the identifier belongs to one of 19 cultures (listed below), a tag of fewer than three
///   characters is replaced with the full tag. The full tag includes the region. For example, "ja"
///   becomes "ja-JP" for 0x0411. For any other identifier, a tag of fewer than three characters is
///   not changed.
///
/// The 19 cultures are cs-CZ, da-DK, de-DE, el-GR, en-US, fi-FI, fr-FR, hu-HU, it-IT, ja-JP, ko-KR,
/// nb-NO, pl-PL, pt-BR, ru-RU, sk-SK, sv-SE, tr-TR and zh-TW.
///
/// @param[out] buffer  Receives the tag. Unchanged if the service fails or cannot be created.
/// @return one of these codes:
///         - S_OK if the service's tag fits. If the full tag that replaces this tag does not fit,
///           the result is still S_OK, but the buffer receives the empty string.
///         - E_FAIL if the service's tag does not fit. If the identifier belongs to one of the 19
///           cultures and the full tag fits, the buffer receives the full tag.
///         - E_FAIL or E_INVALIDARG if the service does not support the identifier.
///         - E_POINTER if `buffer` is null.
///         - The result of CoCreateInstance if the service cannot be created.
///         - Any other result of the service.
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

/// Changes the letter case of a tag in place: letters after the last hyphen become uppercase, and
/// letters before the last hyphen become lowercase. For example, "EN-us" becomes "en-US", and
/// "zh-hant-tw" becomes "zh-hant-TW". The tag need not be valid. A tag without a hyphen is not
/// changed. A script after the last hyphen also becomes uppercase: "zh-Hant" becomes "zh-HANT".
///
/// @param tag  Must not be null.
/// @return S_FALSE if the tag has no hyphen; otherwise S_OK.
I18NRESOURCE_API long normalizeCulture(wchar_t* tag);

/// Copies the short name of a culture's writing system into a buffer. The name is "JaHani" for
/// "ja-JP", "ZhHans" for "zh-Hans", "ZhHant" for "zh-Hant" and "Ko" for "ko-KR". For every other
/// tag, the name is the tag itself. The comparison of tags is case-sensitive.
///
/// @return false if `tag` is null or `size` is below 1; otherwise true, even if the name does not
///         fit or `buffer` is null. If the result is false, the buffer is unchanged.
I18NRESOURCE_API bool mapRfc1766ToLocalWritingSystem(const wchar_t* tag, wchar_t* buffer, int size);

// Settings of the machine and the user.

/// Copies the culture tag of the system's default locale into a buffer. The tag consists of the ISO
/// 639 language code, a hyphen and the ISO 3166 region code, for example "en-US".
///
/// If the system does not return the language code or the region code, the function still succeeds.
/// In this case, the tag lacks this code but contains the hyphen.
///
/// @return false if `buffer` is null, if `size` is below 1, or if the tag does not fit; otherwise
///         true.
I18NRESOURCE_API bool getSystemCulture(wchar_t* buffer, int size);

/// Copies the culture tag of the user's default locale into a buffer. See getSystemCulture().
I18NRESOURCE_API bool getUserCulture(wchar_t* buffer, int size);

/// Copies the ISO 639 language code of the system's default locale into a buffer, for example "en".
///
/// @param[out] buffer  Receives the language code. All `size` characters of the buffer are
///                     converted to lowercase, even those after the terminator. After a failure,
///                     the contents are undefined.
/// @return false if `buffer` is null, if `size` is below 1, or if the language code does not fit;
///         otherwise true.
I18NRESOURCE_API bool getSystemLanguage(wchar_t* buffer, int size);

/// Copies the ISO 639 language code of the user's default locale into a buffer. See
/// getSystemLanguage().
I18NRESOURCE_API bool getUserLanguage(wchar_t* buffer, int size);

/// Copies the name of the registry key for the current time zone into a buffer, for example
/// "Pacific Standard Time". The names of these keys are not localized, but the display names of
/// time zones are.
///
/// @param[out] buffer  Receives the name. Unchanged if the time zone or its key is not found.
/// @return the result of GetTimeZoneInformation: 0 if daylight saving time is not used, 1 during
///         standard time, 2 during daylight saving time. The result is 0xFFFFFFFF if the time zone
///         or its key is not found, if `buffer` is null, or if the name does not fit.
I18NRESOURCE_API unsigned long GetTimeZoneID(wchar_t* buffer, int size);

/// Sets the preferred user interface languages of the process with SetProcessPreferredUILanguages.
/// On Windows Vista, which lacks this function, SetThreadPreferredUILanguages sets the languages of
/// the calling thread instead. On versions of Windows earlier than Windows Vista, which lack both
/// functions, InitMUILanguage sets the language of the common controls to the first language in
/// `languages`.
///
/// @param flags       4 (MUI_LANGUAGE_ID) if `languages` contains language identifiers; 8
///                    (MUI_LANGUAGE_NAME) if it contains culture tags.
/// @param languages   A list of NUL-terminated strings. An additional NUL ends the list. A language
///                    identifier consists of four hexadecimal digits ("0411"). If InitMUILanguage
///                    is used, the identifier is a decimal number ("1041").
/// @param[out] count  Optional. Receives the number of languages that were set. Unchanged if
///                    InitMUILanguage is used.
/// @return 0 on failure or if `languages` is null; otherwise the result of the system function, or
///         1 if InitMUILanguage is used. With InitMUILanguage, the function fails if the first
///         language is not supported, or if `flags` contains neither MUI_LANGUAGE_ID nor
///         MUI_LANGUAGE_NAME.
I18NRESOURCE_API int setPreferredUILanguages(unsigned long flags, const wchar_t* languages,
                                             unsigned long* count);

}  // namespace i18nsys
