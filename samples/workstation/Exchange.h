#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>
#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Instruments on data objects, for the clipboard and for drag and drop.

/// Makes a data object with instruments in all formats: as instrument document, as workbook, as the
/// code of the first one, and as plain text.
///
/// @param titles  Of the columns of the workbook: instrument, field, value.
/// @return null when it cannot be created.
ATL::CComPtr<IDataObject> offer(const Instruments& instruments,
                                const std::vector<std::wstring>& titles);

/// Puts the data object of offer() on the clipboard.
bool copy(const Instruments& instruments, const std::vector<std::wstring>& titles);

/// Whether a data object has instruments in any format.
bool offersInstruments(IDataObject& object);
/// The same for the clipboard.
bool clipboardOffersInstruments();

/// Reads the instruments of a data object, from its most detailed format.
std::optional<Instruments> take(IDataObject& object);
/// The same for the data object of the clipboard. A form that is offered but cannot be taken is
/// tried again for 500 ms: another program may have the clipboard open, to show it for example.
std::optional<Instruments> takeFromClipboard(IDataObject& object);

/// Copies all formats that take() may read to a data object of this process, which any thread may
/// read and which no other program can remove.
ATL::CComPtr<IDataObject> snapshot(IDataObject& object);
