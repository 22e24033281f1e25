#pragma once
// Replaces a COM class until the end of the scope. CoCreateInstance for this class returns an
// object that the test creates. The thread must have initialized COM (see Apartment.h). Other
// apartments are not affected.
#include <doctest/doctest.h>
#include <windows.h>

#include <objbase.h>

#include <functional>
#include <utility>

namespace testsupport {

class ScriptedClass {
public:
    /// Creates the object or returns an error, as IClassFactory::CreateInstance does.
    using Create = std::function<HRESULT(REFIID iid, void** object)>;

    ScriptedClass(REFCLSID clsid, Create create) : m_factory(std::move(create)) {
        REQUIRE(::CoRegisterClassObject(clsid, &m_factory, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                        &m_cookie) == S_OK);
    }
    /// Every call to CoCreateInstance for the class returns a reference to `object`. `object` must
    /// outlive the ScriptedClass.
    ScriptedClass(REFCLSID clsid, IUnknown& object)
        : ScriptedClass(clsid, [&object](REFIID iid, void** created) {
              return object.QueryInterface(iid, created);
          }) {}
    ScriptedClass(const ScriptedClass&) = delete;
    ScriptedClass& operator=(const ScriptedClass&) = delete;
    ~ScriptedClass() { ::CoRevokeClassObject(m_cookie); }

private:
    /// The class factory. The factory exists as long as its registration, so it does not count
    /// references.
    class Factory final : public IClassFactory {
    public:
        explicit Factory(Create create) : m_create(std::move(create)) {}

        // IUnknown
        STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
            if (!object) return E_POINTER;
            const bool known = iid == IID_IUnknown || iid == IID_IClassFactory;
            *object = known ? this : nullptr;
            return known ? S_OK : E_NOINTERFACE;
        }
        STDMETHODIMP_(ULONG) AddRef() override { return 2; }
        STDMETHODIMP_(ULONG) Release() override { return 1; }

        // IClassFactory
        STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
            if (!object) return E_POINTER;
            *object = nullptr;
            return outer ? CLASS_E_NOAGGREGATION : m_create(iid, object);
        }
        STDMETHODIMP LockServer(BOOL) override { return S_OK; }

    private:
        Create m_create;
    };

    Factory m_factory;
    DWORD m_cookie = 0;
};

}  // namespace testsupport
