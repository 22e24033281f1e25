#pragma once

#include <optional>
#include <string>
#include <vector>

namespace satellites {

/// What the library is asked for, and how it is set up.
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
        std::wstring text;  ///< Of the string that was asked for.
    };
    std::vector<ResolveStep> steps;  ///< In the order in which libraries are asked.
    std::optional<Answer> answer;    ///< Without an id: the first library.
};

/// Finds out where the library finds a string, by the library's own rules, for a module that is
/// loaded. The system's search is that of a program in the folder of the module.
/// @throws Failure when the module cannot be read.
Resolution resolve(const ResolveRequest& request);

std::wstring textOf(const ResolveRequest& request, const Resolution& resolution);
std::wstring jsonOf(const ResolveRequest& request, const Resolution& resolution);

}  // namespace satellites
