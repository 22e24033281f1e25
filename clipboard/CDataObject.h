#pragma once
/// @file
/// The data object for clipboard and drag-and-drop exchange, and the functions that store typed
/// payloads in any data object and read them.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <list>

#include "dll/atl.h"
#include "dll/export.h"

class CDataObjectEntry;

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the entry list is private: clients never touch it
#pragma warning(disable : 4275)  // the base is a COM interface, which has no code to export
#endif

/// An OLE data object that stores (format, medium) pairs in the order in which they were set. The
/// payload functions are static members and work on every `IDataObject`, including foreign ones.
///
/// Create an object with `CreateInstance`; the last `Release` destroys it. The object returns
/// exactly what was stored: it renders nothing on demand, converts nothing, supports no target
/// devices and sends no notifications of changes.
///
/// Threads: reference counts are interlocked; the list of entries has no lock. Fill an object on
/// one thread, then publish it.
///
/// Re-entrancy: media, their owners and sinks may call the object while it copies, replaces or
/// releases them, even while the object is destroyed. During its destruction the object has the
/// entries that are not yet released. A reference that is taken then must be released before that
/// call returns.
///
/// All payload functions:
/// - Only the low 16 bits of a clipboard format number `cf` are used.
/// - A Set function that fails frees the blocks that it allocated. The caller still owns the
///   handles that it passed.
/// - A Query function always releases the medium that it received, and returns a failure of the
///   object's `GetData` unchanged.
/// - They throw only when memory runs out: `std::bad_alloc`, and where noted `_com_error` with
///   E_OUTOFMEMORY.
class I18NRESOURCE_API CDataObject : public IDataObject {
public:
    /// Creates an empty data object.
    ///
    /// @param[out] ppDataObject  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL when memory runs out.
    static HRESULT CreateInstance(IDataObject** ppDataObject);

    // IUnknown

    /// @return S_OK for IUnknown and IDataObject, both with the same pointer; E_NOINTERFACE with a
    ///         null `*ppv` for others; E_INVALIDARG for a null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IDataObject

    /// Returns a copy of the medium of the first entry that matches. The caller frees the copy with
    /// `ReleaseStgMedium`.
    ///
    /// - Blocks, metafile pictures and GDI objects are duplicated by `OleDuplicateData` for the
    ///   clipboard format of the entry. If the system cannot duplicate it, the copy has no handle.
    /// - Streams and storages are shared.
    /// - The copy of a file medium is a copy of the name. Releasing a file medium that has no
    ///   `pUnkForRelease` deletes the file: after the first receiver has released its copy, neither
    ///   the entry nor a later receiver finds the file. Store a file with an owner to keep it.
    /// - A `pUnkForRelease` is shared, and `ReleaseStgMedium` then frees no block. The duplicate of
    ///   a block with an owner therefore stays allocated unless the owner frees it. The owners that
    ///   `SetIUnknownData` creates share their block instead.
    ///
    /// An entry matches if the clipboard formats are equal and the storage types have a common bit.
    /// An entry that was stored without DVASPECT_CONTENT never matches. The requested aspect is
    /// ignored.
    ///
    /// @param[out] pmedium  Empty on failure.
    /// @return S_OK; DV_E_FORMATETC for a null `pformatetc`; E_INVALIDARG for a null `pmedium`;
    ///         DV_E_LINDEX for an index other than -1; DV_E_DVTARGETDEVICE for a target device;
    ///         DV_E_CLIPFORMAT if no entry matches, whichever part differs; E_OUTOFMEMORY.
    STDMETHODIMP GetData(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return E_NOTIMPL.
    STDMETHODIMP GetDataHere(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return S_OK if an entry matches the format; otherwise the failure that `GetData` returns.
    STDMETHODIMP QueryGetData(FORMATETC* pformatetc) override;
    /// Every format is its own canonical form. Nothing is written to `pformatetcOut`.
    ///
    /// @return DATA_S_SAMEFORMATETC; E_INVALIDARG for a null `pformatetcOut`.
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* pformatetcIn, FORMATETC* pformatetcOut) override;
    /// Stores a medium. It replaces the first entry that matches the format, in the same place;
    /// otherwise it becomes the last entry.
    ///
    /// A format with a target device matches no entry, so it always becomes the last one. Requests
    /// without a target device find it like any other. The object stores the pointer to the
    /// DVTARGETDEVICE, not a copy: the caller must keep the structure alive as long as the object.
    ///
    /// @param fRelease  Not FALSE: the object takes ownership of the medium. FALSE: the object
    ///                  stores a duplicate, as `GetData` makes them, and the caller still owns the
    ///                  medium. When the object releases the duplicate of a file medium without an
    ///                  owner, the caller's file is deleted.
    /// @return S_OK; E_POINTER for a null argument or a medium without a handle; DV_E_LINDEX for an
    ///         index other than -1; DV_E_TYMED unless format and medium name the same storage type;
    ///         E_UNEXPECTED while the object is destroyed; E_OUTOFMEMORY. On failure the object is
    ///         unchanged and the caller still owns the medium.
    /// @throws std::bad_alloc if the list cannot grow, with nothing changed.
    STDMETHODIMP SetData(FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease) override;
    /// Creates an enumerator of the present formats. Later changes of the object do not affect it.
    ///
    /// @param[out] ppenum  Null on failure.
    /// @return S_OK; E_NOTIMPL for a direction other than DATADIR_GET; E_INVALIDARG for a null
    ///         `ppenum`; E_OUTOFMEMORY.
    STDMETHODIMP EnumFormatEtc(DWORD dwDirection, IEnumFORMATETC** ppenum) override;
    /// Connects a sink through the system's advise holder. The object sends no notifications of
    /// changes. A sink that is connected with ADVF_PRIMEFIRST gets the initial notification that
    /// the holder sends.
    ///
    /// @return the holder's result, also for a null `pAdvSink`; DV_E_FORMATETC for a format that
    ///         `QueryGetData` refuses.
    STDMETHODIMP DAdvise(FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink,
                         DWORD* pdwConnection) override;
    /// @return the holder's result; E_FAIL before the first `DAdvise`.
    STDMETHODIMP DUnadvise(DWORD dwConnection) override;
    /// @return the holder's result; E_FAIL before the first `DAdvise`.
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA** ppenumAdvise) override;

    CDataObject(const CDataObject&) = delete;
    CDataObject& operator=(const CDataObject&) = delete;

    // Formats of the payloads: no target device, DVASPECT_CONTENT, index -1

    static FORMATETC formatHGlobal(unsigned long cf);
    static FORMATETC formatIStream(unsigned long cf);
    static FORMATETC formatGdi(unsigned long cf);

    // Presence: each returns the result of the object's `QueryGetData`; S_OK means present

    static HRESULT AcceptTextData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHGLOBALData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHDIBData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHBITMAPData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptIUnknownData(IDataObject& obj, unsigned long cf);
    /// Queries for a stream and, unless that returns S_OK, for a global block.
    static HRESULT AcceptXMLData(IDataObject& obj, unsigned long cf);

    // Text

    /// Stores narrow text in a global block that has the size of the text and its NUL.
    ///
    /// @param text  At least `len` bytes.
    /// @param len   Number of bytes to store, without the terminator. Negative: up to the
    ///              terminating NUL.
    /// @return the object's `SetData` result; E_POINTER for a null `text`; E_OUTOFMEMORY.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const char* text, int len);
    /// The same for wide text; `len` counts characters. The block has eight bytes for each
    /// character and for the NUL. The text fills its first quarter; the rest is zero.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const wchar_t* text, int len);
    /// Stores text as CF_TEXT and, converted to wide text, as CF_UNICODETEXT. The converted text
    /// ends at the first NUL.
    ///
    /// @param text  In the system's ANSI code page.
    /// @return the result of the first `SetData` that fails, otherwise of the last.
    static HRESULT SetCFTextData(IDataObject& obj, const char* text, int len);
    /// Stores text as CF_UNICODETEXT and, converted to the system's ANSI code page, as CF_TEXT. The
    /// converted text ends at the first NUL.
    static HRESULT SetCFUnicodeTextData(IDataObject& obj, const wchar_t* text, int len);
    /// Reads narrow text from a global block. The block need not contain a NUL.
    ///
    /// @param[out] text  New array: the bytes of the block, then a NUL. The caller frees it with
    ///                   delete[]. Null on failure.
    /// @param[out] len   Optional. Size of the block in bytes: the terminator and whatever follows
    ///                   it count. Untouched on failure.
    /// @return S_OK; E_POINTER for a null `text`; E_INVALIDARG if the medium has another storage
    ///         type or its block cannot be locked; otherwise the failure of `GetData`.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, char** text,
                                 unsigned __int64* len);
    /// The same for wide text. `len` is the size of the block in bytes here, too. The array has
    /// `len` + 1 characters: the block at its start, then zeros.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, wchar_t** text,
                                 unsigned __int64* len);

    // Memory blocks, device-independent bitmaps and bitmaps

    /// Stores a global block.
    ///
    /// @param fRelease  Passed to the object's `SetData`: not FALSE, and the object takes ownership
    ///                  of the block; FALSE, and it stores a duplicate.
    /// @return the object's `SetData` result; E_INVALIDARG for a null handle.
    static HRESULT SetHGLOBALData(IDataObject& obj, unsigned long cf, void* hGlobal, int fRelease);
    /// Returns a duplicate of a stored block. The caller frees it with `GlobalFree`, or as the
    /// format of a GDI object requires.
    ///
    /// @param[out] hGlobal  Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG if the medium has another storage
    ///         type or its block cannot be duplicated; otherwise the failure of `GetData`.
    static HRESULT QueryHGLOBALData(const IDataObject& obj, unsigned long cf, void** hGlobal);
    /// `SetHGLOBALData` for a block that contains a device-independent bitmap.
    static HRESULT SetHDIBData(IDataObject& obj, unsigned long cf, void* hDib, int fRelease);
    /// `QueryHGLOBALData` for a block that contains a device-independent bitmap.
    static HRESULT QueryHDIBData(const IDataObject& obj, unsigned long cf, void** hDib);
    /// Stores a bitmap as a GDI object. Use only the format CF_BITMAP: the system does not
    /// duplicate a bitmap under another format, and `CDataObject::GetData` would return a medium
    /// without a handle.
    ///
    /// @return the object's `SetData` result; E_INVALIDARG for a null bitmap.
    static HRESULT SetHBITMAPData(IDataObject& obj, unsigned long cf, HBITMAP hbm, int fRelease);
    /// Returns a copy of a stored bitmap. The caller frees it with `DeleteObject`.
    ///
    /// @param[out] hbm  Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG if the medium has another storage
    ///         type or its bitmap cannot be copied; otherwise the failure of `GetData`.
    static HRESULT QueryHBITMAPData(const IDataObject& obj, unsigned long cf, HBITMAP* hbm);

    // Interfaces

    /// Stores an interface for all apartments of this process. The interface is registered in the
    /// Global Interface Table, and the payload is the cookie of that registration. The registration
    /// keeps a reference to `unk` until the last copy of the stored medium is released.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; the failure to create the table, for
    ///         example on a thread that has not initialized COM, or to register the interface.
    static HRESULT SetIUnknownData(IDataObject& obj, unsigned long cf, const IUnknown& unk);
    /// Reads an interface that was stored in this process, for use in the calling apartment.
    ///
    /// The data object must come from this process. The payload is a number of four bytes, and
    /// nothing proves where it comes from. A block from another process, or a forged one, can
    /// contain the number of any interface that some code of this process has registered in the
    /// Global Interface Table, and the caller then gets that interface.
    ///
    /// @param[out] ppUnk  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL before the first `SetIUnknownData` of
    ///         this process; E_INVALIDARG if the medium has another storage type or its block is
    ///         too small for a cookie; otherwise the failure of `GetData` or of the table.
    static HRESULT QueryIUnknownData(const IDataObject& obj, unsigned long cf, IUnknown** ppUnk);

    // XML documents

    /// Stores the stream of a document: the text that the document itself writes.
    ///
    /// @return the object's `SetData` result; the document's failure to return its stream.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, const IXMLDOMDocument2& doc);
    /// Stores the stream of a document, or the contents of that stream in a global block.
    ///
    /// @param tymed  TYMED_ISTREAM or TYMED_HGLOBAL.
    /// @return the object's `SetData` result; E_INVALIDARG for another `tymed`; E_OUTOFMEMORY if no
    ///         block of the stream's size can be allocated, and for an empty stream or one of 4 GiB
    ///         or more; a failure of the document or its stream.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, unsigned long tymed,
                              const IXMLDOMDocument2& doc);
    /// Stores the `xml` text of a document as narrow text in UTF-8, see `SetTextData`.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; a failure of the document.
    static HRESULT SetXMLAsUTF8Data(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);
    /// Stores the `xml` text of a document as wide text, see `SetTextData`.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; a failure of the document.
    static HRESULT SetXMLAsBSTRData(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);

    /// Reads a document of the 3.0 class from a stream or, if the object has none, from a global
    /// block. The selection language of the document is XPath.
    ///
    /// This function and the following ones treat the text as untrusted: the parser resolves no
    /// external references and does not validate. Where the parser has these limits, a document
    /// type declaration and elements nested more than 256 deep are not well-formed. At most 1 GB is
    /// read from a stream.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG if the medium is neither a stream
    ///         nor a block; E_FAIL for text that is not well-formed, for a stream that
    ///         cannot be read and for one above 1 GB; otherwise the failure of `GetData`, of the
    ///         stream's `Seek` or of the document's creation.
    /// @throws _com_error with E_OUTOFMEMORY.
    static HRESULT QueryXMLData(const IDataObject& obj, unsigned long cf, IXMLDOMDocument2** ppDoc);
    /// `QueryXMLData` for a document of the 6.0 class.
    static HRESULT QueryXML6Data(const IDataObject& obj, unsigned long cf,
                                 IXMLDOMDocument2** ppDoc);
    /// Reads a document of the 3.0 class from narrow text in UTF-8, up to its first NUL. The
    /// selection language of the document is the default of its class.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL for text that is not well-formed;
    ///         otherwise the failure of `QueryTextData` or of the document's creation.
    /// @throws _com_error with E_OUTOFMEMORY.
    static HRESULT QueryXMLAsUTF8Data(const IDataObject& obj, unsigned long cf,
                                      IXMLDOMDocument2** ppDoc);
    /// `QueryXMLAsUTF8Data` for a document of the 6.0 class.
    static HRESULT QueryXML6AsUTF8Data(const IDataObject& obj, unsigned long cf,
                                       IXMLDOMDocument2** ppDoc);
    /// `QueryXMLAsUTF8Data` for wide text.
    static HRESULT QueryXMLAsBSTRData(const IDataObject& obj, unsigned long cf,
                                      IXMLDOMDocument2** ppDoc);
    /// `QueryXMLAsUTF8Data` for wide text and a document of the 6.0 class.
    static HRESULT QueryXML6AsBSTRData(const IDataObject& obj, unsigned long cf,
                                       IXMLDOMDocument2** ppDoc);

    /// Creates a document of the 3.0 class that lists the plain text of a data object. The document
    /// element is `Entries`. It has one `Entry` for CF_UNICODETEXT and one for CF_TEXT, if the
    /// object has them, each with the elements `Name` and `Value`. A value ends at the first NUL.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK, even if the object has no text; E_POINTER for a null argument; E_FAIL if the
    ///         element `Entries` cannot be created; otherwise the failure of the document's
    ///         creation.
    /// @throws _com_error with E_OUTOFMEMORY.
    static HRESULT createXMLFromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);
    /// `createXMLFromIDataObject` for a document of the 6.0 class.
    static HRESULT createXML6FromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);

    // Whole data objects

    /// Returns the number of formats that an object enumerates; 0 if it has no enumerator. The
    /// count stops at 458,752 formats, which is every format number with every storage type, so
    /// that an enumerator without an end is not read for ever.
    static int GetDataCount(const IDataObject& obj);
    /// Copies the first format of `source` that has the number `cf` to `target`, which stores a
    /// duplicate. A file without an owner is deleted, see `GetData`.
    ///
    /// @return the `SetData` result of `target`; DV_E_CLIPFORMAT if `source` does not enumerate
    ///         `cf`; the failure of `EnumFormatEtc` or `GetData` of `source`.
    static HRESULT CopyData(IDataObject& source, IDataObject& target, unsigned short cf);

    // Copy processes and the end

    /// Begins a copy process: this thread builds and publishes clipboard data. Calls nest. A copy
    /// process begins even if another process owns the mutex.
    static void BeginCopyProcess();
    /// Ends the copy process that the matching `BeginCopyProcess` began on this thread.
    static void EndCopyProcess();
    /// Waits until the copy process has ended. While this process has no copy process, the function
    /// returns true at once, even if another process has one.
    ///
    /// @param timeoutMs  Milliseconds; INFINITE waits without limit.
    /// @return true if there is no copy process or only one of the calling thread; false after the
    ///         time-out, or if a thread ended during its copy process.
    static bool WaitForCopyProcessEnding(unsigned long timeoutMs);
    /// Shuts down the data exchange: calls `OleFlushClipboard`, so that the clipboard keeps the data
    /// of this process after its end, and releases the Global Interface Table. Call it once, at the
    /// end: afterwards no interface payload may be stored, read or released.
    ///
    /// @return 1 if the clipboard was flushed and no reference to the table is left, otherwise 0.
    static HRESULT Term();

    /// The mutex of the copy processes; INVALID_HANDLE_VALUE while this process has none.
    static HANDLE hMutexClipboardCopy;
    /// The number of copy processes of this process that have not ended.
    static LONG s_lMutexRefCount;
    /// The Global Interface Table of this process; null until the first `SetIUnknownData`. `Term`
    /// does not change the pointer.
    static IGlobalInterfaceTable* m_pIglobalInterfaceTable;

protected:
    CDataObject();
    virtual ~CDataObject();

private:
    using EntryList = std::list<ATL::CComPtr<CDataObjectEntry>>;

    HRESULT findEntry(const FORMATETC& format, EntryList::iterator& position);

    static HRESULT acceptHGlobal(IDataObject& obj, unsigned long cf);
    static HRESULT acceptIStream(IDataObject& obj, unsigned long cf);
    static HRESULT acceptGdi(IDataObject& obj, unsigned long cf);

    static HRESULT SetXMLAsTextData(IDataObject& obj, unsigned long cf, bool utf8,
                                    const IXMLDOMDocument2& doc);
    static HRESULT QueryXMLData(const IDataObject& obj, unsigned long cf, const GUID& clsid,
                                IXMLDOMDocument2** ppDoc);
    static HRESULT QueryXMLAsTextData(const IDataObject& obj, unsigned long cf, bool utf8,
                                      const GUID& clsid, IXMLDOMDocument2** ppDoc);
    static HRESULT createXMLFromIDataObject(const IDataObject& obj, const GUID& clsid,
                                            IXMLDOMDocument2** ppDoc);
    static HRESULT addChildtoNode(IXMLDOMDocument2* doc, IXMLDOMNode* parent, wchar_t* name,
                                  wchar_t* text, IXMLDOMNode** child);

    LONG m_references = 1;  // the creator's
    ATL::CComPtr<IDataAdviseHolder> m_adviseHolder;
    EntryList m_entries;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
