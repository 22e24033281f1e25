#pragma once

namespace i18nres {

// The switches for translators and testers. Init() sets them before it creates the manager, so the
// lookups of a manager read them without a lock.

/// Every string begins with its origin: the name of its module and its id.
extern bool s_bStringOrigin;

/// Strings from the satellite of the default culture are marked.
extern bool s_bLocalSimulation;

}  // namespace i18nres
