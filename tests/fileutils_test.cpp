// The utilities directory and temporary-file streams, in a folder made for each test.
#include <iostream>

#include "client_fixture.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using namespace zelutils;
namespace fs = std::filesystem;

#if !defined(_WIN32)
// Runs a body in a process of its own; what it expects counts here.
void InProcess(const std::function<void()>& body) {
  if (fork() == 0) {
    body();
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  EXPECT_GT(wait(&status), 0);
  EXPECT_EQ(status, 0);
}
#endif

class FileUtilsTest : public zeltest::FilesTest {
 protected:
  FileUtilsTest() { fs::permissions(folder.path, fs::perms::all); }
  void TearDown() override {
    directory.reset();
    FilesTest::TearDown();
  }
  void MakeFile(const char* name, const char* text = "") { std::ofstream(folder / name) << text; }
  Paths Names() { return folder.Names(); }

  std::optional<Directory> directory{Directory(client, folder.path.string())};
};

TEST_F(FileUtilsTest, TheTempDirectoryIsWholeAndFitsOrFails) {
#if defined(_WIN32)
  GTEST_SKIP() << "this system completes the path itself and keeps its current directory";
#else
  const auto temporary = [&] { return Directory::Temporary(client).GetFilePathSpec(""); };
  unsetenv("TMPDIR");
  EXPECT_EQ(temporary(), "/tmp/");
  const fs::path outside = fs::current_path();
  const std::string here = folder.path.string() + '/';
  fs::create_directory(folder / "inner");
  fs::create_directory(folder / "inner/inner");
  fs::current_path(folder.path);
  const std::string longest = '/' + std::string(257, 'x');
  const std::string inside(259 - here.size() - 1, 'x');
  const std::pair<std::string, std::string> rows[] = {
      // the variable, the directory: none where it is too long
      {"/x", "/x/"},
      {"/x/", "/x/"},
      {"", "/tmp/"},
      {"inner", here + "inner/"},
      {"./inner/", here + "./inner/"},
      {longest, longest + "/"},
      {longest + "/", longest + "/"},
      {longest + "x", ""},
      {longest + "x/", ""},
      {inside, here + inside + "/"},
      {inside + "x", ""},
  };
  for (const auto& [variable, text] : rows) {
    folder.Set(variable);
    std::string found;
    const std::string failure = Failure([&] { found = temporary(); });
    EXPECT_EQ(found, text);
    EXPECT_EQ(failure,
              text.empty() ? DirFailure("GetTempDir: Cannot get temp dir", ENAMETOOLONG) : "");
  }

  // A file of the same name elsewhere is none of the stream's.
  folder.Set("inner");
  {
    Stream owner = NewStream();
    const std::string name = folder.Names(folder / "inner").begin()->string();
    owner.Write("own");
    fs::current_path(folder / "inner");
    MakeFile(("inner/inner/" + name).c_str(), "strange");
    EXPECT_EQ(owner.CreateIndependent().ReadAll(), "own");
  }
  EXPECT_EQ(folder.Names(folder / "inner"), Paths{"inner"});
  EXPECT_EQ(folder.Names(folder / "inner/inner").size(), 1u);

  fs::create_directory(folder / "gone");
  fs::current_path(folder / "gone");
  fs::remove(folder / "gone");
  EXPECT_EQ(Failure([&] { Directory::Current(client); }),
            DirFailure("GetCurrent: Cannot get current dir", ENOENT));
  EXPECT_EQ(Failure(temporary), DirFailure("GetTempDir: Cannot get temp dir", ENOENT));
  fs::current_path(outside);
#endif
}

TEST_F(FileUtilsTest, EachFailureHasItsMessageAndNumber) {
  const Directory missing(client, folder / "missing");
  const Directory inFile(client, folder / "file");
  const Directory locked(client, folder / "locked");
  const Directory& here = *directory;
  MakeFile("file", "kept");
  MakeFile("other");
  fs::create_directory(folder / "folder");
  fs::create_directory(folder / "locked");
  MakeFile("locked/file");
  struct Row {
    std::function<void()> action;
    const char* message;
    int number;
  };
  const auto check = [](const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      EXPECT_EQ(Failure(row.action), DirFailure(row.message, row.number));
    }
  };
  check({
      {[&] { here.Delete("none"); }, "Delete: Invalid filename", ENOENT},
      {[&] { missing.Delete("file"); }, "Delete: Invalid filename", ENOENT},
      {[&] { here.Delete("folder"); },
       kIsWindows ? "Delete: Permission denied" : "Delete: Unknown error",
       kIsWindows ? EACCES : EISDIR},
      {[&] { here.Rename("none", "new"); }, "Rename: Invalid filename", ENOENT},
      {[&] { missing.Rename("file", "new"); }, "Rename: Invalid filename", ENOENT},
      {[&] { here.Rename("file", "other"); }, "Rename: Unknown error", EEXIST},
      {[&] { here.Rename("file", "folder"); }, "Rename: Unknown error", EEXIST},
      {[&] { here.Rename("folder", "locked"); }, "Rename: Unknown error", EEXIST},
      {[&] { missing.CreateUniqueFilename("p", "e"); }, "createNewFile: Invalid filename", ENOENT},
      {[&] { inFile.CreateUniqueFilename("p", "e"); },
       kIsWindows ? "createNewFile: Invalid filename" : "createNewFile: Unknown error",
       kIsWindows ? ENOENT : ENOTDIR},
      {[&] { here.CreateUniqueFilename("/../../p", "e"); }, "createNewFile: Invalid filename",
       ENOENT},
      {[&] { here.CreateUniqueFilename("p", "e/f"); }, "createNewFile: Invalid filename", ENOENT},
  });
  if (kIsWindows) {
    for (const char* text : {"\\..\\p", "x:y"}) {
      check({{[&] { here.CreateUniqueFilename(text, "e"); }, "createNewFile: Invalid filename",
              ENOENT},
             {[&] { here.CreateUniqueFilename("p", text); }, "createNewFile: Invalid filename",
              ENOENT}});
    }
  }
  // A name of its own is no other's.
  here.Rename("file", "file");
  here.Rename("folder", "folder");
  EXPECT_NE(Failure([&] { Directory(client, nullptr, Handed::kHeld).FileExists("file"); }), "");
  EXPECT_EQ(folder.Contents(folder / "file"), "kept");
  EXPECT_EQ(Names(), (Paths{"file", "folder", "locked", "other"}));
#if defined(_WIN32)
  std::cout << "not run: what a folder without permission answers\n";
#else
  fs::permissions(folder / "locked", fs::perms(0555));
  InProcess([&] {
    ASSERT_TRUE(geteuid() != 0 || setuid(65534) == 0);
    check({
        {[&] { locked.Delete("file"); }, "Delete: Permission denied", EACCES},
        {[&] { locked.Rename("file", "new"); }, "Rename: Permission denied", EACCES},
        {[&] { locked.CreateUniqueFilename("p", "e"); }, "createNewFile: Permission denied",
         EACCES},
    });
  });
#endif
}

#if defined(_WIN32)
TEST_F(FileUtilsTest, PathsAreBytesOfTheCodePage) {
  if (GetACP() != 1252) GTEST_SKIP() << "the names are written in code page 1252";
  const std::string here = folder.path.string() + '\\';
  const std::string umlaut = here + '\xFC';
  ASSERT_NE(CreateDirectoryA(umlaut.c_str(), nullptr), 0);
  const Directory named(client, umlaut);
  const std::string made = named.CreateUniqueFilename("\xE4", "e");
  EXPECT_NE(made.find('\xE4'), std::string::npos);
  EXPECT_NE(GetFileAttributesA((umlaut + '\\' + made).c_str()), INVALID_FILE_ATTRIBUTES);
  named.Rename(made, "\xF6");
  EXPECT_TRUE(named.FileExists("\xF6"));
  named.Delete("\xF6");
  EXPECT_NE(RemoveDirectoryA(umlaut.c_str()), 0);

  const std::string longest(259 - here.size(), 'x');
  MakeFile("file");
  directory->Rename("file", longest);
  EXPECT_TRUE(directory->FileExists(longest));
  directory->Delete(longest);
}
#endif

TEST_F(FileUtilsTest, FoldersAndLinksAreFiles) {
  fs::create_directory(folder / "folder");
  EXPECT_TRUE(directory->FileExists("folder"));
  directory->Rename("folder", "new folder");
#if !defined(_WIN32)
  MakeFile("file");
  fs::create_symlink("nowhere", folder / "link");
  EXPECT_FALSE(directory->FileExists("link"));
  EXPECT_EQ(Failure([&] { directory->Rename("file", "link"); }),
            DirFailure("Rename: Unknown error", EEXIST));
  directory->Delete("link");
  directory->Delete("file");
#endif
  EXPECT_EQ(Names(), Paths{"new folder"});
}

TEST_F(FileUtilsTest, AUniqueNameIsTheFirstFreeOne) {
  const auto unique = [&] { return directory->CreateUniqueFilename("tmp", "dat"); };
  const std::string first = unique();
  const std::string tag = first.substr(0, first.size() - std::string("tmp0000.dat").size());
  EXPECT_EQ(first, tag + "tmp0000.dat");
  EXPECT_EQ(unique(), tag + "tmp0001.dat");
  EXPECT_EQ(directory->CreateUniqueFilename("", ""), tag + "0000.");
  fs::remove(folder / first);
  fs::create_directory(folder / first);
  EXPECT_EQ(unique(), tag + "tmp0002.dat");
#if !defined(_WIN32)
  char expected[17];
  std::snprintf(expected, sizeof expected, "%04X%04X", static_cast<unsigned>(getpid()),
                static_cast<unsigned>(gettid()));
  EXPECT_EQ(tag, expected);
  EXPECT_EQ(fs::status(folder / (tag + "tmp0002.dat")).permissions(), fs::perms(0600));
  // A link is never followed, wherever it leads.
  fs::create_symlink(folder / "target", folder / (tag + "tmp0003.dat"));
  EXPECT_EQ(unique(), tag + "tmp0004.dat");
  EXPECT_FALSE(fs::exists(folder / "target"));
#endif
}

TEST_F(FileUtilsTest, WhatIsWrittenIsReadByTwoReadersAndTheOwner) {
  std::string written;
  for (std::uint32_t i = 0; written.size() < 5'000'000; ++i)
    written += std::to_string(i * 2654435761u);
  std::optional<Stream> owner = NewStream();
  ASSERT_EQ(Names().size(), 1u);
  const std::string name = Names().begin()->string();
  EXPECT_EQ(name.substr(name.size() - 11), "pre0000.ext");
  for (std::size_t at = 0; at < written.size(); at += 4097) owner->Write(written.substr(at, 4097));

  std::optional<Stream> first = owner->CreateIndependent();
  std::optional<Stream> second = owner->CreateIndependent();
  // All at a time, each with its own step.
  Stream* const readers[] = {&*first, &*second, &*owner};
  std::string read[3];
  for (bool goesOn = true; goesOn;) {
    goesOn = false;
    for (std::size_t i = 0; i < 3; ++i) {
      std::vector<std::byte> buffer(10000 * (i + 1));
      const std::uint32_t count = readers[i]->Read(buffer);
      read[i].append(reinterpret_cast<const char*>(buffer.data()), count);
      goesOn = goesOn || count > 0;
    }
  }
  for (const std::string& text : read) EXPECT_TRUE(text == written) << text.size();
}

TEST_F(FileUtilsTest, AFailedStreamLeavesAnEmptyFileOrNone) {
  // A file that cannot be opened has had no owner who would delete it.
  for (const char* mode : {"w+bx", "nonsense", ""}) {
    EXPECT_NE(Failure([&] { NewStream(mode); }), "") << mode;
    ASSERT_EQ(Names().size(), 1u) << mode;
    const fs::path left = folder.path / *Names().begin();
    EXPECT_TRUE(fs::is_empty(left));
    fs::remove(left);
  }
  host.FailAt(zelhost::Service::kNewClientStream, 1);
  EXPECT_NE(Failure([&] { NewStream(); }), "");
  EXPECT_TRUE(Names().empty());
  ZELInstance stream = nullptr;
  EXPECT_EQ(Failure([&] {
              client.Check(client.Procedures<TempFileStreamFactoryInterface>().NewTempFileStream(
                  &stream, nullptr, "ext", "wb"));
            }),
            "DUX: null text (0)");
  folder.Set(folder / "missing");
  EXPECT_EQ(Failure([&] { NewStream(); }), DirFailure("createNewFile: Invalid filename", ENOENT));
  EXPECT_TRUE(Names().empty());
}

TEST_F(FileUtilsTest, TheFirstIndependentStreamAloneMovesAStreamToItsStart) {
  Stream owner = NewStream();
  owner.Write("text");
  Stream reader = owner.CreateIndependent();
  for (Stream* stream : {&owner, &reader}) {
    stream->CreateIndependent();
    stream->Seek(3);
    EXPECT_EQ(stream->Mark(), 3U);
    stream->CreateIndependent();
    EXPECT_EQ(stream->ReadAll(), "t");
  }
}

TEST_F(FileUtilsTest, AFileThatIsGoneIsNobodys) {
  if (kIsWindows) GTEST_SKIP() << "an open file cannot be removed on this system";
  std::optional<Stream> owner = NewStream();
  owner->Write("old");
  std::optional<Stream> reader = owner->CreateIndependent();
  const fs::path file = folder.path / *Names().begin();
  fs::remove(file);
  owner.reset();
  ExpectLateReports({"ZELUtilsDirImpl::Delete: Invalid filename"});

  // The answer of opening is passed on, unless there is another file by now.
  const std::string failure = Failure([&] { reader->CreateIndependent(); });
  EXPECT_EQ(failure.substr(failure.size() - 3), "(2)") << failure;
  EXPECT_EQ(failure.find("owner"), std::string::npos) << failure;
  const Stream other = NewStream();
  ASSERT_EQ(folder.path / *Names().begin(), file) << "the name is taken again";
  const std::string live = ToString(host.Live());
  EXPECT_EQ(Failure([&] { reader->CreateIndependent(); }),
            "ZELUtilsDir: TempFileStream: The file's owner is gone (2)");
  EXPECT_EQ(ToString(host.Live()), live);
  EXPECT_EQ(reader->ReadAll(), "old");
  reader.reset();
  EXPECT_EQ(Names(), Paths{file.filename()}) << "it is another stream's";
}

// Stands for a system that forbids to delete an open file.
struct Forbidding {
  static inline ZELUtilsDirDelete realDelete = nullptr;
  static inline ZELNewErrorProc newError = nullptr;
  static inline int calls = 0;
  static inline bool forbids = true;
  static ZELErrorObject Delete(ZELInstance directory, ZELStringAtom name) {
    ++calls;
    return forbids ? newError("forbidden", "test", EACCES, 0, 0) : realDelete(directory, name);
  }
};

TEST_F(FileUtilsTest, WhereTheOwnerCannotDeleteTheLastReaderDoes) {
  Forbidding::realDelete = client.Procedures<UtilsDirInterface>().Delete;
  Forbidding::newError = client.Procedures<ErrorInterface>().NewError;
  zeltest::Replace<UtilsDirInterface>(host, "Delete", &Forbidding::Delete);
  {
    std::optional<Stream> owner = NewStream();
    const Stream last = owner->CreateIndependent();
    owner->CreateIndependent();
    owner.reset();
    EXPECT_EQ(Forbidding::calls, 1);
    EXPECT_EQ(Names().size(), 1u);
    ExpectReports({});
    Forbidding::forbids = false;
  }
  EXPECT_EQ(Forbidding::calls, 2);
  EXPECT_TRUE(Names().empty());

  // The last one, if it cannot do it either, reports it once.
  Forbidding::forbids = true;
  NewStream();
  ExpectLateReports({"forbidden"});
  NewStream().CreateIndependent();
  ExpectLateReports({"forbidden"});
  EXPECT_EQ(Names().size(), 2u);
}

TEST_F(FileUtilsTest, AStreamMayOutliveTheDirectoryInterfaceAndTheLibrary) {
  std::optional<Stream> first = NewStream();
  std::optional<Stream> second = NewStream();
  second->Write("text");
  std::optional<Stream> reader = second->CreateIndependent();
  host.Withdraw(ZEL_UTILS_DIR_INTERFACE);
  first.reset();
  EXPECT_EQ(Names().size(), 1u);
  directory.reset();
  host.SetLeakSink([](const auto&) {});
  host.Stop();
  second.reset();
  host.Start(zeltest::LibraryPath());
  EXPECT_EQ(reader->ReadAll(), "text");
  reader.reset();
  EXPECT_TRUE(Names().empty());
}

}  // namespace
