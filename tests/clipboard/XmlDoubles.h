#pragma once
// Test doubles for documents and data objects, and a table of the functions that read XML payloads.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "clipboard/CDataObject.h"
#include "tests/support/DataObjects.h"
#include "tests/support/Documents.h"
#include "tests/support/ForeignDataObject.h"
#include "tests/support/ScriptedClass.h"
#include "tests/support/ScriptedDom.h"
#include "tests/support/ScriptedStream.h"

namespace testsupport {

// A document that implements IStream.
struct StreamingDocument : ScriptedDocument {
    explicit StreamingDocument(std::string contents) : stream(std::move(contents)) {
        onQueryInterface = [this](REFIID iid, void** object) {
            return iid == IID_IStream ? stream.QueryInterface(iid, object) : E_NOINTERFACE;
        };
    }
    ScriptedStream stream;
};

// A ForeignDataObject whose SetData stores its arguments and returns `result`.
struct Receiver : ForeignDataObject {
    explicit Receiver(HRESULT result = S_OK) {
        onSetData = [this, result](const FORMATETC& given, STGMEDIUM& medium, bool released) {
            format = given;
            tymed = medium.tymed;
            hasOwner = medium.pUnkForRelease != nullptr;
            takesOver = released;
            ++calls;
            if (medium.tymed == TYMED_HGLOBAL) {
                block = bytesOf(medium.hGlobal);
                flags = GlobalFlags(medium.hGlobal);
            }
            if (medium.tymed == TYMED_ISTREAM) stream = medium.pstm;
            if (SUCCEEDED(result)) ReleaseStgMedium(&medium);
            return result;
        };
    }
    FORMATETC format{};
    DWORD tymed = 0;
    bool hasOwner = true, takesOver = false;
    int calls = 0;
    std::string block;
    UINT flags = 0;
    IStream* stream = nullptr;  // only compared, never dereferenced
};

// A data object that returns the same medium for every clipboard format. `owner` is the
// pUnkForRelease of the medium. If `ignoresType` is true, GetData ignores the requested storage
// medium types. Otherwise, GetData fails if the requested types do not include the type of the
// medium.
struct Source : ForeignDataObject {
    Source(DWORD tymed, void* handle, bool ignoresType = false) {
        onGetData = [=, this](const FORMATETC& format, STGMEDIUM& medium) {
            requests.emplace_back(format.cfFormat, static_cast<int>(format.tymed));
            if (!ignoresType && !(format.tymed & tymed)) return DV_E_TYMED;
            medium = mediumOf(tymed, handle, &owner);
            owner.AddRef();
            if (tymed == TYMED_ISTREAM && handle) static_cast<IStream*>(handle)->AddRef();
            return S_OK;
        };
    }
    CountingUnknown owner;
    std::vector<std::pair<int, int>> requests;
};

// Owns a global memory block that a Source returns.
class Block {
public:
    explicit Block(std::string_view bytes) : m_block(newBlock(bytes)) {}
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { GlobalFree(m_block); }
    HGLOBAL get() const { return m_block; }

private:
    HGLOBAL m_block;
};

enum class Kind { stream, utf8, wide };

struct Reader {
    std::string name;
    HRESULT (*query)(const IDataObject&, unsigned long, IXMLDOMDocument2**);
    Kind kind;
    const CLSID& documentClass;

    // Stores the XML in the form that this reader expects.
    HRESULT store(IDataObject& object, const std::wstring& xml) const {
        if (kind == Kind::wide)
            return CDataObject::SetTextData(object, kPrivateFormat, xml.c_str(), -1);
        const std::string narrow(xml.begin(), xml.end());
        if (kind == Kind::utf8)
            return CDataObject::SetTextData(object, kPrivateFormat, narrow.c_str(), -1);
        return setBlock(object, kPrivateFormat, narrow);
    }
};

inline const Reader kReaders[] = {
    {"QueryXMLData", &CDataObject::QueryXMLData, Kind::stream, kDocument30},
    {"QueryXML6Data", &CDataObject::QueryXML6Data, Kind::stream, kDocument60},
    {"QueryXMLAsUTF8Data", &CDataObject::QueryXMLAsUTF8Data, Kind::utf8, kDocument30},
    {"QueryXML6AsUTF8Data", &CDataObject::QueryXML6AsUTF8Data, Kind::utf8, kDocument60},
    {"QueryXMLAsBSTRData", &CDataObject::QueryXMLAsBSTRData, Kind::wide, kDocument30},
    {"QueryXML6AsBSTRData", &CDataObject::QueryXML6AsBSTRData, Kind::wide, kDocument60},
};

// Calls the reader, and returns the result and the structure of the returned document.
inline std::pair<HRESULT, std::wstring> read(const Reader& reader, const IDataObject& object) {
    Document document;
    const HRESULT hr = reader.query(object, kPrivateFormat, &document);
    return {hr, structureOf(document)};
}

// Replaces a document class. Each call to CoCreateInstance returns the same scripted document.
// `log` records the creation of the document, the properties that are set, and the load calls. The
// load functions accept any text.
struct CallRecorder {
    explicit CallRecorder(REFCLSID documentClass)
        : scripted(documentClass, [this](REFIID iid, void** object) {
              log.push_back("create");
              return document.QueryInterface(iid, object);
          }) {
        document.onSetProperty = [this](const std::wstring& name, const VARIANT& value) {
            const std::wstring text = value.vt == VT_BSTR ? contentsOf(value.bstrVal) : L"?";
            log.push_back(narrowed(name) + "=" + narrowed(text));
            return S_OK;
        };
        document.onLoad = [this](const VARIANT& source, VARIANT_BOOL* successful) {
            log.push_back(source.vt == VT_UNKNOWN ? "load" : "load of something else");
            *successful = VARIANT_TRUE;
            return S_OK;
        };
        document.onLoadXml = [this](const std::wstring& text, VARIANT_BOOL* successful) {
            log.push_back("loadXML " + narrowed(text));
            *successful = VARIANT_TRUE;
            return S_OK;
        };
    }
    static std::string narrowed(const std::wstring& text) { return {text.begin(), text.end()}; }

    std::vector<std::string> log;
    ScriptedDocument document;
    ScriptedClass scripted;
};

}  // namespace testsupport
