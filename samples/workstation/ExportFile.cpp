#include "samples/workstation/ExportFile.h"

#include <commdlg.h>

#include <filesystem>
#include <fstream>

#include <I18nResource.h>

#include "samples/workstation/InstrumentText.h"
#include "samples/workstation/Resource.h"
#include "samples/workstation/Texts.h"

std::wstring selectExportPath(HWND owner) {
    std::wstring filter = text(IDS_TEXT_FILES) + L" (*.txt)";
    filter.append(L"\0*.txt\0", 7);  // the NUL after the string ends the list
    wchar_t path[MAX_PATH] = L"";
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = owner;
    dialog.lpstrFilter = filter.c_str();
    dialog.lpstrFile = path;
    dialog.nMaxFile = MAX_PATH;
    dialog.lpstrDefExt = L"txt";
    dialog.Flags = OFN_OVERWRITEPROMPT | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST;
    return ::GetSaveFileNameW(&dialog) ? path : L"";
}

bool exportText(const std::wstring& path, const Instruments& instruments) {
    const std::wstring wide = writeText(instruments);
    std::string bytes;
    i18nstr::wide2UTF8(wide.c_str(), static_cast<int>(wide.size()), bytes);

    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();  // writes buffered data, and may fail, for example if the disk is full
    return !file.fail();
}
