// Reads a struct from a text, changes it, and writes it as a value.
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Page {
  double width, height;
};
struct Book {
  std::string title;
  std::vector<Page> pages;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Page, width, height)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Book, title, pages)

int main() {
  const char* const text = R"({"title": "A book", "pages": [{"width": 595, "height": 842}]})";
  auto book = nlohmann::json::parse(text).get<Book>();
  book.pages.push_back({612, 792});
  std::cout << nlohmann::json(book) << '\n';
}
