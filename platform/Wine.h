#pragma once

/// The accommodations for Wine. Each function says what Windows does, what Wine lacks and what stands
/// in for it; on Windows none of them changes anything.
namespace platform::wine {

/// Whether this process runs under Wine. Asked once.
bool isRunning() noexcept;

}  // namespace platform::wine
