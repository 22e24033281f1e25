#include "i18nres/LoadedImage.h"

#include <cstdint>

namespace i18nres {

namespace {

bool isReadableFile(const MEMORY_BASIC_INFORMATION& region) noexcept {
    constexpr DWORD kUnreadable = PAGE_NOACCESS | PAGE_EXECUTE | PAGE_GUARD;
    return region.State == MEM_COMMIT && (region.Type == MEM_IMAGE || region.Type == MEM_MAPPED) &&
           (region.Protect & kUnreadable) == 0;
}

}  // namespace

bool isInOneMappedFile(const std::byte* data, std::size_t size) noexcept {
    const auto first = reinterpret_cast<std::uintptr_t>(data);
    const std::uintptr_t last = first + (size > 0 ? size - 1 : 0);
    if (last < first) return false;

    const void* mapping = nullptr;
    for (std::uintptr_t address = first;;) {
        MEMORY_BASIC_INFORMATION region;
        if (::VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof region) == 0) {
            return false;
        }
        if (!mapping) mapping = region.AllocationBase;
        if (!isReadableFile(region) || region.AllocationBase != mapping) return false;
        address = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize;
        if (last < address) return true;
    }
}

}  // namespace i18nres
