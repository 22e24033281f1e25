#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <thread>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

/// Reads instruments in the background, so that the window responds for any number of them. Each
/// reading has its own thread and apartment.
class InstrumentReader {
public:
    /// @param window, message  The message that is posted when a reading has ended; call finish()
    ///                then.
    InstrumentReader(HWND window, UINT message) : m_window(window), m_message(message) {}
    InstrumentReader(const InstrumentReader&) = delete;
    InstrumentReader& operator=(const InstrumentReader&) = delete;
    /// Waits for the end of the current reading.
    ~InstrumentReader();

    bool isReading() const { return m_thread.joinable(); }

    /// Each begins to read, unless a reading is in progress.
    void readClipboard();
    /// @param object  One that any thread may use, as snapshot() makes them.
    void read(const ATL::CComPtr<IDataObject>& object);

    /// Ends the reading and returns the instruments; nothing when there were none.
    std::optional<Instruments> finish();

private:
    void begin(std::function<std::optional<Instruments>()> read);

    HWND m_window;
    UINT m_message;
    std::thread m_thread;
    std::optional<Instruments> m_instruments;  // the thread's, until it is joined
};
