#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>

namespace OrvexClipboard {

/// Registers one clipboard format name on first use and keeps the format identifier until the
/// process ends. Each format class has one static instance in its source file:
///
///     constinit RegisteredFormat s_format(L"TARLO_OBJECT_ARCHIVE");
///
/// The class takes no locks. If several threads call id() before the name is registered, each of
/// them may register the name. All of them receive the same identifier, because Windows assigns one
/// identifier to each name.
class RegisteredFormat {
public:
    /// The object stores the pointer and does not copy the string, so `name` must be a string
    /// literal.
    explicit constexpr RegisteredFormat(const wchar_t* name) noexcept : m_name(name) {}
    RegisteredFormat(const RegisteredFormat&) = delete;  // one instance per name
    RegisteredFormat& operator=(const RegisteredFormat&) = delete;

    const wchar_t* name() const noexcept { return m_name; }

    /// Returns the registered identifier. If the registration fails, it is not retried, and this
    /// call and all later calls return 0.
    unsigned int id() noexcept {
        const std::uint64_t state = m_state.load();
        if (state & kIsRegistered) return static_cast<unsigned int>(state);

        // If RegisterClipboardFormatW is hooked, the hook may call id() on the same thread. In this
        // case, return 0 to prevent endless recursion.
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
    /// Initially 0. During the registration, the identifier of the thread that registers the name.
    /// After the registration, `kIsRegistered` is set, and the lower 32 bits contain the format
    /// identifier.
    std::atomic<std::uint64_t> m_state{0};
};

}  // namespace OrvexClipboard
