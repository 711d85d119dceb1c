// Reads a file and prints everything that is wrong with it.
#include <iostream>
#include <zelutils/session.hpp>

int main() {
  const zelutils::Session zel;
  const zelutils::Validator validator(zel, zel.ParseFile("book.schema.pos"));
  for (const std::string& finding : validator.Validate(zel.ParseFile("book.pos"), "Book")) {
    std::cout << finding << '\n';
  }
}
