#pragma once

#include <I18nResource.h>

/// Tells the other processes that use the library that a copy is under way, as long as it lives.
class CopyProcess {
public:
    CopyProcess() { CDataObject::BeginCopyProcess(); }
    CopyProcess(const CopyProcess&) = delete;
    CopyProcess& operator=(const CopyProcess&) = delete;
    ~CopyProcess() { CDataObject::EndCopyProcess(); }
};
