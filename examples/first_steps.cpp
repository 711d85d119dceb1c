// The first program: a value from a text, a member more, a loop, a lookup by path.
#include <iostream>
#include <zelutils/session.hpp>

int main() {
  zelutils::Session zel;  // library found, host, client, reports, stop: all of it
  auto book = zel.Parse("<title (A book) pages [<width 595>]>").As<zelutils::Dict>();
  book["cover"] = {{"width", 612}, {"colour", "blue"}};
  for (auto&& [key, value] : book) std::cout << key << " = " << value << '\n';
  return book.DeepGet("pages[0].width").ValueOr(0.0) > 500 ? 0 : 1;
}
