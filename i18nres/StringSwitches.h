#pragma once

namespace i18nres {

// Switches for translators and testers. Init() sets them before it creates the manager, so lookups
// read them without a lock.

/// True if every string begins with its origin, which is the name of its module and its id.
extern bool s_bStringOrigin;

/// True if strings from the satellite of the default culture have marks.
extern bool s_bLocalSimulation;

}  // namespace i18nres
