// The typed client: what goes in comes out, failures are exceptions that carry what was reported,
// and every reference is given back.
#include <new>
#include <ranges>
#include <stdexcept>

#include "client_fixture.h"

namespace {

using namespace zelutils;
using zelhost::Service;
using zeltest::ClientTest;

TEST_F(ClientTest, ScalarsComeBack) {
  for (const double number : {-0.0, -1e300, std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(client.NewNumber(number).Get(), number);
  }
  EXPECT_EQ(client.NewString(std::string_view("text and more").substr(0, 4)).Get(), "text");
  const std::u16string units = u"g\u00e9\u4e2d\U0001F600\xD800z";
  const UnicodeString unicode = client.NewUnicodeString(units);
  EXPECT_EQ(unicode.As<std::u16string>(), units);
  EXPECT_EQ(unicode.ToUtf8(), "g\u00e9\u4e2d\U0001F600\uFFFDz");

  const std::array<std::byte, 3> bytes = {std::byte{0}, std::byte{255}, std::byte{7}};
  const BinData data = client.NewBinData("raw", bytes);
  EXPECT_EQ(data.TypeName(), "raw");
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), data.Bytes().begin(), data.Bytes().end()));
  EXPECT_TRUE(client.NewBinData("none", {}).Bytes().empty());

  int released = 0;
  const auto release = [](void* count) { ++*static_cast<int*>(count); };
  { EXPECT_EQ(Value(client.NewRawPointer(&released, release)).As<RawPointer>().Get(), &released); }
  EXPECT_EQ(released, 1);
}

TEST_F(ClientTest, BuiltIsEqualToParsed) {
  const std::string text = "text";
  Array array = client.NewArray({1, 2.5F, "bare", text, std::string_view("x"), u"\u00e9"});
  EXPECT_EQ(array, client.Parse("[1 2.5 bare text x `00E9`]"));
  array.Append(client.NewDict({{"k", -1}, {text, array.Clone()}}));
  array.SetAt(0, "first");
  array.Remove(1);
  EXPECT_EQ(array,
            client.Parse("[first bare text x `00e9` <k -1 text [1 2.5 bare text x `00e9`]>]"));
  array[5].As<Dict>().Remove("k");
  array[5].As<Dict>().Put(zelutils::Atom(client, "text"), 3);
  EXPECT_EQ(array.GetAt(5), client.Parse("<text 3>"));
  EXPECT_FALSE(array == Value());
  EXPECT_TRUE(Value() == array.GetAt(99));
}

TEST_F(ClientTest, FailuresAreExceptions) {
  Value number = client.NewNumber(0);
  Dict dict = client.Parse("<title x pages [<width wide>]>").As<Dict>();
  const char* const null = nullptr;
  const char16_t* const nullUnits = nullptr;
  const Value empty = client.NewArray().GetAt(0);
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"", [&] { number.As<double>(); }},
      {"a number was wanted, this is a dictionary", [&] { dict.As<double>(); }},
      {"a string was wanted, this is a number", [&] { number.As<std::string>(); }},
      {"a dictionary was wanted, this is a number", [&] { number.As<Dict>(); }},
      {"an array was wanted, this is a number", [&] { Array(client, number.Handle()).Append(1); }},
      {"a dictionary was wanted, this is a number", [&] { number["k"] = 1; }},
      {"title: a dictionary was wanted, this is a string", [&] { dict["title"]["k"] = 1; }},
      {"pages: an array of 2 was wanted, this is one of 1",
       [&] { dict["pages"].As<std::array<Value, 2>>(); }},
      {"pages[0].width: a number was wanted, this is a string",
       [&] { dict["pages"][0]["width"].As<int>(); }},
      {"pages[0].width: a number was wanted, this is a string",
       [&] { dict.DeepGet("pages[0].width").As<double>(); }},
      {"pages[0].width: a number was wanted, this is a string",
       [&] { dict["pages"].As<std::vector<std::map<std::string, double>>>(); }},
      {"k: nothing there; the value is a dictionary", [&] { Value found = dict["k"]; }},
      {"pages[7].width.x: nothing there; \"pages\" is an array of 1",
       [&] { dict["pages"][7]["width"]["x"].As<int>(); }},
      {"pages[0].width.x: nothing there; \"pages[0].width\" is a string",
       [&] { dict.DeepGet("pages[0].width.x").As<int>(); }},
      {"pages[x]: nothing there; the path is malformed",
       [&] { dict.DeepGet("pages[x]").As<int>(); }},
      {"k.l: nothing there; the value is a dictionary", [&] { dict["k"]["l"] = 1; }},
      {"[4294967295]: nothing there; the value is an array of 1",
       [&] { client.NewArray({1})[4294967295U].As<int>(); }},
      {"nothing there", [&] { empty.As<double>(); }},
      {"nothing there", [&] { empty.As<bool>(); }},
      {"nothing there", [&] { empty.As<Dict>(); }},
      {"invalid container", [&] { dict.Put("k", Value()); }},
      {"k: invalid container", [&] { dict["k"] = Value(); }},
      {"an empty value was used", [&] { Value().Type(); }},
      {"a text must not hold a NUL", [&] { client.NewString(std::string(2, '\0')); }},
      {"a text must not hold a NUL", [&] { client.New(std::u16string_view(u"a\0b", 3)); }},
      {"a text must not be null", [&] { client.NewString(null); }},
      {"a text must not be null", [&] { dict.Put(null, 1); }},
      {"a text must not be null", [&] { dict.Put("k", null); }},
      {"a text must not be null", [&] { client.New(null); }},
      {"a text must not be null", [&] { client.NewArray({nullUnits}); }},
      {"a text must not be null", [&] { client.NewUnicodeString(nullUnits); }},
      {"a text must not be null", [&] { client.NewUnicodeString(null); }},
      {"StreamerBase::LookupStreamer unrecognized version",
       [&] { Streamer(client).Serialize(client.NewMemoryStream(), dict, "other"); }},
      {"getNextChar unexpected EOF",
       [&] { Streamer(client).Deserialize(client.NewMemoryStream()); }},
  };
  for (const auto& [message, action] : rows) EXPECT_EQ(Thrown(action), message);
  EXPECT_EQ(dict, client.Parse("<title x pages [<width wide>]>"));

  EXPECT_EQ(Caught([&] { number.As<std::string>(); }).Reports(),
            std::vector<std::string>{"instance was not an POSString"});
  const Error error = Caught([&] { client.OpenFile("no/such/file", "rb"); });
  EXPECT_NE(error.Component(), "");
  EXPECT_EQ(error.Id(), ENOENT);
  try {
    dict["pages"][0]["width"].As<int>();
    FAIL();
  } catch (const TypeError& mismatch) {
    EXPECT_EQ(mismatch.Path(), "pages[0].width");
    EXPECT_EQ(mismatch.Wanted() + '/' + mismatch.Found(), "a number/a string");
  }
}

// More of them are with the tool, which prints them.
TEST_F(ClientTest, ParseErrorsTellLineColumnAndCause) {
  try {
    client.Parse("<a\n  [1 2");
    FAIL();
  } catch (const ParseError& error) {
    EXPECT_STREQ(error.what(),
                 "line 2, column 7: unexpected end of text: the \"[\" at 2:3 is not closed");
    EXPECT_EQ(error.Position(), 9U);
  }
  EXPECT_EQ(Thrown([&] { client.Parse("[}", "book.pos"); }),
            "book.pos:1:2: unexpected \"}\"; dictionaries stand between < and >");
}

TEST_F(ClientTest, IndicesHaveAllTheirBits) {
  Array array = client.NewArray({"first"});
  constexpr std::uint64_t kBeyond = std::uint64_t{1} << 32;
  EXPECT_FALSE(array.GetAt(kBeyond));
  EXPECT_FALSE(array[kBeyond]);
  array.Remove(kBeyond);
  EXPECT_EQ(Thrown([&] { array.SetAt(kBeyond, 1); }), "the index 4294967296 has more than 32 bits");
  EXPECT_NE(Thrown([&] { array[kBeyond] = 1; }), "");
  EXPECT_NE(Thrown([&] { array[-1]; }), "");
  EXPECT_NE(Thrown([&] { array.GetAt(std::int64_t{-1}); }), "");
  EXPECT_FALSE(array.DeepGet("[4294967296]"));
  EXPECT_FALSE(array.DeepGet("[18446744073709551616]"));
  EXPECT_EQ(array, client.NewArray({"first"}));
}

// The arguments of a list or an input, and the containers of iterators, may be gone by the time
// they are used; the address sanitizer watches.
TEST_F(ClientTest, NothingDangles) {
  const Input input = std::string("a text that is too long for its object to hold it inside");
  EXPECT_EQ(client.New(input).As<std::string>().size(), 56U);
  const std::initializer_list<Input> list = {std::string(100, 'x'), std::u16string(100, u'y')};
  EXPECT_EQ(client.NewArray(list)[1].As<std::u16string>(), std::u16string(100, u'y'));

  auto entry = client.Parse("<a 1 b 2>").As<Dict>().begin();
  EXPECT_EQ((*++entry).second, client.NewNumber(2));
  auto element = client.Parse("[1 2]").As<Array>().begin();
  EXPECT_EQ(*++element, client.NewNumber(2));
  const auto place = client.Parse("<a [1 2]>")["a"][1];
  EXPECT_EQ(place.As<int>(), 2);
  const auto text = client.NewString("a text that is too long to be held inside").Get();
  EXPECT_EQ(text.size(), 41U);
}

TEST_F(ClientTest, ReportsAreBlamedOnWhatTheyBelongTo) {
  // A cycle that is cloned reports a line for each level.
  Array cycle = client.NewArray();
  cycle.Append(cycle);
  const Error error = Caught([&] { cycle.Clone(); });
  EXPECT_EQ(std::string(error.what()), "nesting too deep; CPOSObject::Clone failed (512 times)");
  EXPECT_EQ(error.Reports().size(), 513U);
  cycle.Remove(0);

  // A report that comes while something is given back is nobody's failure.
  {
    const auto release = [](void* array) {
      static_cast<decltype(arrays)*>(array)->Append(nullptr, nullptr);
    };
    client.NewRawPointer(&arrays, release);
  }
  EXPECT_EQ(client.NewNumber(0).Get(), 0);
  EXPECT_EQ(client.TakeLateReports().size(), 1U);
  EXPECT_EQ(client.TakeLateReports().size(), 0U);

  EXPECT_EQ(Thrown([] { Client(zelhost::Host::LookupProc(), nullptr); }),
            "a client needs a source of reports");
  // Without a place to look at, the source is asked each time.
  const Client asking(zelhost::Host::LookupProc(), [this] { return host.TakeReports(); });
  Array array = asking.NewArray();
  EXPECT_NE(Thrown([&] { array.Append(Value()); }), "");
  EXPECT_EQ(Thrown([&] { asking.NewNumber(0).As<Array>(); }),
            "an array was wanted, this is a number");
}

TEST_F(ClientTest, ValidationsAreWholeOrErrors) {
  const Value schema = client.Parse(
      "<Even <category int> List <category array membertype Even> "
      " Odd <category union set []>>");
  Validator validator(client, schema);
  EXPECT_TRUE(Validator::ValidateSchema(client, schema).empty());
  EXPECT_TRUE(validator.Validate(client.Parse("[1 2]"), "List").empty());
  validator.SetCheck("Even", [](const Value& value) -> std::optional<std::string> {
    const int number = value.As<int>();
    if (number == 13) throw std::domain_error("unlucky");
    if (number % 2 != 0) return std::to_string(number) + " is odd";
    return std::nullopt;
  });
  EXPECT_EQ(validator.Validate(client.Parse("[1 2 3]"), "List"),
            (std::vector<std::string>{"[0]: 1 is odd", "[2]: 3 is odd"}));
  EXPECT_EQ(Thrown([&] { validator.Validate(client.Parse("[13]"), "List"); }), "unlucky");
  EXPECT_EQ(validator.Validate(client.NewNumber(1), "Odd").size(), 1U);

  // A report beside messages: the schema is no dictionary.
  try {
    Validator(client, client.NewNumber(1)).Validate(schema, "List");
    FAIL();
  } catch (const ValidationError& error) {
    EXPECT_EQ(error.Reports(), std::vector<std::string>{"instance was not an POSDict"});
    EXPECT_EQ(error.Messages().size(), 1U);
  }
  EXPECT_TRUE(host.Reports().empty());
}

// Thrown out of a program's own functions.
struct Thrower {};
Value ToPos(const Client& client, const Thrower& /*object*/) {
  const Value held = client.New("given back");
  throw std::domain_error("of ToPos");
}
void FromPos(const Value& /*value*/, Thrower& /*object*/) { throw std::domain_error("of FromPos"); }

// Whatever is done to objects works or throws; the address sanitizer, and the host, which counts
// what is held, watch that it does no harm.
TEST_F(ClientTest, HostileUseWorksOrThrows) {
  Dict dict = client.Parse("<a [1 2 3 4] b <c 1>>").As<Dict>();
  Array array = dict["a"].As<Array>();
  const auto moved = [](auto object) {
    const auto other = std::move(object);
    return object;  // NOLINT(bugprone-use-after-move)
  };
  const Value noValue = moved(Value(dict));
  Array noArray = moved(array);
  Dict noDict = moved(dict);
  Element noKey = moved(dict["b"]);
  Element noIndex = moved(array[1]);
  const zelutils::Atom noAtom = moved(zelutils::Atom(client, "a key"));
  Stream noStream = moved(client.NewMemoryStream());
  const Value schema = client.Parse("<T <category int>>");
  Validator noValidator = moved(Validator(client, schema));
  const auto noItem = moved(array.begin());
  auto noEntry = moved(dict.begin());
  Validator validator(client, schema);
  const auto check = [&](const Validator::Check& own) {
    validator.SetCheck("T", own);
    return validator.Validate(client.New(1), "T");
  };
  const char* const empty = "an empty value was used";
  const struct {
    const char* message;
    std::function<void()> action;
  } rows[] = {
      {empty, [&] { noValue.Type(); }},
      {"the text syntax cannot say an empty slot", [&] { noValue.ToText(); }},
      {empty, [&] { noValue["k"].As<int>(); }},
      {"[1]: an empty value was used", [&] { noValue[1].As<int>(); }},
      {"invalid container", [&] { array.Append(noValue); }},
      {"", [&] { EXPECT_TRUE(noValue == noArray && !(noValue == dict)); }},
      {empty, [&] { noArray.Append(1); }},
      {"", [&] { EXPECT_TRUE(noArray.begin() == noArray.end()); }},
      {empty, [&] { noDict.begin(); }},
      {empty, [&] { noDict["k"] = 1; }},
      {empty, [&] { noKey.As<int>(); }},
      {empty, [&] { noKey = 1; }},
      {empty, [&] { noKey.Remove(); }},
      {empty, [&] { noKey[1].Find(); }},
      {empty, [&] { noIndex = dict["b"]; }},
      {empty, [&] { noIndex["k"].Find(); }},
      {"", [&] { noKey.~Element(), new (&noKey) Element(dict["b"]); }},
      {"null string atom", [&] { dict.Find(noAtom); }},
      {empty, [&] { noAtom.CString(); }},
      {empty, [&] { noStream.Write("x"); }},
      {"couldn't get signature", [&] { Streamer(client).Serialize(noStream, dict); }},
      {empty, [&] { noValidator.Validate(dict, "T"); }},
      {empty, [&] { noValidator.SetCheck("T", nullptr); }},
      {empty, [&] { *noItem; }},
      {empty, [&] { *noEntry; }},
      {empty, [&] { ++noEntry; }},
      // An object meets itself.
      {"", [&] { array = *&array, array = std::move(*&array); }},
      {"", [&] { dict["b"] = dict["b"], array[0] = array[0]; }},
      {"", [&] { array.Append(array), array.Remove(4), array.Append(array[0]), array.Remove(4); }},
      {"", [&] { dict.Put("me", dict), dict["me"]["me"].Remove(); }},
      {"nesting too deep; CPOSObject::Clone failed (512 times)",
       [&] {
         array.Append(array);
         array.Append(array);
         std::ostringstream stream;
         stream << array;  // although it has 2 to the power of 512 members
         EXPECT_LT(stream.str().size(), 100000U);
         const auto clone = Caught([&] { array.Clone(); });
         array.Remove(5), array.Remove(4);
         throw Error(clone);
       }},
      // A container changes below its iterators.
      {"",
       [&] {
         Array copy = array.Clone().As<Array>();
         std::size_t steps = 0;
         for (const Value& value : copy) {
           copy.Remove(steps++);
           EXPECT_TRUE(value);
         }
         EXPECT_EQ(std::tuple(steps, copy.ToText()), std::tuple(2U, "[2 4]"));
         auto at = copy.begin() + 1;
         copy.Remove(0), copy.Remove(0);
         EXPECT_FALSE(*at || *copy.begin() || at != copy.end());
       }},
      {"",
       [&] {
         Dict copy = client.Parse("<a 1 b 2 c 3>").As<Dict>();
         for (const auto& [key, value] : copy) copy.Remove(key), copy.Put("_" + key, value);
         EXPECT_EQ(copy.ToText(), "<_a 1 _b 2 _c 3>");
       }},
      // Exceptions of a program's own functions.
      {"of ToPos", [&] { dict.Put("k", Thrower()); }},
      {"of ToPos",
       [&] {
         dict["k"] = {{"list", {1, Thrower()}}};
       }},
      {"of ToPos",
       [&] {
         client.New(std::map<std::string, std::vector<Thrower>>{{"k", {{}}}});
       }},
      {"of FromPos", [&] { array.As<std::vector<Thrower>>(); }},
      {"of FromPos", [&] { dict["b"].As<std::map<std::string, Thrower>>(); }},
      {"of FromPos",
       [&] {
         check([](const Value& value) {
           value.As<Thrower>();
           return std::optional<std::string>();
         });
       }},
      {"7",
       [&] {
         try {
           check([](const Value& /*value*/) -> std::optional<std::string> { throw 7; });
         } catch (int thrown) {
           throw Error(std::to_string(thrown));
         }
       }},
      {"",
       [&] {
         const auto again = [&](const Value& value) -> std::optional<std::string> {
           validator.SetCheck("T", [](const Value& /*value*/) { return std::optional("second"); });
           EXPECT_NE(Thrown([&] { validator.SetCheck("List", nullptr); }), "");
           EXPECT_NE(Thrown([&] { validator.RegisterCallback("T", nullptr, nullptr); }), "");
           const auto inner = validator.Validate(value, "T");
           return "first, then " + inner.at(0);
         };
         EXPECT_EQ(check(again), std::vector<std::string>{"first, then second"});
       }},
  };
  for (const auto& row : rows) EXPECT_EQ(Thrown(row.action), row.message) << &row - rows;
  EXPECT_EQ(dict.ToText(), "<a [1 2 3 4] b <c 1>>");
}

// A procedure put over the library's may give an instance that others hold and that refuses to be
// held once more: it is not the client's to end.
TEST_F(ClientTest, OnlyWhatWasJustMadeIsEnded) {
  static ZELInstance given = nullptr;
  const Array held = client.NewArray();
  given = held.Handle();
  const POSObjectCloneProc other = [](ZELInstance) { return given; };
  zeltest::Replace<ObjectInterface>(host, "Clone", other);
  host.ChangeUnregisterCount();
  const Value original = client.NewNumber(1);
  host.FailAt(Service::kAddRef, 1);
  EXPECT_EQ(Thrown([&] { original.Clone(); }), "the host refused a reference to an instance");
  EXPECT_EQ(host.RefCount(held.Handle()), 1U);
  EXPECT_EQ(held.Count(), 0U);
}

TEST_F(ClientTest, CopiesHoldReferencesOfTheirOwn) {
  Value first = client.NewArray(), second = first;
  Value third = std::move(second);
  second = third;
  second = *&second;
  EXPECT_EQ(host.RefCount(first.Handle()), 3U);
  third = client.NewNumber(1);
  second = Value();
  EXPECT_EQ(host.RefCount(first.Handle()), 1U);
}

TEST_F(ClientTest, ProceduresAreLookedUpAgainAfterAWithdrawal) {
  const Number number = client.NewNumber(1);
  host.ResetCalls();
  EXPECT_EQ(number.Get(), 1);
  EXPECT_EQ(number.Get(), 1);
  EXPECT_EQ(host.Calls(Service::kLookup), 0U);

  const POSNumberGetProc other = [](ZELInstance) { return 2.0; };
  zeltest::Replace<NumberInterface>(host, "Get", other);
  EXPECT_EQ(number.Get(), 1);
  host.ChangeUnregisterCount();
  EXPECT_EQ(number.Get(), 2);
  host.Hide(POS_NUMBER_INTERFACE);
  EXPECT_EQ(Thrown([&] { number.Get(); }), "missing procedure \"Get\" of \"POSNumberInterface\"");
  host.Show(POS_NUMBER_INTERFACE);
}

// The methods of a stream are those that its instance offers now.
TEST_F(ClientTest, StreamsLookTheirMethodsUpAgain) {
  Stream stream = client.NewMemoryStream();
  stream.Write("bytes");
  host.ResetCalls();
  stream.Rewind();
  EXPECT_EQ(host.Calls(Service::kGetMethod), 0U);
  host.ChangeUnregisterCount();
  stream.Rewind();
  EXPECT_EQ(host.Calls(Service::kGetMethod), 7U);
  host.FailAt(Service::kGetMethod, 1);
  host.ChangeUnregisterCount();
  EXPECT_NE(Thrown([&] { stream.Rewind(); }), "");
  EXPECT_EQ(stream.ReadAll(), "bytes");
}

}  // namespace
