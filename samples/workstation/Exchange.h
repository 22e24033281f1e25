#pragma once

#include <windows.h>

#include <ole2.h>

#include <optional>
#include <string>
#include <vector>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

// Functions that transfer instruments in data objects, for the clipboard and for drag and drop.

/// Creates a data object that contains the instruments in several formats: as an instrument
/// document, as a workbook, and as plain text. If the first instrument has a type, the code of this
/// instrument is also stored as a record.
///
/// @param titles  The titles of the three columns of the workbook: instrument, field, value.
/// @return Null if there are no instruments or if the data object cannot be created.
ATL::CComPtr<IDataObject> createDataObject(const Instruments& instruments,
                                           const std::vector<std::wstring>& titles);

/// Creates a data object with createDataObject(), and puts it on the clipboard.
bool copy(const Instruments& instruments, const std::vector<std::wstring>& titles);

/// Returns true if the data object offers a format that can contain instruments.
bool offersInstruments(IDataObject& object);
/// Returns true if the clipboard offers a format that can contain instruments.
bool clipboardOffersInstruments();

/// Reads the instruments from a data object. If several formats contain instruments, reads only the
/// format with the most information. Returns std::nullopt if no format contains instruments.
std::optional<Instruments> importInstruments(IDataObject& object);
/// Reads the instruments from the data object on the clipboard in the same way as
/// importInstruments(). If the clipboard offers a format that cannot be read, the read is retried
/// for up to 500 ms, because another program may have the clipboard open.
std::optional<Instruments> importFromClipboard(IDataObject& object);

/// Creates a data object with copies of the data in all formats that importInstruments() can read.
/// The copy belongs to this process, so it remains available after the source has deleted its data
/// object. Any thread may read the copy. Returns null if the copy cannot be created.
ATL::CComPtr<IDataObject> snapshot(IDataObject& object);
