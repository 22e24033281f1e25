#pragma once

namespace i18nres {

// Switches for translators and testers. Manager::Init() sets the switches before it creates the
// manager, so lookups can read them without a lock.

/// True if every string begins with its origin, which consists of the module name and the string
/// id.
extern bool s_bStringOrigin;

/// True if marks are added to strings from the satellite of the default culture.
extern bool s_bLocalSimulation;

}  // namespace i18nres
