// Tests the registration of clipboard formats.
#include "formats/RegisteredFormat.h"

#include <doctest/doctest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/ImportHook.h"
#include "tests/support/PrintedWide.h"
#include "tests/support/Threads.h"

namespace {

using OrvexClipboard::RegisteredFormat;

// Replaces the import of RegisterClipboardFormatW in this program, because the program contains the
// class under test.
class Registry {
public:
    explicit Registry(std::function<unsigned()> answer) {
        s_result = std::move(answer);
        s_names.clear();
        const int changed =
            testsupport::hookImport(::GetModuleHandleW(nullptr), "RegisterClipboardFormatW",
                                    reinterpret_cast<void*>(&resultFor), &m_original);
        REQUIRE(changed == 1);
    }
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;
    ~Registry() {
        testsupport::hookImport(::GetModuleHandleW(nullptr), "RegisterClipboardFormatW", m_original,
                                nullptr);
    }

    static const std::vector<std::wstring>& names() { return s_names; }

private:
    static UINT WINAPI resultFor(LPCWSTR name) {
        s_names.push_back(name);
        return s_result();
    }

    inline static std::function<unsigned()> s_result;
    inline static std::vector<std::wstring> s_names;
    void* m_original = nullptr;
};

TEST_CASE("Creating a format and reading its name do not register the format") {
    const Registry registry([] { return 0xC123u; });

    const RegisteredFormat format(L"SOME_FORMAT");

    CHECK(std::wstring(format.name()) == L"SOME_FORMAT");
    CHECK(Registry::names().empty());
}

TEST_CASE("A format is registered once under its name") {
    const Registry registry([] { return 0xC123u; });
    RegisteredFormat format(L"SOME_FORMAT");

    CHECK(format.id() == 0xC123);
    CHECK(format.id() == 0xC123);

    CHECK(Registry::names() == std::vector<std::wstring>{L"SOME_FORMAT"});
}

TEST_CASE("A failed registration is not repeated") {
    unsigned answer = 0;
    const Registry registry([&answer] { return answer; });
    RegisteredFormat format(L"SOME_FORMAT");

    CHECK(format.id() == 0);
    answer = 0xC123;
    CHECK(format.id() == 0);

    CHECK(Registry::names().size() == 1);
}

TEST_CASE("A nested call of id during the registration returns 0") {
    RegisteredFormat format(L"SOME_FORMAT");
    unsigned inner = 99;
    const Registry registry([&] {
        inner = format.id();
        return 0xC123u;
    });

    CHECK(format.id() == 0xC123);

    CHECK(inner == 0);
    CHECK(Registry::names().size() == 1);
    CHECK(format.id() == 0xC123);
}

TEST_CASE("id returns the identifier and not 0 while another thread registers the format") {
    RegisteredFormat format(L"SOME_FORMAT");
    unsigned other = 0;
    bool first = true;
    const Registry registry([&] {
        if (first) {
            first = false;
            other = testsupport::onAnotherThread([&] { return format.id(); });
        }
        return 0xC123u;
    });

    CHECK(format.id() == 0xC123);

    CHECK(other == 0xC123);
    CHECK(Registry::names().size() == 2);
}

}  // namespace
