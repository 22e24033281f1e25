#pragma once

#include <windows.h>

#include <vector>

#include "tests/support/ReplacedImport.h"

/// Replaces MultiByteToWideChar and WideCharToMultiByte in the DLL while this object exists. The
/// replacements record each call and forward it to the system, except for one call that fails. The
/// failing call writes an "X" to its output and sets the last error to ERROR_NOT_ENOUGH_MEMORY.
/// Unlike ERROR_INVALID_FLAGS, this error does not make the library repeat the call without flags.
class ScriptedConverters {
public:
    struct Call {
        UINT codePage;
        DWORD flags;
        int count;
        int outputSize;
        bool namesDefaultCharacter;  // true if lpDefaultChar or lpUsedDefaultChar is not null

        bool operator==(const Call&) const = default;
    };

    /// @param refusedCall  The one-based number of the call that fails, or 0 if no call fails.
    explicit ScriptedConverters(std::size_t refusedCall = 0) : m_refusedCall(refusedCall) {
        s_current = this;
    }
    ScriptedConverters(const ScriptedConverters&) = delete;
    ScriptedConverters& operator=(const ScriptedConverters&) = delete;
    ~ScriptedConverters() { s_current = nullptr; }

    const std::vector<Call>& calls() const { return m_calls; }

private:
    static int WINAPI toWide(UINT codePage, DWORD flags, LPCCH text, int count, LPWSTR output,
                             int size) {
        if (!s_current->recordCall({codePage, flags, count, size, false}))
            return refuse(output, size);
        return s_current->m_toWide.original()(codePage, flags, text, count, output, size);
    }

    static int WINAPI toNarrow(UINT codePage, DWORD flags, LPCWCH text, int count, LPSTR output,
                               int size, LPCCH defaultCharacter, LPBOOL defaultUsed) {
        const bool namesDefault = defaultCharacter || defaultUsed;
        if (!s_current->recordCall({codePage, flags, count, size, namesDefault})) {
            return refuse(output, size);
        }
        return s_current->m_toNarrow.original()(codePage, flags, text, count, output, size,
                                                defaultCharacter, defaultUsed);
    }

    // Records the call. Returns false if this call must fail.
    bool recordCall(const Call& call) {
        m_calls.push_back(call);
        return m_calls.size() != m_refusedCall;
    }

    template <class Char>
    static int refuse(Char* output, int size) {
        if (size > 0) output[0] = 'X';
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }

    static inline ScriptedConverters* s_current = nullptr;

    std::size_t m_refusedCall;
    std::vector<Call> m_calls;
    testsupport::ReplacedImport<decltype(toWide)> m_toWide{"MultiByteToWideChar", toWide};
    testsupport::ReplacedImport<decltype(toNarrow)> m_toNarrow{"WideCharToMultiByte", toNarrow};
};
