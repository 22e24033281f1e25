#pragma once
/// @file
/// Functions that convert text between UTF-16 and narrow encodings, compare strings, change letter
/// case, and encode and decode text for URLs.
///
/// Lengths are in wide characters, or in bytes for narrow text, and do not include the terminator.
/// The previous contents of an output string are discarded. After the call, the output string
/// contains the complete result or is empty.
///
/// Several threads can call the functions at the same time. Malformed text never causes an
/// exception. Functions whose output is a std::string or std::wstring throw std::bad_alloc if
/// memory runs out, and std::length_error if the result exceeds the maximum size of the string.

#include <string>

#include "dll/export.h"

namespace i18nstr {

// Conversions between wide text and text in the ANSI code page of the system ("mb" in the function
// names) or in UTF-8.
//
// If `length` is negative, the text ends at its first NUL. If `length` is 0, the text is empty.
// Otherwise, the character at index `length` must be a NUL. If this character is not a NUL, the
// function converts it too, and then removes the last byte or UTF-16 code unit of the result. The
// text may contain embedded NULs, but text that begins with a NUL is treated as empty.
//
// Malformed sequences and characters that cannot be represented in the code page are replaced, for
// example with "?" or with a character that resembles the original. The system's conversion
// functions determine the replacement. A conversion that replaces characters still succeeds. A
// conversion fails if `text` is null or if the system cannot convert the text, for example because
// its length exceeds INT_MAX. In this case, the function returns false, and the result is empty.
//
// In the "mb" conversions, a letter and a combining accent that follows it become one character
// where possible. The letter and the accent remain two characters if the system does not accept
// conversion flags for the ANSI code page, for example because the code page is UTF-8.

/// Converts ANSI text to wide text.
I18NRESOURCE_API bool mb2wide(const char* text, int length, std::wstring& wide);

/// Converts ANSI text to a BSTR, which the caller frees with SysFreeString. In addition to the
/// cases above, the conversion fails if `wide` is null or if memory runs out.
///
/// @param[in,out] wide  `*wide` receives the BSTR, or null if the text is empty or if the
///                      conversion fails. Set `*wide` to null before the call, because the function
///                      overwrites a previous BSTR. The function frees the previous BSTR only if
///                      `text` is null or empty, or if the system cannot compute the length of the
///                      result.
I18NRESOURCE_API bool mb2wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to ANSI text.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, std::string& narrow);

/// Converts wide text to ANSI text in a buffer of `size` bytes. The buffer receives the result and
/// a terminator. If the conversion fails, for example because the result does not fit, the buffer
/// receives the empty string. The terminator is written even if `size` is 0. If `buffer` is null,
/// the conversion succeeds only if the text is empty.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size);

/// Converts UTF-8 to wide text. Malformed sequences become U+FFFD.
I18NRESOURCE_API bool UTF82wide(const char* text, int length, std::wstring& wide);

/// Converts UTF-8 to a BSTR. The rules for `wide` are the same as for the BSTR overload of
/// mb2wide().
I18NRESOURCE_API bool UTF82wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to UTF-8. Unpaired surrogates become U+FFFD.
I18NRESOURCE_API bool wide2UTF8(const wchar_t* text, int length, std::string& utf8);

// Conversions between wide text and 7-bit ASCII (codes up to 127) or Latin-1 (codes up to 255). In
// both encodings, the code of a character is its Unicode code point.
//
// The overloads with a length convert exactly `length` characters, including embedded NULs. If
// `length` is less than 1, the text is treated as empty, and the functions return true. The
// overloads without a length convert the text up to its terminator. A character that the encoding
// does not contain is replaced with '?'. In this case, the other characters are still converted,
// but the functions return false. If `text` is null, the output is empty, and the functions
// return false unless `length` is less than 1.

I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, int length, std::string& ascii);
I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, std::string& ascii);

I18NRESOURCE_API bool wide2latin(const wchar_t* text, int length, std::string& latin);
I18NRESOURCE_API bool wide2latin(const wchar_t* text, std::string& latin);

I18NRESOURCE_API bool ascii72wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool ascii72wide(const char* text, std::wstring& wide);

/// Converts Latin-1 text to wide text. Because every byte is a Latin-1 character, the conversion
/// fails only if `text` is null.
I18NRESOURCE_API bool latin2wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool latin2wide(const char* text, std::wstring& wide);

/// Converts ANSI text to 7-bit ASCII: first to wide text, as mb2wide() does, and then to 7-bit
/// ASCII, as wide2ascii7() does. The rules for `length` are the same as for mb2wide(). Returns true
/// if both conversions succeed.
I18NRESOURCE_API bool mb2ascii7(const char* text, int length, std::string& ascii);
I18NRESOURCE_API bool mb2ascii7(const char* text, std::string& ascii);

/// Returns true if `length` is less than 1 or if each of the first `length` bytes is at most 127.
/// Returns false if `text` is null and `length` is 1 or more.
I18NRESOURCE_API bool isAscii7(const char* text, int length);

/// Returns true if each byte up to the terminator is at most 127. Returns false if `text` is null.
I18NRESOURCE_API bool isAscii7(const char* text);

/// Compares two strings in the sort order of the system default locale. The comparison is
/// case-sensitive, but it ignores the difference between half-width and full-width characters.
/// Narrow strings are in the ANSI code page. If a length is negative, the string ends at its
/// terminator.
///
/// @return -1 if `left` sorts before `right`; 1 if `left` sorts after `right`; 0 if the strings are
///         equal or cannot be compared. Strings cannot be compared if one of them is null or has
///         more than INT_MAX characters.
I18NRESOURCE_API int compare(const char* left, int leftLength, const char* right, int rightLength);
I18NRESOURCE_API int compare(const wchar_t* left, int leftLength, const wchar_t* right,
                             int rightLength);
I18NRESOURCE_API int compare(const char* left, const char* right);
I18NRESOURCE_API int compare(const wchar_t* left, const wchar_t* right);

/// Converts each character of `text` to lowercase with towlower(), or to uppercase with towupper().
/// Both C functions use the current locale of the C runtime library. The length of `text` does not
/// change.
I18NRESOURCE_API void tolower(std::wstring& text);
I18NRESOURCE_API void toupper(std::wstring& text);

/// Percent-encodes text for use in a URL. The text is first converted to UTF-8. Each byte outside
/// the range 0x21 to 0x7E is then replaced with a percent sign and two lowercase hexadecimal
/// digits. The following characters are replaced in the same way:
///
///     " # $ & + , ; < = > ? @ [ \ ] ^ ` { | }
///
/// Percent signs are not encoded, so that text that is already encoded does not change. Therefore,
/// unescape() restores the original text only if that text contains no percent signs. `text` and
/// `escaped` may be the same object.
///
/// @return true if the text was encoded; false if the encoded text would have more than 2083
///         characters or if the system cannot convert the text to UTF-8. After a failure, `escaped`
///         is empty.
I18NRESOURCE_API bool escape(const std::wstring& text, std::wstring& escaped);

/// Decodes percent-encoded UTF-8. If `text` contains a NUL, only the text before the NUL is
/// decoded. Plus signs are not changed. `text` and `unescaped` may be the same object.
///
/// In the following cases, the function decodes only the beginning of `text`, but still succeeds:
/// - A percent sign is not followed by two hexadecimal digits. Decoding ends before this sign.
/// - The text contains an encoded NUL (`%00`). Decoding ends before this NUL.
/// - The decoded text would have more than 2084 bytes. Decoding ends after 2084 bytes.
///
/// If the system cannot convert `text` to UTF-8, `unescaped` is empty, but the function succeeds.
///
/// @return true if the text was decoded; false if the system cannot convert the decoded bytes to
///         wide text. After a failure, `unescaped` is empty.
I18NRESOURCE_API bool unescape(const std::wstring& text, std::wstring& unescaped);

}  // namespace i18nstr
