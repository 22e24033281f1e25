#pragma once
/// @file
/// Functions that convert text between UTF-16 and narrow encodings, compare strings, change letter
/// case, and encode text for URLs.
///
/// Lengths are in wide characters, or in bytes for narrow text, and do not include the terminator.
/// The previous contents of an output string are discarded. After the call, the output string
/// contains the complete result or is empty.
///
/// The functions keep no state of their own and can be called from any thread. Malformed text never
/// causes an exception. Functions with an output string throw std::bad_alloc if memory runs out,
/// and std::length_error if the result exceeds the maximum size of the string.

#include <string>

#include "dll/export.h"

namespace i18nstr {

// Conversions between wide text and a code page. In the names of the functions, "mb" means the ANSI
// code page of the system, and "UTF8" means UTF-8.
//
// If `length` is negative, the text ends at its first NUL. If `length` is 0 or more, the character
// at index `length` must be a NUL. If it is not, the function also converts this character and then
// removes the last byte or UTF-16 code unit of the result. The text before index `length` may
// contain embedded NULs, but text that begins with a NUL is treated as the empty string.
//
// Malformed sequences and characters that cannot be represented in the code page are replaced, for
// example with "?" or a similar character. The system's conversion functions determine the
// replacement. A conversion that replaces characters still succeeds. A conversion fails if `text`
// is null or if the system cannot convert the text, for example because a size exceeds INT_MAX.
// After a failure, the result is empty.
//
// The "mb" conversions use flags that prefer precomposed characters. If the ANSI code page does not
// accept any flags, for example because it is UTF-8, the conversions use no flags.

/// Converts ANSI text to wide text. The result contains precomposed characters where possible.
I18NRESOURCE_API bool mb2wide(const char* text, int length, std::wstring& wide);

/// Converts ANSI text to a BSTR, which the caller frees with SysFreeString.
///
/// @param[in,out] wide  If `wide` is null, the conversion fails. `*wide` receives the BSTR, or null
///                      if the text is empty or the conversion fails. The conversion also fails if
///                      memory runs out. The previous BSTR in `*wide` is freed only if `text` is
///                      null or empty, or if the system cannot compute the length of the result. In
///                      all other cases, the pointer is overwritten and the previous BSTR is not
///                      freed. Therefore, set `*wide` to null before the call, or keep another
///                      pointer to the previous BSTR.
I18NRESOURCE_API bool mb2wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to ANSI text. Where possible, a letter and a combining accent that follows it
/// become one character.
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
// overloads without a length convert the text up to its terminator. A character whose code is
// greater than the highest code of the encoding is replaced with '?'. In this case, the other
// characters are still converted, but the functions return false. If `text` is null, the output is
// empty, and the functions return true only if `length` is less than 1.

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

/// Converts ANSI text to wide text in the same way as mb2wide(), and then to 7-bit ASCII in the
/// same way as wide2ascii7(). The rules for `length` are the same as for mb2wide(). Returns true if
/// both conversions succeed.
I18NRESOURCE_API bool mb2ascii7(const char* text, int length, std::string& ascii);
I18NRESOURCE_API bool mb2ascii7(const char* text, std::string& ascii);

/// Returns true if `length` is less than 1 or if each of the first `length` bytes is at most 127.
/// Returns false if `text` is null and `length` is 1 or more.
I18NRESOURCE_API bool isAscii7(const char* text, int length);

/// Returns true if each byte up to the terminator is at most 127. Returns false if `text` is null.
I18NRESOURCE_API bool isAscii7(const char* text);

/// Compares two strings in the sort order of the system default locale. The comparison is
/// case-sensitive, but the half-width and full-width forms of a character compare as equal. Narrow
/// strings are in the ANSI code page. If a length is negative, the string ends at its terminator.
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

/// Percent-encodes text for use in a URL. The text is first converted to UTF-8. Each encoded byte
/// becomes a percent sign and two lowercase hexadecimal digits. All bytes outside the range 0x21 to
/// 0x7E are encoded, and so are the following characters:
///
///     " # $ & + , ; < = > ? @ [ \ ] ^ ` { | }
///
/// Percent signs are not encoded, so that text that is already encoded does not change. Therefore,
/// unescape() restores the original text only if the text contains no percent signs. `text` and
/// `escaped` may be the same object.
///
/// @return true if the text was encoded; false if the encoded text would have more than 2083
///         characters or the system cannot convert the text to UTF-8. After a failure, `escaped` is
///         empty.
I18NRESOURCE_API bool escape(const std::wstring& text, std::wstring& escaped);

/// Decodes percent-encoded UTF-8, from the beginning of `text` to its first NUL. Plus signs are not
/// changed. `text` and `unescaped` may be the same object.
///
/// In the following cases, the function decodes only the beginning of `text`, but still succeeds:
/// - A percent sign is not followed by two hexadecimal digits. Decoding ends before this sign.
/// - The text contains an encoded NUL (`%00`). Decoding ends before this NUL.
/// - The decoded text would have more than 2084 bytes. Decoding ends after 2084 bytes.
///
/// If the system cannot convert `text` to UTF-8, `unescaped` receives the empty string, and the
/// function still succeeds.
///
/// @return true if the text was decoded; false if the system cannot convert the decoded bytes to
///         wide text. After a failure, `unescaped` is empty.
I18NRESOURCE_API bool unescape(const std::wstring& text, std::wstring& unescaped);

}  // namespace i18nstr
