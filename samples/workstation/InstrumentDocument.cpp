#include "samples/workstation/InstrumentDocument.h"

using OrvexClipboard::FormatXML;

namespace {

/// Enumerates all children of a node in document order, regardless of their names, as the cursors
/// of FormatXML do.
class ChildCursor {
public:
    ChildCursor(IXMLDOMNode* from, const wchar_t* path) {
        if (from) from->selectSingleNode(ATL::CComBSTR(path), &m_parent);
    }

    /// Returns the next child, or null at the end. The returned pointer is valid until the next
    /// call.
    IXMLDOMNode* next() {
        ATL::CComPtr<IXMLDOMNode> following;
        if (m_child)
            m_child->get_nextSibling(&following);
        else if (m_parent)
            m_parent->get_firstChild(&following);
        m_child = following;
        return m_child;
    }

private:
    ATL::CComPtr<IXMLDOMNode> m_parent, m_child;
};

std::wstring textOf(IXMLDOMNode* node, const wchar_t* element) {
    ATL::CComPtr<IXMLDOMNode> child;
    ATL::CComBSTR value;
    if (!node || node->selectSingleNode(ATL::CComBSTR(element), &child) != S_OK ||
        child->get_text(&value) != S_OK)
        return {};
    return std::wstring(value, value.Length());
}

}  // namespace

bool writeDocument(const Instruments& instruments, FormatXML& document) {
    for (const Instrument& instrument : instruments) {
        if (!document.putInstrument(instrument.code, instrument.type, instrument.feed))
            return false;
        for (const Field& field : instrument.fields)
            if (!document.putField(field.name, field.id, field.value)) return false;
    }
    return true;
}

std::optional<Instruments> readDocument(IXMLDOMDocument2& source) {
    FormatXML document;
    if (!document.importFromXML(source)) return std::nullopt;

    // FormatXML has no getters for feeds and values, so this function reads them directly from the
    // document. The two ChildCursor objects move together with the cursors of FormatXML.
    ChildCursor nodes(&source, L"TarloData/Instruments");
    Instruments instruments;
    while (document.getInstrument()) {
        IXMLDOMNode* const node = nodes.next();
        Instrument instrument;
        instrument.source = Instrument::Source::kDocument;
        document.getInstrument_Keyletter(instrument.type);
        instrument.feed = textOf(node, L"Datafeed");
        ChildCursor fieldNodes(node, L"Fields");
        while (document.getField()) {
            Field field;
            document.getField_Name(field.name);
            document.getField_FID(field.id);
            field.value = textOf(fieldNodes.next(), L"Value");
            instrument.fields.push_back(field);
        }
        // A node without a code, for example a comment between instruments, is not an instrument.
        if (document.getInstrument_ItemCode(instrument.code))
            instruments.push_back(std::move(instrument));
    }
    return instruments;
}
