#pragma once

namespace i18nres {

// Switches for translators and testers. Manager::Init() sets the switches before it creates the
// manager, so lookups can read them without a lock.

/// True if the origin of every string is added to the beginning of the string. The origin is the
/// name of the module and the id.
extern bool s_bStringOrigin;

/// True if marks are added to strings from the satellite of the default culture.
extern bool s_bLocalSimulation;

}  // namespace i18nres
