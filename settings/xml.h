/* SPDX-License-Identifier: MIT */

/* Markup documents: trees of elements with attributes, in a restricted, XML-like text.
 *
 * The format of the settings files. There is no text between tags, there are no entities and there
 * is no escaping: an element holds attributes and child elements, nothing else.
 *
 *   <Registry>
 *     <Software Port="0x00004A4D"/>
 *   </Registry>
 *
 * Names consist of 0-9, A-Z, a-z, "_", "!" and "-", which is not the first. Values are all bytes
 * but the double quote, line ends included. Elements stand between other elements, comments
 * ("<!-- -->"), document type declarations ("<!DOC" to the next ">") and blanks: tab, carriage
 * return, line feed and space. There is no XML declaration.
 *
 * A document owns all of its elements, attributes and strings. They are carved back to back from
 * blocks of 4 MiB and live until XML_FreeDoc: a removed attribute or a replaced value is not given
 * back before.
 *
 * Records and alignment. Back to back means that a record may start at any address. The record
 * types are therefore packed: their alignment is 1, and the compiler reads and writes every field in
 * a way that suits any address. The fields stand where they would stand without the packing. Read
 * and write them through the record (element->next) and take no field's address: a plain pointer to
 * it would promise an alignment that is not there.
 *
 * Records come from these functions alone, and so do the strings in them: searches and XML_ToText
 * read a few bytes beyond a string. Strings are bytes with a terminating zero. Names are compared without
 * regard to 7-bit ASCII case. Copies into a caller's buffer are cut to capacity - 1 bytes and always
 * terminated; capacity 0 stores nothing.
 *
 * Null is taken everywhere: a null document, element, attribute or text gives null or -1 where
 * nothing else is said. Different documents may be used at the same time, except that only one
 * XML_ToText may run in a process. One document belongs to one thread at a time. */
#ifndef TARVEN_SETTINGS_XML_H_
#define TARVEN_SETTINGS_XML_H_

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The blocks that hold what a document owns; for these functions alone. */
typedef struct XML_ARENA XML_ARENA;

/* The records below. */
typedef struct XML_ATTR XML_ATTR;
typedef struct XML_NODE XML_NODE;

#pragma pack(push, 1)

/* An attribute. */
struct XML_ATTR {
  const char* name;      /* as it was written, whatever its case */
  const char* value;     /* what stands between the quotes */
  uint32_t name_length;  /* without the terminator */
  uint32_t value_length; /* without the terminator */
  XML_ATTR* prev;        /* null in the first one */
  XML_ATTR* next;        /* null in the last one */
};

/* An element. */
struct XML_NODE {
  const char* name;      /* as it was written, whatever its case */
  uint32_t name_length;  /* without the terminator */
  uint32_t : 32;         /* what follows stands where it would stand without the packing */
  XML_ATTR* first_attr;  /* null without attributes */
  XML_NODE* parent;      /* null at top level */
  XML_NODE* prev;        /* null in parsed elements: added ones alone know the one before */
  XML_NODE* next;        /* null in the last one */
  XML_NODE* first_child; /* null without children */
};

/* A document. */
typedef struct {
  XML_NODE* first_element; /* the first of the top level */
  uint32_t line_count;     /* line feeds seen outside values when the text was parsed */
  uint32_t : 32;           /* as in XML_NODE */
  XML_ARENA* arena;        /* what the document owns */
} XML_DOC;

#pragma pack(pop)

/* ---- Documents ---- */

/* Reads a document from a file.
 *
 * Of a name or value the first 255 bytes are kept. An element that the end of the text leaves open
 * counts as closed. An element of whose attributes one has no "=" loses them all. A zero byte ends
 * the text.
 *
 * Returns the document, for XML_FreeDoc to release, or null: the file cannot be opened, is empty or
 * holds no element; the text breaks the rules (text between tags, an empty name, a closing tag that
 * does not fit, a tag that does not end, more than 101 levels); there is no memory. */
XML_DOC* XML_LoadFile(const char* path);

/* Makes a document with one element. Returns it, for XML_FreeDoc to release, or null for an empty
 * name or without memory. */
XML_DOC* XML_CreateDoc(const char* root_name);

/* Writes a document as text: two blanks per level, a carriage return and a line feed behind every
 * tag, no terminating zero.
 *
 * Nothing is escaped: a value with a double quote does not read back the same, and an element whose
 * name begins with "!--" or "!DOC" reads back as a comment or a declaration.
 *
 * The text holds at most 0x100000 bytes (1 MiB). What does not fit is left out piece by piece (a pair
 * of blanks, a name, a value, a piece of punctuation) while shorter pieces may still find room: a
 * larger document gives a damaged text.
 *
 * Returns the number of bytes, of which at most capacity were stored;
 *   -1   no document, no buffer or no memory; nothing was stored
 *   -2   the text is longer than the capacity; its first capacity bytes were stored
 * A document without elements, which only a caller can make, gives 1 byte: a zero. */
int32_t XML_ToText(const XML_DOC* document, char* buffer, uint32_t capacity);

/* Releases a document and all that belongs to it; null is ignored. Returns 0. */
int32_t XML_FreeDoc(XML_DOC* document);

/* ---- Elements ---- */

/* Returns the first element of the top level. */
XML_NODE* XML_GetRoot(const XML_DOC* document);

/* Returns the first child, or null when there is none. */
XML_NODE* XML_GetFirstChild(const XML_DOC* document, const XML_NODE* element);

/* Returns the next sibling, or null behind the last. */
XML_NODE* XML_GetNextSibling(const XML_DOC* document, const XML_NODE* element);

/* Finds the first element of a name among a given one and the siblings behind it.
 *
 * A name of 256 bytes and more needs memory for the search.
 *
 * Returns the element, or null when there is none or no memory. */
XML_NODE* XML_FindChild(const XML_DOC* document, XML_NODE* first, const char* name);

/* Finds the child of a name, and adds it behind the last child when XML_FindChild finds none.
 *
 * Returns the child, or null for an empty name or without memory. */
XML_NODE* XML_FindOrAddChild(XML_DOC* document, XML_NODE* parent, const char* name);

/* Finds the sibling of a name, and adds it behind the last sibling when there is none.
 *
 * The search begins at the first sibling that prev links lead back to. Parsed elements have none:
 * from a parsed element on, what stands before it is not searched.
 *
 * Returns the sibling, or null for an empty name or without memory. */
XML_NODE* XML_FindOrAddSibling(XML_DOC* document, XML_NODE* element, const char* name);

/* Copies an element's name. Returns its full length, also when the copy was cut. */
int32_t XML_GetName(const XML_DOC* document, const XML_NODE* element, char* buffer,
                    uint32_t capacity);

/* ---- Attributes ---- */

/* Gives an attribute a value; a new one is added behind the last.
 *
 * value   null means ""
 *
 * Returns 0, or -1 also for an empty name and without memory. */
int32_t XML_SetAttr(XML_DOC* document, XML_NODE* element, const char* name, const char* value);

/* Returns the first attribute of a name, or null when there is none. */
XML_ATTR* XML_FindAttr(const XML_DOC* document, const XML_NODE* element, const char* name);

/* Removes the first attribute of a name.
 *
 * Returns 0; 1 for a null name or when there is none; -1 for a null element. */
int32_t XML_DeleteAttr(XML_DOC* document, XML_NODE* element, const char* name);

/* Returns the first attribute and copies its name, or null, with nothing copied, when there is none.
 *
 * name   may be null */
XML_ATTR* XML_GetFirstAttr(const XML_DOC* document, const XML_NODE* element, char* name,
                           uint32_t capacity);

/* Returns the attribute behind a given one as XML_GetFirstAttr does the first. */
XML_ATTR* XML_GetNextAttr(const XML_DOC* document, const XML_ATTR* attribute, char* name,
                          uint32_t capacity);

/* Copies an attribute's value. Returns its full length, also when the copy was cut. */
int32_t XML_GetAttrValue(const XML_DOC* document, const XML_ATTR* attribute, char* buffer,
                         uint32_t capacity);

/* ---- Names ---- */

/* Makes a text, in place, one that can be parsed back as a name, unless it is empty: a "-" at its
 * start and every byte that no name has become "_". Null is ignored. */
void XML_MakeValidName(char* text);

#ifdef __cplusplus
}
#endif

#endif
