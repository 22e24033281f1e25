#pragma once

#include <windows.h>

#include <ole2.h>

#include <functional>

#include <I18nResource.h>

/// The OLE clipboard, as this thread's apartment sees it between construction and destruction.
///
/// Another process that has the clipboard open is waited for, two seconds at most; the Failure
/// (kClipboardBusy) then says who that is.
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
