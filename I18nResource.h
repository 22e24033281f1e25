#pragma once
/// @file
/// Everything that I18nResource.dll offers to its clients.

#include "clipboard/CDataObject.h"
#include "clipboard/CDataObjectEntry.h"
#include "clipboard/CEnumFORMATETC.h"
#include "i18nres/Manager.h"
#include "i18nres/i18nres.h"
#include "i18nstr/i18nstr.h"
#include "i18nsys/i18nsys.h"
