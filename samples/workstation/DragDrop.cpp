#include "samples/workstation/DragDrop.h"

#include <utility>

#include "samples/workstation/Exchange.h"

namespace {

/// The base class of COM objects that implement one interface. The last call to Release destroys
/// the object. The creator owns the first reference.
template <class Interface>
class ComObject : public Interface {
public:
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        if (!ppv) return E_POINTER;
        *ppv = nullptr;
        if (riid != IID_IUnknown && riid != __uuidof(Interface)) return E_NOINTERFACE;
        *ppv = static_cast<Interface*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override {
        return static_cast<ULONG>(::InterlockedIncrement(&m_references));
    }
    STDMETHODIMP_(ULONG) Release() override {
        const LONG left = ::InterlockedDecrement(&m_references);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

protected:
    virtual ~ComObject() = default;  // only Release deletes the object

private:
    LONG m_references = 1;
};

/// Ends the drag operation when the user releases the left mouse button or presses Esc.
class DropSource final : public ComObject<IDropSource> {
public:
    // IDropSource
    STDMETHODIMP QueryContinueDrag(BOOL escapePressed, DWORD keys) override {
        if (escapePressed) return DRAGDROP_S_CANCEL;
        return keys & MK_LBUTTON ? S_OK : DRAGDROP_S_DROP;
    }
    STDMETHODIMP GiveFeedback(DWORD) override { return DRAGDROP_S_USEDEFAULTCURSORS; }

private:
    ~DropSource() override = default;  // only Release deletes the object
};

}  // namespace

bool drag(IDataObject& object) {
    ATL::CComPtr<IDropSource> source;
    source.Attach(new DropSource);
    DWORD effect = DROPEFFECT_NONE;
    return ::DoDragDrop(&object, source, DROPEFFECT_COPY, &effect) == DRAGDROP_S_DROP &&
           effect == DROPEFFECT_COPY;
}

class DropArea::Target final : public ComObject<IDropTarget> {
public:
    explicit Target(std::function<void(const ATL::CComPtr<IDataObject>&)> drop)
        : m_drop(std::move(drop)) {}

    void rejectDrops(bool reject) { m_rejectsDrops = reject; }

    // IDropTarget
    STDMETHODIMP DragEnter(IDataObject* object, DWORD, POINTL, DWORD* effect) override {
        m_accepts = !m_rejectsDrops && offersInstruments(*object);
        return DragOver(0, {}, effect);
    }
    STDMETHODIMP DragOver(DWORD, POINTL, DWORD* effect) override {
        *effect = m_accepts && !m_rejectsDrops ? *effect & DROPEFFECT_COPY : DROPEFFECT_NONE;
        return S_OK;
    }
    STDMETHODIMP DragLeave() override { return S_OK; }
    STDMETHODIMP Drop(IDataObject* object, DWORD keys, POINTL position, DWORD* effect) override {
        DragOver(keys, position, effect);
        if (*effect != DROPEFFECT_COPY) return S_OK;
        // A copy is needed, because the data is read after Drop has returned. At that time, the
        // source may already have deleted its data object.
        const ATL::CComPtr<IDataObject> copy = snapshot(*object);
        if (copy)
            m_drop(copy);
        else
            *effect = DROPEFFECT_NONE;
        return S_OK;
    }

private:
    ~Target() override = default;  // only Release deletes the object

    std::function<void(const ATL::CComPtr<IDataObject>&)> m_drop;
    bool m_rejectsDrops = false;
    bool m_accepts = false;
};

DropArea::DropArea(HWND window, std::function<void(const ATL::CComPtr<IDataObject>&)> drop)
    : m_window(window) {
    m_target.Attach(new Target(std::move(drop)));
    ::RegisterDragDrop(window, m_target);
}

DropArea::~DropArea() { ::RevokeDragDrop(m_window); }

// m_target-> does not compile, because operator-> of CComPtr returns a pointer to a class that is
// derived from Target, and Target is final.
void DropArea::rejectDrops(bool reject) { (*m_target).rejectDrops(reject); }
