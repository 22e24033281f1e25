#pragma once
// Makes resource libraries (DLLs without code) in a test: well-formed ones, and damaged ones that a
// resource compiler would not make.
#include <windows.h>

#include <map>
#include <string>
#include <string_view>

namespace testsupport {

// Wrong values in the data entry of a resource.
struct WrongDataEntry {
    DWORD size = 0;    // 0: the true size
    DWORD offset = 0;  // added to the true position
};

class ResourceLibrary {
public:
    // A number (MAKEINTRESOURCEW) or a name, as the system's functions accept it.
    struct Key {
        Key(const wchar_t* key);
        std::wstring name;  // empty: the number is used
        WORD number = 0;
    };

    // A text in the string table under `id`, terminators included.
    ResourceLibrary& string(unsigned id, std::wstring_view text);

    // A whole block of the string table as raw 16-bit units, well-formed or not.
    ResourceLibrary& stringBlock(unsigned number, std::wstring_view units,
                                 WrongDataEntry wrong = {});

    ResourceLibrary& resource(Key type, Key name, std::string_view bytes,
                              WrongDataEntry wrong = {});

    // An icon (RT_GROUP_ICON with one RT_ICON), a cursor and a bitmap of the given width and
    // height, at most 127.
    ResourceLibrary& icon(WORD number, int size);
    ResourceLibrary& cursor(WORD number, int size);
    ResourceLibrary& bitmap(WORD number, int size);

    // A menu with as many items.
    ResourceLibrary& menu(WORD number, int items);

    // Returns the contents of the file.
    std::string image() const;

private:
    struct Resource {
        std::string bytes;
        WrongDataEntry wrong;
    };
    struct InOrder {  // names first, then numbers, as the loader searches
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
