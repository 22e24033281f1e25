// Fuzzer targets that test the satellite tool: its parsers for PO files, libraries, menus and
// dialogs, and its rules for translated strings.
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "fuzzing/Fuzzer.h"
#include "tools/satellites/Catalogue.h"
#include "tools/satellites/Failure.h"
#include "tools/satellites/PoFile.h"
#include "tools/satellites/TextRules.h"
#include "tools/satellites/Translate.h"

namespace fuzz {

namespace {

std::span<const std::byte> bytesOf(const Input& input) {
    return std::as_bytes(std::span(input.bytes()));
}

// If a file can be read, its entries must be the same after they are written and read again.
void poFiles(const Input& input) {
    std::vector<satellites::PoEntry> entries;
    try {
        entries = satellites::readPo(input.bytes());
    } catch (const satellites::PoSyntaxError& error) {
        require(error.line > 0 && error.column > 0 && !error.reason.empty());
        return;
    }
    const auto again = satellites::readPo(satellites::writePo({}, entries));
    require(again.size() == entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        require(again[i].context == entries[i].context && again[i].text == entries[i].text &&
                again[i].translation == entries[i].translation);
    }
}

void libraries(const Input& input) {
    const auto bytes = bytesOf(input);
    try {
        satellites::textsOf(satellites::ResourceFile({bytes.begin(), bytes.end()}));
    } catch (const satellites::Unreadable&) {
    }
}

// If a template can be read and written, the written bytes must be the same after they are read and
// written again.
template <class Read, class Write>
void templates(const Input& input, Read read, Write write) {
    try {
        const std::vector<std::byte> written = write(read(bytesOf(input)));
        require(write(read(written)) == written);
    } catch (const satellites::Unreadable&) {
    }
}

void menus(const Input& input) { templates(input, &satellites::readMenu, &satellites::writeMenu); }

void dialogs(const Input& input) {
    templates(input, &satellites::readDialog, &satellites::writeDialog);
}

void textRules(const Input& input) {
    const std::wstring text(input.text());
    for (const auto kind : {satellites::TextKind::plain, satellites::TextKind::message,
                            satellites::TextKind::printf}) {
        std::wstring joined;
        for (const satellites::Piece& piece : satellites::split(text, kind)) joined += piece.text;
        require(joined == text);
    }
    require(satellites::compareInserts(text, text).empty());
    const std::wstring pseudo = satellites::pseudoTranslation(text, 30);
    require(pseudo.size() >= text.size());
    require(satellites::compareInserts(text, pseudo).empty());
}

}  // namespace

const Target kSatelliteToolTargets[] = {
    {"po-files", &poFiles, 400,
     "msgctxt msgid msgstr \"a\" \"\" \\n #~ #, fuzzy #. msgid_plural [0] charset=UTF-8"},
    {"libraries", &libraries, 6000, "MZ PE .rsrc"},
    {"menus", &menus, 300, "\x10\x80 \x01"},
    {"dialogs", &dialogs, 400, "\xFF\xFF @"},
    {"text-rules", &textRules, 100, "%1 %2!d! %d %% %n %0 & && \t <b> &amp; %*.*s ! %99"},
    {}};

}  // namespace fuzz
