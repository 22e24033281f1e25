// exchange: copies and pastes text, instrument codes, documents and portfolios over the clipboard,
// through the library's public functions.
#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <new>

#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Copying.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/Listing.h"
#include "samples/exchange/Options.h"
#include "samples/exchange/Pasting.h"

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
    ::SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        run(parseOptions(argc, argv));
        return kDone;
    } catch (const Failure& failure) {
        print(stderr, L"exchange: " + failure.message + L"\n");
        if (failure.status == kUsageError) print(stderr, kUsage);
        return failure.status;
    } catch (const std::bad_alloc&) {
        print(stderr, L"exchange: memory has run out\n");
        return kRefused;
    }
}
