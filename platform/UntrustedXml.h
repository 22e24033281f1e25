#pragma once

#include <windows.h>

#include <msxml2.h>

namespace platform {

/// Prepares an empty document for text that anyone may have written, such as what lies on the
/// clipboard. The document then loads before the call returns, reaches neither network nor files
/// for what the text refers to, and does not validate.
///
/// Where its class has these limits but leaves them off, as the 3.0 class does, text with a
/// document type declaration is refused (entities that expand without end need one), and so are
/// elements nested more than 256 deep: what the 6.0 class does by itself.
///
/// A document that does not take a setting is used as it is.
///
/// @throws _com_error with E_OUTOFMEMORY.
void distrustText(IXMLDOMDocument& document);

}  // namespace platform
