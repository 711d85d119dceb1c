// Reads a file and prints everything that is wrong with it. A validation by a schema ends at the
// first finding: checks by hand.
#include <rapidjson/document.h>
#include <rapidjson/istreamwrapper.h>

#include <fstream>
#include <functional>
#include <iostream>

using rapidjson::Value;

void Check(const Value& object, const char* key, bool (Value::*isOfType)() const,
           const std::string& path, const std::function<bool(const Value&)>& conforms) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) {
    std::cout << path << key << ": missing\n";
  } else if (!(found->value.*isOfType)()) {
    std::cout << path << key << ": of another type\n";
  } else if (!conforms(found->value)) {
    std::cout << path << key << ": out of range\n";
  }
}

int main() {
  std::ifstream file("book.json");
  rapidjson::IStreamWrapper stream(file);
  rapidjson::Document book;
  book.ParseStream(stream);
  Check(book, "title", &Value::IsString, "",
        [](const Value& title) { return title.GetStringLength() > 0; });
  Check(book, "pages", &Value::IsArray, "", [](const Value& pages) {
    for (rapidjson::SizeType i = 0; i < pages.Size(); ++i) {
      Check(pages[i], "width", &Value::IsNumber, "pages[" + std::to_string(i) + "].",
            [](const Value& width) { return width.GetDouble() >= 10; });
    }
    return true;
  });
}
