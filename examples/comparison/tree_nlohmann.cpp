// Builds a tree, looks into it, prints it.
#include <iostream>
#include <nlohmann/json.hpp>

int main() {
  nlohmann::json book = {{"title", "A book"}, {"pages", {{{"width", 595}}, {{"width", 842}}}}};
  book["cover"] = {{"width", 612}, {"colour", "blue"}};
  std::cout << book["pages"][1]["width"] << '\n' << book << '\n';
}
