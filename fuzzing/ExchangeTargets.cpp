// Fuzzer targets that test how data from other programs is read:
// - blocks that contain text, instrument codes, interface cookies or XML
// - data objects that return arbitrary results
// - media with objects whose AddRef and Release methods call the data object
#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <memory>
#include <string>

#include "clipboard/CDataObject.h"
#include "formats/FormatCSV.h"
#include "formats/FormatSym.h"
#include "fuzzing/Fuzzer.h"
#include "fuzzing/ReentrantMedia.h"
#include "fuzzing/Script.h"
#include "fuzzing/ScriptedDataObject.h"
#include "tests/support/Counting.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ImportHook.h"

namespace fuzz {

namespace {

// The contents of a fake global memory block. The block is not allocated on a heap, because an
// inaccessible page must follow it.
std::string_view g_block;

HGLOBAL blockHandle() { return const_cast<char*>(g_block.data()); }

decltype(&::GlobalLock) g_lock;
decltype(&::GlobalUnlock) g_unlock;
decltype(&::GlobalSize) g_size;

LPVOID WINAPI lockBlock(HGLOBAL block) { return block == blockHandle() ? block : g_lock(block); }
BOOL WINAPI unlockBlock(HGLOBAL block) { return block == blockHandle() ? FALSE : g_unlock(block); }
SIZE_T WINAPI sizeOfBlock(HGLOBAL block) {
    return block == blockHandle() ? g_block.size() : g_size(block);
}

template <class Function>
void redirect(const char* name, Function* replacement, Function*& original) {
    void* before = nullptr;
    require(testsupport::hookImport(::GetModuleHandleW(nullptr), name,
                                    reinterpret_cast<void*>(replacement), &before) > 0);
    original = reinterpret_cast<Function*>(before);
}

// A data object that returns the fake block for every format.
class BlockDataObject : public testsupport::ForeignDataObject {
public:
    explicit BlockDataObject(std::string_view block) {
        static const bool s_redirected = [] {
            redirect("GlobalLock", &lockBlock, g_lock);
            redirect("GlobalUnlock", &unlockBlock, g_unlock);
            redirect("GlobalSize", &sizeOfBlock, g_size);
            return true;
        }();
        require(s_redirected);
        g_block = block;
        onGetData = [this](const FORMATETC&, STGMEDIUM& medium) {
            medium.tymed = TYMED_HGLOBAL;
            medium.hGlobal = blockHandle();
            medium.pUnkForRelease = &m_owner;
            m_owner.AddRef();
            return S_OK;
        };
    }
    ~BlockDataObject() { require(m_owner.references() == 0); }

private:
    testsupport::CountingUnknown m_owner;
};

template <class Character>
void readText(const BlockDataObject& object) {
    Character* received = nullptr;
    unsigned __int64 length = 0;
    const HRESULT hr = CDataObject::QueryTextData(object, CF_TEXT, &received, &length);
    const std::unique_ptr<Character[]> text(received);
    require(hr == S_OK && length == g_block.size());
    require(text[length] == 0);
}

void textBlocks(const Input& input) {
    if (input.bytes().empty()) return;  // the system cannot lock an empty block
    BlockDataObject object(input.bytes());
    readText<char>(object);
    readText<wchar_t>(object);
    char* received = nullptr;
    OrvexClipboard::FormatCSV::ImportData(object, &received, nullptr);
    delete[] received;
}

void codeRecords(const Input& input) {
    if (input.bytes().empty()) return;
    BlockDataObject object(input.bytes());
    std::wstring type = L"?", code = L"?";
    const HRESULT hr = OrvexClipboard::FormatSym::ImportData(object, true, type, code);
    require(hr == S_OK ? type.size() <= 1 : type == L"?" && code == L"?");
    for (const wchar_t c : code) require(c >= L' ');
}

void cookies(const Input& input) {
    static testsupport::CountingUnknown s_unknown;
    static ATL::CComPtr<IDataObject> s_object;  // contains s_unknown
    if (!s_object) {
        require(CDataObject::CreateInstance(&s_object) == S_OK);
        require(CDataObject::SetIUnknownData(*s_object, CF_TEXT, s_unknown) == S_OK);
    }
    if (input.bytes().empty()) return;
    BlockDataObject object(input.bytes());
    ATL::CComPtr<IUnknown> received;
    const HRESULT hr = CDataObject::QueryIUnknownData(object, CF_TEXT, &received);
    require((hr == S_OK) == (received != nullptr));
    require(!received || received == &s_unknown);  // s_unknown is the only registered interface
}

// Reads the input as an XML document. QueryXML6AsUTF8Data and QueryXML6AsBSTRData are not tested.
void xmlBlocks(const Input& input) {
    static ATL::CComPtr<IDataObject> s_object;
    if (!s_object) require(CDataObject::CreateInstance(&s_object) == S_OK);
    const std::string_view bytes = input.bytes();
    const HGLOBAL block = ::GlobalAlloc(GHND, bytes.size());
    if (void* const data = ::GlobalLock(block)) {  // null for an empty block
        bytes.copy(static_cast<char*>(data), bytes.size());
        ::GlobalUnlock(block);
    }
    require(CDataObject::SetHGLOBALData(*s_object, CF_TEXT, block, TRUE) == S_OK);
    using Query = HRESULT (*)(const IDataObject&, unsigned long, IXMLDOMDocument2**);
    const Query queries[] = {&CDataObject::QueryXMLData, &CDataObject::QueryXML6Data,
                             &CDataObject::QueryXMLAsUTF8Data, &CDataObject::QueryXMLAsBSTRData};
    for (const Query query : queries) {
        ATL::CComPtr<IXMLDOMDocument2> document;
        const HRESULT hr = query(*s_object, CF_TEXT, &document);
        require((hr == S_OK) == (document != nullptr));
    }
}

// Reads each type of data from the data object: text, blocks, bitmaps, interfaces and, if
// `withDocuments` is true, XML documents.
void readObject(const IDataObject& object, bool withDocuments) {
    char* narrow = nullptr;
    require((CDataObject::QueryTextData(object, CF_TEXT, &narrow, nullptr) == S_OK) ==
            (narrow != nullptr));
    delete[] narrow;
    wchar_t* wide = nullptr;
    require((CDataObject::QueryTextData(object, CF_TEXT, &wide, nullptr) == S_OK) ==
            (wide != nullptr));
    delete[] wide;
    HGLOBAL block = nullptr;
    require((CDataObject::QueryHGLOBALData(object, CF_TEXT, &block) == S_OK) == (block != nullptr));
    if (block) ::GlobalFree(block);
    HBITMAP bitmap = nullptr;
    require((CDataObject::QueryHBITMAPData(object, CF_BITMAP, &bitmap) == S_OK) ==
            (bitmap != nullptr));
    if (bitmap) ::DeleteObject(bitmap);
    ATL::CComPtr<IUnknown> unknown;
    require((CDataObject::QueryIUnknownData(object, CF_TEXT, &unknown) == S_OK) ==
            (unknown != nullptr));
    require(CDataObject::GetDataCount(object) <= 20);
    if (!withDocuments) return;
    ATL::CComPtr<IXMLDOMDocument2> document, entries;
    require((CDataObject::QueryXMLData(object, CF_TEXT, &document) == S_OK) ==
            (document != nullptr));
    require((CDataObject::createXMLFromIDataObject(object, &entries) == S_OK) ==
            (entries != nullptr));
}

void scriptedObjects(const Input& input) {
    // Reading documents takes a hundred times as long as reading other data.
    constexpr unsigned kDocumentsInOneOf = 256;
    Script script(input.bytes());
    {
        ScriptedDataObject object(script, false);
        readObject(object, input.hash() % kDocumentsInOneOf == 0);
        CDataObject::SetCFTextData(object, "abc", -1);
        std::wstring type, code;
        OrvexClipboard::FormatSym::ImportData(object, false, type, code);
    }
    ScriptedDataObject source(script, true), target(script, true);
    ATL::CComPtr<IDataObject> ours;
    require(CDataObject::CreateInstance(&ours) == S_OK);
    for (unsigned short cf = 1; cf <= 3; ++cf) {
        CDataObject::CopyData(source, *ours, cf);
        CDataObject::CopyData(*ours, target, cf);
    }
    readObject(*ours, false);
}

void reentrantMedia(const Input& input) {
    Script script(input.bytes());
    ReentrantMedia(script).run();
}

}  // namespace

const Target kExchangeTargets[] = {{"text-blocks", textBlocks, 400, "\r\n \xe9"},
                                   {"code-records", codeRecords, 100, "n 1 a Z \t \r\n \xe9 \xdf"},
                                   {"cookies", cookies, 16, ""},
                                   {"xml-blocks", xmlBlocks, 600,
                                    "<a> </a> <b/> <?xml?> encoding='utf-16' 'UTF-8' 'latin1' "
                                    "<!DOCTYPE <!ENTITY &amp; &#x41; <![CDATA[ ]]> xmlns='u'"},
                                   {"scripted-objects", scriptedObjects, 200, "<a/> abc"},
                                   {"reentrant-media", reentrantMedia, 120, ""},
                                   {nullptr, nullptr, 0, nullptr}};

}  // namespace fuzz
