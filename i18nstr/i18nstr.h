#pragma once
/// @file
/// Text between UTF-16 and narrow encodings, comparison, letter case and percent-encoding.
///
/// Lengths count characters (bytes of narrow text) and never the terminator. Output strings may be
/// of any content before a call; they hold the whole result afterwards, or the empty text.
///
/// No function has state of its own: all may be called from any thread. Bad text is never an
/// exception; only the output strings throw, std::bad_alloc when memory runs out and
/// std::length_error beyond their greatest size.

#include <string>

#include "dll/export.h"

namespace i18nstr {

// Between wide text and a code page of the system: "mb" is the system's ANSI code page, "UTF8" is
// UTF-8.
//
// A negative length means that the text ends at its terminator. With a length of 0 or more the
// text must have a terminator at that index: it is converted along, and one unit (a byte or a
// UTF-16 unit) is then taken off the end of the result. A counted text may hold terminators, but
// one that begins with a terminator is the empty text.
//
// Characters that the target cannot express, and malformed text, are replaced as the system does
// it; that is no failure. Conversions fail, with the empty text as the result, for a null `text`
// and when the system refuses, as it does when a size exceeds INT_MAX.
//
// "mb" uses flags that prefer precomposed characters. Where the ANSI code page accepts no flags, as
// UTF-8 does not, the conversion does without them.

/// Converts ANSI text to wide text. Precomposed characters are preferred.
I18NRESOURCE_API bool mb2wide(const char* text, int length, std::wstring& wide);

/// Converts ANSI text to a BSTR, which the caller frees with SysFreeString.
///
/// @param[in,out] wide  Not null. A BSTR that it holds is freed when `text` is null or empty or the
///                      system refuses to convert it; otherwise it is replaced and not freed, so
///                      pass a null BSTR, or keep a second pointer to it. The empty text and every
///                      failure, exhausted memory included, leave null.
I18NRESOURCE_API bool mb2wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to ANSI text. Sequences of letter and accent are composed where possible.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, std::string& narrow);

/// The same into a buffer of `size` bytes: the result with its terminator, or, when it does not fit
/// and on every other failure, the empty text. One byte is written even for a `size` of 0; a null
/// buffer holds nothing but the empty text.
I18NRESOURCE_API bool wide2mb(const wchar_t* text, int length, char* buffer, unsigned __int64 size);

/// Converts UTF-8 to wide text. Malformed sequences become U+FFFD.
I18NRESOURCE_API bool UTF82wide(const char* text, int length, std::wstring& wide);

/// Converts UTF-8 to a BSTR, under the rules of the BSTR overload of mb2wide().
I18NRESOURCE_API bool UTF82wide(const char* text, int length, wchar_t** wide);

/// Converts wide text to UTF-8. Unpaired surrogates become U+FFFD.
I18NRESOURCE_API bool wide2UTF8(const wchar_t* text, int length, std::string& utf8);

// Between wide text and the encodings whose codes are the first of Unicode's: 7-bit ASCII, up to
// 127, and Latin-1, up to 255.
//
// Exactly `length` characters are converted, terminators among them included; a length below 1 is
// the empty text and succeeds. The overloads without a length convert up to the terminator. A
// character beyond the limit becomes '?', and the result is then false, with all characters in the
// output. A null `text` that is not said to be empty gives false and the empty text.

I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, int length, std::string& ascii);
I18NRESOURCE_API bool wide2ascii7(const wchar_t* text, std::string& ascii);

I18NRESOURCE_API bool wide2latin(const wchar_t* text, int length, std::string& latin);
I18NRESOURCE_API bool wide2latin(const wchar_t* text, std::string& latin);

I18NRESOURCE_API bool ascii72wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool ascii72wide(const char* text, std::wstring& wide);

/// Every byte has its place in Latin-1, so no text fails.
I18NRESOURCE_API bool latin2wide(const char* text, int length, std::wstring& wide);
I18NRESOURCE_API bool latin2wide(const char* text, std::wstring& wide);

/// Converts ANSI text as mb2wide() does, its rules for lengths included, and the outcome as
/// wide2ascii7() does. True when both succeed.
I18NRESOURCE_API bool mb2ascii7(const char* text, int length, std::string& ascii);
I18NRESOURCE_API bool mb2ascii7(const char* text, std::string& ascii);

/// Whether all of the first `length` bytes are at most 127: true for a length below 1, and
/// otherwise false for a null `text`.
I18NRESOURCE_API bool isAscii7(const char* text, int length);

/// The same up to the terminator; false for a null `text`.
I18NRESOURCE_API bool isAscii7(const char* text);

/// Compares as the system default locale sorts: upper and lower case differ, half-width and
/// full-width forms of a character do not. Narrow text is ANSI text. A negative length means that
/// the text ends at its terminator.
///
/// @return -1, 0 or 1 as `left` sorts before, equal to or behind `right`; 0 also when they cannot
///         be compared (a null text, a text beyond INT_MAX characters).
I18NRESOURCE_API int compare(const char* left, int leftLength, const char* right, int rightLength);
I18NRESOURCE_API int compare(const wchar_t* left, int leftLength, const wchar_t* right,
                             int rightLength);
I18NRESOURCE_API int compare(const char* left, const char* right);
I18NRESOURCE_API int compare(const wchar_t* left, const wchar_t* right);

/// Changes each character to lower or upper case in place, by towlower() and towupper() of the
/// runtime library in its current locale. The length stays.
I18NRESOURCE_API void tolower(std::wstring& text);
I18NRESOURCE_API void toupper(std::wstring& text);

/// Percent-encodes text for use in a URL, as UTF-8. Encoded, with two hexadecimal digits in lower
/// case, are bytes outside 0x21 to 0x7E and these characters:
///
///     " # $ & + , ; < = > ? @ [ \ ] ^ ` { | }
///
/// The percent sign stays, so text that is partly encoded is not encoded twice; text with percent
/// signs of its own cannot be decoded again. `text` and `escaped` may be the same object.
///
/// @return false, with the empty text, when the result exceeds 2083 characters or the system
/// refuses
///         a conversion.
I18NRESOURCE_API bool escape(const std::wstring& text, std::wstring& escaped);

/// Decodes percent-encoded UTF-8, from `text` up to its first terminator. Plus signs stay. Decoding
/// ends, without being a failure, in front of a percent sign that two hexadecimal digits do not
/// follow, at an encoded terminator, and after 2084 bytes. `text` and `unescaped` may be the same
/// object.
///
/// @return false, with the empty text, when the system refuses to widen what was decoded.
I18NRESOURCE_API bool unescape(const std::wstring& text, std::wstring& unescaped);

}  // namespace i18nstr
