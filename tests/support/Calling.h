#pragma once
// COM objects whose AddRef and Release call functions that the test sets.
#include <functional>
#include <utility>

#include "tests/support/Counting.h"

namespace testsupport {

// Calls `onAddRef` in the next AddRef, and `onLastRelease` in the Release that sets the reference
// count to 0. Each function is called only once.
template <class Base>
class Calling : public Base {
public:
    std::function<void()> onAddRef, onLastRelease;

    STDMETHODIMP_(ULONG) AddRef() override {
        const ULONG references = Base::AddRef();
        run(onAddRef);
        return references;
    }
    STDMETHODIMP_(ULONG) Release() override {
        const ULONG references = Base::Release();
        if (references == 0) run(onLastRelease);
        return references;
    }

private:
    static void run(std::function<void()>& script) {
        if (const auto once = std::exchange(script, nullptr)) once();
    }
};

using CallingOwner = Calling<CountingUnknown>;
using CallingStream = Calling<CountingStream>;
using CallingSink = Calling<CountingSink>;

}  // namespace testsupport
