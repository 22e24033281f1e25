#include "i18nres/ResourceBlock.h"

#include <cstdint>

namespace i18nres {

std::optional<ResourceBlock> ResourceBlock::find(HINSTANCE library, const wchar_t* name,
                                                 const wchar_t* type) noexcept {
    const HRSRC resource = ::FindResourceW(library, name, type);
    if (!resource) return std::nullopt;
    const HGLOBAL loaded = ::LoadResource(library, resource);
    if (!loaded) return std::nullopt;
    return ResourceBlock{library, static_cast<const std::byte*>(::LockResource(loaded)),
                         ::SizeofResource(library, resource)};
}

bool ResourceBlock::liesInLibrary() const noexcept {
    // The handle of a library that is loaded as code is the address of its headers.
    const auto* const image = reinterpret_cast<const std::byte*>(library);
    const auto* const dosHeader = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
    const auto* const headers =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dosHeader->e_lfanew);
    const std::uintptr_t imageSize = headers->OptionalHeader.SizeOfImage;
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(data) - reinterpret_cast<std::uintptr_t>(image);
    return offset <= imageSize && size <= imageSize - offset;
}

}  // namespace i18nres
