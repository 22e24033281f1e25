#pragma once

#include <string>

namespace satellites {

/// Thrown when a file cannot be read or written, or has the wrong contents. The program prints the
/// text and ends with exit status 3.
struct Failure {
    std::wstring text;
};

/// Thrown by the parsers of files and resources: the reason why the contents cannot be read.
struct Unreadable {
    std::wstring reason;
};

}  // namespace satellites
