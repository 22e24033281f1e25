#pragma once

#include <string_view>

namespace satellites {

/// Writes text to standard output or standard error. A file or a pipe receives UTF-8. A console
/// shows all characters, regardless of its code page. Control characters other than tab and line
/// feed are written as escape sequences such as \x1b.
/// @throws Failure if writing to standard output fails, for example because the disk is full.
///         printError() ignores write errors.
void print(std::wstring_view text);
void printError(std::wstring_view text);

/// Writes UTF-8 text to standard output. Control characters are not replaced with escape sequences.
/// A file or a pipe receives the bytes unchanged.
/// @throws Failure if writing to standard output fails.
void printBytes(std::string_view bytes);

/// Shows the progress of a long-running command on one line of standard error. Each call to show()
/// overwrites the line. Nothing is shown if standard error is not a console.
class Progress {
public:
    Progress() noexcept;
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress();

    void show(std::wstring_view text);
    /// Clears the line, so that other output can be written in its place.
    void clear();

private:
    bool m_isTerminal;
    std::size_t m_length = 0;
};

}  // namespace satellites
