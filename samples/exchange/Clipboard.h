#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// The OLE clipboard, with OLE initialised on this thread from construction to destruction.
///
/// Waits up to 500 ms for another program that has the clipboard open; the Failure (kClipboardBusy)
/// then names it.
class Clipboard {
public:
    Clipboard();
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard();

    /// Puts a new data object that `fill` has filled on the clipboard, and renders it so that it
    /// remains when this process has ended. If `fill` throws, the clipboard is unchanged.
    void copy(const std::function<void(IDataObject&)>& fill);

    /// The present contents of the clipboard.
    ATL::CComPtr<IDataObject> contents();
};

/// Waits until no program that uses the library is copying.
/// @throws Failure with kClipboardBusy after 5 seconds.
void waitForCopying();

/// Names the program that has the clipboard open.
/// @throws Failure with kClipboardBusy.
[[noreturn]] void failBusy();
