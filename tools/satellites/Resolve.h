#pragma once

#include <optional>
#include <string>
#include <vector>

namespace satellites {

/// A lookup in a module, and the settings of I18nResource.dll that affect the lookup.
struct ResolveRequest {
    std::wstring module;  ///< Full path.
    std::wstring culture;
    std::wstring defaultCulture = L"en-US";
    std::wstring resourcePath;  ///< Prefix of the file names; see setResourcePath().
    bool resourcePathOnly = false;
    std::optional<unsigned> id;  ///< Id of the string to find.
};

/// A file that I18nResource.dll tries to load.
struct ResolveStep {
    const wchar_t* role;  ///< "culture", "default" or "module".
    std::wstring file;    ///< Full path, or only the name if the system searches for the file.
    std::wstring found;   ///< Path of the file that the system found.
    /// The result of the attempt:
    /// - "not-there": the file does not exist.
    /// - "not-a-library": the file cannot be loaded as a library.
    /// - "loaded": the file was loaded, and no id was requested.
    /// - "no-string": the file was loaded, but does not contain the string.
    /// - "answers": the file was loaded, and contains the string.
    /// - "not-asked": the file was loaded, but an earlier file contains the string.
    const wchar_t* result;
};

struct Resolution {
    struct Match {
        std::wstring file;
        std::wstring text;  ///< The string; empty if no id was requested.
    };
    std::vector<ResolveStep> steps;  ///< In search order.
    /// The library that contains the string or, if no id was requested, the first library that can
    /// be loaded.
    std::optional<Match> match;
};

/// Finds the library that contains a string. The function follows the rules of I18nResource.dll for
/// a loaded module. It simulates the system's DLL search for a program that is in the same folder
/// as the module.
/// @throws Failure if the module cannot be read.
Resolution resolve(const ResolveRequest& request);

std::wstring textOf(const ResolveRequest& request, const Resolution& resolution);
std::wstring jsonOf(const ResolveRequest& request, const Resolution& resolution);

}  // namespace satellites
