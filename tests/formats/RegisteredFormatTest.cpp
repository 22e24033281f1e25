// How a format class registers its name.
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

// Stands in the place of RegisterClipboardFormatW in this program, where the class under test is
// compiled.
class Registry {
public:
    explicit Registry(std::function<unsigned()> answer) {
        s_answer = std::move(answer);
        s_names.clear();
        const int changed =
            testsupport::hookImport(::GetModuleHandleW(nullptr), "RegisterClipboardFormatW",
                                    reinterpret_cast<void*>(&answerFor), &m_original);
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
    static UINT WINAPI answerFor(LPCWSTR name) {
        s_names.push_back(name);
        return s_answer();
    }

    inline static std::function<unsigned()> s_answer;
    inline static std::vector<std::wstring> s_names;
    void* m_original = nullptr;
};

TEST_CASE("A format is not registered before its number is asked for") {
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

TEST_CASE("A refused registration is kept like any other") {
    unsigned answer = 0;
    const Registry registry([&answer] { return answer; });
    RegisteredFormat format(L"SOME_FORMAT");

    CHECK(format.id() == 0);
    answer = 0xC123;
    CHECK(format.id() == 0);

    CHECK(Registry::names().size() == 1);
}

TEST_CASE("A question that comes out of the registration itself is answered with 0") {
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

TEST_CASE("A thread that asks while another one registers gets the number and not 0") {
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
