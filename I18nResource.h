#pragma once
/// @file
/// Everything that I18nResource.dll offers to its clients.
#include "dll/export.h"
