#pragma once

#include <I18nResource.h>

/// Begins a copy process of the library. The destructor ends the copy process.
class CopyProcess {
public:
    CopyProcess() { CDataObject::BeginCopyProcess(); }
    CopyProcess(const CopyProcess&) = delete;
    CopyProcess& operator=(const CopyProcess&) = delete;
    ~CopyProcess() { CDataObject::EndCopyProcess(); }
};
