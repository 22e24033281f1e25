// The other process of the clipboard tests. It does what its argument says, tells in lines on its
// output how far it is, and ends when its input does.
#include <windows.h>

#include <ole2.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "tests/support/OleApartment.h"

namespace {

void say(const std::string& line) { std::cout << line << std::endl; }

void waitForEndOfInput() {
    std::string line;
    while (std::getline(std::cin, line)) {
    }
}

// Serves other processes until the input ends.
void serveUntilEndOfInput() {
    const HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread reader([ended] {
        waitForEndOfInput();
        SetEvent(ended);
    });
    testsupport::pumpUntil(ended);
    reader.join();
    CloseHandle(ended);
}

CLIPFORMAT sharedFormat() {
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"I18nResource test format"));
}

// Tells whether the library starts without any clipboard state.
void tellInitialState() {
    const bool plain = CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE &&
                       CDataObject::s_lMutexRefCount == 0 &&
                       CDataObject::m_pIglobalInterfaceTable == nullptr;
    say(plain ? "plain" : "set up");
}

// Runs a copy process until the input ends.
void copyUntilEndOfInput() {
    CDataObject::BeginCopyProcess();
    say("begun");
    waitForEndOfInput();
    CDataObject::EndCopyProcess();
}

// Offers text on the clipboard and serves it as long as this process lives.
void offerText() {
    const testsupport::OleApartment ole;
    ATL::CComPtr<IDataObject> object;
    CDataObject::CreateInstance(&object);
    CDataObject::SetCFUnicodeTextData(*object, L"from the peer \u20AC", -1);
    CDataObject::SetTextData(*object, sharedFormat(), "private", -1);
    say(OleSetClipboard(object) == S_OK ? "offered" : "refused");
    serveUntilEndOfInput();
    OleSetClipboard(nullptr);
}

// Offers text and ends, leaving the text on the clipboard.
void leaveText() {
    const testsupport::OleApartment ole;
    ATL::CComPtr<IDataObject> object;
    CDataObject::CreateInstance(&object);
    CDataObject::SetCFUnicodeTextData(*object, L"left behind", -1);
    OleSetClipboard(object);
    say(CDataObject::Term() == 1 ? "flushed" : "not flushed");
    waitForEndOfInput();
}

// Tells what the clipboard holds: narrow text, the text under the shared format, and how an attempt
// to read an interface there ends.
void tellClipboard() {
    const testsupport::OleApartment ole;
    ATL::CComPtr<IDataObject> object;
    if (OleGetClipboard(&object) != S_OK) return say("no clipboard");
    for (const unsigned long cf :
         {static_cast<unsigned long>(CF_TEXT), static_cast<unsigned long>(sharedFormat())}) {
        char* text = nullptr;
        CDataObject::QueryTextData(*object, cf, &text, nullptr);
        const std::unique_ptr<char[]> owner(text);
        say(text ? std::string("text ") + text : "nothing");
    }
    ATL::CComPtr<IUnknown> unknown;
    const HRESULT hr = CDataObject::QueryIUnknownData(*object, sharedFormat(), &unknown);
    char code[16];
    std::snprintf(code, sizeof code, "%08lX", static_cast<unsigned long>(hr));
    say(code);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "initial-state") {
        tellInitialState();
    } else if (task == "copy") {
        copyUntilEndOfInput();
    } else if (task == "offer") {
        offerText();
    } else if (task == "leave") {
        leaveText();
    } else if (task == "tell") {
        tellClipboard();
    } else {
        return 64;
    }
    return 0;
}
