#include "samples/clipboard_view/HexDump.h"

namespace {

void appendHex(std::wstring& line, std::size_t value, int digits) {
    for (int i = digits - 1; i >= 0; --i) line += L"0123456789abcdef"[value >> (4 * i) & 15];
}

}  // namespace

std::vector<std::wstring> hexDump(std::string_view bytes) {
    constexpr std::size_t kTextColumn = 10 + 3 * kBytesPerLine + 1;
    std::vector<std::wstring> lines;
    for (std::size_t offset = 0; offset < bytes.size(); offset += kBytesPerLine) {
        const std::string_view part = bytes.substr(offset, kBytesPerLine);
        std::wstring line;
        appendHex(line, offset, 8);
        line += L"  ";
        for (const char c : part) {
            appendHex(line, static_cast<unsigned char>(c), 2);
            line += L' ';
        }
        line.resize(kTextColumn, L' ');
        for (const char c : part) line += c >= ' ' && c <= '~' ? static_cast<wchar_t>(c) : L'.';
        lines.push_back(line);
    }
    return lines;
}
