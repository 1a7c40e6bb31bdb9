// SPDX-License-Identifier: MIT

// Loading a document, for the store: what stands in the way matters to whoever would replace the file.
#ifndef TARVEN_SETTINGS_XML_LOAD_H_
#define TARVEN_SETTINGS_XML_LOAD_H_

#include "settings/xml.h"

namespace xml_load {

enum class Outcome {
  kLoaded,
  kNotOpened,   // the file is missing or cannot be opened just now
  kNotRead,     // no memory, or a read that failed: nothing is known about the file's text
  kNoDocument,  // the file is empty, or its text is no document
};

// XML_LoadFile that also tells how it went. The path must not be null.
XML_DOC* Load(const char* path, Outcome* outcome);

}  // namespace xml_load

#endif
