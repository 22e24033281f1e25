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
    switch (options.command) {
        case Command::write:
            return save(*workbookOf(options.csvFile), options.workbook);
        case Command::read:
            return printFile(options.workbook, options.reading);
        case Command::copy:
            return clipboard.copy(
                [&](IDataObject& object) { put(object, *workbookOf(options.csvFile)); });
        case Command::paste:
            return printPasted(*clipboard.contents(), options.reading);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    return runProgram(L"sheet", kUsage, argc, argv, [&] { run(parseOptions(argc, argv)); });
}
