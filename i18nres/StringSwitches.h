#pragma once

namespace i18nres {

// The switches for translators and testers, off until the first Init(). Written by Init() while
// there is no manager, so the lookups of a manager read them without a lock of their own.

/// Every string begins with the name of its module and its id.
extern bool s_bStringOrigin;

/// Strings that fell back to the default culture are marked.
extern bool s_bLocalSimulation;

}  // namespace i18nres
