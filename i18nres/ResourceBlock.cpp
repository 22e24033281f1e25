#include "i18nres/ResourceBlock.h"

#include <cstdint>

#include "i18nres/LoadedImage.h"

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
    const auto image = imageOf(library);
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(data) - reinterpret_cast<std::uintptr_t>(image.data());
    return offset <= image.size() && size <= image.size() - offset;
}

}  // namespace i18nres
