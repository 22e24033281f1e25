#include "platform/QuietErrorMode.h"

#include <doctest/doctest.h>
#include <windows.h>

#include "platform/Dom.h"
#include "tests/support/ScriptedDom.h"

namespace {

constexpr DWORD kNoMessageBoxes = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;

TEST_CASE("QuietErrorMode adds flags to the thread's error mode and restores it") {
    REQUIRE(::SetThreadErrorMode(SEM_NOGPFAULTERRORBOX, nullptr));
    {
        const platform::QuietErrorMode quiet;
        CHECK(::GetThreadErrorMode() == (SEM_NOGPFAULTERRORBOX | kNoMessageBoxes));
    }

    CHECK(::GetThreadErrorMode() == SEM_NOGPFAULTERRORBOX);
    ::SetThreadErrorMode(0, nullptr);
}

TEST_CASE("A document is loaded from a file without system message boxes") {
    DWORD modeDuringLoad = 0;
    testsupport::ScriptedDocument document;
    document.onLoad = [&](const VARIANT&, VARIANT_BOOL*) {
        modeDuringLoad = ::GetThreadErrorMode();
        return S_FALSE;
    };

    CHECK(platform::dom::loadFile(document, L"a:\\portfolio.xml") == S_FALSE);

    CHECK(modeDuringLoad == kNoMessageBoxes);
    CHECK(::GetThreadErrorMode() == 0);
}

}  // namespace
