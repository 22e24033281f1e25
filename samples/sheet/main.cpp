// sheet: writes and reads workbooks, in files and over the clipboard, through the library's public
// functions.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <new>

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/sheet/Options.h"
#include "samples/sheet/Reading.h"
#include "samples/sheet/Writing.h"

namespace {

void run(const Options& options) {
    Clipboard clipboard;  // and the apartment that the documents of workbooks live in
    switch (options.verb) {
        case Verb::write:
            return save(*workbookOf(options.csvFile), options.workbook);
        case Verb::read:
            return printFile(options.workbook);
        case Verb::copy:
            return clipboard.copy(
                [&](IDataObject& object) { put(object, *workbookOf(options.csvFile)); });
        case Verb::paste:
            return printPasted(*clipboard.contents());
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        run(parseOptions(argc, argv));
        return kDone;
    } catch (const Failure& failure) {
        print(stderr, L"sheet: " + failure.message + L"\n");
        if (failure.status == kUsageError) print(stderr, kUsage);
        return failure.status;
    } catch (const std::bad_alloc&) {
        print(stderr, L"sheet: memory has run out\n");
        return kRefused;
    }
}
