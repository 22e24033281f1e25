#pragma once

#include <I18nResource.h>

class CopyProcess {
public:
    CopyProcess() { CDataObject::BeginCopyProcess(); }
    CopyProcess(const CopyProcess&) = delete;
    CopyProcess& operator=(const CopyProcess&) = delete;
    ~CopyProcess() { CDataObject::EndCopyProcess(); }
};
