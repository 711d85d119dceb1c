// Places of values in a POS text, found by their paths.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "zelutils/text_lexer.hpp"

namespace zelutils {

// One step from an array or dictionary to a member of it, and all the steps from the outermost
// value.
using PathStep = std::variant<std::string, std::uint32_t>;
using PathSteps = std::vector<PathStep>;

struct TextPlace {
  std::size_t begin = 0;             // of the value
  std::size_t end = 0;               // one past its last byte
  std::optional<std::size_t> key{};  // where the key begins, in a dictionary
};

// Finds many places in one walk over a text. The text must be one that CreateFromText takes.
class TextPlaces {
 public:
  // The index by which to ask for the place later. An empty path is the outermost value.
  std::size_t Add(const PathSteps& path) {
    Node* node = &root_;
    for (const PathStep& step : path) {
      std::unique_ptr<Node>& next = node->members[step];
      if (!next) next = std::make_unique<Node>();
      node = next.get();
    }
    wanted_.push_back(node);
    return wanted_.size() - 1;
  }

  // To be called once, when all paths have been added.
  void Find(std::string_view text) {
    TextLexer lexer(text);
    Walk(lexer, lexer.Next());
  }

  // Empty where the path leads nowhere.
  const std::optional<TextPlace>& operator[](std::size_t index) const {
    return wanted_[index]->place;
  }

 private:
  struct Node {
    std::map<PathStep, std::unique_ptr<Node>> members;
    std::optional<TextPlace> place;

    void Forget() {
      place.reset();
      for (auto& [step, node] : members) node->Forget();
    }
    Node* Find(const PathStep& step) const {
      const auto found = members.find(step);
      return found == members.end() ? nullptr : found->second.get();
    }
  };

  // An array or dictionary that is not closed yet.
  struct Open {
    Node* node;  // null where nothing inside is wanted
    bool isDict;
    std::uint32_t index = 0;
    Node* next = nullptr;  // of a dictionary, for the value behind the key
    std::optional<std::size_t> key{};
  };

  void Walk(TextLexer& lexer, TextToken token) {
    std::vector<Open> open;
    for (; token.kind != TextToken::Kind::kEnd; token = lexer.Next()) {
      if (token.IsClosing()) {
        if (open.empty()) return;
        if (Node* node = open.back().node; node && node->place) node->place->end = token.end;
        open.pop_back();
        continue;
      }
      if (!open.empty() && open.back().isDict && !open.back().key) {
        Open& dict = open.back();
        dict.key = token.begin;
        dict.next = nullptr;
        if (dict.node && !dict.node->members.empty()) {
          dict.next = dict.node->Find(lexer.StringOf(token));
        }
        continue;
      }
      Node* const node = open.empty() ? &root_ : TakeMember(open.back(), token);
      if (node && open.empty()) node->place = {token.begin, token.end, {}};
      if (token.IsOpening()) {
        open.push_back({node, token.kind == TextToken::Kind::kOpenDict});
      } else if (open.empty()) {
        return;
      }
    }
  }

  // The node of a value that begins in an open array or dictionary, with its place noted. A key
  // that comes again takes the place of the earlier one.
  static Node* TakeMember(Open& outer, const TextToken& token) {
    Node* node = outer.next;
    if (!outer.isDict) {
      node = outer.node && !outer.node->members.empty() ? outer.node->Find(outer.index) : nullptr;
      ++outer.index;
    }
    if (node) {
      node->Forget();
      node->place = {token.begin, token.end, outer.key};
    }
    outer.key.reset();
    return node;
  }

  Node root_;
  std::vector<const Node*> wanted_;
};

}  // namespace zelutils
