#include "tools/satellites/DialogTemplate.h"

#include <algorithm>

#include "tools/satellites/ByteReader.h"
#include "tools/satellites/ByteWriter.h"
#include "tools/satellites/Failure.h"

namespace satellites {

namespace {

constexpr WORD kNumberFollows = 0xFFFF;
constexpr WORD kExtendedSignature = 0xFFFF;

const Unreadable kDamaged{L"a dialog is cut off or damaged"};

TextOrNumber readTextOrNumber(ByteReader& reader) {
    TextOrNumber field;
    const std::size_t start = reader.position();
    if (reader.read<WORD>() == kNumberFollows) {
        field.isNumber = true;
        field.number = reader.read<WORD>();
    } else {
        reader.seek(start);
        field.text = reader.terminatedText();
    }
    return field;
}

void write(ByteWriter& writer, const TextOrNumber& field) {
    if (field.isNumber) {
        writer.write(kNumberFollows);
        writer.write(field.number);
    } else {
        writer.terminatedText(field.text);
    }
}

/// Copies the bytes from `start` to the current position of the reader.
std::vector<std::byte> copyBytesSince(std::span<const std::byte> data, const ByteReader& reader,
                                      std::size_t start) {
    const auto bytes = data.subspan(start, reader.position() - start);
    return {bytes.begin(), bytes.end()};
}

/// Moves past the creation data and the size word before it.
void takeCreationData(ByteReader& reader, bool isExtended) {
    const std::size_t size = reader.read<WORD>();
    if (isExtended) {
        reader.take(size);
        return;
    }
    // In a DIALOG resource, the size includes the size word. A size of 0 means that there is no
    // creation data.
    if (size == 0) return;
    if (size < sizeof(WORD)) throw kDamaged;
    reader.take(size - sizeof(WORD));
}

DialogControl readControl(std::span<const std::byte> data, ByteReader& reader, bool isExtended) {
    DialogControl control;
    reader.align(4);
    const std::size_t start = reader.position();
    if (isExtended) {
        reader.take(3 * sizeof(DWORD));  // help id, extended style, style
        reader.take(4 * sizeof(short));  // position and size
        control.id = reader.read<DWORD>();
    } else {
        reader.take(2 * sizeof(DWORD));  // style, extended style
        reader.take(4 * sizeof(short));
        control.id = reader.read<WORD>();
    }
    readTextOrNumber(reader);  // the window class
    control.header = copyBytesSince(data, reader, start);
    control.title = readTextOrNumber(reader);
    const std::size_t creationData = reader.position();
    takeCreationData(reader, isExtended);
    control.creationData = copyBytesSince(data, reader, creationData);
    return control;
}

}  // namespace

DialogTemplate readDialog(std::span<const std::byte> data) {
    ByteReader reader(data);
    DialogTemplate dialog;
    const auto version = reader.read<WORD>();
    const auto signature = reader.read<WORD>();
    dialog.isExtended = version == 1 && signature == kExtendedSignature;
    reader.seek(0);
    if (dialog.isExtended) {
        reader.take(2 * sizeof(WORD));   // version, signature
        reader.take(2 * sizeof(DWORD));  // help id, extended style
    }
    const auto style = reader.read<DWORD>();
    if (!dialog.isExtended) reader.take(sizeof(DWORD));  // extended style
    const auto count = reader.read<WORD>();
    reader.take(4 * sizeof(short));  // position and size
    readTextOrNumber(reader);        // the menu
    readTextOrNumber(reader);        // the window class
    dialog.header = copyBytesSince(data, reader, 0);
    dialog.caption = reader.terminatedText();

    const std::size_t font = reader.position();
    if (style & DS_SETFONT) {
        reader.take(sizeof(WORD));                                            // size
        if (dialog.isExtended) reader.take(sizeof(WORD) + 2 * sizeof(BYTE));  // see DLGTEMPLATEEX
        reader.terminatedText();                                              // name
    }
    dialog.font = copyBytesSince(data, reader, font);
    for (WORD i = 0; i < count && reader.ok(); ++i) {
        dialog.controls.push_back(readControl(data, reader, dialog.isExtended));
    }
    if (!reader.ok()) throw kDamaged;
    return dialog;
}

std::vector<std::byte> writeDialog(const DialogTemplate& dialog) {
    ByteWriter writer;
    writer.append(dialog.header);
    writer.terminatedText(dialog.caption);
    writer.append(dialog.font);
    for (const DialogControl& control : dialog.controls) {
        writer.align(4);
        writer.append(control.header);
        write(writer, control.title);
        writer.append(control.creationData);
    }
    return writer.take();
}

bool haveSameStructure(const DialogTemplate& a, const DialogTemplate& b) {
    return std::equal(
        a.controls.begin(), a.controls.end(), b.controls.begin(), b.controls.end(),
        [](const DialogControl& one, const DialogControl& other) { return one.id == other.id; });
}

}  // namespace satellites
