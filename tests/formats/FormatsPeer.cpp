// The peer process that FormatsExchangeTest.cpp starts. Its argument selects a task. The "offer"
// and "leave" tasks print a line when they are ready, and then run until the standard input ends.
#include <windows.h>

#include <ole2.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <thread>

#include "clipboard/CDataObject.h"
#include "dll/atl.h"
#include "formats/FormatCCFPersistData.h"
#include "formats/FormatObjectArchive.h"
#include "formats/FormatRTF.h"
#include "formats/FormatSym.h"
#include "tests/support/Documents.h"
#include "tests/support/OleApartment.h"

namespace {

using namespace OrvexClipboard;

void say(const std::string& line) { std::cout << line << std::endl; }

std::string shown(HRESULT hr) {
    char code[16];
    std::snprintf(code, sizeof code, "%08lX", static_cast<unsigned long>(hr));
    return code;
}

void serveUntilEndOfInput() {
    const HANDLE ended = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread reader([ended] {
        std::string line;
        while (std::getline(std::cin, line)) {
        }
        SetEvent(ended);
    });
    testsupport::pumpUntil(ended);
    reader.join();
    CloseHandle(ended);
}

// Puts data in several formats on the clipboard.
bool putOnClipboard() {
    ATL::CComPtr<IDataObject> object;
    return CDataObject::CreateInstance(&object) == S_OK &&
           FormatSym::ExportData(*object, false, L"X", L"PEER.CODE") == S_OK &&
           FormatRTF::ExportData(*object, "{\\rtf1 peer}", static_cast<unsigned __int64>(-1)) ==
               S_OK &&
           FormatCCFPersistData::ExportData(*object, ATL::CComBSTR(L"<peer>\u20AC</peer>").m_str) ==
               S_OK &&
           FormatObjectArchive::ExportData(*object, *testsupport::parse(L"<archive/>")) == S_OK &&
           OleSetClipboard(object) == S_OK;
}

// Puts a data object on the clipboard, and removes it when the standard input ends.
void offer() {
    say(putOnClipboard() ? "offered" : "refused");
    serveUntilEndOfInput();
    OleSetClipboard(nullptr);
}

// Puts data on the clipboard and flushes the clipboard, so that the data remains there after this
// process has ended.
void leave() {
    const bool left = putOnClipboard() && OleFlushClipboard() == S_OK;
    say(left ? "left" : "refused");
    serveUntilEndOfInput();
}

// Imports an instrument code and a document from the clipboard, and prints the results.
void printClipboard() {
    ATL::CComPtr<IDataObject> object;
    if (OleGetClipboard(&object) != S_OK) return say("no clipboard");
    std::wstring type, code;
    const HRESULT hrSym = FormatSym::ImportData(*object, true, type, code);
    say(shown(hrSym) + " " + std::string(type.begin(), type.end()) + " " +
        std::string(code.begin(), code.end()));
    testsupport::Document document;
    const HRESULT hrXml = FormatCCFPersistData::ImportXML6Data(*object, &document);
    const std::wstring structure = testsupport::structureOf(document);
    say(shown(hrXml) + " " + std::string(structure.begin(), structure.end()));
}

}  // namespace

int main(int argc, char** argv) {
    const testsupport::OleApartment ole;
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "offer") {
        offer();
    } else if (task == "leave") {
        leave();
    } else if (task == "print") {
        printClipboard();
    } else {
        return 64;
    }
    return 0;
}
