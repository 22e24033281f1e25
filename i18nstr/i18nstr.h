#pragma once
/// @file
/// Conversions between UTF-16 and narrow encodings, comparison, letter case and percent-encoding.
///
/// Lengths count characters (bytes of narrow text) without the terminator. The contents of an
/// output string before a call do not matter; after the call it holds the whole result or the empty
/// text.
///
/// The functions keep no state of their own and can be called from any thread. Malformed text never
/// causes an exception. Output strings throw std::bad_alloc when memory runs out and
/// std::length_error when the result exceeds their maximum size.

#include <string>

#include "dll/export.h"

namespace i18nstr {

// Conversions between wide text and a code page: "mb" is the ANSI code page of the system, "UTF8"
// is UTF-8.
//
// With a negative length the text ends at its terminator. With a length of 0 or more the text must
// have a terminator at that index: the terminator is converted as well, and then one unit (a byte
// or a UTF-16 unit) is removed from the end of the result. A text with a length may contain
// terminators, but one that begins with a terminator is the empty text.
//
// Characters that the code page lacks, and malformed text, are replaced as the system does it; that
// is no failure. A conversion fails, with the empty text as the result, for a null `text` and when
// the system refuses it, for example because a size exceeds INT_MAX.
//
// "mb" uses flags that prefer precomposed characters. Where the ANSI code page accepts no flags, as
// UTF-8 does not, the conversion does without them.

/// Converts ANSI text to wide text. Precomposed characters are preferred.
I18NRESOURCE_API bool mb2wide(const char* text, int length, std::wstring& wide);

/// Converts ANSI text to a BSTR, which the caller frees with SysFreeString.
///
/// @param[in,out] wide  If null, the conversion fails. A BSTR that it holds before is freed when
///                      `text` is null or empty or the system refuses the conversion. Otherwise it
///                      is replaced and not freed: pass a null BSTR, or keep another pointer to it.
///                      Receives null for the empty text and after every failure, also when memory
///                      runs out.
I18NRESOURCE_API bool mb2wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to ANSI text. A letter and a following accent are composed where possible.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, std::string& narrow);

/// The same into a buffer of `size` bytes. The buffer receives the result with its terminator, or
/// the empty text when the result does not fit and after every other failure. One byte is written
/// even for a `size` of 0. With a null buffer only the conversion of the empty text succeeds.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size);

/// Converts UTF-8 to wide text. Malformed sequences become U+FFFD.
I18NRESOURCE_API bool UTF82wide(const char* text, int length, std::wstring& wide);

/// Converts UTF-8 to a BSTR, under the rules of the BSTR overload of mb2wide().
I18NRESOURCE_API bool UTF82wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to UTF-8. Unpaired surrogates become U+FFFD.
I18NRESOURCE_API bool wide2UTF8(const wchar_t* text, int length, std::string& utf8);

// Conversions between wide text and the encodings whose codes are the first ones of Unicode: 7-bit
// ASCII, up to 127, and Latin-1, up to 255.
//
// Exactly `length` characters are converted, embedded NULs included; a length below 1 means the
// empty text and succeeds. The overloads without a length convert up to the terminator.
// Each character above the limit becomes '?'; the output then still has all characters, but the
// result is false. For a null `text`, unless its length is below 1, the result is false and the
// output empty.

I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, int length, std::string& ascii);
I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, std::string& ascii);

I18NRESOURCE_API bool wide2latin(const wchar_t* text, int length, std::string& latin);
I18NRESOURCE_API bool wide2latin(const wchar_t* text, std::string& latin);

I18NRESOURCE_API bool ascii72wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool ascii72wide(const char* text, std::wstring& wide);

/// Every byte is a character of Latin-1, so only a null `text` fails.
I18NRESOURCE_API bool latin2wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool latin2wide(const char* text, std::wstring& wide);

/// Converts ANSI text to wide text like mb2wide(), with its rules for lengths, and that to 7-bit
/// ASCII like wide2ascii7(). True when both succeed.
I18NRESOURCE_API bool mb2ascii7(const char* text, int length, std::string& ascii);
I18NRESOURCE_API bool mb2ascii7(const char* text, std::string& ascii);

/// Returns whether each of the first `length` bytes is at most 127; true for a length below 1 and
/// otherwise false for a null `text`.
I18NRESOURCE_API bool isAscii7(const char* text, int length);

/// The same up to the terminator; false for a null `text`.
I18NRESOURCE_API bool isAscii7(const char* text);

/// Compares two texts in the sort order of the system default locale. Upper and lower case differ;
/// half-width and full-width forms of a character do not. Narrow text is ANSI text. With a negative
/// length the text ends at its terminator.
///
/// @return -1, 0 or 1 when `left` sorts before, equal to or after `right`; 0 also when they cannot
///         be compared: a null text, a text longer than INT_MAX characters.
I18NRESOURCE_API int compare(const char* left, int leftLength, const char* right, int rightLength);
I18NRESOURCE_API int compare(const wchar_t* left, int leftLength, const wchar_t* right,
                             int rightLength);
I18NRESOURCE_API int compare(const char* left, const char* right);
I18NRESOURCE_API int compare(const wchar_t* left, const wchar_t* right);

/// Changes each character to lower or upper case in place, with towlower() or towupper() of the
/// runtime library in its current locale. The length does not change.
I18NRESOURCE_API void tolower(std::wstring& text);
I18NRESOURCE_API void toupper(std::wstring& text);

/// Percent-encodes text for use in a URL, as UTF-8 and with two lower-case hexadecimal digits per
/// byte. It encodes the bytes outside of 0x21 to 0x7E and these characters:
///
///     " # $ & + , ; < = > ? @ [ \ ] ^ ` { | }
///
/// Percent signs are not encoded, so a text that is partly encoded is not encoded twice. For the
/// same reason, unescape() does not restore a text that had percent signs of its own. `text` and
/// `escaped` may be the same object.
///
/// @return false, with the empty text, when the result exceeds 2083 characters or the system
///         refuses the conversion to UTF-8.
I18NRESOURCE_API bool escape(const std::wstring& text, std::wstring& escaped);

/// Decodes percent-encoded UTF-8, from the beginning of `text` to its first terminator. Plus signs
/// are not changed. Decoding ends, without a failure, before a percent sign that is not followed by
/// two hexadecimal digits, at an encoded terminator (`%00`), and after 2084 bytes. `text` and
/// `unescaped` may be the same object.
///
/// @return false, with the empty text, when the system refuses the conversion to wide text.
I18NRESOURCE_API bool unescape(const std::wstring& text, std::wstring& unescaped);

}  // namespace i18nstr
