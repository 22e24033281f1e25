#pragma once

#include <string_view>

namespace satellites {

/// Writes text as UTF-8 to standard output or standard error. Control characters other than tabs and
/// ends of lines are written as escapes such as \x1b.
/// @throws Failure when standard output cannot be written, for example on a full disk.
void print(std::wstring_view text);
void printError(std::wstring_view text);

/// Writes bytes to standard output, unchanged.
/// @throws Failure as print() does.
void printBytes(std::string_view bytes);

/// Shows the progress of a long command, on one line of standard error that is overwritten. Shows
/// nothing when standard error is not a terminal.
class Progress {
public:
    Progress() noexcept;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void show(std::wstring_view text);
    /// Removes the line, so that other output can take its place.
    void clear();

private:
    bool m_isTerminal;
    std::size_t m_length = 0;
};

}  // namespace satellites
