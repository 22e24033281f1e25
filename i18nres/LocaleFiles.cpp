#include <windows.h>

#include <algorithm>
#include <utility>

#include "i18nres/CultureTag.h"
#include "i18nres/Manager.h"
#include "platform/CriticalSectionLock.h"
#include "platform/PathParts.h"
#include "platform/QuietErrorMode.h"

namespace i18nres {

namespace {

bool isFile(const std::wstring& path) noexcept {
    const platform::QuietErrorMode quiet;
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring variantOf(const platform::PathParts& file, const std::wstring& tag) {
    std::wstring path(file.drive);
    path.append(file.directory).append(file.name).append(L"_").append(tag).append(file.extension);
    return path;
}

}  // namespace

bool Manager::getLocaleFileName(const std::wstring& file, std::wstring& result,
                                std::wstring* culture) const {
    const platform::PathParts parts = platform::splitPath(file.c_str());
    if (!parts.fitIntoMaxPath()) return false;

    const platform::CriticalSectionLock lock(m_lock.m_sec);
    std::list<std::wstring> tags;
    _getNormalizeCultureList(tags);
    for (std::wstring& tag : tags) {
        if (!isPlainTag(tag)) continue;
        std::wstring candidate = variantOf(parts, tag);
        if (!isFile(candidate)) continue;
        result = std::move(candidate);
        if (culture) *culture = std::move(tag);
        return true;
    }
    return false;
}

std::vector<std::wstring>::iterator Manager::selectLocaleFileName(
    const std::wstring& file, std::vector<std::wstring>& available, std::wstring* culture) {
    if (!platform::splitPath(file.c_str()).fitIntoMaxPath()) return available.end();

    const platform::CriticalSectionLock lock(m_lock.m_sec);
    std::list<std::wstring> tags;
    _getNormalizeCultureList(tags);
    for (std::wstring& tag : tags) {
        const auto found = std::find(available.begin(), available.end(), tag);
        if (found == available.end()) continue;
        if (culture) *culture = std::move(tag);
        return found;
    }
    return available.end();
}

}  // namespace i18nres
