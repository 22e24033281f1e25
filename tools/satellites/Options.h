#pragma once

#include <optional>
#include <string>
#include <vector>

namespace satellites {

enum class Command { check, exportPo, apply, pseudo, resolve, help, version };

/// The command line.
struct Options {
    Command command = Command::help;
    std::wstring topic;                          ///< Of help; empty for all.
    std::wstring module;                         ///< MODULE
    std::wstring poFile;                         ///< FILE.po
    std::vector<std::wstring> cultures;          ///< --culture; several for check only
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

/// Thrown for a wrong command line, with the reason.
struct UsageError {
    std::wstring reason;
    std::wstring topic;  ///< The command whose help shows the right usage; empty when unknown.
};

/// @throws UsageError.
Options parseOptions(const std::vector<std::wstring>& arguments);

/// The text of help for a command, or for all when `topic` is empty.
/// @throws UsageError for another topic.
std::wstring helpOn(const std::wstring& topic);

}  // namespace satellites
