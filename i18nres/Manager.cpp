#include "i18nres/Manager.h"

#include <windows.h>

#include "i18nres/Satellites.h"
#include "i18nres/StringSwitches.h"

void i18nres_Init() { i18nres::Manager::Init(); }

void i18nres_Term() { i18nres::Manager::Term(); }

namespace i18nres {

namespace {

/// The spin count of the manager's lock. Spinning saves time, because most lookups take less time
/// than it takes to suspend and resume a thread.
constexpr DWORD kSpinCount = 4000;

bool isVariableDefined(const wchar_t* name) noexcept {
    // For an empty value, GetEnvironmentVariableW returns 1, the size of the terminator.
    return ::GetEnvironmentVariableW(name, nullptr, 0) > 0;
}

}  // namespace

bool s_bStringOrigin = false;
bool s_bLocalSimulation = false;

Manager* Manager::s_pInstance = nullptr;
long Manager::s_nRefCount = 0;
ATL::CComAutoCriticalSection Manager::s_ccsInstance;

void Manager::Init() {
    // Compatibility: Init() does not use a lock guard. If memory runs out, s_nRefCount remains
    // incremented and the thread still holds the lock. Clients that catch the exception rely on
    // this behavior: they release the lock and call Term().
    s_ccsInstance.Lock();
    if (s_nRefCount++ == 0) {
        s_bStringOrigin = isVariableDefined(L"ZEPH_RES_STRING_ORIGIN");
        s_bLocalSimulation = isVariableDefined(L"ORVEX_LOCAL_SIMULATION");
        s_pInstance = new Manager;
    }
    s_ccsInstance.Unlock();
}

void Manager::Term() {
    s_ccsInstance.Lock();
    if (s_nRefCount-- == 1) {
        delete s_pInstance;
        s_pInstance = nullptr;
    }
    s_ccsInstance.Unlock();
}

Manager* Manager::Instance() { return s_pInstance; }

Manager::Manager() : m_defaultCulture(L"en-US") {
    ::SetCriticalSectionSpinCount(&m_lock.m_sec, kSpinCount);
}

Manager::~Manager() { freeLocales(); }

}  // namespace i18nres
