#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The lines of well-formed XML with each element indented by its depth. An element without child
/// elements is one line, and white space between elements is not kept.
std::vector<std::wstring> indentXml(std::wstring_view xml);
