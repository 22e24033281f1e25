#pragma once

#include <windows.h>

#include <atomic>

namespace OrvexClipboard {

/// The registration of one clipboard format name: made on first use, kept for the life of the
/// process. One static of this kind per format class, in the source file of the class:
///
///     constinit RegisteredFormat s_format(L"TARLO_OBJECT_ARCHIVE");
///
/// Takes no lock. Threads that ask for the first time at once each register the name and get the
/// same number, because Windows gives one number per name.
class RegisteredFormat {
public:
    /// `name` is kept, not copied: a literal.
    explicit constexpr RegisteredFormat(const wchar_t* name) noexcept : m_name(name) {}
    RegisteredFormat(const RegisteredFormat&) = delete;  // one cache per name
    RegisteredFormat& operator=(const RegisteredFormat&) = delete;

    const wchar_t* name() const noexcept { return m_name; }

    /// The registered number. 0, the answer of a refused registration, is kept like any other: the
    /// name is not registered again.
    unsigned int id() noexcept {
        if (m_answered.load(std::memory_order_acquire)) return m_id.load(std::memory_order_relaxed);

        // The mark stands before the call: what the call itself leads back here reads the number as
        // it is so far instead of registering without end. Other threads do not take that 0 for an
        // answer.
        const DWORD self = ::GetCurrentThreadId();
        if (m_asker.exchange(self, std::memory_order_relaxed) != self) {
            m_id.store(::RegisterClipboardFormatW(m_name), std::memory_order_relaxed);
            m_answered.store(true, std::memory_order_release);
        }
        return m_id.load(std::memory_order_relaxed);
    }

private:
    const wchar_t* m_name;
    std::atomic<unsigned int> m_id{0};
    std::atomic<DWORD> m_asker{0};  // the thread that registered last; no thread has the number 0
    std::atomic<bool> m_answered{false};
};

}  // namespace OrvexClipboard
