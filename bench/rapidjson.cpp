// RapidJSON: values in a pool of their document, released all at once.
#include <rapidjson/document.h>
#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "cases.h"

namespace zelbench {

namespace {

using rapidjson::SizeType;

class RapidJson {
 public:
  static constexpr const char* kName = "rapidjson";
  static constexpr bool kReadsPos = false;
  static constexpr bool kQuickMembers = false;

  using Document = rapidjson::Document;
  using Value = const rapidjson::Value*;
  using Stored = std::unique_ptr<rapidjson::StringBuffer>;

  Document Parse(const std::string& text) { return Load(text.data(), text.size()); }
  Document Build(const Node& node) {
    Document document;
    Fill(document, node, document.GetAllocator());
    return document;
  }
  Document Clone(const Document& document) {
    Document copy;
    copy.CopyFrom(document, copy.GetAllocator());
    return copy;
  }
  bool Equal(const Document& one, const Document& other) { return one == other; }
  std::size_t Write(const Document& document) { return Store(document)->GetSize(); }
  Stored Store(const Document& document) {
    auto buffer = std::make_unique<rapidjson::StringBuffer>();
    rapidjson::Writer<rapidjson::StringBuffer> writer(*buffer);
    Require(document.Accept(writer), "could not write");
    return buffer;
  }
  Document Read(Stored& stored) { return Load(stored->GetString(), stored->GetSize()); }
  std::string WrittenText(Stored& stored) { return {stored->GetString(), stored->GetSize()}; }

  Value Root(const Document& document) { return &document; }
  Value At(Value array, std::size_t index) { return &(*array)[static_cast<SizeType>(index)]; }
  Value Get(Value dict, const std::string& key) {
    const auto member = dict->FindMember(
        rapidjson::Value(rapidjson::StringRef(key.data(), static_cast<SizeType>(key.size()))));
    return member == dict->MemberEnd() ? nullptr : &member->value;
  }
  bool Follow(Value root, const Path& path) {
    return rapidjson::Pointer(path.pointer.data(), path.pointer.size()).Get(*root) != nullptr;
  }

 private:
  using Allocator = rapidjson::Document::AllocatorType;

  static Document Load(const char* text, std::size_t size) {
    Document document;
    // Exactly what the text says, as all others do it.
    document.Parse<rapidjson::kParseFullPrecisionFlag>(text, size);
    Require(!document.HasParseError(), "could not parse");
    return document;
  }

  static void Fill(rapidjson::Value& value, const Node& node, Allocator& allocator) {
    switch (node.kind) {
      case Node::Kind::kWhole:
        value.SetInt64(static_cast<std::int64_t>(node.number));
        break;
      case Node::Kind::kReal:
        value.SetDouble(node.number);
        break;
      case Node::Kind::kText:
        value.SetString(node.text.data(), static_cast<SizeType>(node.text.size()), allocator);
        break;
      case Node::Kind::kWord:
        node.text == "null" ? value.SetNull() : value.SetBool(node.text == "true");
        break;
      case Node::Kind::kArray:
        value.SetArray();
        for (const Node& item : node.items) {
          rapidjson::Value element;
          Fill(element, item, allocator);
          value.PushBack(element, allocator);
        }
        break;
      case Node::Kind::kDict:
        value.SetObject();
        for (std::size_t i = 0; i < node.items.size(); ++i) {
          const std::string& key = node.keys[i];
          rapidjson::Value member;
          Fill(member, node.items[i], allocator);
          value.AddMember(
              rapidjson::Value(key.data(), static_cast<SizeType>(key.size()), allocator), member,
              allocator);
        }
        break;
    }
  }
};

// Validation of the catalogue with a schema made once.
class ValidationCase final : public LibraryCase<RapidJson> {
 public:
  explicit ValidationCase(const Node& catalog)
      : LibraryCase(catalog),
        document_(library_.Build(node_)),
        schemaText_(library_.Parse(kCatalogJsonSchema)),
        schema_(schemaText_) {}

  void Run() override {
    rapidjson::SchemaValidator validator(schema_);
    Require(document_.Accept(validator), "the catalogue does not conform");
  }

 private:
  Document document_;
  Document schemaText_;
  rapidjson::SchemaDocument schema_;
};

}  // namespace

}  // namespace zelbench

int main(int argc, char** argv) {
  using namespace zelbench;
  AddComparedCases<RapidJson>();
  AddCase("validate/catalog/rapidjson", [] { return std::make_unique<ValidationCase>(Catalog()); });
  return Main(argc, argv);
}
