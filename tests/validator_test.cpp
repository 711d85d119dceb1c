// The structure validator: what it finds in which values, in which words, and what it leaves
// behind.

#include "support.h"

namespace {

using zelhost::Service;
using zeltest::Collect, zeltest::g_messages, zeltest::Repeat;
using Messages = std::vector<std::string>;

const char* const kConforms = "conforms";

// A callback and what it does.
struct Check {
  const zeltest::CoreProcedures& procs;
  std::string text{};  // left in the buffer, without a NUL
  std::int32_t result = 0;
  int calls = 0;
  std::function<void()> meanwhile = [] {};
};

std::int32_t RunCheck(ZELInstance, ZELStringAtom, ZELSharedBuff buffer, void* data) {
  Check& check = *static_cast<Check*>(data);
  EXPECT_EQ(check.procs.buffers.GetSize(buffer), 1024u);
  char* text = static_cast<char*>(check.procs.buffers.GetBuffer(buffer));
  EXPECT_EQ(text[0], '\0');
  std::memcpy(text, check.text.data(), check.text.size());
  ++check.calls;
  check.meanwhile();
  return check.result;
}

class ValidatorTest : public zeltest::LibraryTest {
 protected:
  ZELInstance NewValidator(ZELInstance schema) {
    return Keep(structValidators.NewPOSStructValidator(schema));
  }
  ZELInstance NewValidator(const std::string& schema) { return NewValidator(Parse(schema)); }

  // Findings in a value, one message after the other behind "|"; kConforms when it conforms.
  std::string Findings(ZELInstance validator, ZELInstance value, const char* type = "T") {
    g_messages.clear();
    const std::int32_t conforms = validators.Validate(validator, value, Atom(type), &Collect);
    std::string findings = conforms != 0 ? kConforms : "";
    for (const std::string& message : g_messages) findings += "|" + message;
    return findings;
  }

  void ExpectSchemaFinding(ZELInstance schema, const std::string& end) {
    g_messages.clear();
    const std::int32_t valid = structValidators.ValidateSchema(schema, &Collect);
    EXPECT_EQ(valid != 0, end == kConforms);
    EXPECT_EQ(valid != 0, g_messages.empty());
    bool found = valid != 0;
    for (const std::string& message : g_messages) found |= message.ends_with(end);
    EXPECT_TRUE(found) << end << " is not in " << ::testing::PrintToString(g_messages);
  }

  // A dictionary made by hand, for values that no text can give.
  ZELInstance Dict(const std::map<std::string, ZELInstance>& members) {
    const ZELInstance dict = Keep(dicts.NewPOSDict());
    for (const auto& [key, value] : members) dicts.Put(dict, Atom(key), value);
    return dict;
  }
  void Attach(ZELInstance validator, const char* type, Check& check) {
    structValidators.RegisterCallbackProc(validator, Atom(type), &RunCheck, &check);
  }
};

// A definition of the type T, and after a ">" those of other types, make a schema.
std::string Schema(const std::string& definitions) { return "<T <" + definitions + ">>"; }

// Beside what the page about the schema language shows, which is tested as well.
TEST_F(ValidatorTest, FindsInValuesFromText) {
  // Definitions, or "=" and a built-in type.
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"=any", "[]", kConforms},
      {"=bool", "0", kConforms},
      {"=bool", "1", kConforms},
      {"=bool", "false", kConforms},
      {"=bool", "[]", "|Expected BOOL was of invalid type"},
      {"=int", "-2147483648", kConforms},
      {"=unicodestring", "a", "|Expected UNICODESTRING was of invalid type"},
      {"=rawptr", "a", "|Expected RAWPTR was of invalid type"},
      {"=zelobjref", "a", "|Expected OBJREF was of invalid type"},
      {"=qxbaseobjref", "a", "|Expected OBJREF was of invalid type"},
      {"=zelerrorobjref", "a", "|Expected OBJREF was of invalid type"},

      {"category int min 3 max 5", "3", kConforms},
      {"category int min 3", "2.5", "|INT was not a whole number"},
      {"category real min 3 max 2.5 minexcl 2.75 maxexcl 2.75", "2.75",
       "|Number below mininum value 3.000000|Number above maximum value 2.500000"
       "|Number below mininum value 2.750000 (exclusive)"
       "|Number above maximum value 2.750000 (exclusive)"},
      {"category string maxlen 1 illegalchars (;b) oneof [x y]", "ab",
       "|String length above maximum value 1|String contains illegal characters in ';b'"
       "|String is not one of the enumerated values"},
      {"category string oneof [x ab 1]", "ab", kConforms},
      {"category string oneof []", "ab", "|String is not one of the enumerated values"},
      {"category rawptr", "1", "|Expected RAWPTR was of invalid type"},
      {"category zelobjref", "1", "|Expected OBJREF was of invalid type"},

      {"category array minlen 4 maxlen 2", "[1 2 3]",
       "|Array length below mininum value 4|Array length above maximum value"},
      {"category dict required <b real c 1 a int>", "<x y a z>",
       "|Missing required member b|Missing required member c"},
      {"category dict required <a int> optional <b real c 1>", "<a x b y c 1 d 1>",
       "|a (required, type != int): Expected INT was of invalid type"
       "|b (optional, type != real): Expected REAL was of invalid type"
       "|Unknown member c|Unknown member d"},
      {"category dict required <a int> optional <a real>", "<a x>",
       "|a (required, type != int): Expected INT was of invalid type"
       "|a (optional, type != real): Expected REAL was of invalid type"},

      {"category union set [int N bool string]> N <category int", "a", kConforms},
      {"category union set [int I bool]> I <category intersection set [real string]", "[]",
       "|Not a valid union type: Trying int: Expected INT was of invalid type"
       "|Not a valid union type: Trying I: Failed intersection type real:"
       " Expected REAL was of invalid type"
       "|Not a valid union type: Trying I: Failed intersection type string:"
       " Expected STRING was of invalid type"
       "|Not a valid union type: Trying bool: Expected BOOL was of invalid type"},
      {"category union", "a", ""},  // counts without a word
      {"category dict required <a U>> U <category union set []", "<a 1>", ""},
      {"category intersection", "a", kConforms},
      {"category dict keytype any", "<a 1>", kConforms},

      {"category array membertype string> string <category int", "[a]", kConforms},
      {"category array membertype U> U dict V <", "[1]",
       "|[0]: Schema not applicable, no definition for U"},
      {"category array membertype (int )", "[1]",
       "|[0]: Schema not applicable, no definition for int "},
      // The four ways of being inside something, in one another.
      {"category intersection set [U]> U <category union set [A]> A <category array membertype D>"
       " D <category dict required <name Name>> Name <category string minlen 1",
       "[<name x> <name ()>]",
       "|Failed intersection type U: Not a valid union type: Trying A: [1]:"
       " name (required, type != Name): String length below mininum value 1"},
  };
  for (const auto& [definitions, value, findings] : rows) {
    SCOPED_TRACE(std::string(definitions) + " of " + value);
    const bool isBuiltin = definitions[0] == '=';
    const ZELInstance validator = NewValidator(isBuiltin ? "<>" : Schema(definitions));
    EXPECT_EQ(Findings(validator, Parse(value), isBuiltin ? definitions + 1 : "T"), findings);
  }
}

TEST_F(ValidatorTest, FindsInValuesThatNoTextGives) {
  const ZELInstance bytes = NewBinData("image", "abc");
  const ZELInstance pointer = Keep(rawPointers.NewPOSRawPointer(nullptr, nullptr));
  const std::tuple<const char*, ZELInstance, const char*> rows[] = {
      {"category bindata minlen 4 oneof [text]", bytes,
       "|String length below mininum value 4|TypeName is not one of the enumerated values"},
      {"category bindata maxlen 2 oneof [text image]", bytes,
       "|String length above maximum value 2"},
      {"category bindata", pointer, "|Expected BINDATA was of invalid type"},
      {"category zelerrorobjref", pointer, kConforms},
      {"category qxbaseobjref", pointer, kConforms},
      {"category intersection set [rawptr]", pointer, kConforms},
      {"category union set [zelobjref]", pointer, kConforms},
      {"category int", NewNumber(std::nan("")), "|INT was not a whole number"},
      {"category real min 1 max 0 minexcl 1 maxexcl 0", NewNumber(std::nan("")), kConforms},
  };
  for (const auto& [definitions, value, findings] : rows) {
    EXPECT_EQ(Findings(NewValidator(Schema(definitions)), value), findings);
  }
}

TEST_F(ValidatorTest, PlaceholdersAtTheEdges) {
  const std::string largest = "340282346638528859811704183484516925440.000000";
  const struct {
    const char* attribute;
    double bound, value;  // the value of a string type is "abcd" instead
    std::string findings;
  } rows[] = {
      {"max", 123456789, 2e9, "|Number above maximum value 123456792.000000"},
      {"min", 1e300, 0, "|Number below mininum value inf"},
      {"max", -1e300, 0, "|Number above maximum value -inf"},
      {"min", 0x1.fffffep127, 0, "|Number below mininum value " + largest},
      {"min", 0x1.fffffefffffffp127, 0, "|Number below mininum value " + largest},
      {"min", 0x1.ffffffp127, 0, "|Number below mininum value inf"},
      {"min", 1e-300, 0, "|Number below mininum value 0.000000"},
      {"maxexcl", -0.0, 0, "|Number above maximum value -0.000000 (exclusive)"},
      {"min", std::nan(""), 0, kConforms},
      {"maxlen", 2.9, 0, "|String length above maximum value 2"},
      {"maxlen", -0.5, 0, "|String length above maximum value 0"},
      {"minlen", 2147483647.5, 0, "|String length below mininum value 2147483647"},
      {"minlen", 3e9, 0, "|String length below mininum value -2147483648"},
      {"maxlen", -2147483649, 0, "|String length above maximum value -2147483648"},
      {"maxlen", -2147483648.5, 0, "|String length above maximum value -2147483648"},
      {"minlen", std::nan(""), 0, kConforms},
  };
  for (const auto& row : rows) {
    const bool ofString = std::strstr(row.attribute, "len") != nullptr;
    const ZELInstance category = NewString(ofString ? "string" : "real");
    const ZELInstance type = Dict({{"category", category}, {row.attribute, NewNumber(row.bound)}});
    EXPECT_EQ(Findings(NewValidator(Dict({{"T", type}})),
                       ofString ? NewString("abcd") : NewNumber(row.value)),
              row.findings);
  }
}

TEST_F(ValidatorTest, FailuresAreReportedOnceAndLeaveNothing) {
  const ZELInstance holes = Keep(arrays.NewPOSArray());
  arrays.SetAt(holes, 2, NewNumber(1));
  const ZELInstance ring = Keep(arrays.NewPOSArray());
  arrays.Append(ring, ring);
  const ZELInstance longKey = Dict({{std::string(1009, 'k'), holes}});
  const ZELInstance discardedKey = Dict({{std::string(999, 'k'), holes}});
  const char* const noCategory = "Malformed schema definition for T, no category";
  const char* const noString = "downcast from CPOSObject to CPOSString failed";
  const std::tuple<const char*, ZELInstance, const char*> rows[] = {
      {"", holes, noCategory},
      {"category 1", holes, noCategory},
      {"category objref", holes, "Unknown category in schema"},
      {"category bool", holes, "Unknown category in schema"},
      {"category widget", holes, "Unknown category in schema"},
      {"category array membertype any", holes, "CPOSArray::GetAt subscript failed"},
      {"category array membertype [1]", ring, noString},
      {"category union set [int 1]", ring, noString},
      {"category intersection set [1]", ring, noString},
      {"category dict keytype K> K <category string oneof [x 1]", longKey, noString},
      {"category dict", longKey, "FormatIntoPOSString overwrote buffer"},
      {"category union set [D any]> D <category dict", discardedKey,
       "FormatIntoPOSString overwrote buffer"},
      // From inside lists that already hold messages.
      {"category intersection set [int U]> U <category array membertype V>"
       " V <category union set [bool W]> W <",
       ring, "Malformed schema definition for W, no category"},
  };
  for (const auto& [definitions, value, report] : rows) {
    SCOPED_TRACE(definitions);
    const ZELInstance validator = NewValidator(Schema(definitions));
    const ZELStringAtom type = Atom("T");
    const zelhost::Counts before = host.Live();
    g_messages.clear();
    EXPECT_EQ(validators.Validate(validator, value, type, &Collect), 0);
    EXPECT_EQ(host.Live().instances, before.instances);
    EXPECT_EQ(host.Live().instanceReferences, before.instanceReferences);
    EXPECT_EQ(g_messages, Messages());
    ExpectReports({report});
  }
  arrays.Remove(ring, 0);

  const std::string longest(1008, 'k');
  EXPECT_EQ(Findings(NewValidator(Schema("category dict")), Dict({{longest, ring}})),
            "|Unknown member " + longest);
  EXPECT_EQ(Findings(NewValidator(Schema("category union set [D any]> D <category dict")),
                     Dict({{std::string(998, 'k'), ring}})),
            kConforms);
  const std::string longName(3000, 'n');
  EXPECT_EQ(Findings(NewValidator(Dict({{longName, Dict({})}})), ring, longName.c_str()), "");
  ExpectReports({"Malformed schema definition for " + longName + ", no category"});
}

TEST_F(ValidatorTest, LevelsOfTypesAndValuesAreCountedTogether) {
  const std::pair<const char*, std::size_t> rows[] = {
      {"category array membertype T", 512},
      {"category union set [A]> A <category array membertype T", 256},
      // Two ways to the same check, which is made once and counts all the same.
      {"category intersection set [A B]> A <category array membertype A>"
       " B <category union set [C]> C <category array membertype A",
       510}};
  for (const auto& [definitions, levels] : rows) {
    const ZELInstance validator = NewValidator(Schema(definitions));
    const ZELInstance deepest = Parse(std::string(levels, '[') + std::string(levels, ']'));
    EXPECT_EQ(Findings(validator, deepest), kConforms);
    const ZELInstance deeper = Keep(arrays.NewPOSArray());
    arrays.Append(deeper, deepest);
    EXPECT_EQ(Findings(validator, deeper), "");
    ExpectReports({"nesting too deep"});
  }
}

TEST_F(ValidatorTest, ASchemaMayChangeBetweenValidations) {
  const ZELInstance schema = Parse(Schema("category array membertype N> N <category int"));
  const ZELInstance validator = NewValidator(schema);
  EXPECT_EQ(Findings(validator, Parse("[1]")), kConforms);
  dicts.Put(schema, Atom("N"), Parse("<category int min 2>"));
  EXPECT_EQ(Findings(validator, Parse("[1]")), "|[0]: Number below mininum value 2.000000");
  dicts.Remove(schema, Atom("N"));
  EXPECT_EQ(Findings(validator, Parse("[1]")), "|[0]: Schema not applicable, no definition for N");
}

TEST_F(ValidatorTest, HandlesOfOtherKinds) {
  const ZELStringAtom type = Atom("T");
  const ZELInstance text = NewString("text");
  EXPECT_EQ(Findings(NewValidator(text), text), "|Schema not applicable, no definition for T");
  ExpectReports({"instance was not an POSDict"});
  EXPECT_EQ(Findings(NewValidator(text), text, "string"), kConforms);

  const ZELInstance validator = NewValidator("<>");
  ExpectFailure("invalid container", structValidators.NewPOSStructValidator, nullptr);
  ExpectFailure("invalid container", structValidators.ValidateSchema, nullptr, &Collect);
  ExpectFailure("invalid container", validators.Validate, validator, nullptr, type, &Collect);
  ExpectFailure("invalid container", validators.Validate, validator, validator, type, &Collect);
  ExpectFailure("null string atom", validators.Validate, validator, text, 0u, &Collect);
  ExpectFailure("null string atom", structValidators.RegisterCallbackProc, validator, 0u, nullptr,
                nullptr);
  for (const ZELInstance foreign : {ZELInstance{}, text}) {
    EXPECT_EQ(validators.Validate(foreign, text, type, &Collect), 0);
    structValidators.RegisterCallbackProc(foreign, type, nullptr, nullptr);
    EXPECT_EQ(host.TakeReports().size(), 2u);
  }
  EXPECT_EQ(validators.Validate(validator, text, Atom("int"), nullptr), 0);  // dumped, not reported
}

TEST_F(ValidatorTest, CallbacksHaveTheLastWord) {
  const ZELInstance validator = NewValidator("<N <category int> A <category array membertype N>>");
  Check first{*this}, second{*this}, unused{*this};
  Attach(validator, "N", first);
  Attach(validator, "int", unused);
  Attach(validator, "nowhere", unused);
  EXPECT_EQ(Findings(validator, NewNumber(1), "N"), "|");
  Attach(validator, "N", second);  // takes the place of the first
  second.text.assign("too small\0not read", 18);
  EXPECT_EQ(Findings(validator, Parse("[1 2]"), "A"), "|[0]: too small|[1]: too small");
  second.text.assign(1024, 'x');
  EXPECT_EQ(Findings(validator, NewNumber(1), "N"), "|" + second.text);
  EXPECT_EQ(Findings(validator, Parse("[1]"), "A"), "");
  ExpectReports({"FormatIntoPOSString overwrote buffer"});
  second.result = -1;
  EXPECT_EQ(Findings(validator, NewNumber(1), "N"), kConforms);
  EXPECT_EQ(second.calls, 5);
  EXPECT_EQ(Findings(validator, NewString("x"), "N"), "|Expected INT was of invalid type");
  EXPECT_EQ(Findings(validator, NewNumber(1), "int"), kConforms);
  EXPECT_EQ(Findings(validator, NewNumber(1), "nowhere"),
            "|Schema not applicable, no definition for nowhere");
  structValidators.RegisterCallbackProc(validator, Atom("N"), nullptr, &second);
  EXPECT_EQ(Findings(validator, NewNumber(1), "N"), kConforms);
  EXPECT_EQ(first.calls, 1);
  EXPECT_EQ(second.calls, 5);
  EXPECT_EQ(unused.calls, 0);
}

// Validator, values and schema at hand are held while they are used, even if a callback takes them
// away; its own values in their places count from then on.
TEST_F(ValidatorTest, CallbacksMayTakeThingsAway) {
  const char* const noElement = "CPOSArray::GetAt subscript failed";
  const struct {
    const char* definitions;
    const char* value;
    const char* findings;
    bool isPut = false;  // another type and another member, in place of what is taken away
    const char* report = nullptr;
  } rows[] = {
      {"category array membertype N", "[1 2]", "", false, noElement},
      {"category array membertype [N N]", "[1 2]", "", false, noElement},
      {"category union set [N N]", "1",
       "|Not a valid union type: Trying N: gone"
       "|Not a valid union type: Trying N: Schema not applicable, no definition for N"},
      {"category dict required <a N b N>", "<a 1 b 2>", "|a (required, type != N): gone"},
      {"category dict keytype S valuetype N optional <a N>> S <category string", "<a 1 b 2>",
       "|a (value, type != N): gone"
       "|a (optional, type != N): Schema not applicable, no definition for N"},
      {"category array membertype N", "[1 2 1]",
       "|[0]: gone|[1]: Number above maximum value 1.000000|[2]: gone", true},
      {"category dict required <a N b int>", "<a 1 b 2>",
       "|a (required, type != N): gone"
       "|b (required, type != int): Expected INT was of invalid type",
       true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.definitions);
    const ZELInstance schema = Parse(Schema(row.definitions + std::string("> N <category int")));
    const ZELInstance value = Parse(row.value);
    const ZELInstance validator = structValidators.NewPOSStructValidator(schema);
    containers.AddRef(validator);
    Check check{*this, std::string("gone\0", 5)};
    check.meanwhile = [&] {
      if (check.calls == 1) containers.Release(validator);
      if (row.isPut) {
        dicts.Put(schema, Atom("N"), Parse("<category int max 1>"));
        if (dicts.IsPOSDict(value)) dicts.Put(value, Atom("b"), Parse("text"));
        return;
      }
      for (const char* type : {"N", "S", "T"}) dicts.Remove(schema, Atom(type));
      for (const char* key : {"a", "b"}) {
        if (arrays.IsPOSArray(value)) arrays.Remove(value, 0);
        if (dicts.IsPOSDict(value)) dicts.Remove(value, Atom(key));
      }
    };
    Attach(validator, "N", check);
    EXPECT_EQ(Findings(validator, value), row.findings);
    ExpectReports(row.report == nullptr ? Messages() : Messages{row.report});
  }
}

TEST_F(ValidatorTest, MessagesAreHandedOutAllOrNone) {
  const ZELInstance validator = NewValidator(Schema("category array membertype int"));
  const ZELInstance value = Parse("[a b c]");
  const std::string all = Findings(validator, value);
  for (const Service service : {Service::kAddRef, Service::kAlloc, Service::kNewFullContainer}) {
    bool isInjected = true;
    for (std::uint64_t n = 1; isInjected; ++n) {
      const std::uint64_t faults = host.FaultsInjected();
      host.FailAt(service, n);
      const std::string found = Findings(validator, value);
      host.StopFailing();
      isInjected = host.FaultsInjected() != faults;
      EXPECT_EQ(found, host.TakeReports().empty() ? all : "") << ServiceName(service) << n;
    }
  }
}

// Counts the questions of what a value is.
std::uint64_t g_questions;
POSDictIsPOSDictProc g_isDict;
POSNumberIsPOSNumberProc g_isNumber;
bool CountedIsDict(ZELInstance value) { return ++g_questions, g_isDict(value); }
bool CountedIsNumber(ZELInstance value) { return ++g_questions, g_isNumber(value); }

class ValidatorWorkTest : public ValidatorTest {
 protected:
  ValidatorWorkTest() {
    g_isDict = dicts.IsPOSDict;
    g_isNumber = numbers.IsPOSNumber;
    zeltest::Replace<zelutils::DictInterface>(host, "IsPOSDict", &CountedIsDict);
    zeltest::Replace<zelutils::NumberInterface>(host, "IsPOSNumber", &CountedIsNumber);
    host.ChangeUnregisterCount();
  }
  ZELInstance Nested(std::size_t depth, const char* open, const char* inmost, const char* close) {
    return Parse(Repeat(depth, open) + inmost + Repeat(depth, close));
  }
};

const char* const kRowsAndColumns =
    "category union set [Group Leaf]> Group <category union set [Row Column]>"
    " Row <category dict required <kind RowKind children Nodes>> RowKind <category string oneof "
    "[r]>"
    " Column <category dict required <kind ColumnKind children Nodes>>"
    " ColumnKind <category string oneof [c]>"
    " Nodes <category array membertype T> Leaf <category int";

// A check that many ways lead to is made once, as long as it leaves no message.
TEST_F(ValidatorWorkTest, GrowsWithTheDepthAndNotWithTheNumberOfWays) {
  const struct {
    const char* definitions;
    const char *open, *inmost, *close;
  } rows[] = {
      {kRowsAndColumns, "<kind c children [", "1", "]>"},
      {"category union set [A B any]> A <category array membertype [T string]>"
       " B <category array membertype [T int]",
       "[", "1", "1]"},
      {"category intersection set [A B]> A <category dict optional <k T>>"
       " B <category dict keytype string valuetype T",
       "<k ", "<>", ">"},
      {"category dict keytype string valuetype U required <k U> optional <k U>>"
       " U <category union set [T int]",
       "<k ", "1", ">"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.definitions);
    const ZELInstance validator = NewValidator(Schema(row.definitions));
    const auto work = [&](std::size_t depth) {
      const ZELInstance value = Nested(depth, row.open, row.inmost, row.close);
      g_questions = 0;
      EXPECT_EQ(Findings(validator, value), kConforms);
      return g_questions;
    };
    const std::uint64_t few = work(10);
    EXPECT_LE(work(40), 4 * few + 40);
  }
}

TEST_F(ValidatorWorkTest, GrowsWithTheSchemaAndNotWithTheNumberOfWays) {
  for (const std::string category : {"union", "intersection"}) {
    for (const bool conforms : {false, true}) {
      std::string schema = conforms ? "<T60 <category int>" : "<T60 <category union set []>";
      for (int n = 0; n < 60; ++n) {
        const std::string next = " T" + std::to_string(n + 1);
        schema +=
            " T" + std::to_string(n) + " <category " + category + " set [" + next + next + "]>";
      }
      const ZELInstance validator = NewValidator(schema + ">");
      EXPECT_EQ(Findings(validator, NewNumber(1), "T0"), conforms ? kConforms : "");
    }
  }
}

TEST_F(ValidatorWorkTest, CallbacksAreCalledForEachWay) {
  const ZELInstance validator = NewValidator(Schema(kRowsAndColumns));
  Check check{*this, {}, 1};
  Attach(validator, "Leaf", check);
  for (const std::size_t depth : {1u, 6u}) {
    check.calls = 0;
    Findings(validator, Nested(depth, "<kind c children [", "1", "]>"));
    EXPECT_EQ(check.calls, 1 << depth) << depth;
  }
}

// A word is found without those behind it being read; one that is not there leads to the last.
TEST_F(ValidatorTest, EnumeratedValuesAreReadOncePerRun) {
  std::string words, values;
  for (int n = 0; n < 300; ++n) {
    words += "w" + std::to_string(n) + " ";
    values += "w" + std::to_string(299 - n) + " ";
  }
  const ZELInstance validator = NewValidator(
      Schema("category array membertype W> W <category string oneof [" + words + "1]"));
  EXPECT_EQ(Findings(validator, Parse("[" + values + values + "]")), kConforms);
  EXPECT_EQ(Findings(validator, Parse("[w299 w0 x w1]")), "");
  ExpectReports({"downcast from CPOSObject to CPOSString failed"});
}

// A neighbour that takes everything for a number: that it is none shows when it is read.
TEST_F(ValidatorTest, AValueThatCannotBeReadIsAFailure) {
  const ZELInstance validator = NewValidator(Schema("category real max 1"));
  zeltest::Replace<zelutils::NumberInterface>(
      host, "IsPOSNumber", +[](ZELInstance) { return true; });
  host.ChangeUnregisterCount();
  EXPECT_EQ(Findings(validator, NewString("x")), "");
  EXPECT_EQ(Findings(validator, NewString("x"), "bool"), "");
  for (const std::string& report : host.TakeReports()) {
    EXPECT_TRUE(report == "instance was not an POSNumber" || report == "CPOSNumber::Get failed")
        << report;
  }
}

TEST_F(ValidatorTest, AConformingElementMakesNothing) {
  const ZELInstance validator = NewValidator(
      Schema("category dict required <list List all All>> List <category array membertype N>"
             " N <category int min 0> All <category dict keytype string valuetype Any>"
             " Any <category intersection set [N real]"));
  const auto made = [&](int size) {
    std::string list, all;
    for (int n = 0; n < size; ++n) {
      list += "7 ";
      all += "k" + std::to_string(n) + " 7 ";
    }
    const ZELInstance value = Parse("<list [" + list + "] all <" + all + ">>");
    host.ResetCalls();
    EXPECT_EQ(Findings(validator, value), kConforms);
    return std::vector<std::uint64_t>{host.Calls(Service::kAlloc),
                                      host.Calls(Service::kNewFullContainer),
                                      host.Calls(Service::kNewStringAtom)};
  };
  EXPECT_EQ(made(10), made(60));
}

POSObjectCreateFromTextProc g_createFromText;
std::string g_parsed;
ZELInstance RecordText(const char* text, const char** errorPosition) {
  g_parsed = text;
  return g_createFromText(text, errorPosition);
}

TEST_F(ValidatorTest, TheMetaSchemaFollowsItsOwnRules) {
  // The library parses it through the binder, where it can be listened to.
  g_createFromText = statics.CreateFromText;
  zeltest::Replace<zelutils::ObjectStaticsInterface>(host, "CreateFromText", &RecordText);
  host.ChangeUnregisterCount();
  g_messages.clear();
  EXPECT_EQ(structValidators.ValidateSchema(Parse("<>"), &Collect), 1);
  EXPECT_EQ(g_parsed.size(), 2175u);
  const ZELInstance metaSchema = Parse(g_parsed);
  EXPECT_EQ(structValidators.ValidateSchema(metaSchema, &Collect), 1);
  EXPECT_EQ(g_messages, Messages{});
}

TEST_F(ValidatorTest, SchemasAreChecked) {
  // A schema or a definition of T; the end of one of the messages, or kConforms.
  const std::pair<const char*, std::string> rows[] = {
      {"<>", kConforms},
      {"<T <category objref> I <category int min 1 max 2 minexcl 0 maxexcl 3>"
       " R <category real min 0.5> S <category string minlen 1 maxlen 2 illegalchars x oneof [a]>"
       " U <category unicodestring minlen 1 maxlen 2> B <category bindata minlen 1 oneof [a]>"
       " A <category array membertype zelobjref minlen 1 maxlen 2>"
       " H <category array membertype [any bool rawptr qxbaseobjref]>"
       " D <category dict keytype S valuetype T required <a H> optional <b zelerrorobjref>>"
       " N <category union set [N D]> X <category intersection set []>>",
       kConforms},
      {"text", "Dict object expected"},
      {"<() <category int>>", "(key, type != TypeName): String length below mininum value 1"},
      {"<T int>", "Trying DictDefn: Dict object expected"},
      {"", "Trying IntDefn: Missing required member category"},
      {"category 1",
       "IntDefn: category (required, type != kInt): Expected STRING was of invalid type"},
      {"category rawptr",
       "category (required, type != kObjRef): String is not one of the enumerated values"},
      {"category int oneof []", "Trying IntDefn: Unknown member oneof"},
      {"category real min a",
       "RealDefn: min (optional, type != real): Expected REAL was of invalid type"},
      {"category string minlen a",
       "StringDefn: minlen (optional, type != real): Expected REAL was of invalid type"},
      {"category string illegalchars 1",
       "illegalchars (optional, type != string): Expected STRING was of invalid type"},
      {"category string oneof [a 1]",
       "oneof (optional, type != StringList): [1]: Expected STRING was of invalid type"},
      {"category unicodestring oneof [a]", "Trying UnicodeStringDefn: Unknown member oneof"},
      {"category bindata illegalchars a", "Trying BinDataDefn: Unknown member illegalchars"},
      {"category objref minlen 1", "Trying ObjRefDefn: Unknown member minlen"},
      {"category array", "Trying HomoArrayDefn: Missing required member membertype"},
      {"category array membertype [int] maxlen 1", "Trying HeteroArrayDefn: Unknown member maxlen"},
      {"category array membertype [int Nowhere]",
       "(required, type != TypeList): [1]: Cannot locate definition of type Nowhere"},
      {"category dict keytype Nowhere",
       "keytype (optional, type != TypeName): Cannot locate definition of type Nowhere"},
      {"category dict required <() int>",
       " (key, type != DictMemberName): String length below mininum value 1"},
      {"category dict optional <a Nowhere>",
       "a (value, type != TypeName): Cannot locate definition of type Nowhere"},
      {"category dict optional a",
       "optional (optional, type != DictMemberDict): Dict object expected"},
      {"category union", "Trying UnionDefn: Missing required member set"},
      {"category intersection set [T Nowhere]",
       "set (required, type != TypeList): [1]: Cannot locate definition of type Nowhere"},
  };
  for (const auto& [schema, finding] : rows) {
    const bool isDefinition = *schema == '\0' || std::strncmp(schema, "category", 8) == 0;
    ExpectSchemaFinding(Parse(isDefinition ? Schema(schema) : schema), finding);
  }

  const ZELInstance name = NewString(std::string(992, 'n'));  // with the text around it 1024 bytes
  const ZELInstance type = Dict({{"category", NewString("array")}, {"membertype", name}});
  ExpectSchemaFinding(Dict({{"T", type}}),
                      "type != TypeName): Caught exception: Error buffer too small");
}

}  // namespace
