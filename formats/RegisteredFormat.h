#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace OrvexClipboard {

/// Registers one clipboard format name on first use and keeps its number until the end of the
/// process. Each format class has one static instance in its source file:
///
///     constinit RegisteredFormat s_format(L"TARLO_OBJECT_ARCHIVE");
///
/// Takes no lock. Threads that need the number for the first time at once each register the name
/// and get the same number, because Windows assigns one number to each name.
class RegisteredFormat {
public:
    /// `name` is stored, not copied: pass a literal.
    explicit constexpr RegisteredFormat(const wchar_t* name) noexcept : m_name(name) {}
    RegisteredFormat(const RegisteredFormat&) = delete;  // one cache per name
    RegisteredFormat& operator=(const RegisteredFormat&) = delete;

    const wchar_t* name() const noexcept { return m_name; }

    /// The registered number. 0 if the registration failed; the name is not registered again then.
    unsigned int id() noexcept {
        const std::uint64_t state = m_state.load();
        if (state & kIsRegistered) return static_cast<unsigned int>(state);

        // A call on the same thread during the registration returns 0 instead of registering
        // without end.
        const std::uint64_t thisThread = ::GetCurrentThreadId();
        if (state == thisThread) return 0;
        m_state.store(thisThread);
        const unsigned int number = ::RegisterClipboardFormatW(m_name);
        m_state.store(kIsRegistered | number);
        return number;
    }

private:
    static constexpr std::uint64_t kIsRegistered = std::uint64_t{1} << 32;

    const wchar_t* m_name;
    /// `kIsRegistered` and the number; before that the id of the thread that registers, or 0.
    std::atomic<std::uint64_t> m_state{0};
};

}  // namespace OrvexClipboard
