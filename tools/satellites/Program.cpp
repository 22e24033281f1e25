#include "tools/satellites/Program.h"

#include <windows.h>

#include <comdef.h>

#include <exception>

#include "tools/satellites/Console.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/Options.h"

namespace satellites {

namespace {

ExitStatus outOfMemory() {
    printError(L"i18nres-satellites: out of memory\n");
    return kBadFile;
}

}  // namespace

ExitStatus runProgram(const std::function<ExitStatus()>& work) {
    try {
        return work();
    } catch (const UsageError& error) {
        printError(L"i18nres-satellites: " + error.reason + L"; see \"i18nres-satellites help" +
                   (error.topic.empty() ? L"" : L" " + error.topic) + L"\"\n");
        return kWrongUsage;
    } catch (const Failure& failure) {
        printError(L"i18nres-satellites: " + failure.text + L"\n");
        return kBadFile;
    } catch (const std::exception&) {
        return outOfMemory();
    } catch (const _com_error&) {  // does not derive from std::exception
        return outOfMemory();
    }
}

}  // namespace satellites
