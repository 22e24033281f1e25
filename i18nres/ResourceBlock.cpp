#include "i18nres/ResourceBlock.h"

#include <cstdint>

#include "i18nres/LoadedImage.h"
#include "i18nres/ResourceDirectory.h"

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

bool ResourceBlock::hasValidBounds() const noexcept {
    const auto image = imageOf(library);
    const std::uintptr_t offset =
        reinterpret_cast<std::uintptr_t>(data) - reinterpret_cast<std::uintptr_t>(image.data());
    if (offset <= image.size() && size <= image.size() - offset) return true;
    return ResourceDirectory(library).hasMuiFile() && isInOneMappedFile(data, size);
}

}  // namespace i18nres
