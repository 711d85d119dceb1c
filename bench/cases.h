// The operations that all libraries are compared in, over a class `Library` that offers
//
//   static constexpr const char* kName;
//   static constexpr bool kReadsPos;              // the POS text syntax, or else JSON
//   static constexpr bool kQuickMembers;          // found without walking over the others
//   Document Parse(const std::string& text);      // Document: the owner of a value, default empty
//   Document Build(const Node& node);             // through the procedures that make values
//   Document Clone(const Document&);
//   bool Equal(const Document&, const Document&);
//   std::size_t Write(const Document&);           // to a new stream or buffer; bytes written
//   Stored Store(const Document&);                // the same, kept
//   Document Read(Stored&);                       // from the start
//   std::string WrittenText(Stored&);
//   Value Root(const Document&);                  // Value: borrowed, null when there is none
//   Value At(Value array, std::size_t index);
//   Value Get(Value dict, const std::string& key);
//   bool Follow(Value root, const Path& path);    // whether the path leads to a value
#pragma once

#include <malloc.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "documents.h"
#include "runner.h"

namespace zelbench {

template <typename Library>
class LibraryCase : public Case {
 public:
  static constexpr int kIterations = 0;
  using Document = typename Library::Document;

  explicit LibraryCase(const Node& node) : node_(node) { items = CountValues(node_); }

 protected:
  std::string Text() const { return Library::kReadsPos ? ToPos(node_) : ToJson(node_); }

  // Walking over all members for each of many would take longer than what is measured.
  void RequireSame(const Document& document, const char* what) {
    if (!Library::kQuickMembers && node_.keys.size() > 1000) return;
    Require(library_.Equal(document, library_.Build(node_)), what);
  }

  Library library_;  // before all that holds its values
  Node node_;
};

// With the release of what was parsed.
template <typename Library>
class ParseCase final : public LibraryCase<Library> {
 public:
  explicit ParseCase(const Node& node) : LibraryCase<Library>(node), text_(this->Text()) {
    this->RequireSame(this->library_.Parse(text_), "what was parsed is not what was built");
  }
  void Run() override { this->library_.Parse(text_); }

 private:
  std::string text_;
};

template <typename Library>
class WriteCase final : public LibraryCase<Library> {
 public:
  explicit WriteCase(const Node& node)
      : LibraryCase<Library>(node), document_(this->library_.Build(node)) {
    auto stored = this->library_.Store(document_);
    const std::string text = this->library_.WrittenText(stored);
    this->digits = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }));
    bytes_ = text.size();
  }
  void Run() override { Require(this->library_.Write(document_) == bytes_, "not all was written"); }

 private:
  typename Library::Document document_;
  std::size_t bytes_;
};

// From what the library itself has written, with the release of what was read.
template <typename Library>
class ReadCase final : public LibraryCase<Library> {
 public:
  explicit ReadCase(const Node& node)
      : LibraryCase<Library>(node), stored_(this->library_.Store(this->library_.Build(node))) {
    this->RequireSame(this->library_.Read(stored_), "what was read is not what was built");
  }
  void Run() override { this->library_.Read(stored_); }

 private:
  typename Library::Stored stored_;
};

// With the release of the copy.
template <typename Library>
class CloneCase final : public LibraryCase<Library> {
 public:
  explicit CloneCase(const Node& node)
      : LibraryCase<Library>(node), document_(this->library_.Build(node)) {
    this->RequireSame(this->library_.Clone(document_), "the copy is not equal");
  }
  void Run() override { this->library_.Clone(document_); }

 private:
  typename Library::Document document_;
};

template <typename Library>
class EqualityCase final : public LibraryCase<Library> {
 public:
  explicit EqualityCase(const Node& node)
      : LibraryCase<Library>(node),
        one_(this->library_.Build(node)),
        other_(this->library_.Build(node)) {}
  void Run() override { Require(this->library_.Equal(one_, other_), "equal values are not"); }

 private:
  typename Library::Document one_;
  typename Library::Document other_;
};

// Every key of every dictionary, or every `step`-th of them, in another order than that in which
// they were put there.
template <typename Library>
class LookupCase final : public LibraryCase<Library> {
 public:
  explicit LookupCase(const Node& node, std::size_t step = 1)
      : LibraryCase<Library>(node), document_(this->library_.Build(node)) {
    Collect(this->node_, this->library_.Root(document_), step);
    this->items = members_.size();
    Run();
    Require(found_ == members_.size(), "a key was not found");
  }
  void Run() override {
    found_ = 0;
    for (const auto& [dict, key] : members_) {
      if (this->library_.Get(dict, *key) != nullptr) ++found_;
    }
  }

 private:
  void Collect(const Node& node, typename Library::Value value, std::size_t step) {
    const bool isDict = node.kind == Node::Kind::kDict;
    if (isDict) {
      for (const std::size_t i : ShuffledIndices(node.items.size())) {
        if (i % step == 0) members_.emplace_back(value, &node.keys[i]);
      }
    }
    for (std::size_t i = 0; i < node.items.size(); ++i) {
      if (node.items[i].items.empty()) continue;
      Collect(node.items[i],
              isDict ? this->library_.Get(value, node.keys[i]) : this->library_.At(value, i), step);
    }
  }

  typename Library::Document document_;
  std::vector<std::pair<typename Library::Value, const std::string*>> members_;
  std::size_t found_ = 0;
};

// 1,000 paths into the catalogue.
template <typename Library>
class PathCase final : public LibraryCase<Library> {
 public:
  explicit PathCase(const Node& catalog) : LibraryCase<Library>(UnderOneKey(catalog)) {
    document_ = this->library_.Build(this->node_);
    this->items = paths_.size();
  }
  void Run() override {
    const auto root = this->library_.Root(document_);
    for (const Path& path : paths_) {
      Require(this->library_.Follow(root, path), "a path leads nowhere");
    }
  }

 private:
  static Node UnderOneKey(const Node& catalog) {
    Node root;
    root.kind = Node::Kind::kDict;
    root.keys.emplace_back(kCatalogKey);
    root.items.push_back(catalog);
    return root;
  }

  typename Library::Document document_;
  std::vector<Path> paths_ = CatalogPaths();
};

template <typename Library>
class BuildCase final : public LibraryCase<Library> {
 public:
  using LibraryCase<Library>::LibraryCase;
  void Run() override { document_ = this->library_.Build(this->node_); }
  void Finish() override { document_ = typename Library::Document(); }

 private:
  typename Library::Document document_;
};

template <typename Library>
class ReleaseCase final : public LibraryCase<Library> {
 public:
  static constexpr int kIterations = 20;
  using LibraryCase<Library>::LibraryCase;
  void Prepare() override { document_ = this->library_.Build(this->node_); }
  void Run() override { document_ = typename Library::Document(); }

 private:
  typename Library::Document document_;
};

// Memory that malloc has handed out for documents of different seeds, built until what a library's
// own slabs keep in reserve no longer counts.
template <typename Library>
Counters MemoryPerValue(const std::string& documentName) {
  constexpr std::size_t kEnough = std::size_t{32} << 20;
  const auto inUse = [] {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  Library library;
  library.Build(DocumentNamed(documentName, 1));  // what is made once and kept

  std::vector<typename Library::Document> documents;
  documents.reserve(1000);
  std::size_t values = 0;
  std::size_t bytes = 0;
  for (std::uint64_t seed = 1; bytes < kEnough; ++seed) {
    const Node node = DocumentNamed(documentName, seed);
    const std::size_t before = inUse();
    documents.push_back(library.Build(node));
    bytes += inUse() - before;
    values += CountValues(node);
  }
  return {{"bytes", static_cast<double>(bytes) / static_cast<double>(values)}};
}

template <template <typename> class AnyCase, class Library, class... Arguments>
void AddDocumentCase(const std::string& operation, const std::string& document,
                     Arguments... arguments) {
  AddCase(
      operation + "/" + document + "/" + Library::kName,
      [=] { return std::make_unique<AnyCase<Library>>(DocumentNamed(document), arguments...); },
      AnyCase<Library>::kIterations);
}

template <typename Library>
void AddComparedCases() {
  for (const std::string document : {"coordinates", "events", "messages"}) {
    if (document != "messages") AddDocumentCase<ParseCase, Library>("parse", document);
    AddDocumentCase<WriteCase, Library>("write", document);
    AddDocumentCase<ReadCase, Library>("read", document);
    AddDocumentCase<CloneCase, Library>("clone", document);
    const bool slow = !Library::kQuickMembers && document == "events";
    if (!slow) AddDocumentCase<EqualityCase, Library>("equality", document);
  }
  for (const std::string document : {"catalog", "numbers", "words"}) {
    AddDocumentCase<ParseCase, Library>("parse", document);
    AddDocumentCase<WriteCase, Library>("write", document);
    AddDocumentCase<ReadCase, Library>("read", document);
    AddDocumentCase<CloneCase, Library>("clone", document);
    AddDocumentCase<BuildCase, Library>("build", document);
    AddDocumentCase<ReleaseCase, Library>("release", document);
    const bool slow = !Library::kQuickMembers && document == "words";
    if (!slow) AddDocumentCase<EqualityCase, Library>("equality", document);
    if (document != "numbers") {
      AddDocumentCase<LookupCase, Library>("lookup", document, std::size_t{slow ? 200u : 1u});
    }
    if (document == "catalog") AddDocumentCase<PathCase, Library>("path", document);
    AddMeasurement("memory/" + document + "/" + Library::kName,
                   [document] { return MemoryPerValue<Library>(document); });
  }
}

}  // namespace zelbench
