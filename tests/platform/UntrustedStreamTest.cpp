#include "platform/UntrustedStream.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <string>

#include "tests/support/ScriptedStream.h"

namespace {

using namespace testsupport;

/// Copies a stream with readUntrustedStream(), and stores the result and the copied bytes.
struct Copied {
    explicit Copied(IStream& source) {
        ATL::CComPtr<IStream> stream;
        hr = platform::readUntrustedStream(source, stream);
        isNull = !stream;
        char part[1000];
        for (ULONG count = 1; stream && count > 0; bytes.append(part, count))
            REQUIRE(SUCCEEDED(stream->Read(part, sizeof part, &count)));
    }

    HRESULT hr;
    bool isNull;
    std::string bytes;
};

std::string numbers(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i % 251);
    return bytes;
}

TEST_CASE("A stream is read from its position to its end") {
    for (const std::size_t size : {0u, 1u, 65535u, 65536u, 65537u, 200000u}) {
        CAPTURE(size);
        ScriptedStream source("skipped" + numbers(size));
        source.position = 7;

        const Copied copy(source);

        CHECK(copy.hr == S_OK);
        CHECK(copy.bytes == numbers(size));
        CHECK(source.references() == 0);
    }
}

TEST_CASE("A stream that returns single bytes is read to its end") {
    ScriptedStream source("abc");
    source.onRead = [&source](void* data, ULONG, ULONG* read) {
        source.readBytes(data, 1, read);
        return S_FALSE;
    };

    CHECK(Copied(source).bytes == "abc");
}

TEST_CASE("A stream that stores no byte count has ended") {
    ScriptedStream source;
    source.onRead = [](void*, ULONG, ULONG*) { return S_OK; };

    const Copied copy(source);

    CHECK(copy.hr == S_OK);
    CHECK(copy.bytes.empty());
}

TEST_CASE("A read that fails makes the copy fail regardless of its byte count") {
    ScriptedStream source("abc");
    source.onRead = [&source](void* data, ULONG size, ULONG* read) {
        const HRESULT hr = source.position == 0 ? S_OK : STG_E_REVERTED;
        source.readBytes(data, size, read);
        *read = 3;
        return hr;
    };

    const Copied copy(source);

    CHECK(copy.hr == STG_E_REVERTED);
    CHECK(copy.isNull);
}

TEST_CASE("A stream that reports more bytes than requested fills only the requested ones") {
    ScriptedStream source;
    int reads = 0;
    source.onRead = [&reads](void* data, ULONG size, ULONG* read) {
        static_cast<char*>(data)[size - 1] = 'x';
        *read = ++reads == 1 ? 0xFFFFFFFF : 0;
        return S_OK;
    };

    const Copied copy(source);

    CHECK(copy.hr == S_OK);
    REQUIRE(!copy.bytes.empty());
    CHECK(copy.bytes.back() == 'x');
}

// A stream that reports that it has read `size` bytes, but writes no bytes.
class Long : public ScriptedStream {
public:
    explicit Long(ULONGLONG size) {
        onRead = [this, size](void*, ULONG wanted, ULONG* read) {
            *read = static_cast<ULONG>((std::min<ULONGLONG>)(wanted, size - given));
            given += *read;
            return S_OK;
        };
    }

    ULONGLONG given = 0;
};

TEST_CASE("A stream whose size equals the limit is read, and a longer stream is rejected") {
    for (const SIZE_T limit : {1000u, 65535u, 65536u, 65537u, 300000u}) {
        CAPTURE(limit);
        Long full(limit), tooLong(limit + 1), endless(~ULONGLONG{0});
        ATL::CComPtr<IStream> copy;
        STATSTG stat{};

        REQUIRE(platform::readUntrustedStream(full, copy, limit) == S_OK);
        CHECK(copy->Stat(&stat, STATFLAG_NONAME) == S_OK);
        CHECK(stat.cbSize.QuadPart == limit);

        CHECK(platform::readUntrustedStream(tooLong, copy, limit) == E_FAIL);
        CHECK(copy == nullptr);
        CHECK(platform::readUntrustedStream(endless, copy, limit) == E_FAIL);
        CHECK(endless.given == limit + 1);
    }
}

}  // namespace
