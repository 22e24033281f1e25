#pragma once

#include <string_view>

namespace satellites {

/// Writes text as UTF-8 to standard output or standard error, unchanged.
void print(std::wstring_view text);
void printError(std::wstring_view text);

/// Writes bytes to standard output, unchanged.
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

private:
    bool m_isTerminal;
    std::size_t m_length = 0;
};

}  // namespace satellites
