// json-c: reference-counted values behind handles.
#include <json-c/json.h>
#include <json-c/json_pointer.h>

#include "cases.h"

namespace zelbench {

namespace {

class JsonC {
 public:
  static constexpr const char* kName = "json-c";
  static constexpr bool kReadsPos = false;
  static constexpr bool kQuickMembers = true;

  struct Release {
    void operator()(json_object* value) const { json_object_put(value); }
  };
  using Document = std::unique_ptr<json_object, Release>;
  using Value = json_object*;
  using Stored = std::string;

  Document Parse(const std::string& text) {
    json_tokener* tokener = json_tokener_new();
    json_object* value = json_tokener_parse_ex(tokener, text.data(), static_cast<int>(text.size()));
    json_tokener_free(tokener);
    Require(value != nullptr, "could not parse");
    return Document(value);
  }
  Document Build(const Node& node) { return Document(Make(node)); }
  Document Clone(const Document& document) {
    json_object* copy = nullptr;
    Require(json_object_deep_copy(document.get(), &copy, nullptr) == 0, "could not copy");
    return Document(copy);
  }
  bool Equal(const Document& one, const Document& other) {
    return json_object_equal(one.get(), other.get()) != 0;
  }
  // The buffer stays with the object and is used again by the next write.
  std::size_t Write(const Document& document) {
    std::size_t size = 0;
    json_object_to_json_string_length(document.get(), JSON_C_TO_STRING_PLAIN, &size);
    return size;
  }
  Stored Store(const Document& document) {
    std::size_t size = 0;
    const char* text =
        json_object_to_json_string_length(document.get(), JSON_C_TO_STRING_PLAIN, &size);
    return {text, size};
  }
  Document Read(Stored& stored) { return Parse(stored); }
  std::string WrittenText(Stored& stored) { return stored; }

  Value Root(const Document& document) { return document.get(); }
  Value At(Value array, std::size_t index) { return json_object_array_get_idx(array, index); }
  Value Get(Value dict, const std::string& key) {
    json_object* value = nullptr;
    json_object_object_get_ex(dict, key.c_str(), &value);
    return value;
  }
  bool Follow(Value root, const Path& path) {
    json_object* value = nullptr;
    return json_pointer_get(root, path.pointer.c_str(), &value) == 0;
  }

 private:
  static json_object* Make(const Node& node) {
    switch (node.kind) {
      case Node::Kind::kWhole:
        return json_object_new_int64(static_cast<std::int64_t>(node.number));
      case Node::Kind::kReal:
        return json_object_new_double(node.number);
      case Node::Kind::kText:
        return json_object_new_string_len(node.text.data(), static_cast<int>(node.text.size()));
      case Node::Kind::kWord:  // null is no object
        return node.text == "null" ? nullptr : json_object_new_boolean(node.text == "true");
      case Node::Kind::kArray: {
        json_object* array = json_object_new_array();
        for (const Node& item : node.items) json_object_array_add(array, Make(item));
        return array;
      }
      case Node::Kind::kDict:
        break;
    }
    json_object* dict = json_object_new_object();
    for (std::size_t i = 0; i < node.items.size(); ++i) {
      json_object_object_add(dict, node.keys[i].c_str(), Make(node.items[i]));
    }
    return dict;
  }
};

}  // namespace

}  // namespace zelbench

int main(int argc, char** argv) {
  zelbench::AddComparedCases<zelbench::JsonC>();
  return zelbench::Main(argc, argv);
}
