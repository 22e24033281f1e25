#pragma once

#include <windows.h>

#include <cstddef>
#include <span>

namespace i18nres {

/// Returns the PE headers of a library. The library must be loaded as an executable module, not as
/// a data file, because the handle of a data file is not the base address of its image.
inline const IMAGE_NT_HEADERS& headersOf(HINSTANCE library) noexcept {
    const auto* const image = reinterpret_cast<const std::byte*>(library);
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    return *reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dosHeader->e_lfanew);
}

/// Returns the whole image of a library that is loaded as an executable module.
inline std::span<const std::byte> imageOf(HINSTANCE library) noexcept {
    return {reinterpret_cast<const std::byte*>(library),
            headersOf(library).OptionalHeader.SizeOfImage};
}

/// Returns true if a block of memory is readable and belongs to one mapped file. The file may be
/// mapped as an image or as a data file. The block may span several memory regions of the file. An
/// empty block is treated as a block of one byte.
bool isInOneMappedFile(const std::byte* data, std::size_t size) noexcept;

}  // namespace i18nres
