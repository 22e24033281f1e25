#pragma once
// Creates resource libraries (DLLs without code) for tests. The libraries can contain errors that a
// resource compiler would not produce.
#include <windows.h>

#include <map>
#include <string>
#include <string_view>

namespace testsupport {

// Wrong values for the data entry of a resource (IMAGE_RESOURCE_DATA_ENTRY).
struct WrongDataEntry {
    DWORD size = 0;    // size in bytes; 0 for the true size
    DWORD offset = 0;  // bytes added to the true offset
};

class ResourceLibrary {
public:
    // The name or type of a resource: either a string, or a number from MAKEINTRESOURCEW.
    struct Key {
        Key(const wchar_t* key);
        std::wstring name;  // empty if the key is a number
        WORD number = 0;
    };

    // Adds a string resource. The string may contain embedded NULs.
    ResourceLibrary& string(unsigned id, std::wstring_view text);

    // Adds a block of the string table. `units` is the complete block, which may be malformed.
    ResourceLibrary& stringBlock(unsigned number, std::wstring_view units,
                                 WrongDataEntry wrong = {});

    ResourceLibrary& resource(Key type, Key name, std::string_view bytes,
                              WrongDataEntry wrong = {});

    // The following functions add an icon (RT_GROUP_ICON with one RT_ICON), a cursor
    // (RT_GROUP_CURSOR with one RT_CURSOR) or a bitmap. `size` is the width and the height in
    // pixels, at most 127.
    ResourceLibrary& icon(WORD number, int size);
    ResourceLibrary& cursor(WORD number, int size);
    ResourceLibrary& bitmap(WORD number, int size);

    // Adds a menu with `items` items.
    ResourceLibrary& menu(WORD number, int items);

    // Returns the contents of the DLL file.
    std::string image() const;

private:
    struct Resource {
        std::string bytes;
        WrongDataEntry wrong;
    };
    struct InOrder {  // names before numbers: the order that a resource directory must have
        bool operator()(const Key& a, const Key& b) const;
    };
    using Names = std::map<Key, Resource, InOrder>;
    using Types = std::map<Key, Names, InOrder>;

    Types withStringTables() const;
    void image(Key imageType, Key groupType, WORD number, WORD groupKind, int size);

    Types m_types;
    std::map<unsigned, std::wstring> m_strings;
};

}  // namespace testsupport
