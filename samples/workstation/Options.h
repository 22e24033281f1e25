#pragma once

#include <string>

/// The options of the command line:
///
///     workstation [--culture TAG] [--empty] [--export FILE]
struct Options {
    std::wstring culture;     ///< the culture to begin with; empty for the default one
    bool empty = false;       ///< begin without the example instruments
    std::wstring exportPath;  ///< File > Export writes there without asking
};

/// @return false for a wrong command line.
bool parseOptions(const wchar_t* commandLine, Options& options);
