// The scalar values and the operations that every POS object has.
#include <cmath>
#include <cstring>
#include <limits>

#include "support.h"

namespace {

using ValuesTest = zeltest::LibraryTest;

TEST_F(ValuesTest, EveryTypeHasItsTagAndIsOnlyItself) {
  const uint16_t units[] = {0x41, 0};
  const ZELInstance all[] = {
      Keep(numbers.NewPOSNumber(1)),
      Keep(strings.NewPOSString("A")),
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
  for (size_t i = 0; i < std::size(all); ++i) {
    EXPECT_EQ(objects.GetType(all[i]), static_cast<int32_t>(i + 1));
    EXPECT_FALSE(checks[i](nullptr));
    for (size_t j = 0; j < std::size(all); ++j) {
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
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const uint16_t empty[] = {0};
  const uint16_t one[] = {1, 0, 2};
  const uint16_t two[] = {2, 0, 2};
  int target = 0;
  struct {
    ZELInstance left, right;
    bool equal;
    const char* why;
  } const rows[] = {
      {numbers.NewPOSNumber(0.0), numbers.NewPOSNumber(-0.0), true, "zeros of both signs"},
      {numbers.NewPOSNumber(nan), numbers.NewPOSNumber(nan), false, "NaN equals nothing"},
      {strings.NewPOSString("ab"), strings.NewPOSString("ab"), true, "same bytes"},
      {strings.NewPOSString("ab"), strings.NewPOSString("aB"), false, "other bytes"},
      {unicodeStrings.NewPOSUnicodeString(empty), unicodeStrings.NewPOSUnicodeString(empty), true,
       "empty"},
      {unicodeStrings.NewPOSUnicodeString(empty), unicodeStrings.NewPOSUnicodeString(one), false,
       "prefix"},
      {unicodeStrings.NewPOSUnicodeString(one), unicodeStrings.NewPOSUnicodeString(two), false,
       "other units"},
      {binData.NewPOSBinData("t", "x", 1), binData.NewPOSBinData("t", "x", 2), false, "one more"},
      {binData.NewPOSBinData("t", "\1\0\2", 3), binData.NewPOSBinData("t", "\1\0\2", 3), true,
       "bytes beyond a NUL"},
      {binData.NewPOSBinData("t", "\1\0\2", 3), binData.NewPOSBinData("t", "\1\0\3", 3), false,
       "last byte"},
      {binData.NewPOSBinData("t", "x", 1), binData.NewPOSBinData("u", "x", 1), false, "type name"},
      {binData.NewPOSBinData("t", nullptr, 0), binData.NewPOSBinData("t", "", 0), true, "no bytes"},
      {rawPointers.NewPOSRawPointer(&target, nullptr),
       rawPointers.NewPOSRawPointer(nullptr, nullptr), true, "raw pointers are not compared"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(objects.IsEqual(Keep(row.left), Keep(row.right)), row.equal) << row.why;
    EXPECT_EQ(objects.IsEqual(row.left, row.left), row.left != rows[1].left) << row.why;
  }
}

TEST_F(ValuesTest, ContentsComeBackAsGiven) {
  const uint16_t units[] = {0x00E9, 0x4E2D, 0, 7};
  const ZELInstance unicode = Keep(unicodeStrings.NewPOSUnicodeString(units));
  EXPECT_EQ(std::memcmp(unicodeStrings.Get(unicode), units, 3 * sizeof(uint16_t)), 0);
  const ZELInstance data = Keep(binData.NewPOSBinData("raw", "\0\xff", 2));
  EXPECT_STREQ(binData.GetTypeName(data), "raw");
  EXPECT_EQ(binData.GetSize(data), 2u);
  EXPECT_EQ(std::memcmp(binData.GetBinData(data), "\0\xff", 2), 0);
  EXPECT_EQ(numbers.Get(Keep(numbers.NewPOSNumber(-1.5))), -1.5);
  EXPECT_STREQ(strings.Get(Keep(strings.NewPOSString("\xe9t\x01"))), "\xe9t\x01");
}

int g_released = 0;
void* g_releasedPointer = nullptr;
void CountRelease(void* pointer) {
  ++g_released;
  g_releasedPointer = pointer;
}

TEST_F(ValuesTest, ARawPointerIsReleasedOnceWithItsLastHolder) {
  g_released = 0;
  int target = 0;
  const ZELInstance pointer = rawPointers.NewPOSRawPointer(&target, &CountRelease);
  containers.AddRef(pointer);
  EXPECT_EQ(rawPointers.GetRawPointer(pointer), &target);
  EXPECT_EQ(rawPointers.GetReleaseProc(pointer), &CountRelease);
  const ZELInstance array = Keep(arrays.NewPOSArray());
  arrays.Append(array, pointer);
  containers.Release(pointer);
  EXPECT_EQ(g_released, 0);
  arrays.Remove(array, 0);
  EXPECT_EQ(g_released, 1);
  EXPECT_EQ(g_releasedPointer, &target);

  // One that was never published stays the client's.
  host.FailAt(zelhost::Service::kNewFullContainer, 1);
  EXPECT_EQ(rawPointers.NewPOSRawPointer(&target, &CountRelease), nullptr);
  EXPECT_EQ(host.TakeReports().size(), 1u);
  EXPECT_EQ(g_released, 1);
}

TEST_F(ValuesTest, TypedProceduresNameTheTypeTheyWanted) {
  const ZELInstance number = Keep(numbers.NewPOSNumber(3));
  const ZELInstance string = Keep(strings.NewPOSString("s"));
  const ZELStringAtom key = Atom("k");
  EXPECT_EQ(numbers.Get(string), 0.0);
  ExpectReports({"instance was not an POSNumber"});
  EXPECT_EQ(strings.Get(number), nullptr);
  ExpectReports({"instance was not an POSString"});
  EXPECT_EQ(unicodeStrings.Get(number), nullptr);
  ExpectReports({"instance was not an POSUnicodeString"});
  EXPECT_EQ(binData.GetTypeName(number), nullptr);
  EXPECT_EQ(binData.GetBinData(number), nullptr);
  EXPECT_EQ(binData.GetSize(number), 0u);
  ExpectReports(std::vector<std::string>(3, "instance was not an POSBinData"));
  EXPECT_EQ(rawPointers.GetRawPointer(number), nullptr);
  EXPECT_EQ(rawPointers.GetReleaseProc(number), nullptr);
  ExpectReports(std::vector<std::string>(2, "instance was not an POSRawPointer"));
  EXPECT_EQ(arrays.GetAt(number, 0), nullptr);
  EXPECT_EQ(arrays.Count(number), 0u);
  arrays.SetAt(number, 0, string);
  arrays.Append(number, string);
  arrays.Remove(number, 0);
  ExpectReports(std::vector<std::string>(5, "instance was not an POSArray"));
  EXPECT_EQ(dicts.Get(number, key), nullptr);
  EXPECT_EQ(dicts.DeepGet(number, key), nullptr);
  dicts.Put(number, key, string);
  dicts.Remove(number, key);
  EXPECT_EQ(iterators.NewPOSDictIterator(number), nullptr);
  ExpectReports(std::vector<std::string>(5, "instance was not an POSDict"));
}

TEST_F(ValuesTest, BadHandlesAndArgumentsAreReported) {
  const ZELInstance number = Keep(numbers.NewPOSNumber(3));
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

  EXPECT_FALSE(objects.IsEqual(number, nullptr));
  arrays.Append(array, nullptr);
  arrays.SetAt(number, 0, nullptr);  // the value's error comes first
  dicts.Put(nullptr, Atom("k"), nullptr);
  statics.DebugDump(nullptr);
  statics.DebugDumpWithHeader(iterator);  // no POS object: it offers no Clone
  ExpectReports(std::vector<std::string>(6, "invalid container"));
  host.FailAt(zelhost::Service::kAddRef, 1);
  arrays.Append(array, number);
  ExpectReports({"invalid container"});
  EXPECT_EQ(arrays.Count(array), 0u);

  EXPECT_EQ(dicts.Get(dict, 0), nullptr);
  EXPECT_EQ(dicts.DeepGet(dict, 0), nullptr);
  dicts.Put(dict, 0, number);
  dicts.Remove(dict, 0);
  ExpectReports(std::vector<std::string>(4, "null string atom"));
  EXPECT_EQ(strings.NewPOSString(nullptr), nullptr);
  EXPECT_EQ(unicodeStrings.NewPOSUnicodeString(nullptr), nullptr);
  EXPECT_EQ(binData.NewPOSBinData(nullptr, "x", 1), nullptr);
  EXPECT_EQ(statics.CreateFromText(nullptr, nullptr), nullptr);
  ExpectReports(std::vector<std::string>(4, "null text"));
  EXPECT_EQ(binData.NewPOSBinData("t", nullptr, 1), nullptr);
  ExpectReports({"null data"});
}

}  // namespace
