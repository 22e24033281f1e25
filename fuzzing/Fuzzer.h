#pragma once
// The input of a fuzzer target, in the forms in which the library's parsers read text and bytes.
// Every form ends at an inaccessible page, so that a read past it ends the program.
#include <windows.h>

#include <cstddef>
#include <string_view>

namespace fuzz {

class Input {
public:
    explicit Input(std::string_view bytes) : m_bytes(bytes) {}

    std::string_view bytes() const;
    /// A NUL follows the bytes.
    std::string_view terminatedBytes() const;
    /// The bytes in pairs, as UTF-16 units. If their number is odd, the first byte is dropped.
    std::wstring_view units() const;
    /// One unit for each byte: ASCII unchanged, Latin-1 up to 0xBF, and for the bytes above special
    /// units, such as halves of surrogate pairs and characters that XML forbids.
    std::wstring_view text() const;
    /// A NUL follows the text. The target may write to it.
    wchar_t* terminatedText() const;

    /// A number that depends on the input, so that a target can do slow work for some inputs only.
    unsigned hash() const;

private:
    std::string_view m_bytes;
};

struct Target {
    const char* name;
    void (*run)(const Input& input);
    std::size_t longest;   ///< Greatest size of an input, in bytes.
    const char* alphabet;  ///< Words of the language that the parser reads, separated by blanks.
};

// The targets, by the folders of the library.
extern const Target kTextTargets[];
extern const Target kResourceTargets[];
extern const Target kExchangeTargets[];
extern const Target kDocumentTargets[];
extern const Target kSatelliteToolTargets[];

/// Ends the program with a crash trace if `holds` is false.
void require(bool holds);

}  // namespace fuzz
