#pragma once
/// @file
/// Includes all public headers of I18nResource.dll.

#include "dll/export.h"

// If the language standard is earlier than C++17, export.h reports an error and does not define
// I18NRESOURCE_API. In this case, the other headers are skipped, because they would only cause more
// errors.
#if defined(I18NRESOURCE_API)
#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "clipboard/CEnumFORMATETC.h"
#include "formats/FormatCCFPersistData.h"
#include "formats/FormatCSV.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatObjectContext.h"
#include "formats/FormatRTF.h"
#include "formats/FormatSym.h"
#include "formats/FormatSymFid.h"
#include "formats/FormatTOMInterface.h"
#include "formats/FormatXML.h"
#include "formats/FormatXML4Spdsheet.h"
#include "i18nres/Manager.h"
#include "i18nres/i18nres.h"
#include "i18nstr/i18nstr.h"
#include "i18nsys/i18nsys.h"
#endif
