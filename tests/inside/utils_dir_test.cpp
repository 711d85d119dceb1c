// Cases that cannot be brought about through the boundary: a directory with every name taken,
// threads that contend for the same names.
#include "fileutils/utils_dir.h"

#include <atomic>
#include <thread>

#include "fileutils/file_system.h"
#include "fileutils/windows_error.h"
#include "frame/core/error.h"
#include "support.h"

#if !defined(_WIN32)
#include "fileutils/rename_posix.h"
#endif

namespace {

TEST(UtilsDirTest, AllNamesTakenIsAnErrorAfterTheLastCounter) {
  using NFileUtilsImpl::ZELUtilsDirImpl;
  struct TakenDirectory : ZELUtilsDirImpl {
    using ZELUtilsDirImpl::ZELUtilsDirImpl;
    bool createNewFile(const Text& name) const override {
      ++tried;
      last = name.Text();
      return tried == freeAt;
    }
    mutable std::uint32_t tried = 0;
    mutable std::string last;
    std::uint32_t freeAt = 0;
  };
  zelhost::Host host;
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  const zelhost::Counts before = host.Live();
  {
    TakenDirectory directory{ZELUtilsDirImpl::Text("")};
    const ZELUtilsDirImpl::Text prefix("p");
    const ZELUtilsDirImpl::Text extension("e");
    try {
      directory.CreateUniqueFilename(prefix, extension);
      FAIL() << "all names were taken";
    } catch (const ZEL_T_NMT::CZELError& error) {
      EXPECT_STREQ(error.what(),
                   "ZELUtilsDirImpl::CreateUniqueFilename: Cannot find a unique file spec");
      EXPECT_STREQ(error.GetComponent().Text(), "ZELUtilsDir");
    }
    EXPECT_EQ(directory.tried, 65536u);
    EXPECT_EQ(directory.last.substr(directory.last.size() - 7), "pFFFF.e");
    directory.freeAt = 2 * 65536;
    EXPECT_EQ(directory.CreateUniqueFilename(prefix, extension).Text(), directory.last);
  }
  EXPECT_EQ(ToString(host.Live()), ToString(before));
}

TEST(FileSystemTest, NumbersOfWindowsErrors) {
  const std::pair<int, std::vector<std::uint32_t>> rows[] = {
      {ENOENT, {2, 3, 15, 18, 53, 67, 161, 206}},
      {EMFILE, {4}},
      {EACCES, {5, 16, 65, 82, 83, 108, 132, 158, 167}},
      {EBADF, {6}},
      {ENOMEM, {7, 8, 9, 14, 1816}},
      {EXDEV, {17}},
      {ENOSPC, {39, 112}},
      {EEXIST, {80, 183}},
      {ENOTEMPTY, {145}},
      {EILSEQ, {1113}},
  };
  std::map<std::uint32_t, int> numbers;
  for (const auto& [number, errors] : rows) {
    for (const std::uint32_t error : errors) numbers[error] = number;
  }
  for (std::uint32_t error = 19; error <= 36; ++error) numbers[error] = EACCES;
  for (std::uint32_t error = 0; error < 3000; ++error) {
    const auto row = numbers.find(error);
    EXPECT_EQ(NFileSystem::NumberOfWindowsError(error), row == numbers.end() ? EINVAL : row->second)
        << error;
  }
}

#if !defined(_WIN32)
// File systems that cannot rename exclusively, and one that refuses the renaming itself.
TEST(FileSystemTest, RenamesOverAReservationOfTheName) {
  using NFileSystem::RenameCall, NFileSystem::RenameCalls;
  const RenameCall plainly = NFileSystem::kRenameCalls.plainly;
  const RenameCalls ways[] = {
      NFileSystem::kRenameCalls,
      {[](const char*, const char*) { return EINVAL; }, plainly},
      {[](const char*, const char*) { return ENOSYS; }, plainly},
  };
  const auto refuse = [](const char*, const char*) { return EPERM; };
  const zeltest::Folder folder;
  const auto rename = [&](const RenameCalls& calls, const std::string& from,
                          const std::string& to) {
    return NFileSystem::RenameBy(calls, (folder / from).c_str(), (folder / to).c_str());
  };
  const std::set<std::filesystem::path> names = {"file", "folder", "other", "second name"};
  std::ofstream(folder / "file") << "kept";
  std::ofstream(folder / "other").close();
  std::filesystem::create_directory(folder / "folder");
  std::filesystem::create_hard_link(folder / "file", folder / "second name");
  for (const RenameCalls& way : ways) {
    for (const std::string from : {"other", "folder", "file"}) {
      EXPECT_EQ(rename(way, from, "new"), 0);
      EXPECT_EQ(rename(way, "new", from), 0);
      EXPECT_EQ(rename(way, from, from), 0);
      // A file of two names may be another one by either.
      EXPECT_EQ(rename(way, from, "./" + from), from == "file" ? EEXIST : 0);
    }
    EXPECT_EQ(folder.Contents(folder / "file"), "kept");
    for (const char* taken : {"other", "folder", "second name"}) {
      EXPECT_EQ(rename(way, "file", taken), EEXIST);
    }
    EXPECT_EQ(rename(way, "folder", "other"), EEXIST);
    EXPECT_EQ(rename(way, "none", "new"), ENOENT);
    EXPECT_EQ(rename(way, "file", "none/new"), ENOENT);
    for (const char* from : {"file", "folder"}) {
      EXPECT_EQ(rename({ways[1].exclusively, refuse}, from, "new"), EPERM);
    }
    EXPECT_EQ(folder.Names(), names) << "no name is left behind";
  }
}
#endif

TEST(FileSystemTest, EachNameIsWonByOneThread) {
  constexpr std::size_t kNames = 8000;
  static std::array<std::atomic<std::uint32_t>, kNames> wins;
  const zeltest::Folder folder;
  std::array<std::atomic<std::uint32_t>, 4> ids{};
  std::array<std::thread, ids.size()> threads;
  for (std::size_t thread = 0; thread < ids.size(); ++thread) {
    threads[thread] = std::thread([&, thread] {
      ids[thread] = NFileSystem::ThreadId();
      for (std::size_t name = 0; name < kNames; ++name) {
        const int error = NFileSystem::CreateNewFile((folder / std::to_string(name)).c_str());
        wins[name] += error == 0 ? 1 : error == EEXIST ? 0 : 1000;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t name = 0; name < kNames; ++name) ASSERT_EQ(wins[name], 1u) << name;
  EXPECT_EQ(std::set<std::uint32_t>(ids.begin(), ids.end()).size(), ids.size());
}

}  // namespace
