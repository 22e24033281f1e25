#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>
#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Instruments on data objects, for the clipboard and for drag and drop.

/// Makes a data object that offers instruments to everyone: as instrument document, as workbook, as
/// the code of the first one, and as plain text.
///
/// @param titles  Of the columns of the workbook: instrument, field, value.
/// @return null when it cannot be made.
ATL::CComPtr<IDataObject> offer(const Instruments& instruments,
                                const std::vector<std::wstring>& titles);

/// Puts what offer() makes on the clipboard.
bool copy(const Instruments& instruments, const std::vector<std::wstring>& titles);

/// Whether a data object offers instruments in any form.
bool offersInstruments(IDataObject& object);
/// The same for the clipboard.
bool clipboardOffersInstruments();

/// Takes the instruments off a data object, from the form that says most about them.
std::optional<Instruments> take(IDataObject& object);
/// The same for the data object of the clipboard. A form that is offered but cannot be taken is
/// tried again for 500 ms: another program may have the clipboard open, to show it for example.
std::optional<Instruments> takeFromClipboard(IDataObject& object);

/// Copies all that take() may want to a data object of this process, which any thread may read and
/// which no other program can take back.
ATL::CComPtr<IDataObject> snapshot(IDataObject& object);
