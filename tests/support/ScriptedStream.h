#pragma once
// A stream whose contents the test sets. The test can also replace Read and Seek, and change the
// result of Stat.
#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "tests/support/Counting.h"

namespace testsupport {

class ScriptedStream : public CountingStream {
public:
    explicit ScriptedStream(std::string contents = {}) : bytes(std::move(contents)) {}

    std::string bytes;
    std::size_t position = 0;
    // If set, `onRead` and `onSeek` replace Read and Seek. `onStat` is called at the end of Stat,
    // and its result becomes the result of Stat.
    std::function<HRESULT(void* data, ULONG size, ULONG* read)> onRead;
    std::function<HRESULT(LARGE_INTEGER move, DWORD origin)> onSeek;
    std::function<HRESULT(STATSTG& stat, DWORD flags)> onStat;

    HRESULT readBytes(void* data, ULONG size, ULONG* read) {
        const std::size_t count = (std::min<std::size_t>)(size, bytes.size() - position);
        std::memcpy(data, bytes.data() + position, count);
        position += count;
        if (read) *read = static_cast<ULONG>(count);
        return S_OK;
    }

    // IUnknown
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
        return CountingStream::QueryInterface(iid == IID_ISequentialStream ? IID_IStream : iid,
                                              object);
    }

    // IStream
    STDMETHODIMP Read(void* data, ULONG size, ULONG* read) override {
        return onRead ? onRead(data, size, read) : readBytes(data, size, read);
    }
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* reached) override {
        if (onSeek) return onSeek(move, origin);
        if (origin != STREAM_SEEK_SET) return E_NOTIMPL;
        position = static_cast<std::size_t>(move.QuadPart);
        if (reached) reached->QuadPart = position;
        return S_OK;
    }
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) override {
        *stat = STATSTG{};
        stat->type = STGTY_STREAM;
        stat->cbSize.QuadPart = bytes.size();
        return onStat ? onStat(*stat, flags) : S_OK;
    }
};

}  // namespace testsupport
