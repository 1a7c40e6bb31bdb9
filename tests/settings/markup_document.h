// SPDX-License-Identifier: MIT

// Documents in tests: made from a text, shown as one line, written.
#ifndef TARVEN_TESTS_SETTINGS_MARKUP_DOCUMENT_H_
#define TARVEN_TESTS_SETTINGS_MARKUP_DOCUMENT_H_

#include <string>
#include <string_view>

#include "settings/xml.h"

// Owns a document, or null.
class Document {
 public:
  explicit Document(XML_DOC* document) : document_(document) {}
  ~Document() { XML_FreeDoc(document_); }
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  XML_DOC* get() const { return document_; }
  XML_DOC* operator->() const { return document_; }
  XML_NODE* root() const { return XML_GetRoot(document_); }
  explicit operator bool() const { return document_ != nullptr; }

 private:
  XML_DOC* document_;
};

// Stores the text in a file and loads it.
Document LoadText(std::string_view text);

// The tree as one line, such as "a[x=1][y=]{b c{d}}": attributes in brackets, children in braces.
// Checks on the way that all links and lengths fit together. "null" without a document.
std::string Outline(const Document& document);

// Outline of what a text loads as.
std::string Loaded(std::string_view text);

// What XML_ToText writes.
std::string Text(const Document& document);

#endif
