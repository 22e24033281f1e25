#pragma once
// Declares the targets of the fuzzer and their input. The methods of Input return the input as
// bytes, as UTF-16 code units or as text. The memory that contains this data is followed by an
// inaccessible page, so a target crashes if it reads past the end of the data.
#include <windows.h>

#include <cstddef>
#include <string_view>

namespace fuzz {

class Input {
public:
    explicit Input(std::string_view bytes) : m_bytes(bytes) {}

    std::string_view bytes() const;
    /// Returns the same bytes as bytes(), followed by a NUL. The view does not include the NUL.
    std::string_view terminatedBytes() const;
    /// Returns each pair of bytes as one UTF-16 code unit. If the number of bytes is odd, the first
    /// byte is ignored.
    std::wstring_view units() const;
    /// Returns one UTF-16 code unit for each byte. Bytes below 0xC0 are converted from Latin-1.
    /// Other bytes become special code units, such as unpaired surrogates and characters that XML
    /// forbids.
    std::wstring_view text() const;
    /// Returns the same text as text(), with a terminator. The target may modify the text.
    wchar_t* terminatedText() const;

    /// Returns a hash of the input. Targets use it to do slow work for only some inputs.
    unsigned hash() const;

private:
    std::string_view m_bytes;
};

struct Target {
    const char* name;
    void (*run)(const Input& input);
    std::size_t longest;   ///< Maximum size of an input in bytes.
    const char* alphabet;  ///< Words to insert into inputs, separated by spaces.
};

// The targets, grouped by subject. The last element of each array has a null name.
extern const Target kTextTargets[];
extern const Target kResourceTargets[];
extern const Target kExchangeTargets[];
extern const Target kDocumentTargets[];
extern const Target kSatelliteToolTargets[];

/// Ends the program with a crash trace if `holds` is false.
void require(bool holds);

}  // namespace fuzz
