// Sessions: what they find, tell at their end, and what may outlive them.
#include <thread>
#include <type_traits>
#include <zelutils/session.hpp>

#include "support.h"

namespace {

using namespace zelutils;
using Lines = std::vector<std::string>;

SessionOptions TellingTo(Lines& lines) {
  return {ZEL_LIBRARY_PATH, [&lines](std::string_view line) { lines.emplace_back(line); }};
}

TEST(SessionTest, TellsWhatWasReportedAndWhatIsStillHeld) {
  Lines told;
  { const Session quiet(TellingTo(told)); }
  EXPECT_EQ(told, Lines());
  {
    Session zel(TellingTo(told));
    const Number number = zel.NewNumber(1);
    zel.Procedures<DictInterface>().Remove(nullptr, 0);  // a report that nobody takes
    zel.Procedures<ContainerInterface>().AddRef(number.Handle());
  }
  ASSERT_GE(told.size(), 2U);
  EXPECT_EQ(told[0], "null string atom");
  EXPECT_EQ(told.back().find("still held: instance of \"POSObjectImpl\""), 0U) << told.back();
  told.clear();
  // A report that comes while a value is given back.
  {
    Session zel(TellingTo(told));
    static const Session* current = nullptr;
    current = &zel;
    const auto release = [](void*) { current->Procedures<DictInterface>().Remove(nullptr, 0); };
    zel.NewRawPointer(nullptr, release);
    EXPECT_EQ(zel.New(1).As<int>(), 1);
  }
  EXPECT_EQ(told, Lines{"null string atom"});

  testing::internal::CaptureStderr();
  {
    const Session zel({ZEL_LIBRARY_PATH, nullptr});
    zel.Procedures<DictInterface>().Remove(nullptr, 0);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "zelutils: null string atom\n");
  EXPECT_THROW(Session({"no/such/library", nullptr}), zelhost::HostError);
}

// Objects of a session that are still there afterwards can be destroyed, moved and assigned
// to; the address sanitizer watches that nothing else happens.
TEST(SessionTest, WhatOutlivesItIsOfNoUseAndDoesNoHarm) {
  Lines told;
  Value value;
  std::optional<Element> element;
  std::optional<Atom> atom;
  std::optional<Validator> validator;
  Stream stream;
  Dict::Iterator entry;
  Array::Iterator item;
  {
    Session zel(TellingTo(told));
    value = zel.Parse("<a [1 2] b (text)>");
    element = value["a"][1];
    atom.emplace(zel, "a key of its own");
    validator.emplace(zel, zel.Parse("<T <category int>>"));
    validator->SetCheck("T", [](const Value&) { return std::optional<std::string>(); });
    stream = zel.NewMemoryStream();
    entry = value.As<Dict>().begin();
    item = value["a"].As<Array>().begin();
  }
  EXPECT_TRUE(std::any_of(told.begin(), told.end(),
                          [](const auto& line) { return line.starts_with("still"); }));
  told.clear();
  std::optional<Session> later(TellingTo(told));
  Dict dict = later->NewDict();
  Array array = later->NewArray();
  const std::string gone = "the client that this came from has ended";
  const std::function<void()> uses[] = {
      [&] { value.Type(); },
      [&] { value["a"]; },
      [&] { value.As<Dict>().begin(); },
      [&] { element->As<int>(); },
      [&] { *element = 1; },
      [&] { Atom copy = *atom; },
      [&] { atom->CString(); },
      [&] { stream.Write("x"); },
      [&] { validator->Validate(value, "T"); },
      [&] { *entry; },
      [&] { ++entry; },
      [&] { *item; },
      [&] { value.ToText(); },
      // Nothing of it gets into the next session.
      [&] { array.Append(value); },
      [&] { array.SetAt(0, value); },
      [&] { array[0] = value; },
      [&] { dict.Put("k", value); },
      [&] { dict.Put(*atom, 1); },
      [&] { dict.Find(*atom); },
      [&] { dict.Remove(*atom); },
      [&] { dict["k"] = *element; },
      [&] { dict.DeepPut("k.l", value); },
      [&] { EXPECT_FALSE(dict == value); },
      [&] {
        later->New({1, value});
      },
      [&] { Validator(*later, value); },
      [&] { Validator::ValidateSchema(*later, value); },
      [&] { Validator(*later, dict).Validate(value, "T"); },
      [&] { Streamer(*later).Serialize(later->NewMemoryStream(), value); },
      [&] { Streamer(*later).Serialize(stream, dict); },
      [&] { Streamer(*later).Deserialize(stream); },
      [&] { later->StoreFile("none", value); },
  };
  for (const auto& use : uses) {
    try {
      use();
      ADD_FAILURE() << "row " << &use - uses;
    } catch (const Error& error) {
      EXPECT_NE(std::string(error.what()).find(gone), std::string::npos)
          << "row " << &use - uses << ": " << error.what();
    }
  }
  EXPECT_EQ(dict.ToText() + array.ToText(), "<>[]");
  EXPECT_EQ(told, Lines());
  Value moved = std::move(value);
  value = later->New(1);
  moved = value;
  element.reset();
  EXPECT_THROW(Value(std::move(value)).As<std::string>(), TypeError);
  // Another thread is refused as well.
  std::thread([&] { EXPECT_THROW(later->New(1), Error); }).join();
  moved = Value();
  dict = Dict();
  array = Array();
  later.reset();
  EXPECT_FALSE(told.empty());
  for (const std::string& line : told) {
    EXPECT_NE(line.find("from a thread that the host does not belong to"), line.npos) << line;
  }
}

// One place, where the host is.
static_assert(!std::is_copy_constructible_v<Session> && !std::is_move_constructible_v<Session> &&
              !std::is_assignable_v<Session&, Session>);

}  // namespace
