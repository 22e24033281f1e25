// exchange: copies and pastes text, instrument codes, documents and portfolios over the clipboard,
// through the library's public functions.
#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Copying.h"
#include "samples/exchange/Listing.h"
#include "samples/exchange/Options.h"
#include "samples/exchange/Pasting.h"
#include "samples/exchange/Program.h"

namespace {

void run(const Options& options) {
    Clipboard clipboard;
    switch (options.verb) {
        case Verb::copy:
            return copy(clipboard, options);
        case Verb::paste:
            return paste(clipboard, options.kind);
        case Verb::list:
            return list(clipboard);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    return runProgram(L"exchange", kUsage, [&] { run(parseOptions(argc, argv)); });
}
