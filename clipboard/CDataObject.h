#pragma once
/// @file
/// Declares CDataObject, a data object for the clipboard and for drag and drop. The class also has
/// static functions that store text, memory blocks, bitmaps, interfaces and XML documents in any
/// data object, and read them from any data object.

#include <windows.h>

#include <msxml2.h>
#include <ole2.h>

#include <list>

#include "dll/atl.h"
#include "dll/export.h"

class CDataObjectEntry;

#if defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4251)  // the list of entries is private, so clients never use it
#pragma warning(disable : 4275)  // the base is a COM interface and has no code to export
#endif

/// Implements an OLE data object that stores entries. Each entry consists of a format and a medium.
/// The entries keep the order in which their formats were first stored.
///
/// Create an object with `CreateInstance`. The last `Release` destroys the object. The object
/// returns data as it was stored. It does not render data on demand, convert data, support target
/// devices, or notify sinks of changes.
///
/// Threads: `AddRef` and `Release` are thread-safe. No lock protects the list of entries or the
/// data advise holder. Store all data in an object before you pass the object to other threads.
/// Only one thread at a time may call `DAdvise`, `DUnadvise` or `EnumDAdvise`.
///
/// Re-entrancy: the data object calls `AddRef` and `Release` of the streams, storages and
/// `pUnkForRelease` objects in its media, and `Release` of its sinks. These methods may call the
/// data object, even during its destruction. During destruction, the data object contains only the
/// entries that have not been released yet. If a method adds a reference to the data object during
/// destruction, the method must release the reference before it returns.
///
/// The static member functions that store data, read data or test for data are called payload
/// functions. They work with any implementation of `IDataObject`, including the objects of other
/// programs. All payload functions follow these rules:
/// - `cf` is the identifier of a clipboard format. Only the low 16 bits of `cf` are used.
/// - If a function whose name starts with `Set` fails, it frees the memory that it allocated. The
///   caller still owns the handles that were passed to the function.
/// - A function whose name starts with `Query` calls the object's `GetData` and releases the medium
///   that `GetData` returns. If `GetData` fails, the function returns the error code from
///   `GetData`.
/// - Exceptions are thrown only if memory runs out. The exception is `std::bad_alloc`, or
///   `_com_error` if the function documents it.
class I18NRESOURCE_API CDataObject : public IDataObject {
public:
    /// Creates an empty data object.
    ///
    /// @param[out] ppDataObject  The caller owns the only reference. Null on failure.
    /// @return S_OK; E_POINTER for a null argument; E_FAIL if memory runs out.
    static HRESULT CreateInstance(IDataObject** ppDataObject);

    // IUnknown

    /// `*ppv` receives the same pointer for IUnknown and IDataObject, and null for other
    /// interfaces.
    ///
    /// @return S_OK for IUnknown and IDataObject; E_NOINTERFACE for other interfaces; E_INVALIDARG
    ///         for a null `ppv`.
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override;
    STDMETHODIMP_(ULONG) Release() override;

    // IDataObject

    /// Returns a copy of the medium in the first matching entry. The caller frees the copy with
    /// `ReleaseStgMedium`. The medium is copied as follows:
    ///
    /// - `OleDuplicateData` duplicates a global memory block, a metafile picture or a GDI object,
    ///   based on the clipboard format of the entry. If `OleDuplicateData` fails, `GetData` returns
    ///   E_OUTOFMEMORY. In the following cases, however, `GetData` succeeds and returns a copy
    ///   without a handle:
    ///   - The medium is a metafile picture or a GDI object.
    ///   - The medium is a block that is empty or invalid.
    ///   - The clipboard format is CF_BITMAP, CF_PALETTE, CF_METAFILEPICT or CF_ENHMETAFILE.
    /// - A stream or a storage is not duplicated: the copy holds a reference to the same stream or
    ///   storage.
    /// - For a TYMED_FILE medium, only the file name is copied. If the medium has no
    ///   `pUnkForRelease`, the file is deleted when the first receiver calls `ReleaseStgMedium`.
    ///   After that, neither the entry nor a later receiver can use the file. To keep the file,
    ///   store the medium with a `pUnkForRelease`.
    /// - The copy has the same `pUnkForRelease` as the stored medium, and holds its own reference
    ///   to that object. If a medium has a `pUnkForRelease`, `ReleaseStgMedium` does not free the
    ///   block, metafile picture or GDI object in the medium. The duplicate therefore stays
    ///   allocated unless the `pUnkForRelease` object frees it.
    /// - A block that `SetIUnknownData` stored is not duplicated: the copy contains the same block.
    ///
    /// An entry matches a request if both have the same clipboard format, and if their storage
    /// medium types (`tymed`) have at least one bit in common. An entry that was stored without
    /// DVASPECT_CONTENT never matches.
    ///
    /// Compatibility: the requested aspect is ignored, because receivers that request an aspect
    /// other than DVASPECT_CONTENT still expect the data for DVASPECT_CONTENT. If no entry matches,
    /// the error code is always DV_E_CLIPFORMAT, because receivers test for this error code.
    ///
    /// @param[out] pmedium  Receives the copy. TYMED_NULL on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - DV_E_FORMATETC if `pformatetc` is null.
    ///         - E_INVALIDARG if `pmedium` is null.
    ///         - DV_E_LINDEX if the requested index is not -1.
    ///         - DV_E_DVTARGETDEVICE if a target device is requested.
    ///         - DV_E_CLIPFORMAT if no entry matches, even if only the storage medium type differs.
    ///         - E_OUTOFMEMORY if memory runs out.
    ///         - E_OUTOFMEMORY if `OleDuplicateData` fails, except in the cases listed above.
    STDMETHODIMP GetData(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return E_NOTIMPL.
    STDMETHODIMP GetDataHere(FORMATETC* pformatetc, STGMEDIUM* pmedium) override;
    /// @return S_OK if an entry matches the format; otherwise the error code that `GetData` would
    ///         return.
    STDMETHODIMP QueryGetData(FORMATETC* pformatetc) override;
    /// Reports that every format is its own canonical format. The function does not write to
    /// `*pformatetcOut`.
    ///
    /// @return DATA_S_SAMEFORMATETC; E_INVALIDARG for a null `pformatetcOut`.
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* pformatetcIn, FORMATETC* pformatetcOut) override;
    /// Stores a medium in a new entry. The new entry replaces the first entry that matches the
    /// format, and takes the position of that entry in the list. If no entry matches, the new entry
    /// is added to the end of the list. If the function fails or throws an exception, the object is
    /// unchanged and the caller still owns the medium.
    ///
    /// If the format has a target device, the new entry never replaces an existing entry. However,
    /// a request without a target device can match the new entry. The object stores the pointer to
    /// the DVTARGETDEVICE and does not copy the structure. The caller must keep the structure valid
    /// until the object is destroyed.
    ///
    /// @param fRelease  If TRUE, the object takes ownership of the medium. If FALSE, the object
    ///                  stores a copy, and the caller still owns the medium. The copy is made as
    ///                  described for `GetData`. If the copy is a TYMED_FILE medium without a
    ///                  `pUnkForRelease`, the file is deleted when the object releases the copy.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `pformatetc` or `pmedium` is null, or if the medium has no handle.
    ///         - DV_E_LINDEX if the index of the format is not -1.
    ///         - DV_E_TYMED if the storage medium types of the format and the medium differ.
    ///         - E_UNEXPECTED if the object is being destroyed.
    ///         - E_OUTOFMEMORY if the entry or the copy cannot be created.
    /// @throws std::bad_alloc if memory for the list of entries cannot be allocated.
    STDMETHODIMP SetData(FORMATETC* pformatetc, STGMEDIUM* pmedium, BOOL fRelease) override;
    /// Creates an enumerator for the current formats of the object. Later changes to the object do
    /// not affect the enumerator.
    ///
    /// @param[out] ppenum  Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_NOTIMPL if the direction is not DATADIR_GET.
    ///         - E_INVALIDARG if `ppenum` is null.
    ///         - E_OUTOFMEMORY if memory runs out.
    STDMETHODIMP EnumFormatEtc(DWORD dwDirection, IEnumFORMATETC** ppenum) override;
    /// Registers a sink with a data advise holder. The first call creates the holder with
    /// `CreateDataAdviseHolder`. The object does not notify sinks of changes. If `advf` contains
    /// ADVF_PRIMEFIRST, the holder sends one initial notification to the sink.
    ///
    /// @return one of these codes:
    ///         - DV_E_FORMATETC if `QueryGetData` fails for the format.
    ///         - The error code from `CreateDataAdviseHolder` if the holder cannot be created.
    ///         - Otherwise, the result of the holder's `Advise`. The object does not check whether
    ///           `pAdvSink` is null.
    STDMETHODIMP DAdvise(FORMATETC* pformatetc, DWORD advf, IAdviseSink* pAdvSink,
                         DWORD* pdwConnection) override;
    /// @return E_FAIL if `DAdvise` has not created a holder; otherwise the result of the holder's
    ///         `Unadvise`.
    STDMETHODIMP DUnadvise(DWORD dwConnection) override;
    /// @return E_FAIL if `DAdvise` has not created a holder; otherwise the result of the holder's
    ///         `EnumAdvise`.
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA** ppenumAdvise) override;

    CDataObject(const CDataObject&) = delete;
    CDataObject& operator=(const CDataObject&) = delete;

    // The following functions return the formats that the payload functions use. Each format has
    // the aspect DVASPECT_CONTENT, the index -1 and no target device.

    static FORMATETC formatHGlobal(unsigned long cf);
    static FORMATETC formatIStream(unsigned long cf);
    static FORMATETC formatGdi(unsigned long cf);

    // The following functions test whether an object has data in a format. Each function returns
    // the result of the object's `QueryGetData`, which is S_OK if the object has the data.

    static HRESULT AcceptTextData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHGLOBALData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHDIBData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptHBITMAPData(IDataObject& obj, unsigned long cf);
    static HRESULT AcceptIUnknownData(IDataObject& obj, unsigned long cf);
    /// Tests whether the object has a stream, and then whether it has a global memory block.
    ///
    /// @return S_OK if the object has a stream; otherwise the result of the test for a global
    ///         memory block.
    static HRESULT AcceptXMLData(IDataObject& obj, unsigned long cf);

    // Text

    /// Stores narrow text in a global memory block that is just large enough for the text and a
    /// terminating NUL.
    ///
    /// @param text  Array of at least `len` bytes.
    /// @param len   Number of bytes to store, without the terminator. If `len` is negative, `text`
    ///              must be NUL-terminated, and all characters before the NUL are stored.
    /// @return E_POINTER for a null `text`; E_OUTOFMEMORY if memory runs out; otherwise the result
    ///         of the object's `SetData`.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const char* text, int len);
    /// Stores wide text. If `len` is negative, `text` must be NUL-terminated. Otherwise, `len` is
    /// the number of characters to store. The return values are the same as for narrow text.
    ///
    /// Compatibility: the block has eight bytes for each character and eight for the terminating
    /// NUL. The text and its terminating NUL fill the first quarter of the block, and the other
    /// bytes are zero. Receivers interpret the size of the block as the length of the text, and
    /// rely on this length.
    static HRESULT SetTextData(IDataObject& obj, unsigned long cf, const wchar_t* text, int len);
    /// Stores text as CF_TEXT, converts it to wide text, and stores the converted text as
    /// CF_UNICODETEXT. The converted text ends at the first NUL. If the conversion fails, the
    /// converted text is empty.
    ///
    /// @param text  Text in the system's ANSI code page.
    /// @param len   See `SetTextData`.
    /// @return the error code from `SetTextData` if `text` cannot be stored as CF_TEXT; otherwise
    ///         the result of `SetTextData` for the converted text.
    static HRESULT SetCFTextData(IDataObject& obj, const char* text, int len);
    /// Stores text as CF_UNICODETEXT, converts it to the system's ANSI code page, and stores the
    /// converted text as CF_TEXT. The converted text ends at the first NUL. If the conversion
    /// fails, the converted text is empty.
    ///
    /// @param len  See `SetTextData`.
    /// @return the error code from `SetTextData` if `text` cannot be stored as CF_UNICODETEXT;
    ///         otherwise the result of `SetTextData` for the converted text.
    static HRESULT SetCFUnicodeTextData(IDataObject& obj, const wchar_t* text, int len);
    /// Reads narrow text from a global memory block. The block need not contain a NUL.
    ///
    /// @param[out] text  Receives a new array with the bytes of the block and a terminating NUL.
    ///                   The caller frees the array with delete[]. Null on failure.
    /// @param[out] len   Optional. Receives the size of the block in bytes. The size includes the
    ///                   text's terminator and all bytes after the terminator. Unchanged on
    ///                   failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `text` is null.
    ///         - E_INVALIDARG if the medium is not a global memory block or if the block cannot be
    ///           locked.
    ///         - Otherwise, the error code from `GetData`.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, char** text,
                                 unsigned __int64* len);
    /// Reads wide text. The parameters and the return values are the same as for narrow text.
    ///
    /// Compatibility: `*len` receives the size of the block in bytes, not in characters. The array
    /// has `*len` + 1 characters. It starts with the bytes of the block, and all other bytes of the
    /// array are zero. Callers rely on this length and on this array size.
    static HRESULT QueryTextData(const IDataObject& obj, unsigned long cf, wchar_t** text,
                                 unsigned __int64* len);

    // Memory blocks, device-independent bitmaps and bitmaps

    /// Stores a global memory block.
    ///
    /// @param fRelease  Passed to the object's `SetData`. If nonzero, the object takes ownership of
    ///                  the block. If 0, the object stores a duplicate, and the caller still owns
    ///                  the block.
    /// @return E_INVALIDARG for a null handle; otherwise the result of the object's `SetData`.
    static HRESULT SetHGLOBALData(IDataObject& obj, unsigned long cf, void* hGlobal, int fRelease);
    /// Returns a duplicate of a stored block. The caller frees the duplicate with `GlobalFree`. If
    /// `cf` is a clipboard format for GDI objects, such as CF_BITMAP, the duplicate is a GDI
    /// object. In this case, the caller frees the duplicate with the GDI function for this type of
    /// object, such as `DeleteObject` for a bitmap.
    ///
    /// @param[out] hGlobal  Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `hGlobal` is null.
    ///         - E_INVALIDARG if the medium is not a global memory block or if the block cannot be
    ///           duplicated.
    ///         - Otherwise, the error code from `GetData`.
    static HRESULT QueryHGLOBALData(const IDataObject& obj, unsigned long cf, void** hGlobal);
    /// Stores a block that contains a device-independent bitmap. See `SetHGLOBALData`.
    static HRESULT SetHDIBData(IDataObject& obj, unsigned long cf, void* hDib, int fRelease);
    /// Returns a duplicate of a stored block that contains a device-independent bitmap. See
    /// `QueryHGLOBALData`.
    static HRESULT QueryHDIBData(const IDataObject& obj, unsigned long cf, void** hDib);
    /// Stores a bitmap as a GDI object. `cf` must be CF_BITMAP, because the system does not
    /// duplicate a bitmap in any other clipboard format. With any other format,
    /// `CDataObject::GetData` would return a medium without a handle.
    ///
    /// @return E_INVALIDARG for a null bitmap; otherwise the result of the object's `SetData`.
    static HRESULT SetHBITMAPData(IDataObject& obj, unsigned long cf, HBITMAP hbm, int fRelease);
    /// Returns a copy of a stored bitmap. The caller frees the copy with `DeleteObject`.
    ///
    /// @param[out] hbm  Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `hbm` is null.
    ///         - E_INVALIDARG if the medium is not a GDI object or if the bitmap cannot be copied.
    ///         - Otherwise, the error code from `GetData`.
    static HRESULT QueryHBITMAPData(const IDataObject& obj, unsigned long cf, HBITMAP* hbm);

    // Interfaces

    /// Stores an interface pointer for use in any apartment of this process. The interface is
    /// registered in the Global Interface Table, and the stored block contains the cookie of that
    /// registration. The registration keeps a reference to `unk` until the last copy of the stored
    /// medium is released.
    ///
    /// @return one of these codes:
    ///         - E_OUTOFMEMORY if memory runs out.
    ///         - The error code from `CoCreateInstance` if the table cannot be created, for example
    ///           on a thread that has not initialized COM.
    ///         - The error code from `RegisterInterfaceInGlobal` if the interface cannot be
    ///           registered.
    ///         - Otherwise, the result of the object's `SetData`.
    static HRESULT SetIUnknownData(IDataObject& obj, unsigned long cf, const IUnknown& unk);
    /// Returns an interface pointer that was stored in this process. The pointer can be used in the
    /// calling apartment.
    ///
    /// Use this function only with data objects of this process. The stored block contains only a
    /// four-byte cookie, and the function cannot check the origin of the cookie. A block from
    /// another process, or a forged block, can contain the cookie of any interface that is
    /// registered in the Global Interface Table of this process. In this case, the function returns
    /// that interface.
    ///
    /// @param[out] ppUnk  The caller owns one reference. Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `ppUnk` is null.
    ///         - E_FAIL if `SetIUnknownData` has not created the table in this process yet.
    ///         - E_INVALIDARG if the medium is not a global memory block.
    ///         - E_INVALIDARG if the block cannot be locked or is too small for a cookie.
    ///         - Otherwise, the error code from `GetData` or from the table's
    ///           `GetInterfaceFromGlobal`.
    static HRESULT QueryIUnknownData(const IDataObject& obj, unsigned long cf, IUnknown** ppUnk);

    // XML documents

    /// Queries a document for IStream and stores the stream. The stream contains the XML text of
    /// the document. Under Wine, documents do not implement IStream, so the function saves the
    /// document to a new stream in memory and stores that stream.
    ///
    /// @return one of these codes:
    ///         - The error code from the document's `QueryInterface` if that call fails.
    ///         - E_NOINTERFACE if `QueryInterface` succeeds but returns no stream.
    ///         - E_OUTOFMEMORY if memory runs out.
    ///         - Otherwise, the result of the object's `SetData`.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, const IXMLDOMDocument2& doc);
    /// Stores a document as a stream or as a global memory block. For a stream, the function calls
    /// the previous overload. For a block, the function copies the contents of the document's
    /// stream.
    ///
    /// @param tymed  TYMED_ISTREAM for a stream; TYMED_HGLOBAL for a global memory block.
    /// @return one of these codes:
    ///         - E_INVALIDARG if `tymed` has any other value.
    ///         - The error code from the document or its stream if a call to one of them fails.
    ///         - E_NOINTERFACE if the document returns no stream.
    ///         - E_OUTOFMEMORY if memory runs out.
    ///         - E_OUTOFMEMORY if `tymed` is TYMED_HGLOBAL and the stream is empty or contains 4 GB
    ///           or more.
    ///         - Otherwise, the result of the object's `SetData`.
    static HRESULT SetXMLData(IDataObject& obj, unsigned long cf, unsigned long tymed,
                              const IXMLDOMDocument2& doc);
    /// Stores the `xml` property of a document as narrow text in UTF-8. If the property is a null
    /// string, the empty string is stored. See `SetTextData`.
    ///
    /// @return one of these codes:
    ///         - The error code from the document if the property cannot be read.
    ///         - E_OUTOFMEMORY if memory runs out or if the UTF-8 text has more than INT_MAX bytes.
    ///         - Otherwise, the result of the object's `SetData`.
    static HRESULT SetXMLAsUTF8Data(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);
    /// Stores the `xml` property of a document as wide text. See `SetTextData`.
    ///
    /// @return one of these codes:
    ///         - The error code from the document if the property cannot be read.
    ///         - E_POINTER if the property is a null string.
    ///         - E_OUTOFMEMORY if memory runs out.
    ///         - Otherwise, the result of the object's `SetData`.
    static HRESULT SetXMLAsBSTRData(IDataObject& obj, unsigned long cf,
                                    const IXMLDOMDocument2& doc);

    /// Creates an MSXML 3.0 document from the XML in a stream. If `GetData` fails to return a
    /// stream, the function requests a global memory block instead. The selection language of the
    /// document is XPath.
    ///
    /// This function and the other functions that read XML documents treat the XML as untrusted:
    /// the parser does not resolve external references or validate the document. At most 1 GB is
    /// read from a stream. If the document has the ProhibitDTD property, the parser also rejects
    /// document type declarations. If the document has the MaxElementDepth property, the parser
    /// rejects elements that are nested more than 256 levels deep. If the parser rejects the XML,
    /// the functions return E_FAIL.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `ppDoc` is null.
    ///         - E_INVALIDARG if the medium does not contain a stream or a global memory block.
    ///         - E_FAIL if the parser rejects the XML, for example because it is not well-formed.
    ///         - E_FAIL if the stream cannot be read or contains more than 1 GB.
    ///         - E_OUTOFMEMORY if memory for a stream cannot be allocated.
    ///         - The error code from `GetData` for the global memory block if both calls to
    ///           `GetData` fail.
    ///         - Otherwise, the error code from the stream's `Seek` or from creating the document.
    /// @throws _com_error with E_OUTOFMEMORY if a BSTR or VARIANT cannot be allocated.
    static HRESULT QueryXMLData(const IDataObject& obj, unsigned long cf, IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 6.0 document. See `QueryXMLData`.
    static HRESULT QueryXML6Data(const IDataObject& obj, unsigned long cf,
                                 IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 3.0 document from narrow text in UTF-8. The text ends at its first NUL.
    ///
    /// Compatibility: this function does not set the selection language, because callers write
    /// their queries in the default selection language of the document class (XSLPattern for MSXML
    /// 3.0).
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success.
    ///         - E_POINTER if `ppDoc` is null.
    ///         - E_FAIL if the parser rejects the XML, for example because it is not well-formed.
    ///         - Otherwise, the error code from `QueryTextData` or from creating the document.
    /// @throws _com_error with E_OUTOFMEMORY if a BSTR or VARIANT cannot be allocated.
    static HRESULT QueryXMLAsUTF8Data(const IDataObject& obj, unsigned long cf,
                                      IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 6.0 document from narrow text. See `QueryXMLAsUTF8Data`.
    static HRESULT QueryXML6AsUTF8Data(const IDataObject& obj, unsigned long cf,
                                       IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 3.0 document from wide text. See `QueryXMLAsUTF8Data`.
    static HRESULT QueryXMLAsBSTRData(const IDataObject& obj, unsigned long cf,
                                      IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 6.0 document from wide text. See `QueryXMLAsUTF8Data`.
    static HRESULT QueryXML6AsBSTRData(const IDataObject& obj, unsigned long cf,
                                       IXMLDOMDocument2** ppDoc);

    /// Creates an MSXML 3.0 document that contains the plain text of a data object. The document
    /// element is `Entries`. It contains one `Entry` element for each of the formats CF_UNICODETEXT
    /// and CF_TEXT in which the object has text. Each `Entry` has two child elements: `Name`
    /// contains "UNICODE TEXT" or "TEXT", and `Value` contains the text up to its first NUL. If an
    /// `Entry` element or a child element of an `Entry` cannot be added, the function omits only
    /// that element and still returns S_OK.
    ///
    /// @param[out] ppDoc  The caller owns one reference. Null on failure.
    /// @return one of these codes:
    ///         - S_OK on success, even if the object has no text.
    ///         - E_POINTER if `ppDoc` is null.
    ///         - E_FAIL if the `Entries` element cannot be created.
    ///         - Otherwise, the error code from creating the document.
    /// @throws _com_error with E_OUTOFMEMORY if a BSTR or VARIANT cannot be allocated.
    static HRESULT createXMLFromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);
    /// Creates an MSXML 6.0 document. See `createXMLFromIDataObject`.
    static HRESULT createXML6FromIDataObject(const IDataObject& obj, IXMLDOMDocument2** ppDoc);

    // Whole data objects

    /// Returns the number of formats that an object enumerates, or 0 if the object does not return
    /// an enumerator. The function stops at 458,752 formats, because an enumerator that returns
    /// more formats may never end. This limit is the number of clipboard formats (65,536) times the
    /// number of storage medium types (7).
    static int GetDataCount(const IDataObject& obj);
    /// Copies the data in the clipboard format `cf` from `source` to `target`. If `source`
    /// enumerates several FORMATETC structures for `cf`, the function uses only the first. If the
    /// data is in a TYMED_FILE medium without a `pUnkForRelease`, the file is deleted when the
    /// function returns (see `GetData`). If the format has a target device and `target.SetData`
    /// succeeds, the target device is never freed, because `target` may keep the pointer to it.
    ///
    /// @return one of these codes:
    ///         - E_FAIL if `source.EnumFormatEtc` succeeds but returns no enumerator.
    ///         - DV_E_CLIPFORMAT if `source` does not enumerate `cf` among its first 458,752
    ///           formats (see `GetDataCount`).
    ///         - The error code from `source.EnumFormatEtc` or `source.GetData` if one of them
    ///           fails.
    ///         - Otherwise, the result of `target.SetData`.
    static HRESULT CopyData(IDataObject& source, IDataObject& target, unsigned short cf);

    // Copy operations and shutdown. The functions for copy operations can be called on any thread.

    /// Begins a copy operation, which lasts until the matching call to `EndCopyProcess`. During a
    /// copy operation, the calling thread creates data and puts it on the clipboard. Copy
    /// operations can be nested. The function tries to acquire a mutex. All processes that use this
    /// library in the same Windows session share the mutex. The function does not wait: the copy
    /// operation begins even if another thread or process owns the mutex.
    static void BeginCopyProcess();
    /// Ends the copy operation that began with the matching call to `BeginCopyProcess` on this
    /// thread. The function does nothing if no copy operation is in progress in this process.
    static void EndCopyProcess();
    /// Waits until no other thread, in this process or in another process, owns the mutex for copy
    /// operations. If no copy operation is in progress in this process, the function returns true
    /// immediately, even if a copy operation is in progress in another process.
    ///
    /// @param timeoutMs  Time-out in milliseconds; INFINITE for no time-out.
    /// @return true if no other thread owns the mutex, or if no copy operation is in progress in
    ///         this process. The result is false if the time-out elapses, if the wait fails, or if
    ///         a thread exited while it owned the mutex.
    static bool WaitForCopyProcessEnding(unsigned long timeoutMs);
    /// Ends this process's use of the clipboard. The function calls `OleFlushClipboard`, so that
    /// the data of this process stays on the clipboard after the process ends. The function also
    /// releases the Global Interface Table. Call `Term` once, before the process ends. After this
    /// call, do not store or read interfaces with the payload functions, and do not release media
    /// that contain a stored interface.
    ///
    /// @return 1 if the clipboard was flushed and no reference to the table remains; otherwise 0.
    static HRESULT Term();

    /// The mutex for copy operations. The value is INVALID_HANDLE_VALUE while no copy operation is
    /// in progress in this process. During a copy operation, the value is null if the mutex could
    /// not be created.
    static HANDLE hMutexClipboardCopy;
    /// The number of copy operations that are in progress in this process.
    static LONG s_lMutexRefCount;
    /// The Global Interface Table of this process; null until the first call to `SetIUnknownData`.
    /// `Term` releases the table but does not change the pointer.
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

    LONG m_references = 1;  // the creator owns the first reference
    ATL::CComPtr<IDataAdviseHolder> m_adviseHolder;
    EntryList m_entries;
};

#if defined(_MSC_VER)
#pragma warning(pop)
#endif
