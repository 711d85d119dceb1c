# ZEL_HARDENING: the compiler's and the linker's means against faults that an attacker might use.
# The library has no known one; these make an unknown one harder to use.
if(NOT ZEL_HARDENING)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)

# Stack smashing, stack clashes, and jumps into the middle of the code (x86, ARM). Clang warns of a
# flag that is another processor's.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection=full
    -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "ZEL_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})
  # On Windows the compiler takes the flag of stack clashes and breaks the unwinding tables.
  if(${has} AND NOT (WIN32 AND NOT flag STREQUAL "-fstack-protector-strong"))
    add_compile_options(${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

# Checked versions of the C library's functions; they need an optimised build.
if(NOT WIN32 AND NOT ZEL_SANITIZE)
  add_compile_options(
    "$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")
endif()

# Programs at a random address; tables of the loader read-only before the first own instruction.
check_pie_supported(LANGUAGES C CXX)
if(WIN32)
  add_link_options(-fstack-protector-strong -Wl,--dynamicbase,--nxcompat)
else()
  add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
endif()
