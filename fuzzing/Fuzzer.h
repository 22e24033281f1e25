#pragma once
// What a target of the fuzzer sees: one input, in the forms in which the library's readers take
// text and bytes. Every form ends at an inaccessible page, so that a read behind it ends the
// program on the spot.
#include <windows.h>

#include <cstddef>
#include <string_view>

namespace fuzz {

class Input {
public:
    explicit Input(std::string_view bytes) : m_bytes(bytes) {}

    std::string_view bytes() const;
    /// Behind the bytes stands a NUL.
    std::string_view terminatedBytes() const;
    /// The bytes in pairs, as UTF-16 units; the first one is dropped where their number is odd.
    std::wstring_view units() const;
    /// A unit for each byte: ASCII as it is, Latin-1 up to 0xBF, and for the bytes above units that
    /// are something special, such as halves of surrogate pairs and characters that XML forbids.
    std::wstring_view text() const;
    /// Behind the text stands a NUL. The target may write to it.
    wchar_t* terminatedText() const;

    /// A number that goes with the input, to do slow things with some of them only.
    unsigned hash() const;

private:
    std::string_view m_bytes;
};

struct Target {
    const char* name;
    void (*run)(const Input& input);
    std::size_t longest;   ///< Of an input, in bytes.
    const char* alphabet;  ///< Words of the language that the reader reads, separated by blanks.
};

// The targets, by the rooms of the library.
extern const Target kTextTargets[];
extern const Target kResourceTargets[];
extern const Target kExchangeTargets[];
extern const Target kDocumentTargets[];
extern const Target kSatelliteToolTargets[];

/// Ends the program, with the trace of a crash, when something does not hold that always should.
void require(bool holds);

}  // namespace fuzz
