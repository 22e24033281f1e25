// exchange: a program that copies and pastes text, instrument codes, documents and portfolios, and
// shows the contents of the clipboard. It uses only the library's public functions.
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Copying.h"
#include "samples/exchange/Inspecting.h"
#include "samples/exchange/Listing.h"
#include "samples/exchange/Options.h"
#include "samples/exchange/Pasting.h"
#include "samples/exchange/Program.h"
#include "samples/exchange/Watching.h"

namespace {

void run(const Options& options) {
    Clipboard clipboard;
    if (options.command != Command::copy)
        print(stderr, L"exchange: the clipboard belongs to " + describe(clipboardOwner()) + L"\n");
    switch (options.command) {
        case Command::copy:
            return copy(clipboard, options);
        case Command::paste:
            return paste(clipboard, options.kind);
        case Command::list:
            return list(options.json);
        case Command::show:
            return show(options);
        case Command::save:
            return save(options);
        case Command::watch:
            return watch();
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    return runProgram(L"exchange", kUsage, argc, argv, [&] { run(parseOptions(argc, argv)); });
}
