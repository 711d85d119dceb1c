// Common parts of the tests that reach the library through the typed client.
#pragma once

#include <zelutils/client.hpp>

#include "support.h"

namespace zeltest {

class ClientTest : public LibraryTest {
 protected:
  // The error that an action throws; without a message for none.
  static zelutils::Error Caught(const std::function<void()>& action) {
    try {
      action();
    } catch (const zelutils::Error& error) {
      return error;
    } catch (const std::exception& error) {
      return zelutils::Error(error.what());
    }
    return zelutils::Error("");
  }
  static std::string Thrown(const std::function<void()>& action) { return Caught(action).what(); }
  // The same as "component: message (number)", "" for none.
  static std::string Failure(const std::function<void()>& action) {
    const zelutils::Error error = Caught(action);
    if (*error.what() == '\0') return "";
    return error.Component() + ": " + error.what() + " (" + std::to_string(error.Id()) + ")";
  }

  // Reports of what failed while something was given back.
  void ExpectLateReports(const std::vector<std::string>& reports) {
    EXPECT_EQ(client.TakeLateReports(), reports);
  }
  void TearDown() override {
    ExpectLateReports({});
    LibraryTest::TearDown();
  }

  zelutils::Client client{host};
};

// The same with a folder, in which temporary files are made.
class FilesTest : public ClientTest {
 protected:
  using Paths = std::set<std::filesystem::path>;
  static constexpr bool kIsWindows = zeltest::kIsWindows;
  zelutils::Stream NewStream(const char* mode = "w+b") {
    return client.NewTempFileStream("pre", "ext", mode);
  }
  // A failure of the utilities directory, as Failure() has it.
  static std::string DirFailure(const char* message, int number) {
    return std::string("ZELUtilsDir: ZELUtilsDirImpl::") + message + " (" + std::to_string(number) +
           ")";
  }

  TempFolder folder;
};

}  // namespace zeltest
