// SPDX-License-Identifier: MIT

// Markup documents: loading files like those of the settings store, writing their text, and finding
// attributes in them.
#include <expat.h>
#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <pugixml.hpp>
#include <rapidxml/rapidxml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "bench/hive_file.h"
#include "bench/rows.h"

// rapidxml_print.hpp calls functions that it defines further down, which GCC takes from a
// declaration alone.
namespace rapidxml::internal {
template <class OutIt, class Ch>
OutIt print_children(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_attributes(OutIt, const xml_node<Ch>*, int);
template <class OutIt, class Ch>
OutIt print_data_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_cdata_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_element_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_declaration_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_comment_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_doctype_node(OutIt, const xml_node<Ch>*, int, int);
template <class OutIt, class Ch>
OutIt print_pi_node(OutIt, const xml_node<Ch>*, int, int);
}  // namespace rapidxml::internal

#include <rapidxml/rapidxml_print.hpp>

#include "settings/xml.h"

namespace {

// ---- Files ----

// One that every program of the table reads; it goes when the program ends.
std::string FileWith(const std::string& name, const std::string& text) {
  static const support::TemporaryFolder folder;
  return bench::Store(folder, name, text);
}

struct Size {
  const char* name;
  size_t bytes;
};

// The largest stays below what XML_ToText writes at most.
constexpr Size kSizes[] = {{"4 KiB", 4 << 10}, {"64 KiB", 64 << 10}, {"1 MiB", (1 << 20) - 4096}};

// The whole file behind room for a terminating zero, as a program reads it that means to be fast.
class FileText {
 public:
  explicit FileText(const std::string& path) {
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) std::abort();
    size_ = static_cast<size_t>(status.st_size);
    text_.reset(static_cast<char*>(std::malloc(size_ + 1)));
    if (read(file, text_.get(), size_) != status.st_size) std::abort();
    text_.get()[size_] = '\0';
    close(file);
  }
  char* data() { return text_.get(); }
  size_t size() const { return size_; }

 private:
  struct Release {
    void operator()(char* text) const { std::free(text); }
  };
  std::unique_ptr<char, Release> text_;
  size_t size_ = 0;
};

// ---- What a document holds ----

struct Content {
  size_t elements = 0;
  size_t attributes = 0;
  size_t bytes = 0;  // of names and values

  void AddElement(size_t name) {
    ++elements;
    bytes += name;
  }
  void AddAttribute(size_t name, size_t value) {
    ++attributes;
    bytes += name + value;
  }
  bool operator==(const Content&) const = default;
};

void Add(Content& content, const XML_NODE* first) {
  for (const XML_NODE* node = first; node != nullptr; node = node->next) {
    content.AddElement(node->name_length);
    for (const XML_ATTR* attribute = node->first_attr; attribute != nullptr;
         attribute = attribute->next) {
      content.AddAttribute(attribute->name_length, attribute->value_length);
    }
    Add(content, node->first_child);
  }
}

void Add(Content& content, const pugi::xml_node& parent) {
  for (const pugi::xml_node& node : parent) {
    content.AddElement(strlen(node.name()));
    for (const pugi::xml_attribute& attribute : node.attributes()) {
      content.AddAttribute(strlen(attribute.name()), strlen(attribute.value()));
    }
    Add(content, node);
  }
}

void Add(Content& content, const rapidxml::xml_node<>* first) {
  for (const auto* node = first; node != nullptr; node = node->next_sibling()) {
    content.AddElement(node->name_size());
    for (const auto* attribute = node->first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute()) {
      content.AddAttribute(attribute->name_size(), attribute->value_size());
    }
    Add(content, node->first_node());
  }
}

size_t Length(const xmlChar* text) { return strlen(reinterpret_cast<const char*>(text)); }

void Add(Content& content, const xmlNode* first) {
  for (const xmlNode* node = first; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    content.AddElement(Length(node->name));
    for (const xmlAttr* attribute = node->properties; attribute != nullptr;
         attribute = attribute->next) {
      content.AddAttribute(Length(attribute->name), Length(attribute->children->content));
    }
    Add(content, node->children);
  }
}

// Stands for the tree, which this library leaves to its users.
void XMLCALL AddExpatElement(void* content, const XML_Char* name, const XML_Char** attributes) {
  auto& counts = *static_cast<Content*>(content);
  counts.AddElement(strlen(name));
  for (; attributes[0] != nullptr; attributes += 2) {
    counts.AddAttribute(strlen(attributes[0]), strlen(attributes[1]));
  }
}

// Every parser has to find the same in a file.
template <typename Tree>
void Require(const Content& expected, const Tree& tree) {
  Content content;
  Add(content, tree);
  if (content != expected || content.attributes < 20) std::abort();
}

// ---- Loading ----

XML_DOC* Load(const std::string& path) {
  XML_DOC* const document = XML_LoadFile(path.c_str());
  if (document == nullptr) std::abort();
  return document;
}

Content ContentOf(const std::string& path) {
  XML_DOC* const document = Load(path);
  Content content;
  Add(content, XML_GetRoot(document));
  XML_FreeDoc(document);
  return content;
}

template <unsigned flags>
void LoadPugixml(pugi::xml_document& document, const std::string& path) {
  if (!document.load_file(path.c_str(), flags)) std::abort();
}

constexpr int kRapidxmlFlags = rapidxml::parse_fastest;

Content LoadExpat(const std::string& path) {
  Content content;
  FileText text(path);
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, &content);
  XML_SetStartElementHandler(parser, AddExpatElement);
  if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK) {
    std::abort();
  }
  XML_ParserFree(parser);
  return content;
}

constexpr int kLibxml2Flags = XML_PARSE_NONET | XML_PARSE_COMPACT | XML_PARSE_NOBLANKS;

void RequireSameContent(const std::string& path) {
  const Content expected = ContentOf(path);
  pugi::xml_document pugixml;
  LoadPugixml<pugi::parse_minimal>(pugixml, path);
  Require(expected, pugixml);
  LoadPugixml<pugi::parse_default>(pugixml, path);
  Require(expected, pugixml);
  FileText text(path);
  const auto rapid = std::make_unique<rapidxml::xml_document<>>();
  rapid->parse<kRapidxmlFlags>(text.data());
  Require(expected, rapid->first_node());
  if (LoadExpat(path) != expected) std::abort();
  xmlDoc* const libxml2 = xmlReadFile(path.c_str(), nullptr, kLibxml2Flags);
  Require(expected, xmlDocGetRootElement(libxml2));
  xmlFreeDoc(libxml2);
}

void AddLoadRow(const Size& size) {
  const std::string path = FileWith(size.name, bench::HiveText(size.bytes));
  RequireSameContent(path);
  const double target = size.bytes > (1 << 19) ? 0.8 : 0.95;
  bench::Row("markup load", size.name)
      .Project([path] { XML_FreeDoc(Load(path)); })
      .Peer("pugixml minimal", target,
            [path] {
              pugi::xml_document document;
              LoadPugixml<pugi::parse_minimal>(document, path);
            })
      .Peer("pugixml default", target,
            [path] {
              pugi::xml_document document;
              LoadPugixml<pugi::parse_default>(document, path);
            })
      .Peer("RapidXML fastest", target,
            [path](benchmark::State& state) {
              const auto document = std::make_unique<rapidxml::xml_document<>>();
              for (auto _ : state) {
                FileText text(path);
                document->parse<kRapidxmlFlags>(text.data());
                document->clear();
              }
            })
      .Peer("expat without a tree", target, [path] { benchmark::DoNotOptimize(LoadExpat(path)); })
      .Peer("libxml2", target,
            [path] { xmlFreeDoc(xmlReadFile(path.c_str(), nullptr, kLibxml2Flags)); });
}

// ---- Writing ----

constexpr uint32_t kTextCapacity = 0x100000;
constexpr unsigned kPugixmlFormat =
    pugi::format_indent | pugi::format_no_declaration | pugi::format_no_escapes;

// Copies to a place that has room for all, and zeros behind it.
class PlaceWriter : public pugi::xml_writer {
 public:
  explicit PlaceWriter(char* place) : end_(place) {}
  void write(const void* data, size_t size) override {
    memcpy(end_, data, size);
    end_ += size;
  }

 private:
  char* end_;
};

std::string WithoutCarriageReturnsAndTabs(std::string_view text) {
  std::string plain;
  for (const char byte : text) {
    if (byte == '\t') {
      plain += "  ";
    } else if (byte != '\r') {
      plain += byte;
    }
  }
  return plain;
}

// Texts are compared without what the peers write differently: line ends, indentations by tabs, a
// blank in front of "/>" and a line end behind the last tag.
std::string Comparable(std::string_view text) {
  std::string plain = WithoutCarriageReturnsAndTabs(text);
  for (size_t at = 0; (at = plain.find(" />", at)) != std::string::npos;) plain.erase(at, 1);
  while (!plain.empty() && plain.back() == '\n') plain.pop_back();
  return plain;
}

void RequireSameText(std::string_view text, std::string_view other) {
  if (text.empty() || Comparable(text) != Comparable(other)) std::abort();
}

void Print(benchmark::State& state, const std::string& path) {
  XML_DOC* const document = Load(path);
  std::vector<char> text(kTextCapacity);
  for (auto _ : state) {
    benchmark::DoNotOptimize(XML_ToText(document, text.data(), kTextCapacity));
    benchmark::ClobberMemory();
  }
  XML_FreeDoc(document);
}

void PrintPugixml(benchmark::State& state, const std::string& path) {
  pugi::xml_document document;
  LoadPugixml<pugi::parse_minimal>(document, path);
  std::vector<char> text(2 * kTextCapacity);
  for (auto _ : state) {
    PlaceWriter writer(text.data());
    document.save(writer, "  ", kPugixmlFormat);
    benchmark::ClobberMemory();
  }
  RequireSameText(FileText(path).data(), text.data());
}

void PrintRapidxml(benchmark::State& state, const std::string& path) {
  FileText source(path);
  const auto document = std::make_unique<rapidxml::xml_document<>>();
  document->parse<kRapidxmlFlags>(source.data());
  std::vector<char> text(2 * kTextCapacity);
  for (auto _ : state) {
    *rapidxml::print(text.data(), *document) = '\0';
    benchmark::ClobberMemory();
  }
  RequireSameText(FileText(path).data(), text.data());
}

void AddPrintRow(const Size& size) {
  const std::string path = FileWith(size.name, bench::HiveText(size.bytes));
  bench::Row("markup print", size.name)
      .Project([path](benchmark::State& state) { Print(state, path); })
      .Peer("pugixml without escapes", 0.3,
            [path](benchmark::State& state) { PrintPugixml(state, path); })
      .Peer("RapidXML", 0.3, [path](benchmark::State& state) { PrintRapidxml(state, path); });
}

// ---- Finding attributes ----

constexpr size_t kHits = 64;

// Some names of those that the element has, spread over all of it, in an order that no processor
// foresees.
std::vector<std::string> Hits(size_t attributes) {
  std::vector<std::string> hits;
  uint32_t random = 12345;
  for (size_t i = 0; i < kHits; ++i) {
    random = random * 1664525 + 1013904223;
    hits.push_back("Value" + std::to_string((random >> 8) % attributes));
  }
  return hits;
}

std::string ElementWith(size_t attributes) {
  std::string text = "<Software";
  for (size_t i = 0; i < attributes; ++i) {
    text += " Value" + std::to_string(i) + "=\"" +
            (i % 2 == 0 ? "0x0000BEEF" : "some text of a setting") + "\"";
  }
  return text + "/>\r\n";
}

void Find(benchmark::State& state, const std::string& path, size_t attributes) {
  XML_DOC* const document = Load(path);
  const XML_NODE* const element = XML_GetRoot(document);
  const std::vector<std::string> hits = Hits(attributes);
  for (const std::string& name : hits) {
    const XML_ATTR* const found = XML_FindAttr(document, element, name.c_str());
    if (found == nullptr || name != found->name) std::abort();
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(XML_FindAttr(document, element, hits[i++ % kHits].c_str()));
  }
  XML_FreeDoc(document);
}

void FindPugixml(benchmark::State& state, const std::string& path, size_t attributes) {
  pugi::xml_document document;
  LoadPugixml<pugi::parse_minimal>(document, path);
  const pugi::xml_node element = document.first_child();
  const std::vector<std::string> hits = Hits(attributes);
  for (const std::string& name : hits) {
    if (name != element.attribute(name.c_str()).name()) std::abort();
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(element.attribute(hits[i++ % kHits].c_str()));
  }
}

void AddFindRow(size_t attributes, const std::string& among, double target) {
  const std::string path = FileWith("attributes " + among, ElementWith(attributes));
  bench::Row("attribute lookup", "among " + among)
      .Project([=](benchmark::State& state) { Find(state, path, attributes); })
      .Peer("pugixml", target,
            [=](benchmark::State& state) { FindPugixml(state, path, attributes); });
}

}  // namespace

void bench::AddRows() {
  for (const Size& size : kSizes) AddLoadRow(size);
  for (const Size& size : kSizes) AddPrintRow(size);
  AddFindRow(20, "20", 1.1);
  AddFindRow(200, "200", 0.8);
  AddFindRow(5000, "5,000", 0.75);
}
