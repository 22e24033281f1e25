#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <thread>

#include <I18nResource.h>

#include "samples/workstation/Instrument.h"

/// Reads instruments on a background thread, so that the window remains responsive. Each read has
/// its own thread and apartment.
class InstrumentReader {
public:
    /// @param window, message  The reader posts this message to the window when a read has ended.
    ///        After each message, the window must call finish().
    InstrumentReader(HWND window, UINT message) : m_window(window), m_message(message) {}
    InstrumentReader(const InstrumentReader&) = delete;
    InstrumentReader& operator=(const InstrumentReader&) = delete;
    /// Waits for the current read to end.
    ~InstrumentReader();

    bool isReading() const { return m_thread.joinable(); }

    /// readClipboard() and read() start a read, or do nothing if a read is already in progress.
    void readClipboard();
    /// @param object  A data object that any thread can use, such as the result of snapshot().
    void read(const ATL::CComPtr<IDataObject>& object);

    /// Waits for the current read to end, and returns the instruments. Returns std::nullopt if the
    /// read found no instruments or failed.
    std::optional<Instruments> finish();

private:
    void startThread(std::function<std::optional<Instruments>()> read);

    HWND m_window;
    UINT m_message;
    std::thread m_thread;
    std::optional<Instruments> m_instruments;  // written by m_thread; read only after join()
};
