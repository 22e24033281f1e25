#pragma once

#include <windows.h>

#include <comdef.h>

#include <new>

/// Calls `work`. Returns false if `work` throws std::bad_alloc, or _com_error with E_OUTOFMEMORY.
/// The library throws one of these exceptions if memory runs out.
/// @throws Any other exception that `work` throws.
template <class Work>
bool runCatchingOutOfMemory(Work work) {
    try {
        work();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    } catch (const _com_error& error) {
        if (error.Error() != E_OUTOFMEMORY) throw;
        return false;
    }
}
