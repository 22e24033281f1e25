// Tests the "workstation" sample with keyboard and mouse input, in one process and between two
// processes.
#include <windows.h>

#include <ole2.h>

#include <doctest/doctest.h>

#include <string>
#include <thread>

#include <I18nResource.h>

#include "tests/samples/Workstation.h"
#include "tests/support/OleApartment.h"
#include "tests/support/PrintedWide.h"

using namespace OrvexClipboard;

namespace {

constexpr int kExamples = 9;

bool selectAll(const Workstation& station) {
    const auto selected = [&] {
        return SendMessageW(station.instruments(), LVM_GETSELECTEDCOUNT, 0, 0) ==
               Workstation::count(station.instruments());
    };
    return station.pressIn(station.instruments(), 'A', VK_CONTROL, selected);
}

bool copy(const Workstation& station) {
    const DWORD before = GetClipboardSequenceNumber();
    const auto copied = [&] { return GetClipboardSequenceNumber() != before; };
    return station.pressIn(station.instruments(), 'C', VK_CONTROL, copied);
}

// Returns true if a read is in progress or the instrument list is not empty.
bool receives(const Workstation& station) {
    return !IsWindowEnabled(station.instruments()) || Workstation::count(station.instruments()) > 0;
}

bool paste(const Workstation& station) {
    return station.pressIn(station.instruments(), 'V', VK_CONTROL,
                           [&] { return receives(station); });
}

// Drags the selected instruments of a program to a position on the screen, and drops them there.
bool drag(const Workstation& from, POINT end) {
    const POINT start = from.firstRow();
    Workstation::mouse(start);
    Workstation::mouse(start, MOUSEEVENTF_LEFTDOWN);
    Workstation::mouse({start.x + 20, start.y + 20});
    // The drag has begun when an OLE window has captured the mouse.
    const bool begun = Workstation::until(
        [&] { return from.capturing() && from.capturing() != from.instruments(); });
    Workstation::mouse(end);
    Workstation::mouse(end, MOUSEEVENTF_LEFTUP);
    return Workstation::until([&] { return !from.capturing(); }) && begun;
}

// Drags to a position in another window, and waits up to 20 seconds for `effect` to return true.
// Makes up to three attempts, because a drop is sometimes ignored under Wine on a busy machine.
template <class Condition>
bool dragUntil(const Workstation& from, POINT end, Condition effect) {
    for (int i = 0; i < 3; ++i) {
        if (!drag(from, end)) return false;
        if (Workstation::until(effect)) return true;
    }
    return false;
}

// Repeats a call for up to 20 seconds while it fails because another program has the clipboard
// open.
template <class Call>
HRESULT whileBusy(Call call) {
    HRESULT hr = CLIPBRD_E_CANT_OPEN;
    Workstation::until([&] { return (hr = call()) != CLIPBRD_E_CANT_OPEN; });
    return hr;
}

// Fills a data object with `fill`, puts the object on the clipboard, and flushes the clipboard.
template <class Fill>
void putOnClipboard(Fill fill) {
    const testsupport::OleApartment apartment;
    ATL::CComPtr<IDataObject> object;
    REQUIRE(CDataObject::CreateInstance(&object) == S_OK);
    fill(*object);
    REQUIRE(whileBusy([&] { return OleSetClipboard(object); }) == S_OK);
    REQUIRE(whileBusy([] { return OleFlushClipboard(); }) == S_OK);
}

void putText(const std::wstring& text) {
    putOnClipboard([&text](IDataObject& object) {
        REQUIRE(CDataObject::SetCFUnicodeTextData(object, text.c_str(), -1) == S_OK);
    });
}

// Owns the clipboard and offers text with delayed rendering. A program that reads the text waits
// until this object is destroyed.
class StuckOwner {
public:
    StuckOwner() {
        m_thread = std::thread([this] { run(); });
        REQUIRE(WaitForSingleObject(m_owns, 20000) == WAIT_OBJECT_0);
    }
    ~StuckOwner() {
        SetEvent(m_end);
        m_thread.join();
        CloseHandle(m_owns);
        CloseHandle(m_end);
        CloseHandle(m_asked);
    }

    bool isAsked() const { return WaitForSingleObject(m_asked, 20000) == WAIT_OBJECT_0; }

private:
    static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        const auto* const owner =
            reinterpret_cast<const StuckOwner*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (message == WM_RENDERFORMAT && owner) {
            SetEvent(owner->m_asked);
            WaitForSingleObject(owner->m_end, INFINITE);
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }

    void run() const {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = onMessage;
        windowClass.lpszClassName = L"StuckOwner";
        RegisterClassW(&windowClass);
        const HWND window = CreateWindowW(L"StuckOwner", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE,
                                          nullptr, nullptr, nullptr);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        Workstation::until([&] { return OpenClipboard(window); });
        EmptyClipboard();
        SetClipboardData(CF_UNICODETEXT, nullptr);
        CloseClipboard();
        SetEvent(m_owns);
        while (MsgWaitForMultipleObjects(1, &m_end, FALSE, INFINITE, QS_ALLINPUT) !=
               WAIT_OBJECT_0) {
            MSG message{};
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
        }
        DestroyWindow(window);
    }

    HANDLE m_owns = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE m_end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE m_asked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread m_thread;
};

}  // namespace

TEST_CASE("workstation - choosing a culture immediately changes strings, page, labels and title") {
    const Workstation station(L"");
    const auto isGerman = [&] { return station.title() == L"de-DE - Arbeitsplatz"; };

    REQUIRE(station.pressIn(station.cultures(), 'D', 0, isGerman));

    CHECK(station.cell(station.strings(), 1, 1) == L"\u00d6ffnen");
    CHECK(station.cell(station.strings(), 1, 2) == L"charts_de-DE.dll");
    CHECK(Workstation::textOf(station.page()).substr(0, 9) == L"Diagramme");
    CHECK(Workstation::textOf(station.instrumentsLabel()).substr(0, 12) == L"&Instrumente");
    CHECK(station.cell(station.instruments(), 0, 4) == L"Beispiel");
}

TEST_CASE("workstation - each string is shown with the library that it was loaded from") {
    const Workstation station(L"--culture fr-CA");

    const HWND list = station.strings();

    CHECK(station.cell(list, 0, 2) == L"charts_fr-CA.dll");
    CHECK(station.cell(list, 5, 1) == L"Color");
    CHECK(station.cell(list, 5, 2) == L"charts_en-US.dll");
    CHECK(station.cell(list, 10, 2) == L"charts.dll");
}

TEST_CASE("workstation - the origin option shows the module and identifier before each string") {
    const Workstation station(L"");
    const auto showsOrigin = [&] { return station.title() == L"workstation.exe(1):Workstation"; };

    REQUIRE(station.pressIn(station.originSwitch(), VK_SPACE, 0, showsOrigin));

    CHECK(station.cell(station.strings(), 0, 1) == L"charts.dll(1):Charts");
}

TEST_CASE("workstation - the fallback option marks strings of the default culture") {
    const Workstation station(L"--culture fr-CA");
    const auto marks = [&] {
        return station.cell(station.strings(), 5, 1) ==
               L"\u65b9\u672c"
               L"Color\u6587\u65b9";
    };

    REQUIRE(station.pressIn(station.fallbackSwitch(), VK_SPACE, 0, marks));

    CHECK(station.cell(station.strings(), 0, 1) == L"Graphiques");
}

TEST_CASE(
    "workstation - a portfolio copied in one window is pasted in another with all its fields") {
    const Workstation from(L""), to(L"--empty");
    REQUIRE(selectAll(from));
    REQUIRE(copy(from));

    REQUIRE(paste(to));

    REQUIRE(to.holds(kExamples));
    CHECK(to.exported() == from.exported());
    CHECK(to.cell(to.instruments(), 0, 4) == L"Document");
}

TEST_CASE("workstation - copied instruments can be pasted after the program has ended") {
    {
        Workstation from(L"");
        REQUIRE(selectAll(from));
        REQUIRE(copy(from));
        REQUIRE(from.close() == 0);
    }
    const Workstation to(L"--empty");

    REQUIRE(paste(to));

    CHECK(to.holds(kExamples));
}

TEST_CASE("workstation - instruments dragged to another window are copied") {
    const Workstation from(L""), to(L"--empty");
    from.moveTo(0, 0, 900, 460);
    to.moveTo(0, 480, 900, 460);
    REQUIRE(selectAll(from));

    REQUIRE(dragUntil(from, to.firstRow(), [&] { return receives(to); }));

    REQUIRE(to.holds(kExamples));
    CHECK(to.exported() == from.exported());
}

TEST_CASE("workstation - instruments dragged within one window are not copied") {
    const Workstation station(L"");
    REQUIRE(selectAll(station));
    const POINT row = station.firstRow();

    REQUIRE(drag(station, {row.x, row.y + 60}));

    CHECK(station.holds(kExamples));
}

TEST_CASE("workstation - the formulas of a workbook are pasted as requests") {
    putOnClipboard([](IDataObject& object) {
        FormatXML4Spdsheet workbook;
        REQUIRE(workbook.addRow());
        REQUIRE(workbook.addCell(L"", L"EURTLR="));
        REQUIRE(workbook.addCell(L"=QkGet(\"FXFEED\",RC[-1],\"Bid\")", L""));
        REQUIRE(workbook.addCell(L"=QkGet(\"FXFEED\",RC[-2],\"Ask\")", L""));
        REQUIRE(FormatXML4Spdsheet::ExportData(object, workbook) == S_OK);
    });
    const Workstation station(L"--empty");

    REQUIRE(paste(station));

    REQUIRE(station.holds(1));
    CHECK(station.exported() == "EURTLR=\t\tFXFEED\tBid=?; Ask=?\r\n");
    CHECK(station.cell(station.instruments(), 0, 4) == L"Request");
}

TEST_CASE("workstation - a code is pasted with its type") {
    putOnClipboard([](IDataObject& object) {
        REQUIRE(FormatSym::ExportData(object, false, L"B", L"ORLO28.B") == S_OK);
    });
    const Workstation station(L"--empty");

    REQUIRE(paste(station));

    REQUIRE(station.holds(1));
    CHECK(station.exported() == "ORLO28.B\tB\t\t\r\n");
}

TEST_CASE("workstation - each line of plain text is pasted as a code") {
    putOnClipboard([](IDataObject& object) {
        REQUIRE(CDataObject::SetCFUnicodeTextData(object, L"A.X\tS\r\n\r\nB.X", -1) == S_OK);
    });
    const Workstation station(L"--empty");

    REQUIRE(paste(station));

    REQUIRE(station.holds(2));
    CHECK(station.exported() == "A.X\t\t\t\r\nB.X\t\t\t\r\n");
}

TEST_CASE("workstation - the exported workbook requests the fields in the window") {
    const Workstation from(L"");
    REQUIRE(selectAll(from));
    REQUIRE(copy(from));
    const testsupport::OleApartment apartment;
    ATL::CComPtr<IDataObject> object;
    REQUIRE(OleGetClipboard(&object) == S_OK);

    FormatXML4Spdsheet workbook;
    // The clipboard pane of the workstation may have the clipboard open, so the import is repeated
    // until it succeeds.
    REQUIRE(Workstation::until(
        [&] { return FormatXML4Spdsheet::ImportData(*object, workbook) == S_OK; }));
    REQUIRE(workbook.parseFormulas());

    REQUIRE(workbook.listOfFormulaArraysSize() == 1);
    const auto& records = workbook.listOfFormulaArraysGetAt(0)->records;
    REQUIRE(records.count({2, 2}) == 1);
    CHECK(records.at({2, 2}).sym == L"ALVEK.F");
    CHECK(records.at({2, 2}).feed == L"EUROFEED");
    CHECK(records.at({2, 2}).field == L"Last");
}

TEST_CASE("workstation - the window responds during a long read") {
    constexpr int kMany = 1500;
    putOnClipboard([](IDataObject& object) {
        std::wstring xml = L"<TarloData Version=\"1.0\"><Instruments>";
        for (int i = 0; i < kMany; ++i)
            xml += L"<Instrument><ItemCode>C" + std::to_wstring(i) +
                   L"</ItemCode><KeyLetter>S</KeyLetter></Instrument>";
        xml += L"</Instruments></TarloData>";
        REQUIRE(FormatXML::ExportData(object, xml.data()) == S_OK);
    });
    const Workstation station(L"--empty");
    REQUIRE(paste(station));
    CHECK(IsWindowVisible(station.progress()));

    bool responds = true;
    REQUIRE(Workstation::until([&] {
        responds =
            SendMessageTimeoutW(station.window(), WM_NULL, 0, 0, SMTO_NORMAL, 1000, nullptr) &&
            responds;
        return IsWindowEnabled(station.instruments());
    }));

    CHECK(responds);
    CHECK(station.holds(kMany));
    CHECK_FALSE(IsWindowVisible(station.progress()));
}

TEST_CASE("workstation - the clipboard pane follows each change") {
    putText(L"first\r\nsecond");
    const Workstation station(L"");
    REQUIRE(station.shows(L"first\r\nsecond"));
    CHECK(station.cell(station.formats(), 0, 1) == L"CF_UNICODETEXT");
    CHECK(station.cell(station.formats(), 0, 0) == L"13");

    putOnClipboard([](IDataObject& object) {
        REQUIRE(FormatSym::ExportData(object, false, L"B", L"ORLO28.B") == S_OK);
    });

    CHECK(station.shows(L"Code      Type\r\nORLO28.B  B"));
    CHECK(station.cell(station.formats(), 0, 1) == L"DALVO_RECORD_FORMAT");
}

TEST_CASE("workstation - the clipboard pane keeps the format that the user selected") {
    putText(L"five");
    const Workstation station(L"");
    REQUIRE(station.shows(L"five"));
    const int row = station.rowOf(L"CF_OEMTEXT");
    REQUIRE(row > 0);

    REQUIRE(station.focus(station.formats()));
    for (int i = 0; i < row; ++i) Workstation::press(VK_DOWN);

    CHECK(station.shows(L"00000000  66 69 76 65"));
    putText(L"nine");
    CHECK(station.shows(L"00000000  6e 69 6e 65"));
}

TEST_CASE("workstation - the clipboard pane shows the data that its own window copied") {
    putText(L"before");
    const Workstation station(L"");
    REQUIRE(station.shows(L"before"));

    REQUIRE(selectAll(station));
    REQUIRE(copy(station));

    CHECK(Workstation::until([&] { return station.rowOf(L"DALVO_XML_FORMAT") >= 0; }));
    CHECK(station.shows(L"ALVEK.F"));
}

TEST_CASE("workstation - the clipboard pane uses the language of the culture") {
    const Workstation station(L"--culture fr-CA");

    CHECK(Workstation::textOf(station.clipboardLabel()) == L"P&resse-papiers :");
}

TEST_CASE("workstation - the clipboard pane never changes the clipboard") {
    putText(L"unchanged");
    const DWORD before = GetClipboardSequenceNumber();

    const Workstation station(L"");
    REQUIRE(station.shows(L"unchanged"));

    CHECK(GetClipboardSequenceNumber() == before);
}

TEST_CASE("workstation - the window responds while another program delays its data") {
    putText(L"before");
    const Workstation station(L"");
    StuckOwner owner;
    REQUIRE(owner.isAsked());

    bool responds = true;
    REQUIRE(Workstation::until([&] {
        responds =
            SendMessageTimeoutW(station.window(), WM_NULL, 0, 0, SMTO_NORMAL, 1000, nullptr) &&
            responds;
        return Workstation::textOf(station.contents()) ==
               L"The program that copied this format has not delivered it within 5 seconds";
    }));

    CHECK(responds);
}

TEST_CASE("workstation - the program can be closed while another program delays its data") {
    putText(L"before");
    Workstation station(L"");
    StuckOwner owner;
    REQUIRE(owner.isAsked());

    CHECK(station.close() == 0);
}

TEST_CASE("workstation - a message box reports an invalid culture tag") {
    Workstation station(L"--culture fr_CA");

    CHECK(station.message() == L"fr_CA is not a culture tag: use one such as fr-CA");
    CHECK(station.close() == 2);
}

TEST_CASE("workstation - the Tab key moves through every control and back to the first one") {
    const Workstation station(L"");
    REQUIRE(station.focus(station.page()));

    CHECK(station.focus(station.instruments()));

    CHECK(station.focus(station.cultures()));
}
