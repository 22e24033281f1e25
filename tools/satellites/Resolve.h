#pragma once

#include <optional>
#include <string>
#include <vector>

namespace satellites {

/// One lookup, and the settings of the library for it.
struct ResolveRequest {
    std::wstring module;  ///< Full path.
    std::wstring culture;
    std::wstring defaultCulture = L"en-US";
    std::wstring resourcePath;  ///< A prefix of the names of satellites, as in setResourcePath.
    bool resourcePathOnly = false;
    std::optional<unsigned> id;  ///< Of a string.
};

/// A file that the library tries.
struct ResolveStep {
    const wchar_t* role;    ///< "culture", "default" or "module".
    std::wstring file;      ///< Full path; the bare name where the system searches.
    std::wstring found;     ///< Where the system found it.
    const wchar_t* result;  ///< "not-there", "not-a-library", "loaded", "no-string", "answers" or
                            ///< "not-asked".
};

struct Resolution {
    struct Answer {
        std::wstring file;
        std::wstring text;  ///< The string of the lookup.
    };
    std::vector<ResolveStep> steps;  ///< In the order in which the library searches them.
    std::optional<Answer> answer;    ///< Without an id: the first library.
};

/// Finds the library that has a string, by the rules of I18nResource.dll, for a module that is
/// loaded. The system's search is that of a program in the folder of the module.
/// @throws Failure when the module cannot be read.
Resolution resolve(const ResolveRequest& request);

std::wstring textOf(const ResolveRequest& request, const Resolution& resolution);
std::wstring jsonOf(const ResolveRequest& request, const Resolution& resolution);

}  // namespace satellites
