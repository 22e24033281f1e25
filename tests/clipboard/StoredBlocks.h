#pragma once
#include <doctest/doctest.h>
#include <windows.h>

#include <ole2.h>

#include <string_view>

#include "tests/support/DataObjects.h"

namespace testsupport {

// Stores a new block in the object and returns the handle of the block. The object owns the block.
inline HGLOBAL storeBlock(IDataObject& object, CLIPFORMAT cf, std::string_view bytes) {
    const HGLOBAL block = newBlock(bytes);
    REQUIRE(setData(object, formatOf(cf, TYMED_HGLOBAL), mediumOf(TYMED_HGLOBAL, block), TRUE) ==
            S_OK);
    return block;
}

}  // namespace testsupport
