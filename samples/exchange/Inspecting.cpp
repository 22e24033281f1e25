#include "samples/exchange/Inspecting.h"

#include <cstdint>
#include <filesystem>
#include <fstream>

#include "samples/clipboard_view/ClipboardFormats.h"
#include "samples/clipboard_view/ClipboardPrograms.h"
#include "samples/clipboard_view/Decoding.h"
#include "samples/exchange/Console.h"
#include "samples/exchange/Failure.h"
#include "samples/exchange/Json.h"
#include "samples/exchange/Reading.h"

namespace {

constexpr std::size_t kScreenLines = 24;
constexpr std::size_t kScreenColumns = 160;

void printAll(const Decoded& decoded) {
    for (const std::wstring& line : linesOf(decoded)) print(stdout, line + L"\n");
}

void printScreen(const Decoded& decoded) {
    for (const std::wstring& line : linesOf(decoded))
        print(stdout, line.size() > kScreenColumns ? line.substr(0, kScreenColumns) + L"...\n"
                                                   : line + L"\n");
    if (decoded.omittedLines > 0)
        print(stderr, L"exchange: " + counted(decoded.omittedLines, L"more line") +
                          L"; --all shows everything\n");
}

void printJson(unsigned format, std::size_t size, const Decoded& decoded) {
    std::vector<std::wstring> rows;
    for (std::size_t i = 1; i < decoded.table.size(); ++i) rows.push_back(jsonOf(decoded.table[i]));
    const std::vector<std::wstring> titles =
        decoded.table.empty() ? std::vector<std::wstring>() : decoded.table.front();
    print(stdout, L"{\"owner\": " + jsonOf(clipboardOwner()) + L",\n \"format\": {\"number\": " +
                      std::to_wstring(format) + L", \"name\": " + jsonOf(nameOfFormat(format)) +
                      L"},\n \"size\": " + std::to_wstring(size) + L", \"kind\": " +
                      jsonOf(decoded.kind) + L",\n \"lines\": " + jsonOf(decoded.lines) +
                      L",\n \"columns\": " + jsonOf(titles) + L",\n \"rows\": " + jsonArray(rows) +
                      L",\n \"readable\": " + (decoded.isReadable ? L"true" : L"false") +
                      L", \"linesLeftOut\": " + std::to_wstring(decoded.omittedLines) + L"}\n");
}

}  // namespace

void show(const Options& options) {
    const unsigned format = findFormat(options.format);
    const std::string bytes = bytesOf(format);
    const Decoded decoded = decode(format, bytes, options.all ? SIZE_MAX : kScreenLines);
    if (!decoded.isReadable)
        print(stderr,
              L"exchange: the contents do not match the name of the format: shown as bytes\n");
    if (options.json) return printJson(format, bytes.size(), decoded);
    if (options.all) return printAll(decoded);
    printScreen(decoded);
}

void save(const Options& options) {
    const std::string bytes = bytesOf(findFormat(options.format));
    std::ofstream file(std::filesystem::path(options.argument), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) throw Failure{kBadFile, options.argument + L": cannot be written"};
}
