// sheet: a program that writes and reads workbooks in files and on the clipboard. It uses only the
// library's public functions.
#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Program.h"
#include "samples/sheet/Options.h"
#include "samples/sheet/Reading.h"
#include "samples/sheet/Writing.h"

namespace {

void run(const Options& options) {
    Clipboard clipboard;  // also initializes COM, which XML documents need
    switch (options.verb) {
        case Verb::write:
            return save(*workbookOf(options.csvFile), options.workbook);
        case Verb::read:
            return printFile(options.workbook, options.reading);
        case Verb::copy:
            return clipboard.copy(
                [&](IDataObject& object) { put(object, *workbookOf(options.csvFile)); });
        case Verb::paste:
            return printPasted(*clipboard.contents(), options.reading);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    return runProgram(L"sheet", kUsage, argc, argv, [&] { run(parseOptions(argc, argv)); });
}
