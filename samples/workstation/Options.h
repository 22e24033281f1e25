#pragma once

#include <string>

/// The command-line options:
///
///     workstation [--culture TAG] [--empty] [--export FILE]
struct Options {
    std::wstring culture;     ///< the initial culture; empty for the default culture
    bool empty = false;       ///< start without the example instruments
    std::wstring exportPath;  ///< file for File > Export; if empty, a dialog asks for the file
};

/// @return false if the command line is invalid.
bool parseOptions(const wchar_t* commandLine, Options& options);
