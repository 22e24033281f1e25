#include "samples/workstation/Options.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>

namespace {

struct FreeLocal {
    void operator()(wchar_t** words) const { ::LocalFree(words); }
};

}  // namespace

bool parseOptions(const wchar_t* commandLine, Options& options) {
    int count = 0;
    const std::unique_ptr<wchar_t*, FreeLocal> words(::CommandLineToArgvW(commandLine, &count));
    for (int i = 1; words && i < count; ++i) {
        const std::wstring word = words.get()[i];
        const bool hasValue = i + 1 < count;
        if (word == L"--empty")
            options.empty = true;
        else if (word == L"--culture" && hasValue)
            options.culture = words.get()[++i];
        else if (word == L"--export" && hasValue)
            options.exportPath = words.get()[++i];
        else
            return false;
    }
    return true;
}
