#pragma once

#include <windows.h>

#include <objidl.h>

#include <memory>

#include "clipboard/CDataObject.h"

/// Reads text with `CDataObject::QueryTextData` into a `std::unique_ptr`.
///
/// @param[out] text    Null on failure.
/// @param[out] length  Optional. See `QueryTextData`.
/// @return the result of `QueryTextData`.
template <class Character>
HRESULT readText(const IDataObject& obj, unsigned long cf, std::unique_ptr<Character[]>& text,
                 unsigned __int64* length = nullptr) {
    Character* received = nullptr;
    const HRESULT hr = CDataObject::QueryTextData(obj, cf, &received, length);
    text.reset(received);
    return hr;
}
