#include "platform/PathParts.h"

#include <doctest/doctest.h>

#include <initializer_list>
#include <string>

namespace {

using platform::PathParts;
using platform::splitPath;

struct Row {
    const wchar_t* path;
    const wchar_t* drive;
    const wchar_t* directory;
    const wchar_t* name;
    const wchar_t* extension;
};

constexpr Row kRows[] = {
    {L"", L"", L"", L"", L""},
    {L"charts", L"", L"", L"charts", L""},
    {L"charts.dll", L"", L"", L"charts", L".dll"},
    {L"C:\\Prog\\Charts.dll", L"C:", L"\\Prog\\", L"Charts", L".dll"},
    {L"C:/Prog/Charts.dll", L"C:", L"/Prog/", L"Charts", L".dll"},
    {L"C:\\Prog/Charts.dll", L"C:", L"\\Prog/", L"Charts", L".dll"},
    {L"C:charts.dll", L"C:", L"", L"charts", L".dll"},
    {L"C:", L"C:", L"", L"", L""},
    {L"C:\\Prog\\", L"C:", L"\\Prog\\", L"", L""},
    {L"guide.tar.gz", L"", L"", L"guide.tar", L".gz"},
    {L"folder.d\\guide", L"", L"folder.d\\", L"guide", L""},
    {L"charts.", L"", L"", L"charts", L"."},
    {L".hidden", L"", L"", L"", L".hidden"},
    {L"..\\guide.chm", L"", L"..\\", L"guide", L".chm"},
    {L"\\\\server\\share\\x.dll", L"", L"\\\\server\\share\\", L"x", L".dll"},
    {L"\\\\?\\C:\\Prog\\x.dll", L"", L"\\\\?\\C:\\Prog\\", L"x", L".dll"},
    {L"\\\\.\\pipe", L"", L"\\\\.\\", L"pipe", L""},
};

TEST_CASE("splitPath divides a path into drive, directory, name and extension") {
    for (const Row& row : kRows) {
        CAPTURE(row.path);
        const PathParts parts = splitPath(row.path);
        CHECK(std::wstring(parts.drive) == row.drive);
        CHECK(std::wstring(parts.directory) == row.directory);
        CHECK(std::wstring(parts.name) == row.name);
        CHECK(std::wstring(parts.extension) == row.extension);
    }
}

TEST_CASE("The parts of a path, joined in order, are the path") {
    for (const Row& row : kRows) {
        const PathParts parts = splitPath(row.path);
        std::wstring joined(parts.drive);
        joined.append(parts.directory).append(parts.fileName());
        CHECK(joined == row.path);
    }
}

TEST_CASE("Each part of a path can have up to 259 characters") {
    const std::wstring longest(259, L'x');
    for (const std::wstring& path :
         {longest, L"C:" + longest, longest.substr(1) + L"\\", L"x." + longest.substr(1),
          longest.substr(1) + L"\\" + longest + L"." + longest.substr(1)}) {
        CAPTURE(path);
        CHECK(splitPath(path).fitIntoMaxPath());
    }
}

TEST_CASE("A path does not fit into MAX_PATH if one of its parts has 260 characters") {
    const std::wstring longer(260, L'x');
    for (const std::wstring& path :
         {longer, L"C:" + longer, longer.substr(1) + L"\\", L"x." + longer.substr(1)}) {
        CAPTURE(path);
        CHECK_FALSE(splitPath(path).fitIntoMaxPath());
    }
}

}  // namespace
