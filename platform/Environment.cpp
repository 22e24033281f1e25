#include "platform/Environment.h"

#include <windows.h>

#include <algorithm>
#include <limits>

namespace platform {

bool isEnvironmentVariableDefined(const wchar_t* name) noexcept {
    // For an empty value, GetEnvironmentVariableW returns 1, the size of the terminator.
    return ::GetEnvironmentVariableW(name, nullptr, 0) > 0;
}

bool readEnvironmentVariable(const wchar_t* name, wchar_t* value, std::size_t size) noexcept {
    if (!value || size == 0) return false;
    const auto room =
        static_cast<DWORD>(std::min<std::size_t>(size, std::numeric_limits<DWORD>::max()));
    // If the value fits, GetEnvironmentVariableW returns its length without the terminator.
    // Otherwise it returns the required size, including the terminator.
    const DWORD length = ::GetEnvironmentVariableW(name, value, room);
    const bool fits = length < room;
    // The system does not change the buffer if the variable does not exist. If the value does not
    // fit, the contents of the buffer are unspecified.
    if (length == 0 || !fits) value[0] = L'\0';
    return fits;
}

}  // namespace platform
