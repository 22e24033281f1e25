#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// The OLE clipboard, as this thread's apartment sees it between construction and destruction.
///
/// Waits up to 500 ms for another program that has the clipboard open; the Failure (kClipboardBusy)
/// then names it.
class Clipboard {
public:
    Clipboard();
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard();

    /// Offers what `fill` puts on a new data object and leaves it behind for when this process has
    /// ended. The clipboard stays as it was when `fill` throws.
    void copy(const std::function<void(IDataObject&)>& fill);

    /// What the clipboard holds now.
    ATL::CComPtr<IDataObject> contents();
};

/// Waits until no program that uses the library is copying.
/// @throws Failure with kClipboardBusy after 5 seconds.
void waitForCopying();

/// Names the program that has the clipboard open.
/// @throws Failure with kClipboardBusy.
[[noreturn]] void failBusy();
