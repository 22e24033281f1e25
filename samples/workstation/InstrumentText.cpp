#include "samples/workstation/InstrumentText.h"

#include <algorithm>

std::wstring writeText(const Instruments& instruments) {
    std::wstring text;
    for (const Instrument& instrument : instruments)
        text += instrument.code + L"\t" + instrument.type + L"\t" + instrument.feed + L"\t" +
                textOf(instrument.fields) + L"\r\n";
    return text;
}

Instruments readText(const std::wstring& text) {
    Instruments instruments;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find_first_of(L"\r\n", begin), text.size());
        const std::size_t tab = std::min(text.find(L'\t', begin), end);
        if (tab > begin)
            instruments.push_back(
                {text.substr(begin, tab - begin), L"", L"", {}, Instrument::Source::kText});
        begin = end + 1;
    }
    return instruments;
}

std::wstring textOf(const std::vector<Field>& fields) {
    std::wstring text;
    for (const Field& field : fields)
        text += (text.empty() ? L"" : L"; ") + field.name + L"=" +
                (field.value.empty() ? L"?" : field.value);
    return text;
}
