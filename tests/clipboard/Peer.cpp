// The peer process that the clipboard tests start. Its argument selects a task. The "copy", "offer"
// and "leave" tasks print a line when they are ready, and then run until the standard input ends.
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

// Dispatches calls from other processes until the standard input ends.
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

// Prints "plain" if the library's clipboard variables have their initial values; otherwise prints
// "set up".
void printInitialState() {
    const bool plain = CDataObject::hMutexClipboardCopy == INVALID_HANDLE_VALUE &&
                       CDataObject::s_lMutexRefCount == 0 &&
                       CDataObject::m_pIglobalInterfaceTable == nullptr;
    say(plain ? "plain" : "set up");
}

// Calls BeginCopyProcess, and calls EndCopyProcess when the standard input ends.
void copyUntilEndOfInput() {
    CDataObject::BeginCopyProcess();
    say("begun");
    waitForEndOfInput();
    CDataObject::EndCopyProcess();
}

// Puts a data object with text on the clipboard, and removes it when the standard input ends.
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

// Puts text on the clipboard and flushes the clipboard, so that the text remains there after this
// process has ended.
void leaveText() {
    const testsupport::OleApartment ole;
    ATL::CComPtr<IDataObject> object;
    CDataObject::CreateInstance(&object);
    CDataObject::SetCFUnicodeTextData(*object, L"remaining", -1);
    OleSetClipboard(object);
    say(CDataObject::Term() == 1 ? "flushed" : "not flushed");
    waitForEndOfInput();
}

// Prints the contents of the clipboard: the narrow text, the text in the shared format, and the
// result of reading an interface.
void printClipboard() {
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
        printInitialState();
    } else if (task == "copy") {
        copyUntilEndOfInput();
    } else if (task == "offer") {
        offerText();
    } else if (task == "leave") {
        leaveText();
    } else if (task == "print") {
        printClipboard();
    } else {
        return 64;
    }
    return 0;
}
