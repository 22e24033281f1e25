#pragma once

#include <string>

/// The command-line options:
///
///     workstation [--culture TAG] [--empty] [--export FILE]
struct Options {
    std::wstring culture;     ///< the initial culture; empty for the default culture
    bool empty = false;       ///< start without the example instruments
    std::wstring exportPath;  ///< the file that File > Export writes; if empty, a dialog opens
};

/// @return false if the command line is invalid.
bool parseOptions(const wchar_t* commandLine, Options& options);
