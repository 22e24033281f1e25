#include "samples/exchange/Reading.h"

#include <windows.h>

#include <functional>
#include <utility>

#include "samples/clipboard_view/Background.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/clipboard_view/ClipboardReader.h"
#include "samples/exchange/Clipboard.h"
#include "samples/exchange/Failure.h"

namespace {

[[noreturn]] void fail(ReadFailure failure, const std::wstring& subject) {
    switch (failure) {
        case ReadFailure::kBusy:
            failBusy();
        case ReadFailure::kMissing:
            throw Failure{kNothingToPaste,
                          L"the clipboard does not offer " + subject + L" any more"};
        case ReadFailure::kNoBytes:
            throw Failure{kRefused, subject + L" is a handle: it has no bytes to read"};
        case ReadFailure::kTooLarge:
            throw Failure{kRefused, subject + L" is larger than 256 MB"};
        case ReadFailure::kRefused:
            break;
    }
    throw Failure{kRefused, subject + L" is not delivered by " + describe(clipboardOwner())};
}

template <class Result>
Result readInBackground(const std::wstring& subject, std::function<Result()> read) {
    Background<Result> reading(std::move(read));
    if (!reading.waitFor(kReadLimit))
        throw Failure{kNotDelivered, subject + L" is not delivered within " +
                                         std::to_wstring(kReadLimit.count()) + L" seconds by " +
                                         describe(clipboardOwner())};
    try {
        return reading.get();
    } catch (const ReadFailure failure) {
        fail(failure, subject);
    }
}

std::wstring subjectOf(unsigned format) {
    const std::wstring name = nameOfFormat(format);
    return name.empty() ? L"format " + std::to_wstring(format) : name;
}

bool sameName(const std::wstring& one, const std::wstring& other) {
    return ::CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

}  // namespace

std::vector<ClipboardFormat> formatsOnClipboard() {
    waitForCopying();
    return readInBackground<std::vector<ClipboardFormat>>(L"the list of formats", readFormats);
}

unsigned findFormat(const std::wstring& nameOrNumber) {
    for (const unsigned format : currentFormats())
        if (sameName(nameOfFormat(format), nameOrNumber) || std::to_wstring(format) == nameOrNumber)
            return format;
    throw Failure{kNothingToPaste, L"the clipboard does not offer the format " + nameOrNumber +
                                       L"; exchange list shows those that it offers"};
}

std::string bytesOf(unsigned format) {
    waitForCopying();
    return readInBackground<std::string>(subjectOf(format), [format] { return readBytes(format); });
}
