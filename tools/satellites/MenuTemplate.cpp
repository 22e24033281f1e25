#include "tools/satellites/MenuTemplate.h"

#include <algorithm>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Failure.h"

namespace satellites {

namespace {

constexpr WORD kLastEntry = MF_END;   // flag in MENU and MENUEX resources
constexpr WORD kExtendedPopup = 0x1;  // flag in MENUEX resources
constexpr int kMaxPopupDepth = 64;

const Unreadable kBadMenu{L"a menu is cut off or damaged"};

std::vector<MenuEntry> readEntries(ByteReader& reader, bool isExtended, int depth) {
    if (depth > kMaxPopupDepth) throw kBadMenu;
    std::vector<MenuEntry> entries;
    for (bool isLast = false; !isLast;) {
        MenuEntry entry;
        if (isExtended) {
            reader.align(4);
            entry.type = reader.read<DWORD>();
            entry.state = reader.read<DWORD>();
            entry.id = reader.read<DWORD>();
        }
        const auto flags = reader.read<WORD>();
        isLast = (flags & kLastEntry) != 0;
        entry.flags = static_cast<WORD>(flags & ~kLastEntry);
        entry.isPopup = (flags & (isExtended ? kExtendedPopup : MF_POPUP)) != 0;
        if (!isExtended && !entry.isPopup) entry.id = reader.read<WORD>();
        entry.text = reader.terminatedText();
        if (isExtended && entry.isPopup) {
            reader.align(4);
            entry.helpId = reader.read<DWORD>();
        }
        if (!reader.ok()) throw kBadMenu;
        if (entry.isPopup) entry.entries = readEntries(reader, isExtended, depth + 1);
        entries.push_back(std::move(entry));
    }
    return entries;
}

void writeEntries(ByteWriter& writer, const std::vector<MenuEntry>& entries, bool isExtended) {
    for (const MenuEntry& entry : entries) {
        if (isExtended) {
            writer.align(4);
            writer.write(entry.type);
            writer.write(entry.state);
            writer.write(entry.id);
        }
        const bool isLast = &entry == &entries.back();
        writer.write(static_cast<WORD>(entry.flags | (isLast ? kLastEntry : 0)));
        if (!isExtended && !entry.isPopup) writer.write(static_cast<WORD>(entry.id));
        writer.terminatedText(entry.text);
        if (isExtended && entry.isPopup) {
            writer.align(4);
            writer.write(entry.helpId);
        }
        writeEntries(writer, entry.entries, isExtended);
    }
}

bool haveSameEntries(const std::vector<MenuEntry>& first, const std::vector<MenuEntry>& second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](const MenuEntry& a, const MenuEntry& b) {
                          return a.isPopup == b.isPopup && a.id == b.id &&
                                 a.isSeparator() == b.isSeparator() &&
                                 haveSameEntries(a.entries, b.entries);
                      });
}

}  // namespace

MenuTemplate readMenu(std::span<const std::byte> data) {
    ByteReader reader(data);
    MenuTemplate menu;
    const auto version = reader.read<WORD>();
    const auto offset = reader.read<WORD>();
    if (version > 1) throw kBadMenu;
    menu.isExtended = version == 1;
    const std::size_t header = reader.position();
    if (menu.isExtended && offset >= sizeof(DWORD)) menu.helpId = reader.read<DWORD>();
    reader.seek(header + offset);
    if (!reader.ok()) throw kBadMenu;
    if (reader.remaining() > 0) menu.entries = readEntries(reader, menu.isExtended, 0);
    return menu;
}

std::vector<std::byte> writeMenu(const MenuTemplate& menu) {
    ByteWriter writer;
    writer.write(static_cast<WORD>(menu.isExtended ? 1 : 0));
    writer.write(static_cast<WORD>(menu.isExtended ? sizeof menu.helpId : 0));
    if (menu.isExtended) writer.write(menu.helpId);
    writeEntries(writer, menu.entries, menu.isExtended);
    return writer.take();
}

bool haveSameStructure(const MenuTemplate& a, const MenuTemplate& b) {
    return haveSameEntries(a.entries, b.entries);
}

}  // namespace satellites
