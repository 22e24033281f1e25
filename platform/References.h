#pragma once

#include <windows.h>

#include <climits>

namespace platform {

/// The reference count of a COM object while its destructor runs. The destructor may call code that
/// adds a reference and releases it: the count must not reach 0 a second time then.
inline constexpr LONG kReferencesInDestruction = LONG_MAX / 2;

/// Releases one reference. If it was the last one, sets the count for the destructor, which the
/// caller runs.
/// @return the number of references left.
inline LONG releaseReference(LONG& references) noexcept {
    const LONG left = ::InterlockedDecrement(&references);
    if (left == 0) references = kReferencesInDestruction;
    return left;
}

/// Returns whether the destructor of an object with this count runs.
inline bool isInDestruction(LONG references) noexcept {
    return references >= kReferencesInDestruction / 2;
}

}  // namespace platform
