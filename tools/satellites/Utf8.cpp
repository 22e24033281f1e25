#include "tools/satellites/Utf8.h"

#include "i18nstr/i18nstr.h"

namespace satellites {

std::string utf8(std::wstring_view text) {
    std::string result;
    i18nstr::wide2UTF8(text.data(), static_cast<int>(text.size()), result);
    return result;
}

std::wstring wide(std::string_view utf8Text) {
    std::wstring result;
    i18nstr::UTF82wide(utf8Text.data(), static_cast<int>(utf8Text.size()), result);
    return result;
}

std::size_t firstInvalidUtf8(std::string_view bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const auto lead = static_cast<unsigned char>(bytes[at]);
        std::size_t length = 1;
        char32_t character = lead;
        char32_t least = 0;
        if (lead >= 0xF0 && lead < 0xF8) {
            length = 4, character = lead & 0x07, least = 0x10000;
        } else if (lead >= 0xE0 && lead < 0xF0) {
            length = 3, character = lead & 0x0F, least = 0x800;
        } else if (lead >= 0xC0 && lead < 0xE0) {
            length = 2, character = lead & 0x1F, least = 0x80;
        } else if (lead >= 0x80) {
            return at;
        }
        if (length > bytes.size() - at) return at;
        for (std::size_t i = 1; i < length; ++i) {
            const auto next = static_cast<unsigned char>(bytes[at + i]);
            if ((next & 0xC0) != 0x80) return at;
            character = character << 6 | (next & 0x3F);
        }
        const bool isSurrogate = character >= 0xD800 && character < 0xE000;
        if (character < least || character > 0x10FFFF || isSurrogate) return at;
        at += length;
    }
    return std::string_view::npos;
}

}  // namespace satellites
