#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// Accesses the OLE clipboard. The constructor initializes OLE on this thread, and the destructor
/// uninitializes it.
///
/// If another program has the clipboard open for more than 500 ms, the functions throw a Failure
/// with kClipboardBusy. The message describes the program.
class Clipboard {
public:
    Clipboard();
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard();

    /// Calls `fill` with a new data object, puts the data object on the clipboard and flushes the
    /// clipboard, so that the data remains after this process has ended. If `fill` throws, the
    /// clipboard does not change.
    void copy(const std::function<void(IDataObject&)>& fill);

    /// Returns the data object on the clipboard.
    ATL::CComPtr<IDataObject> contents();
};

/// Waits until no other thread of this program is copying.
/// @throws Failure with kClipboardBusy if another thread is still copying after 5 seconds.
void waitForCopying();

/// Throws a Failure with kClipboardBusy. The message describes the program that has the clipboard
/// open.
[[noreturn]] void failBusy();
