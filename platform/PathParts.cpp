#include "platform/PathParts.h"

#include <windows.h>

#include <cstddef>

namespace platform {

namespace {

std::wstring_view takeFront(std::wstring_view& rest, std::size_t count) noexcept {
    const std::wstring_view front = rest.substr(0, count);
    rest.remove_prefix(count);
    return front;
}

bool fitsIntoMaxPath(std::wstring_view part) noexcept { return part.size() < MAX_PATH; }

}  // namespace

std::wstring_view PathParts::fileName() const noexcept {
    return {name.data(), name.size() + extension.size()};
}

bool PathParts::fitIntoMaxPath() const noexcept {
    // A drive always fits.
    return fitsIntoMaxPath(directory) && fitsIntoMaxPath(name) && fitsIntoMaxPath(extension);
}

PathParts splitPath(std::wstring_view path) noexcept {
    PathParts parts;
    std::wstring_view rest = path;
    if (rest.size() >= 2 && rest[1] == L':') parts.drive = takeFront(rest, 2);

    const std::size_t slash = rest.find_last_of(L"\\/");
    parts.directory = takeFront(rest, slash == std::wstring_view::npos ? 0 : slash + 1);

    const std::size_t dot = rest.rfind(L'.');
    parts.name = takeFront(rest, dot == std::wstring_view::npos ? rest.size() : dot);
    parts.extension = rest;
    return parts;
}

}  // namespace platform
