// Results that depend on the platform and are exact there.

#include "client_fixture.h"

namespace {

using namespace zelutils;
namespace fs = std::filesystem;

using PlatformTest = zeltest::FilesTest;

TEST_F(PlatformTest, APointerIsWrittenInTheDigitsOfItsWidth) {
  constexpr bool kIs32Bit = sizeof(void*) == 4;
  const std::pair<std::uintptr_t, const char*> rows[] = {
      {0, kIs32Bit ? "$00000000 " : "$0000000000000000 "},
      {0xABC, kIs32Bit ? "$00000ABC " : "$0000000000000ABC "},
      {0xFEDCBA98, kIs32Bit ? "$FEDCBA98 " : "$00000000FEDCBA98 "},
      {UINTPTR_MAX, kIs32Bit ? "$FFFFFFFF " : "$FFFFFFFFFFFFFFFF "},
  };
  for (const auto& [pointer, text] : rows) {
    Stream stream = client.NewMemoryStream();
    Streamer(client).Serialize(stream,
                               client.NewRawPointer(reinterpret_cast<void*>(pointer), nullptr));
    stream.Rewind();
    EXPECT_EQ(stream.ReadAll(), std::string(POS_STREAMER_TYPE_A_VERSION_1_0 " ") + text);
  }
}

TEST_F(PlatformTest, PathsAreJoinedByThePlatformsSeparator) {
  const std::string longName(70000, 'n');
  const struct {
    std::string directory, name, windowsPath, posixPath;
  } rows[] = {
      {"", "", "", ""},
      {"", "f", "f", "f"},
      {"a", "", "a\\", "a/"},
      {"/", "f", "/\\f", "/f"},
      {"C:\\", "f", "C:\\f", "C:\\/f"},
      {"C:\\a", "f", "C:\\a\\f", "C:\\a/f"},
      {"C:\\a\\", "f", "C:\\a\\f", "C:\\a\\/f"},
      {"c:", "f", "c:\\f", "c:/f"},
      {"C:/a/", "f", "C:/a/\\f", "C:/a/f"},
      {"\\\\server\\share", "f", "\\\\server\\share\\f", "\\\\server\\share/f"},
      {"/a", "b/c", "/a\\b/c", "/a/b/c"},
      {"a|", longName, "a|\\" + longName, "a|/" + longName},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Directory(client, row.directory).GetFilePathSpec(row.name),
              kIsWindows ? row.windowsPath : row.posixPath);
  }
}

TEST_F(PlatformTest, TheSystemsDirectoriesAreNamedInFull) {
  EXPECT_EQ(Directory::Current(client).GetFilePathSpec("f"), (fs::current_path() / "f").string());
  const std::string temporary = Directory::Temporary(client).GetFilePathSpec("");
  EXPECT_EQ(temporary, folder / "");
  // By its full path, drive letter and all, a file is reached as well.
  const std::string name = Directory(client, temporary).CreateUniqueFilename("p", "e");
  EXPECT_EQ(folder.Names(), Paths{name});
  EXPECT_TRUE(Directory(client, folder.path.string()).FileExists(name));
}

#if defined(_WIN32)
// A character beyond ASCII that the code page has, in the code page and in wide characters.
std::optional<std::pair<std::string, std::wstring>> CodePageCharacter() {
  for (const wchar_t* wide : {L"\u00e9", L"\u0436", L"\u05d0", L"\u65e5"}) {
    char bytes[8] = {};
    BOOL isLost = FALSE;
    const bool isUtf8 = GetACP() == CP_UTF8;  // takes neither the flag nor the address
    const int length =
        WideCharToMultiByte(CP_ACP, isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS, wide, -1, bytes,
                            sizeof bytes, nullptr, isUtf8 ? nullptr : &isLost);
    if (length > 0 && !isLost) return std::pair(std::string(bytes), std::wstring(wide));
  }
  return std::nullopt;
}
#endif

TEST_F(PlatformTest, NamesBeyondAsciiAreInTheCodePage) {
  // As the library is given it, and as the file is called.
  std::vector<std::pair<std::string, fs::path>> rows;
#if defined(_WIN32)
  const auto character = CodePageCharacter();
  ASSERT_TRUE(character.has_value()) << "code page " << GetACP();
  rows.emplace_back("caf" + character->first, L"caf" + character->second);
#else
  // Bytes are passed unchanged, whether they are UTF-8 or not.
  rows.emplace_back("caf\xC3\xA9", "caf\xC3\xA9");
  rows.emplace_back("caf\xE9", "caf\xE9");
#endif
  for (const auto& [text, native] : rows) {
    const fs::path where = folder.path / native;
    fs::create_directory(where);
    const Directory outside(client, folder.path.string());
    EXPECT_TRUE(outside.FileExists(text));
    const Directory inside(client, outside.GetFilePathSpec(text));

    const std::string unique = inside.CreateUniqueFilename(text, text);
    const std::string tag = unique.substr(0, unique.size() - 2 * text.size() - 5);
    fs::path uniqueNative = tag;
    ((uniqueNative += native) += "0000.") += native;
    EXPECT_EQ(folder.Names(where), Paths{uniqueNative});
    inside.Rename(unique, text);
    EXPECT_EQ(folder.Names(where), Paths{native});
    inside.Delete(text);

    // The host opens the same file.
    folder.Set(inside.GetFilePathSpec(""));
    {
      Stream owner = client.NewTempFileStream(text, text, "w+b");
      owner.Write("text");
      EXPECT_EQ(folder.Names(where), Paths{uniqueNative});
      EXPECT_EQ(owner.CreateIndependent().ReadAll(), "text");
    }
    EXPECT_EQ(folder.Names(where), Paths());
  }
}

TEST_F(PlatformTest, ATempDirectoryBeyondTheCodePageIsAnError) {
#if defined(_WIN32)
  if (GetACP() == CP_UTF8) GTEST_SKIP() << "this code page has every character";
  // No code page has both.
  ASSERT_EQ(_wputenv_s(L"TMP", L"C:\\\u05d0\u65e5"), 0);
  EXPECT_EQ(Failure([&] { Directory::Temporary(client); }),
            DirFailure("GetTempDir: Cannot get temp dir", EILSEQ));
#else
  folder.Set("/\xE9\xFF");
  EXPECT_EQ(Directory::Temporary(client).GetFilePathSpec("f"), "/\xE9\xFF/f");
#endif
}

TEST_F(PlatformTest, AnOpenFileIsDeletedWhereTheSystemAllowsIt) {
  std::optional<Stream> owner = NewStream();
  owner->Write("text");
  std::optional<Stream> reader = owner->CreateIndependent();
  // The owner deletes the file, or leaves it to the last reader.
  const std::size_t isThere = kIsWindows ? 1 : 0;
  owner.reset();
  EXPECT_EQ(folder.Names().size(), isThere);
  // A file that is opened by the name might be another's by now.
  const std::string refusal = Failure([&] { reader->CreateIndependent(); });
  EXPECT_TRUE(refusal.ends_with(" (" + std::to_string(ENOENT) + ")")) << refusal;
  EXPECT_EQ(refusal.starts_with("ZELUtilsDir: TempFileStream: The file's owner is gone"),
            kIsWindows);
  EXPECT_EQ(reader->ReadAll(), "text");
  reader.reset();
  EXPECT_EQ(folder.Names(), Paths());

  // Somebody else tries.
  owner = NewStream();
  const Directory directory(client, folder.path.string());
  const std::string failure = Failure([&] { directory.Delete(folder.Names().begin()->string()); });
  EXPECT_EQ(folder.Names().size(), isThere);
  owner.reset();
  EXPECT_EQ(failure, kIsWindows ? DirFailure("Delete: Permission denied", EACCES) : "");
  if (!kIsWindows) ExpectLateReports({"ZELUtilsDirImpl::Delete: Invalid filename"});
}

// ---- The loader's notices ----

// Another test of the same process may keep it; ctest gives each test its own.
#define SKIP_IF_THE_LIBRARY_STAYS_LOADED()         \
  if (zeltest::IsLoaded(zeltest::LibraryPath())) { \
    GTEST_SKIP() << "another test has it loaded";  \
  }

TEST(LoaderTest, UnloadingMakesNoCallIntoTheHost) {
  SKIP_IF_THE_LIBRARY_STAYS_LOADED();
  zelhost::Host host;
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  host.Start(zeltest::LibraryPath());
  const zeltest::Procedures procs(host);
  const ZELInstance value = procs.statics.CreateFromText(
      "<T <category array membertype (real) maxelements 3> more [(two) `0003`]>", nullptr);
  const ZELInstance streamer = procs.streamers.NewPOSStreamer();
  ZELInstance stream = nullptr;
  EXPECT_EQ(procs.streams.NewPositionableMemoryStream(&stream), nullptr);
  for (const ZELInstance held : {value, streamer, stream, procs.iterators.NewPOSDictIterator(value),
                                 procs.structValidators.NewPOSStructValidator(value)}) {
    EXPECT_NE(procs.containers.AddRef(held), 0);
  }
  EXPECT_EQ(procs.streamers.Serialize(streamer, stream, value, nullptr), 1);
  EXPECT_EQ(host.TakeReports(), std::vector<std::string>());

  host.ResetCalls();
  host.Unload();
  EXPECT_EQ(host.TotalCalls(), 0u);
  EXPECT_FALSE(zeltest::IsLoaded(zeltest::LibraryPath()));
}

TEST(LoaderTest, TheHundredthLoadingIsAsTheFirst) {
  SKIP_IF_THE_LIBRARY_STAYS_LOADED();
  std::string first;
  for (int time = 0; time < 100; ++time) {
    zeltest::StartedHost host;
    const zeltest::Procedures procs(host);
    const ZELInstance value = procs.statics.CreateFromText("<a [(b) 1]>", nullptr);
    ASSERT_NE(procs.containers.AddRef(value), 0);
    procs.containers.Release(value);
    if (time == 0) first = ToString(host.Live());
    EXPECT_EQ(ToString(host.Live()), first);
    host.Stop();
    EXPECT_EQ(ToString(host.Live()), "nothing");
    ASSERT_FALSE(zeltest::IsLoaded(zeltest::LibraryPath())) << time;
  }
}

#if defined(_WIN32)
LONG CALLBACK GoOn(EXCEPTION_POINTERS* raised) {
  return raised->ExceptionRecord->ExceptionCode == 0xE0000001 ? EXCEPTION_CONTINUE_EXECUTION
                                                              : EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(PlatformTest, AStructuredExceptionOfACallbackIsNotTheLibrarys) {
  void* const handler = AddVectoredExceptionHandler(1, &GoOn);
  const ZELInstance schema = Parse("<A <category nonsense>>");
  const auto collect = [](const char* message) {
    RaiseException(0xE0000001, 0, 0, nullptr);
    zeltest::g_messages.emplace_back(message);
  };
  zeltest::g_messages.clear();
  EXPECT_FALSE(structValidators.ValidateSchema(schema, +collect));
  EXPECT_FALSE(std::exchange(zeltest::g_messages, {}).empty());
  RemoveVectoredExceptionHandler(handler);
}
#endif

}  // namespace
