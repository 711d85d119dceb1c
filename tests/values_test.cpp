// The scalar values and the operations that every POS object has.

#include "support.h"

namespace {

using namespace std::string_literals;
using ValuesTest = zeltest::LibraryTest;

TEST_F(ValuesTest, EveryTypeHasItsTagAndIsOnlyItself) {
  const std::uint16_t units[] = {0x41, 0};
  const ZELInstance all[] = {
      NewNumber(1),
      NewString("A"),
      Keep(unicodeStrings.NewPOSUnicodeString(units)),
      Keep(binData.NewPOSBinData("A", "A", 1)),
      Keep(rawPointers.NewPOSRawPointer(nullptr, nullptr)),
      Keep(arrays.NewPOSArray()),
      Keep(dicts.NewPOSDict()),
  };
  bool (*const checks[])(ZELInstance) = {
      numbers.IsPOSNumber,  strings.IsPOSString,         unicodeStrings.IsPOSUnicodeString,
      binData.IsPOSBinData, rawPointers.IsPOSRawPointer, arrays.IsPOSArray,
      dicts.IsPOSDict,
  };
  for (std::size_t i = 0; i < std::size(all); ++i) {
    EXPECT_EQ(objects.GetType(all[i]), static_cast<std::int32_t>(i + 1));
    EXPECT_FALSE(checks[i](nullptr));
    for (std::size_t j = 0; j < std::size(all); ++j) {
      EXPECT_EQ(checks[j](all[i]), i == j);
      EXPECT_EQ(objects.IsEqual(all[i], all[j]), i == j);
    }
    const ZELInstance clone = Keep(objects.Clone(all[i]));
    EXPECT_EQ(clone == all[i], i < 5) << "scalars are shared";
    EXPECT_TRUE(objects.IsEqual(all[i], clone));
    statics.DebugDump(all[i]);
    EXPECT_EQ(host.RefCount(all[i]), i < 5 ? 2u : 1u);
  }
}

TEST_F(ValuesTest, EqualityFollowsTheContents) {
  const std::uint16_t empty[] = {0}, one[] = {1, 0, 2}, two[] = {2, 0, 2};
  const auto make = [&] {
    std::vector<ZELInstance> made = {NewNumber(0), NewNumber(1), NewString("ab"), NewString("aB")};
    for (const std::uint16_t* units : {empty, one, two}) {
      made.push_back(Keep(unicodeStrings.NewPOSUnicodeString(units)));
    }
    for (const std::string& bytes : {""s, "\1\0"s, "\1\0\2"s, "\1\0\3"s}) {
      made.push_back(NewBinData("t", bytes));
    }
    made.push_back(NewBinData("u", "\1\0\3"s));
    made.push_back(Keep(rawPointers.NewPOSRawPointer(&host, nullptr)));
    return made;
  };
  const std::vector<ZELInstance> all = make(), others = make();
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (std::size_t j = 0; j < all.size(); ++j) {
      EXPECT_EQ(objects.IsEqual(all[i], others[j]), i == j) << i << " and " << j;
    }
  }
  EXPECT_TRUE(objects.IsEqual(all[0], NewNumber(-0.0)));
  EXPECT_TRUE(objects.IsEqual(all.back(), Keep(rawPointers.NewPOSRawPointer(nullptr, nullptr))))
      << "raw pointers are not compared";
  const ZELInstance nan = NewNumber(std::numeric_limits<double>::quiet_NaN());
  EXPECT_FALSE(objects.IsEqual(nan, nan));
}

TEST_F(ValuesTest, TypedProceduresNameTheTypeTheyWanted) {
  const ZELInstance number = NewNumber(3);
  const ZELInstance string = NewString("s");
  const ZELStringAtom key = Atom("k");
  ExpectFailure("instance was not an POSNumber", numbers.Get, string);
  ExpectFailure("instance was not an POSString", strings.Get, number);
  ExpectFailure("instance was not an POSUnicodeString", unicodeStrings.Get, number);
  ExpectFailure("instance was not an POSBinData", binData.GetTypeName, number);
  ExpectFailure("instance was not an POSBinData", binData.GetBinData, number);
  ExpectFailure("instance was not an POSBinData", binData.GetSize, number);
  ExpectFailure("instance was not an POSRawPointer", rawPointers.GetRawPointer, number);
  ExpectFailure("instance was not an POSRawPointer", rawPointers.GetReleaseProc, number);
  ExpectFailure("instance was not an POSArray", arrays.GetAt, number, 0u);
  ExpectFailure("instance was not an POSArray", arrays.Count, number);
  ExpectFailure("instance was not an POSArray", arrays.SetAt, number, 0u, string);
  ExpectFailure("instance was not an POSArray", arrays.Append, number, string);
  ExpectFailure("instance was not an POSArray", arrays.Remove, number, 0u);
  ExpectFailure("instance was not an POSDict", dicts.Get, number, key);
  ExpectFailure("instance was not an POSDict", dicts.DeepGet, number, key);
  ExpectFailure("instance was not an POSDict", dicts.Put, number, key, string);
  ExpectFailure("instance was not an POSDict", dicts.Remove, number, key);
  ExpectFailure("instance was not an POSDict", iterators.NewPOSDictIterator, number);
}

TEST_F(ValuesTest, BadHandlesAndArgumentsAreReported) {
  const ZELInstance number = NewNumber(3);
  const ZELInstance array = Keep(arrays.NewPOSArray());
  const ZELInstance dict = Keep(dicts.NewPOSDict());
  const ZELInstance iterator = Keep(iterators.NewPOSDictIterator(dict));

  // The host's own words for a handle that is null or of another kind.
  EXPECT_EQ(objects.GetType(nullptr), 0);
  EXPECT_EQ(objects.Clone(iterator), nullptr);
  EXPECT_FALSE(numbers.IsPOSNumber(iterator));
  EXPECT_TRUE(iterators.IsDone(nullptr));
  EXPECT_TRUE(iterators.IsDone(number));
  EXPECT_EQ(iterators.CurKey(number), nullptr);
  EXPECT_EQ(host.TakeReports().size(), 6u);

  const char* const invalid = "invalid container";
  ExpectFailure(invalid, objects.IsEqual, number, nullptr);
  ExpectFailure(invalid, arrays.Append, array, nullptr);
  ExpectFailure(invalid, arrays.SetAt, number, 0u, nullptr);  // the value's error comes first
  ExpectFailure(invalid, dicts.Put, nullptr, Atom("k"), nullptr);
  ExpectFailure(invalid, statics.DebugDump, nullptr);
  ExpectFailure(invalid, statics.DebugDumpWithHeader, iterator);  // it offers no Clone
  ExpectFailure("null string atom", dicts.Get, dict, 0u);
  ExpectFailure("null string atom", dicts.DeepGet, dict, 0u);
  ExpectFailure("null string atom", dicts.Put, dict, 0u, number);
  ExpectFailure("null string atom", dicts.Remove, dict, 0u);
  ExpectFailure("null text", strings.NewPOSString, nullptr);
  ExpectFailure("null text", unicodeStrings.NewPOSUnicodeString, nullptr);
  ExpectFailure("null text", binData.NewPOSBinData, nullptr, "x", 1u);
  ExpectFailure("null text", statics.CreateFromText, nullptr, nullptr);
  ExpectFailure("null data", binData.NewPOSBinData, "t", nullptr, 1u);
}

}  // namespace
