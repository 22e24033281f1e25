#pragma once
/// @file
/// The data object of clipboard and drag-and-drop exchange, and the functions that put typed
/// payloads on any data object and take them off again.

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

/// An OLE data object that keeps (format, medium) pairs in the order in which they were set, and
/// the home of the payload functions, which are static and work on every `IDataObject`, ours or
/// foreign.
///
/// An object is made by `CreateInstance` and dies with its last `Release`. It answers with exactly
/// what was stored: nothing is rendered on demand, nothing is converted, target devices are not
/// supported and changes are not announced.
///
/// Threads: reference counts are interlocked; the list of entries has no lock. Fill an object on
/// one thread, then publish it.
///
/// Calls back: media, their owners and sinks may call the object while it copies, replaces or
/// releases them, also while it is destroyed. It then has the entries that are not yet released,
/// and a reference that is taken during the destruction must be released before the call returns.
///
/// Terms shared by all payload functions:
/// - `cf` is a clipboard format number, of which the low 16 bits count.
/// - A Set function that fails has changed nothing it was given: blocks that it made are freed, and
///   a handle that the caller passed still belongs to the caller.
/// - A Query function gives back the medium that it got on every path, and passes the failures of
///   the object's `GetData` through unchanged.
/// - They throw `std::bad_alloc` or, where noted, `_com_error` with E_OUTOFMEMORY, and only when
///   memory runs out.
class I18NRESOURCE_API CDataObject : public IDataObject {
public:
    /// Makes an empty data object, on which the caller owns the one reference.
    ///
    /// @param[out] ppDataObject  Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL when memory runs out.
    static HRESULT CreateInstance(IDataObject** ppDataObject);

    // IUnknown

    /// @return S_OK for IUnknown and IDataObject, both with the same pointer; E_NOINTERFACE with a
    ///         null `*ppv` for others; E_INVALIDARG for a null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IDataObject

    /// Hands out a copy of the medium of the first entry that matches. The caller frees the copy
    /// with `ReleaseStgMedium`.
    ///
    /// - Blocks, metafile pictures and GDI objects are duplicated by `OleDuplicateData` for the
    ///   clipboard format of the entry. The copy has no handle where the system cannot duplicate
    ///   it.
    /// - Streams and storages are shared.
    /// - The copy of a file medium is a copy of the name. Releasing a file medium that has no
    ///   `pUnkForRelease` deletes the file: the first receiver that releases its copy takes the
    ///   file away from the entry and from all later receivers. Store a file with an owner to keep
    ///   it.
    /// - A `pUnkForRelease` is shared, and `ReleaseStgMedium` then frees no block: the duplicate of
    /// a
    ///   block stays allocated unless its owner frees it. The owners that `SetIUnknownData` makes
    ///   share their block instead of duplicating it.
    ///
    /// An entry matches by clipboard format and by storage type, any bit of the request's mask; an
    /// entry that was stored without DVASPECT_CONTENT never matches, and the requested aspect is
    /// not looked at.
    ///
    /// @param[out] pmedium  Empty on failure.
    /// @return S_OK; DV_E_FORMATETC for a null `pformatetc`; E_INVALIDARG for a null `pmedium`;
    ///         DV_E_LINDEX for an index other than -1; DV_E_DVTARGETDEVICE for a target device;
    ///         DV_E_CLIPFORMAT for everything that is not found, whatever was amiss; E_OUTOFMEMORY.
    STDMETHODIMP GetData(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return E_NOTIMPL.
    STDMETHODIMP GetDataHere(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return what `GetData` would answer for this format.
    STDMETHODIMP QueryGetData(FORMATETC* pformatetc) override;
    /// Every format is its own canonical form. Writes nothing.
    ///
    /// @return DATA_S_SAMEFORMATETC; E_INVALIDARG for a null `pformatetcOut`.
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* pformatetcIn, FORMATETC* pformatetcOut) override;
    /// Stores a medium: in place of the entry that matches the format, otherwise behind the others.
    /// No entry matches a request with a target device, so a format with one is always put behind;
    /// requests without one find it like any other. The target device is kept as the pointer that
    /// it is: the caller keeps the record alive as long as the object.
    ///
    /// @param fRelease  True: the object takes over the caller's medium. False: it stores a
    ///                  duplicate, made as `GetData` makes them, and the caller keeps the medium.
    ///                  The duplicate of a file medium without an owner deletes the caller's file
    ///                  when the object releases it.
    /// @return S_OK; E_POINTER for a null argument or a medium without a handle; DV_E_LINDEX for an
    ///         index other than -1; DV_E_TYMED unless format and medium name the same storage type;
    ///         E_UNEXPECTED while the object is destroyed; E_OUTOFMEMORY. On failure the object is
    ///         unchanged and the caller still owns the medium.
    /// @throws std::bad_alloc when the list cannot grow; that, too, changes nothing.
    STDMETHODIMP SetData(FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease) override;
    /// Lists the formats as they are now; later changes of the object do not show.
    ///
    /// @param[out] ppenum  Null on failure.
    /// @return S_OK; E_NOTIMPL for a direction other than DATADIR_GET; E_INVALIDARG for a null
    ///         `ppenum`; E_OUTOFMEMORY.
    STDMETHODIMP EnumFormatEtc(DWORD dwDirection, IEnumFORMATETC** ppenum) override;
    /// Connects a sink through the system's advise holder. A data object announces no changes of
    /// its own; a sink connected with ADVF_PRIMEFIRST hears of the data as it is.
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

    // Formats of the payloads: no target device, content aspect, index -1

    static FORMATETC formatHGlobal(unsigned long cf);
    static FORMATETC formatIStream(unsigned long cf);
    static FORMATETC formatGdi(unsigned long cf);

    // Presence: each asks the object's `QueryGetData`; S_OK means present

    static HRESULT AcceptTextData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHGLOBALData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHDIBData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHBITMAPData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptIUnknownData(IDataObject& obj, unsigned long cf);
    /// Asks for a stream first and for a global block where there is none.
    static HRESULT AcceptXMLData(IDataObject& obj, unsigned long cf);

    // Text

    /// Stores narrow text in a global block of exactly the text and its NUL.
    ///
    /// @param text  Bytes, at least `len` of them.
    /// @param len   Bytes to store, terminator not counted; negative: up to the terminating NUL.
    /// @return the object's `SetData` result; E_POINTER for a null `text`; E_OUTOFMEMORY.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const char* text, int len);
    /// The same for wide text; `len` counts characters. The block has eight bytes for each
    /// character and the NUL, of which the text fills the first quarter; the rest is zero.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const wchar_t* text, int len);
    /// Stores text as CF_TEXT and its wide form as CF_UNICODETEXT. The second one ends at the first
    /// NUL.
    ///
    /// @param text  In the system's ANSI code page.
    /// @return the result of the first `SetData` that fails, else of the last.
    static HRESULT SetCFTextData(IDataObject& obj, const char* text, int len);
    /// Stores text as CF_UNICODETEXT and its form in the system's ANSI code page as CF_TEXT. The
    /// second one ends at the first NUL.
    static HRESULT SetCFUnicodeTextData(IDataObject& obj, const wchar_t* text, int len);
    /// Reads narrow text from a global block; the block need not hold a NUL.
    ///
    /// @param[out] text  New array: the bytes of the block, then a NUL. The caller frees it with
    ///                   delete[]. Null on failure.
    /// @param[out] len   May be null. The size of the block in bytes: the text's NUL and whatever
    ///                   follows it count. Untouched on failure.
    /// @return S_OK; E_POINTER for a null `text`; E_INVALIDARG when the object answers with another
    ///         storage type or with a block that cannot be read; else `GetData`'s failure.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, char** text,
                                 unsigned __int64* len);
    /// The same for wide text. The array has one character for every byte of the block and one
    /// more: the block, then zeros. `len` is the size of the block in bytes here too, not in
    /// characters.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, wchar_t** text,
                                 unsigned __int64* len);

    // Memory blocks, device-independent bitmaps and bitmaps

    /// Stores a global block.
    ///
    /// @param fRelease  True: the object takes over the block. False: it stores a duplicate.
    /// @return the object's `SetData` result; E_INVALIDARG for a null handle.
    static HRESULT SetHGLOBALData(IDataObject& obj, unsigned long cf, void* hGlobal, int fRelease);
    /// Hands out a duplicate of a stored block, which the caller frees as its format demands
    /// (`GlobalFree` for all but the formats of GDI objects).
    ///
    /// @param[out] hGlobal  Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG when the object answers with
    ///         another storage type or the block cannot be duplicated; else `GetData`'s failure.
    static HRESULT QueryHGLOBALData(const IDataObject& obj, unsigned long cf, void** hGlobal);
    /// `SetHGLOBALData` for a block that holds a device-independent bitmap.
    static HRESULT SetHDIBData(IDataObject& obj, unsigned long cf, void* hDib, int fRelease);
    /// `QueryHGLOBALData` for a block that holds a device-independent bitmap.
    static HRESULT QueryHDIBData(const IDataObject& obj, unsigned long cf, void** hDib);
    /// Stores a bitmap as a GDI object. The system duplicates one under the format CF_BITMAP alone:
    /// under another format our own data objects keep a bitmap but hand out none.
    ///
    /// @return the object's `SetData` result; E_INVALIDARG for a null bitmap.
    static HRESULT SetHBITMAPData(IDataObject& obj, unsigned long cf, HBITMAP hbm, int fRelease);
    /// Hands out a copy of a stored bitmap, which the caller frees with `DeleteObject`.
    ///
    /// @param[out] hbm  Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG when the object answers with
    ///         another storage type or the bitmap cannot be copied; else `GetData`'s failure.
    static HRESULT QueryHBITMAPData(const IDataObject& obj, unsigned long cf, HBITMAP* hbm);

    // Interfaces

    /// Stores an interface so that every apartment of this process can read it: the payload is the
    /// cookie under which the interface is registered in the Global Interface Table. The
    /// registration, and with it a reference to `unk`, lasts until the last copy of the stored
    /// medium is released.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; the failure to reach the table, for
    ///         example on a thread that has not initialised COM, or to register with it.
    static HRESULT SetIUnknownData(IDataObject& obj, unsigned long cf, const IUnknown& unk);
    /// Reads an interface that was stored in this process, for use in the calling apartment.
    ///
    /// The data object must come from this process. The payload is a number of four bytes that the
    /// Global Interface Table of this process resolves, and its origin cannot be checked: a block
    /// from another process, or one that somebody forged, can hold the number of any interface that
    /// any code of this process has registered in the table.
    ///
    /// @param[out] ppUnk  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL when nothing was ever stored with
    ///         `SetIUnknownData` in this process; E_INVALIDARG when the object answers with another
    ///         storage type or a block that holds no cookie; else `GetData`'s or the table's
    ///         failure.
    static HRESULT QueryIUnknownData(const IDataObject& obj, unsigned long cf, IUnknown** ppUnk);

    // XML documents

    /// Stores a document as a stream of its own serialisation.
    ///
    /// @return the object's `SetData` result; a failure of the document to give its stream.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, const IXMLDOMDocument2& doc);
    /// Stores a document's serialisation as a stream or in a global block.
    ///
    /// @param tymed  TYMED_ISTREAM or TYMED_HGLOBAL.
    /// @return the object's `SetData` result; E_INVALIDARG for another `tymed`; E_OUTOFMEMORY when
    ///         no block of the stream's size can be had, as for an empty stream and for one of 4
    ///         GiB or more; a failure of the document or its stream.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, unsigned long tymed,
                              const IXMLDOMDocument2& doc);
    /// Stores a document's text as narrow text in UTF-8, see `SetTextData`.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; a failure of the document.
    static HRESULT SetXMLAsUTF8Data(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);
    /// Stores a document's text as wide text, see `SetTextData`.
    ///
    /// @return the object's `SetData` result; E_OUTOFMEMORY; a failure of the document.
    static HRESULT SetXMLAsBSTRData(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);

    /// Reads a document of the 3.0 class from a stream or, where the object has none, from a global
    /// block. Its selection language is XPath.
    ///
    /// This reader and the following ones do not trust the text: the parser resolves no external
    /// reference and does not validate. Where the parser has these limits, a document type
    /// declaration and elements nested more than 256 deep are not well-formed. At most 1 GB is read
    /// from a stream.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_INVALIDARG when the object returns neither a
    ///         stream nor a block; E_FAIL for text that is not well-formed, for a stream that
    ///         cannot be read and for one above 1 GB; otherwise the failure of `GetData`, of the
    ///         stream's `Seek` or of the document's creation.
    /// @throws _com_error with E_OUTOFMEMORY.
    static HRESULT QueryXMLData(const IDataObject& obj, unsigned long cf, IXMLDOMDocument2** ppDoc);
    /// `QueryXMLData` for a document of the 6.0 class.
    static HRESULT QueryXML6Data(const IDataObject& obj, unsigned long cf,
                                 IXMLDOMDocument2** ppDoc);
    /// Reads a document of the 3.0 class from narrow text in UTF-8, up to its first NUL. Its
    /// selection language is the class's own default.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL for text that is not well-formed; else
    ///         the failure of `QueryTextData` or of the document's creation.
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

    /// Describes the plain text of a data object as a document of the 3.0 class: under the element
    /// `Entries` one `Entry` with the elements `Name` and `Value` for CF_UNICODETEXT and one for
    /// CF_TEXT, as far as they are there, each up to its first NUL.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return S_OK, also when there is no text; E_POINTER for a null argument; E_FAIL when the
    ///         element `Entries` cannot be made; else the failure of the document's creation.
    /// @throws _com_error with E_OUTOFMEMORY.
    static HRESULT createXMLFromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);
    /// `createXMLFromIDataObject` for a document of the 6.0 class.
    static HRESULT createXML6FromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);

    // Whole data objects

    /// Counts the formats that an object enumerates; 0 when it gives no enumerator. An enumerator
    /// that does not end is left after 458,752 formats, which is every format number with every
    /// storage type.
    static int GetDataCount(const IDataObject& obj);
    /// Stores a duplicate of the first format of `source` with the number `cf` in `target`.
    ///
    /// @return `target`'s `SetData` result; DV_E_CLIPFORMAT when `source` does not enumerate `cf`;
    ///         the failure of `source` to enumerate or to give the data.
    static HRESULT CopyData(IDataObject& source, IDataObject& target, unsigned short cf);

    // Copy processes and the end

    /// Announces that this thread builds and publishes clipboard data. Calls nest and need not find
    /// the mutex free: a copy starts even while another process is at it.
    static void BeginCopyProcess();
    /// Ends what `BeginCopyProcess` began on this thread.
    static void EndCopyProcess();
    /// Waits until the copy process that is under way has ended. Asks nothing of other processes
    /// while no copy process is under way in this one.
    ///
    /// @param timeoutMs  Milliseconds; INFINITE waits without limit.
    /// @return true when no copy process is under way, or only the calling thread's own; false
    ///         after the time has passed, or when a thread died during its copy process.
    static bool WaitForCopyProcessEnding(unsigned long timeoutMs);
    /// Ends the clipboard half: renders what this process left on the clipboard, so that it
    /// outlives the process, and gives back the Global Interface Table. Call it once, at the end:
    /// afterwards no interface payload may be stored, read or released.
    ///
    /// @return 1 when the clipboard was flushed and nobody else holds the table, else 0.
    static HRESULT Term();

    /// The mutex of the copy processes; INVALID_HANDLE_VALUE while none is under way in this
    /// process.
    static HANDLE hMutexClipboardCopy;
    /// How many copy processes are under way in this process.
    static LONG s_lMutexRefCount;
    /// The process's Global Interface Table; null until the first `SetIUnknownData`. `Term` leaves
    /// the pointer as it is.
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
