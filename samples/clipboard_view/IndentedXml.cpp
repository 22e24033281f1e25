#include "samples/clipboard_view/IndentedXml.h"

#include <algorithm>

namespace {

/// Returns true if the part is a start tag, an end tag or an empty-element tag. Text, comments,
/// processing instructions, declarations and CDATA sections are not tags.
bool isTag(std::wstring_view part) {
    return part.starts_with(L'<') && !part.starts_with(L"<!") && !part.starts_with(L"<?");
}
bool isEnd(std::wstring_view part) { return part.starts_with(L"</"); }
bool isStart(std::wstring_view part) {
    return isTag(part) && !isEnd(part) && !part.ends_with(L"/>");
}

/// Returns the length of the markup at the start of `xml`. A ">" inside quotes does not end the
/// markup, because it belongs to an attribute value.
std::size_t lengthOfMarkup(std::wstring_view xml) {
    const auto endAfter = [xml](std::wstring_view end) {
        const std::size_t at = xml.find(end);
        return at == xml.npos ? xml.size() : at + end.size();
    };
    if (xml.starts_with(L"<!--")) return endAfter(L"-->");
    if (xml.starts_with(L"<![CDATA[")) return endAfter(L"]]>");
    if (xml.starts_with(L"<?")) return endAfter(L"?>");
    wchar_t quote = 0;
    for (std::size_t i = 0; i < xml.size(); ++i) {
        const wchar_t c = xml[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == L'"' || c == L'\'') {
            quote = c;
        } else if (c == L'>') {
            return i + 1;
        }
    }
    return xml.size();
}

/// Splits XML into markup and text. Text that consists only of white space is omitted.
std::vector<std::wstring_view> partsOf(std::wstring_view xml) {
    std::vector<std::wstring_view> parts;
    while (!xml.empty()) {
        const std::size_t length =
            xml.starts_with(L'<') ? lengthOfMarkup(xml) : std::min(xml.find(L'<'), xml.size());
        const std::wstring_view part = xml.substr(0, length);
        if (part.find_first_not_of(L" \t\r\n") != part.npos) parts.push_back(part);
        xml.remove_prefix(length);
    }
    return parts;
}

}  // namespace

std::vector<std::wstring> indentXml(std::wstring_view xml) {
    const std::vector<std::wstring_view> parts = partsOf(xml);
    std::vector<std::wstring> lines;
    std::size_t depth = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (isEnd(parts[i]) && depth > 0) --depth;
        std::wstring line(2 * depth, L' ');
        line += parts[i];
        if (isStart(parts[i])) {
            // If the element has no child elements, put its text and its end tag on the same line:
            // <Name>text</Name>.
            const std::size_t end = i + 1 < parts.size() && !isTag(parts[i + 1]) ? i + 2 : i + 1;
            if (end < parts.size() && isEnd(parts[end])) {
                while (i < end) line += parts[++i];
            } else {
                ++depth;
            }
        }
        lines.push_back(line);
    }
    return lines;
}
