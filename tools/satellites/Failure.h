#pragma once

#include <string>

namespace satellites {

/// Thrown if a file cannot be read or written, or if its contents are invalid. The program prints
/// `text` and exits with status 3.
struct Failure {
    std::wstring text;
};

/// Thrown by the parsers of files and resources, with the reason why the contents cannot be read.
struct Unreadable {
    std::wstring reason;
};

}  // namespace satellites
