#pragma once
// Resource identifiers, used by the resource scripts and by the program.

#define IDR_MAIN 1         // the menu, the accelerators and the icon
#define IDR_INSTRUMENTS 2  // the document with the example instruments

#define ID_FILE_EXPORT 101
#define ID_FILE_EXIT 102
#define ID_EDIT_COPY 201
#define ID_EDIT_PASTE 202
#define ID_EDIT_DELETE 203
#define ID_EDIT_SELECT_ALL 204
#define ID_VIEW_REFRESH 301
#define ID_VIEW_STRING_ORIGIN 302
#define ID_VIEW_FALLBACK_MARKS 303

#define IDS_TITLE 1
#define IDS_CULTURE 10
#define IDS_NO_CULTURE 11
#define IDS_STRING_ORIGIN 12
#define IDS_FALLBACK_MARKS 13
#define IDS_STRINGS 14
#define IDS_STRING_ID 15
#define IDS_STRING_TEXT 16
#define IDS_STRING_LIBRARY 17
#define IDS_ICON 18
#define IDS_MENU 19
#define IDS_PAGE 20

#define IDS_INSTRUMENTS 30
#define IDS_INSTRUMENT_CODE 31
#define IDS_INSTRUMENT_TYPE 32
#define IDS_INSTRUMENT_FEED 33
#define IDS_INSTRUMENT_FIELDS 34
#define IDS_INSTRUMENT_SOURCE 35
#define IDS_FIELD 36
#define IDS_VALUE 37
#define IDS_SOURCE_SAMPLE 40  // 40 to 44: in the order of Instrument::Source
#define IDS_SOURCE_DOCUMENT 41
#define IDS_SOURCE_REQUEST 42
#define IDS_SOURCE_CODE 43
#define IDS_SOURCE_TEXT 44

#define IDS_CLIPBOARD 70
#define IDS_FORMAT 71
#define IDS_CONTENTS 72
#define IDS_CONTENTS_FROM 73
#define IDS_MORE_LINES 74
#define IDS_CLIPBOARD_EMPTY 75
#define IDS_FORMAT_UNREADABLE 76
#define IDS_FORMAT_LATE 77
#define IDS_READ_FAILURES 80  // 80 to 84: in the order of ReadFailure
#define IDS_CLIPBOARD_BUSY 80
#define IDS_FORMAT_MISSING 81
#define IDS_FORMAT_NO_BYTES 82
#define IDS_FORMAT_TOO_LARGE 83
#define IDS_FORMAT_REFUSED 84

#define IDS_COUNTS 50
#define IDS_READY 51
#define IDS_READING 52
#define IDS_RECEIVED 53
#define IDS_NOTHING_TO_READ 54
#define IDS_COPIED 55
#define IDS_NOT_COPIED 56
#define IDS_EXPORTED 57
#define IDS_NOT_EXPORTED 58
#define IDS_TEXT_FILES 59
