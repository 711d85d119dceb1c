// Uses of the client that must not compile. Each group is compiled by itself and must fail with the
// text behind each "expect:", for that line. Cases of one group instantiate nothing in common.
#include <zelutils/client.hpp>

#include <optional>
#include <string_view>
#include <vector>

struct Unknown {};
struct Unreadable {};

void Use(const zelutils::Client& client, zelutils::Dict& dict, zelutils::Array& array) {
  const zelutils::Value value = dict;
#if GROUP == 1
  dict.Put("k", nullptr);         // expect: nullptr is no value
  client.NewArray({1, nullptr});  // expect: nullptr is no value
  dict.Put(nullptr, 1);           // expect: nullptr is no text
  array.Append('A');              // expect: a single character is neither a number nor
  client.NewArray({u'A'});        // expect: a single character is neither a number nor
  dict.Put("k", Unknown());       // expect: no value can be made from this type
  value.As<Unreadable>();         // expect: no value can be read as this type
  value.As<char>();               // expect: a value holds no single character
  client.NewString("x").As<std::string_view>();  // expect: a view of a temporary value would
  dict["k"].As<std::string_view>();              // expect: a view of a member may outlive it
  value.Is<double>();                            // expect: Is<T> asks for a class of values
  zelutils::Client other(client.Lookup());       // expect: a client needs a source of reports
  zelutils::Text text = "x";
  zelutils::Text copy = text;                 // expect: deleted
  array[1.5];                                 // expect: no
  value.As<std::vector<std::string_view>>();  // expect: a view may outlive what it is borrowed from
#elif GROUP == 2
  dict["k"] = nullptr;                          // expect: nullptr is no value
  *array.begin() = array;                       // expect: what was found is a copy
  client.NewString(nullptr);                    // expect: nullptr is no text
  dict.Put("k", &array);                        // expect: no value can be made from this type
  value.As<const char*>();                      // expect: no value can be read as this type
  value.As<std::optional<std::string_view>>();  // expect: a view may outlive
#elif GROUP == 3
  array.SetAt(0, nullptr);           // expect: nullptr is no value
  dict.Find("k") = value;            // expect: what was found is a copy
  dict[nullptr];                     // expect: nullptr is no text
  value.As<std::vector<Unknown>>();  // expect: no value can be read as this type
#endif
}
