#include "platform/Environment.h"

#include <windows.h>

#include <algorithm>
#include <limits>

namespace platform {

bool isEnvironmentVariableDefined(const wchar_t* name) noexcept {
    return ::GetEnvironmentVariableW(name, nullptr, 0) > 0;
}

bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept {
    if (!value || size == 0) return false;
    const auto room =
        static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
    // The length without the terminator if the value fits, otherwise the size with the terminator.
    const DWORD length = ::GetEnvironmentVariableW(name, value, room);
    const bool fits = length < room;
    // For an undefined variable the buffer is unchanged; for a value that does not fit it is
    // undefined.
    if (length == 0 || !fits) value[0] = L'\0';
    return fits;
}

}  // namespace platform
