#pragma once

#include <optional>
#include <string>
#include <vector>

namespace satellites {

enum class Command { check, exportPo, apply, pseudo, resolve, help, version };

/// The parsed command line.
struct Options {
    Command command = Command::help;
    std::wstring topic;                          ///< command to explain; empty for all commands
    std::wstring module;                         ///< MODULE
    std::wstring poFile;                         ///< FILE.po
    std::vector<std::wstring> cultures;          ///< --culture; only `check` allows several
    std::optional<std::wstring> path;            ///< --path
    std::optional<std::wstring> base;            ///< --base
    std::optional<std::wstring> output;          ///< -o
    std::optional<std::wstring> defaultCulture;  ///< --default
    std::optional<unsigned> growth;              ///< --growth
    std::optional<unsigned> id;                  ///< --id
    bool isStrict = false;                       ///< --strict
    bool pathOnly = false;                       ///< --path-only
    bool asJson = false;                         ///< --format json
};

/// Thrown if the command line is invalid. Contains the reason.
struct UsageError {
    std::wstring reason;
    /// Command whose help shows the correct usage; empty if the command is missing or unknown.
    std::wstring topic;
};

/// @throws UsageError if the command line is invalid.
Options parseOptions(const std::vector<std::wstring>& arguments);

/// Returns the help text for the command `topic`, or for all commands if `topic` is empty.
/// @throws UsageError if there is no such command.
std::wstring helpOn(const std::wstring& topic);

}  // namespace satellites
