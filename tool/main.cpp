// zelpos: POS values at the command line.
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "command_line.h"
#include "printable.h"

int main(int argc, char** argv) {
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);  // a file-size limit becomes an error of the write
#endif
  try {
    return zelpos::CommandLine().Run({argv + (argc > 0 ? 1 : 0), argv + argc});
  } catch (const zelpos::UsageError& error) {
    std::fprintf(stderr, "zelpos: %s\n", error.what());
  } catch (const zelpos::ClosedPipe&) {
    // Nobody reads any more, which is as good as done.
  } catch (const zelpos::FileError& error) {
    std::fprintf(stderr, "%s\n", error.what());
  } catch (const std::bad_alloc&) {
    std::fputs("zelpos: not enough memory for a value of this size\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zelpos: %s\n", zelpos::Printable(error.what()).c_str());
  }
  return zelpos::kTrouble;
}
