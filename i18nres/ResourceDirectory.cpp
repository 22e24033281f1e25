#include "i18nres/ResourceDirectory.h"

#include <algorithm>

#include "i18nres/LoadedImage.h"

namespace i18nres {

namespace {

/// The resource type that identifies a library whose localized resources are in .mui files.
constexpr std::wstring_view kMuiFiles = L"MUI";

/// The highest bit of a field in a directory entry. If the bit is set, the other bits are the
/// offset of a table or of a name.
constexpr DWORD kHighBit = 0x80000000;

}  // namespace

ResourceDirectory::ResourceDirectory(HINSTANCE library) noexcept : m_library(library) {
    const std::span<const std::byte> image = imageOf(library);
    const IMAGE_DATA_DIRECTORY& directory =
        headersOf(library).OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_RESOURCE];
    if (directory.VirtualAddress != 0 && directory.VirtualAddress < image.size()) {
        m_directory = image.subspan(directory.VirtualAddress);
    }
}

bool ResourceDirectory::hasMuiFile() const noexcept { return hasMuiFile(tableAt(0)); }

ResourceDirectory::Result ResourceDirectory::list(WORD type,
                                                  std::span<const Entry>& entries) const noexcept {
    Table names;
    const Result result = tableOf(type, names);
    if (result == Result::found) entries = names.numbered;
    return result;
}

ResourceDirectory::Result ResourceDirectory::find(WORD type, WORD name,
                                                  ResourceBlock& block) const noexcept {
    Table names, languages;
    Result result = tableOf(type, names);
    if (result == Result::found) result = findTable(names, name, languages);
    if (result != Result::found) return result;
    if (!languages.named.empty() || languages.numbered.size() != 1) return Result::dependsOnThread;

    const DWORD offset = languages.numbered.front().OffsetToData;
    // If kHighBit is set, the offset is greater than the size of the directory, so `data` is null.
    const auto* const data = at<IMAGE_RESOURCE_DATA_ENTRY>(offset);
    if (!data) return Result::dependsOnThread;
    block = {m_library, reinterpret_cast<const std::byte*>(m_library) + data->OffsetToData,
             data->Size};
    return Result::found;
}

template <class Item>
const Item* ResourceDirectory::at(std::size_t offset, std::size_t count) const noexcept {
    if (offset % alignof(Item) != 0 || offset > m_directory.size()) return nullptr;
    if (count > (m_directory.size() - offset) / sizeof(Item)) return nullptr;
    return reinterpret_cast<const Item*>(m_directory.data() + offset);
}

ResourceDirectory::Table ResourceDirectory::tableAt(DWORD offset) const noexcept {
    const auto* const header = at<IMAGE_RESOURCE_DIRECTORY>(offset);
    if (!header) return {};
    const std::size_t named = header->NumberOfNamedEntries;
    const std::size_t all = named + header->NumberOfIdEntries;
    const auto* const entries = at<Entry>(offset + sizeof(*header), all);
    if (!entries) return {};
    const std::span<const Entry> table(entries, all);
    return {true, table.first(named), table.subspan(named)};
}

ResourceDirectory::Result ResourceDirectory::tableOf(WORD type, Table& names) const noexcept {
    if (m_directory.empty()) return Result::missing;
    const Table types = tableAt(0);
    if (!types.isReadable || hasMuiFile(types)) return Result::dependsOnThread;
    return findTable(types, type, names);
}

ResourceDirectory::Result ResourceDirectory::findTable(const Table& parent, WORD number,
                                                       Table& table) const noexcept {
    const auto found =
        std::lower_bound(parent.numbered.begin(), parent.numbered.end(), number,
                         [](const Entry& entry, DWORD searched) { return entry.Name < searched; });
    if (found == parent.numbered.end() || found->Name != number) return Result::missing;
    if (!(found->OffsetToData & kHighBit)) return Result::dependsOnThread;
    table = tableAt(found->OffsetToData & ~kHighBit);
    return table.isReadable ? Result::found : Result::dependsOnThread;
}

bool ResourceDirectory::isNamed(const Entry& entry, std::wstring_view name) const noexcept {
    const DWORD offset = entry.Name & ~kHighBit;
    const auto* const length = at<WORD>(offset);
    if (!length || *length != name.size()) return false;
    const auto* const characters = at<wchar_t>(offset + sizeof(*length), name.size());
    return characters && std::equal(name.begin(), name.end(), characters);
}

bool ResourceDirectory::hasMuiFile(const Table& types) const noexcept {
    return std::any_of(types.named.begin(), types.named.end(),
                       [&](const Entry& entry) { return isNamed(entry, kMuiFiles); });
}

}  // namespace i18nres
