// nlohmann/json: values of the language, each container in memory of its own.
#include <nlohmann/json.hpp>

#include "cases.h"

namespace zelbench {

namespace {

class Nlohmann {
 public:
  static constexpr const char* kName = "nlohmann";
  static constexpr bool kReadsPos = false;
  static constexpr bool kQuickMembers = true;

  using Document = nlohmann::json;
  using Value = const nlohmann::json*;
  using Stored = std::string;

  Document Parse(const std::string& text) { return nlohmann::json::parse(text); }
  Document Build(const Node& node) { return Make(node); }
  Document Clone(const Document& document) { return document; }
  bool Equal(const Document& one, const Document& other) { return one == other; }
  std::size_t Write(const Document& document) { return document.dump().size(); }
  Stored Store(const Document& document) { return document.dump(); }
  Document Read(Stored& stored) { return nlohmann::json::parse(stored); }
  std::string WrittenText(Stored& stored) { return stored; }

  Value Root(const Document& document) { return &document; }
  Value At(Value array, std::size_t index) { return &(*array)[index]; }
  Value Get(Value dict, const std::string& key) {
    const auto member = dict->find(key);
    return member == dict->end() ? nullptr : &*member;
  }
  bool Follow(Value root, const Path& path) {
    return !root->at(nlohmann::json::json_pointer(path.pointer)).is_null();
  }

 private:
  static nlohmann::json Make(const Node& node) {
    switch (node.kind) {
      case Node::Kind::kWhole:
        return static_cast<std::int64_t>(node.number);
      case Node::Kind::kReal:
        return node.number;
      case Node::Kind::kText:
        return node.text;
      case Node::Kind::kWord:
        return node.text == "null" ? nlohmann::json() : nlohmann::json(node.text == "true");
      case Node::Kind::kArray: {
        nlohmann::json array = nlohmann::json::array();
        for (const Node& item : node.items) array.push_back(Make(item));
        return array;
      }
      case Node::Kind::kDict:
        break;
    }
    nlohmann::json dict = nlohmann::json::object();
    for (std::size_t i = 0; i < node.items.size(); ++i) {
      dict.emplace(node.keys[i], Make(node.items[i]));
    }
    return dict;
  }
};

}  // namespace

}  // namespace zelbench

int main(int argc, char** argv) {
  zelbench::AddComparedCases<zelbench::Nlohmann>();
  return zelbench::Main(argc, argv);
}
