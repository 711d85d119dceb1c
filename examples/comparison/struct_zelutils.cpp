// Reads a struct from a text, changes it, and writes it as a value.
#include <iostream>
#include <string>
#include <vector>
#include <zelutils/session.hpp>

struct Page {
  double width, height;
};
struct Book {
  std::string title;
  std::vector<Page> pages;
};
ZELUTILS_MEMBERS(Page, width, height)
ZELUTILS_MEMBERS(Book, title, pages)

int main() {
  const zelutils::Session zel;
  auto book = zel.Parse("<title (A book) pages [<width 595 height 842>]>").As<Book>();
  book.pages.push_back({612, 792});
  std::cout << zel.New(book).ToJson() << '\n';
}
