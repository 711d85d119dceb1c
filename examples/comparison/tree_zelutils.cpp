// Builds a tree, looks into it, prints it.
#include <iostream>
#include <zelutils/session.hpp>

int main() {
  const zelutils::Session zel;
  auto book = zel.NewDict({{"title", "A book"}, {"pages", {{{"width", 595}}, {{"width", 842}}}}});
  book["cover"] = {{"width", 612}, {"colour", "blue"}};
  std::cout << book["pages"][1]["width"] << '\n' << book.ToJson() << '\n';
}
