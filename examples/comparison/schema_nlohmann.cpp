// Reads a file and prints everything that is wrong with it. There are no schemas: checks by hand.
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>

void Check(const nlohmann::json& object, const char* key, nlohmann::json::value_t type,
           const std::string& path, const std::function<bool(const nlohmann::json&)>& conforms) {
  if (!object.contains(key)) {
    std::cout << path << key << ": missing\n";
  } else if (object[key].type() != type) {
    std::cout << path << key << ": of another type\n";
  } else if (!conforms(object[key])) {
    std::cout << path << key << ": out of range\n";
  }
}

int main() {
  std::ifstream file("book.json");
  const auto book = nlohmann::json::parse(file);
  using Type = nlohmann::json::value_t;
  Check(book, "title", Type::string, "", [](auto& title) { return title != ""; });
  Check(book, "pages", Type::array, "", [](auto& pages) {
    for (std::size_t i = 0; i < pages.size(); ++i) {
      Check(pages[i], "width", Type::number_unsigned, "pages[" + std::to_string(i) + "].",
            [](auto& width) { return width >= 10; });
    }
    return true;
  });
}
