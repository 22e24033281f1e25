#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace i18nres {

/// The headers of a library that is loaded as code: its handle is the address of the first.
inline const IMAGE_NT_HEADERS& headersOf(HINSTANCE library) noexcept {
    const auto* const image = reinterpret_cast<const std::byte*>(library);
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dosHeader->e_lfanew);
}

/// All memory of such a library.
inline std::span<const std::byte> imageOf(HINSTANCE library) noexcept {
    return {reinterpret_cast<const std::byte*>(library),
            headersOf(library).OptionalHeader.SizeOfImage};
}

}  // namespace i18nres
