#include "platform/Wine.h"

#include <windows.h>

namespace platform::wine {

bool isRunning() noexcept {
    // Wine's own documented mark: its ntdll exports the version of Wine.
    static const bool running =
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    return running;
}

}  // namespace platform::wine
