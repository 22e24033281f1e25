#include "tools/satellites/VersionInfo.h"

#include <cwchar>
#include <iterator>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/ByteWriter.h"

namespace satellites {

namespace {

constexpr DWORD kFixedSignature = 0xFEEF04BD;
constexpr WORD kUnicodeCodePage = 1200;

/// Writes the fields of a VERSIONINFO block that precede the value. The caller then writes the
/// value and the child blocks. The destructor writes the length of the block.
class Block {
public:
    Block(ByteWriter& writer, const std::wstring& key, std::size_t valueLength, bool isText)
        : m_writer(writer) {
        writer.align(4);
        m_start = writer.size();
        writer.write(WORD{0});
        writer.write(static_cast<WORD>(valueLength));
        writer.write(static_cast<WORD>(isText));
        writer.terminatedText(key);
        writer.align(4);
    }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    ~Block() { m_writer.overwrite(m_start, static_cast<WORD>(m_writer.size() - m_start)); }

private:
    ByteWriter& m_writer;
    std::size_t m_start;
};

void writeText(ByteWriter& writer, const std::wstring& key, const std::wstring& value) {
    const Block block(writer, key, value.size() + 1, true);
    writer.terminatedText(value);
}

}  // namespace

std::wstring Version::text() const {
    std::wstring text;
    for (int shift = 48; shift >= 0; shift -= 16) {
        if (!text.empty()) text += L'.';
        text += std::to_wstring(number >> shift & 0xFFFF);
    }
    return text;
}

std::optional<Version> fileVersionOf(const ResourceFile& file) {
    ByteReader reader(file.find(RT_VERSION, MAKEINTRESOURCEW(VS_VERSION_INFO)));
    reader.take(3 * sizeof(WORD));  // block length, value length, value type
    reader.terminatedText();        // the key
    reader.align(4);
    const auto fixed = reader.read<VS_FIXEDFILEINFO>();
    if (!reader.ok() || fixed.dwSignature != kFixedSignature) return std::nullopt;
    return Version{(static_cast<unsigned long long>(fixed.dwFileVersionMS) << 32) |
                   fixed.dwFileVersionLS};
}

std::vector<std::byte> makeVersionInfo(const Version& version, WORD language,
                                       const std::wstring& fileName,
                                       const std::wstring& description) {
    ByteWriter writer;
    {
        const Block root(writer, L"VS_VERSION_INFO", sizeof(VS_FIXEDFILEINFO), false);
        VS_FIXEDFILEINFO fixed = {};
        fixed.dwSignature = kFixedSignature;
        fixed.dwStrucVersion = 0x00010000;
        fixed.dwFileVersionMS = static_cast<DWORD>(version.number >> 32);
        fixed.dwFileVersionLS = static_cast<DWORD>(version.number);
        fixed.dwProductVersionMS = fixed.dwFileVersionMS;
        fixed.dwProductVersionLS = fixed.dwFileVersionLS;
        fixed.dwFileFlagsMask = VS_FFI_FILEFLAGSMASK;
        fixed.dwFileOS = VOS_NT_WINDOWS32;
        fixed.dwFileType = VFT_DLL;
        writer.write(fixed);
        {
            const Block strings(writer, L"StringFileInfo", 0, true);
            wchar_t key[9];
            std::swprintf(key, std::size(key), L"%04x%04x", unsigned{language},
                          unsigned{kUnicodeCodePage});
            const Block table(writer, key, 0, true);
            writeText(writer, L"FileDescription", description);
            writeText(writer, L"FileVersion", version.text());
            writeText(writer, L"OriginalFilename", fileName);
            writeText(writer, L"ProductVersion", version.text());
        }
        {
            const Block variables(writer, L"VarFileInfo", 0, true);
            const Block translation(writer, L"Translation", 2 * sizeof(WORD), false);
            writer.write(language);
            writer.write(kUnicodeCodePage);
        }
    }
    return writer.take();
}

}  // namespace satellites
