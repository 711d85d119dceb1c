// Jansson: reference-counted values behind handles.
#include <jansson.h>

#include <cstdlib>
#include <cstring>

#include "cases.h"

namespace zelbench {

namespace {

class Jansson {
 public:
  static constexpr const char* kName = "jansson";
  static constexpr bool kReadsPos = false;
  static constexpr bool kQuickMembers = true;

  struct Release {
    void operator()(json_t* value) const { json_decref(value); }
  };
  using Document = std::unique_ptr<json_t, Release>;
  using Value = json_t*;
  struct Stored {
    std::unique_ptr<char, decltype(&std::free)> text;
    std::size_t size;
  };

  Document Parse(const std::string& text) { return Load(text.data(), text.size()); }
  Document Build(const Node& node) { return Document(Make(node)); }
  Document Clone(const Document& document) { return Document(json_deep_copy(document.get())); }
  bool Equal(const Document& one, const Document& other) {
    return json_equal(one.get(), other.get()) != 0;
  }
  std::size_t Write(const Document& document) { return Store(document).size; }
  Stored Store(const Document& document) {
    char* text = json_dumps(document.get(), JSON_COMPACT);
    Require(text != nullptr, "could not write");
    return {{text, &std::free}, std::strlen(text)};
  }
  Document Read(Stored& stored) { return Load(stored.text.get(), stored.size); }
  std::string WrittenText(Stored& stored) { return {stored.text.get(), stored.size}; }

  Value Root(const Document& document) { return document.get(); }
  Value At(Value array, std::size_t index) { return json_array_get(array, index); }
  Value Get(Value dict, const std::string& key) {
    return json_object_getn(dict, key.data(), key.size());
  }
  // There are no paths in Jansson: the steps are taken as a client would.
  bool Follow(Value root, const Path& path) {
    const char* rest = path.pointer.c_str();
    while (root != nullptr && *rest == '/') {
      const char* step = rest + 1;
      const std::size_t length = std::strcspn(step, "/");
      rest = step + length;
      root = json_is_array(root) ? json_array_get(root, std::strtoul(step, nullptr, 10))
                                 : json_object_getn(root, step, length);
    }
    return root != nullptr;
  }

 private:
  static Document Load(const char* text, std::size_t size) {
    json_t* value = json_loadb(text, size, 0, nullptr);
    Require(value != nullptr, "could not parse");
    return Document(value);
  }

  static json_t* Make(const Node& node) {
    switch (node.kind) {
      case Node::Kind::kWhole:
        return json_integer(static_cast<json_int_t>(node.number));
      case Node::Kind::kReal:
        return json_real(node.number);
      case Node::Kind::kText:
        return json_stringn(node.text.data(), node.text.size());
      case Node::Kind::kWord:
        return node.text == "null" ? json_null() : json_boolean(node.text == "true");
      case Node::Kind::kArray: {
        json_t* array = json_array();
        for (const Node& item : node.items) json_array_append_new(array, Make(item));
        return array;
      }
      case Node::Kind::kDict:
        break;
    }
    json_t* dict = json_object();
    for (std::size_t i = 0; i < node.items.size(); ++i) {
      const std::string& key = node.keys[i];
      json_object_setn_new(dict, key.data(), key.size(), Make(node.items[i]));
    }
    return dict;
  }
};

}  // namespace

}  // namespace zelbench

int main(int argc, char** argv) {
  zelbench::AddComparedCases<zelbench::Jansson>();
  return zelbench::Main(argc, argv);
}
