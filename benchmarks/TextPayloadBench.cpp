#include <windows.h>

#include <ole2.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "benchmarks/Harness.h"
#include "clipboard/CDataObject.h"
#include "dll/atl.h"

namespace {

constexpr std::size_t kBytes = 64 << 20;  // size of the text in bytes

template <class Character>
constexpr unsigned long kFormat = std::is_same_v<Character, wchar_t> ? CF_UNICODETEXT : CF_TEXT;

template <class Character>
std::basic_string<Character> sampleText() {
    return std::basic_string<Character>(kBytes / sizeof(Character), Character('x'));
}

// A data object that contains text, and the array that QueryTextData returned for the text.
template <class Character>
struct Exchanged {
    ATL::CComPtr<IDataObject> object;
    std::unique_ptr<Character[]> text;
};

template <class Character>
std::shared_ptr<void> exchange(const std::basic_string<Character>& text) {
    auto result = std::make_shared<Exchanged<Character>>();
    Character* received = nullptr;
    if (CDataObject::CreateInstance(&result->object) != S_OK ||
        CDataObject::SetTextData(*result->object, kFormat<Character>, text.c_str(),
                                 static_cast<int>(text.size())) != S_OK ||
        CDataObject::QueryTextData(*result->object, kFormat<Character>, &received, nullptr) != S_OK)
        return nullptr;
    result->text.reset(received);
    return result;
}

// The reference only allocates and fills the blocks of memory that exchange() needs:
// - the block in the data object
// - the duplicate of this block that GetData returns
// - the array, which contains the bytes of the duplicate, followed by zeros

struct FreeGlobal {
    void operator()(void* block) const { ::GlobalFree(block); }
};
using Block = std::unique_ptr<void, FreeGlobal>;

template <class Character>
struct Touched {
    Block block;
    std::unique_ptr<Character[]> text;
};

template <class Character>
std::shared_ptr<void> touch(const std::basic_string<Character>& text) {
    constexpr std::size_t kBlockBytesPerCharacter = std::is_same_v<Character, wchar_t> ? 8 : 1;
    const std::size_t blockBytes = (text.size() + 1) * kBlockBytesPerCharacter;
    auto result = std::make_shared<Touched<Character>>();
    result->block.reset(::GlobalAlloc(GHND, blockBytes));
    std::memcpy(::GlobalLock(result->block.get()), text.c_str(), text.size() * sizeof(Character));
    ::GlobalUnlock(result->block.get());

    const Block duplicate(::OleDuplicateData(result->block.get(), kFormat<Character>, 0));
    if (!duplicate) return nullptr;

    const std::size_t arrayBytes = (blockBytes + 1) * sizeof(Character);
    result->text.reset(new Character[blockBytes + 1]);
    const auto array = reinterpret_cast<char*>(result->text.get());
    std::memcpy(array, ::GlobalLock(duplicate.get()), blockBytes);
    std::memset(array + blockBytes, 0, arrayBytes - blockBytes);
    ::GlobalUnlock(duplicate.get());
    return result;
}

template <class Make>
bench::Batch timed(Make make) {
    return bench::repeated([make] { return make() ? kBytes : std::size_t{0}; });
}

}  // namespace

int main(int argc, char** argv) {
    if (FAILED(::OleInitialize(nullptr))) return 1;
    const std::string narrow = sampleText<char>();
    const std::wstring wide = sampleText<wchar_t>();
    const auto exchangeNarrow = [&] { return exchange(narrow); };
    const auto exchangeWide = [&] { return exchange(wide); };
    const auto touchNarrow = [&] { return touch(narrow); };
    const auto touchWide = [&] { return touch(wide); };
    constexpr char kReference[] = "first touches of memory";
    const int result =
        bench::run(argc, argv,
                   {{"put and query a narrow text",
                     "64 MB",
                     timed(exchangeNarrow),
                     kReference,
                     timed(touchNarrow),
                     nullptr,
                     {.ratio = 1.15}},
                    {"put and query a wide text",
                     "64 MB",
                     timed(exchangeWide),
                     kReference,
                     timed(touchWide),
                     nullptr,
                     {.ratio = 1.15}}},
                   {{"memory of a narrow text", "64 MB", exchangeNarrow, kReference, touchNarrow},
                    {"memory of a wide text", "64 MB", exchangeWide, kReference, touchWide}});
    ::OleUninitialize();
    return result;
}
