#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace i18nres {

/// Returns the headers of a library that is loaded as code: its handle is their address.
inline const IMAGE_NT_HEADERS& headersOf(HINSTANCE library) noexcept {
    const auto* const image = reinterpret_cast<const std::byte*>(library);
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dosHeader->e_lfanew);
}

/// Returns all memory of such a library.
inline std::span<const std::byte> imageOf(HINSTANCE library) noexcept {
    return {reinterpret_cast<const std::byte*>(library),
            headersOf(library).OptionalHeader.SizeOfImage};
}

/// Whether a block of memory is part of one mapped file, an image or a view, and can be read. The
/// block may span several regions of that mapping. A block of 0 bytes counts as its first byte.
bool isInOneMappedFile(const std::byte* data, std::size_t size) noexcept;

}  // namespace i18nres
