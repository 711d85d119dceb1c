# Settings that all targets of the project share: the language, warnings, sanitizers, and where the
# results go. Include it once, before any target is made.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Library, tool and tests of one preset lie side by side, so that each finds the library beside it.
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

# On 32-bit x86 doubles would otherwise be computed with the excess precision of the x87 unit.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86)$")
  add_compile_options(-msse2 -mfpmath=sse)
endif()

if(ZEL_SANITIZE)
  add_compile_options(-fsanitize=${ZEL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZEL_SANITIZE})
  # Clang compares the type descriptors of a procedure and of its caller; those of types that stay
  # incomplete, as a handle's does, are different in each translation unit.
  add_compile_options($<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  # A program that is linked as C loads libraries that need the half of clang's runtime about classes.
  if(CMAKE_C_COMPILER_ID STREQUAL Clang)
    set(zel_sanitize_c_link "-fsanitize-link-c++-runtime -lstdc++")
    add_link_options($<$<LINK_LANGUAGE:C>:SHELL:${zel_sanitize_c_link}>)
  endif()
endif()

# The same sources give the same bytes, wherever they lie: debugger symbols name them from here.
add_compile_options(
  $<$<CONFIG:RelWithDebInfo>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=zelutils-${PROJECT_VERSION}>)

# zel_warnings(TARGET): the warnings that our own code is held to.
function(zel_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    $<$<BOOL:${ZEL_WERROR}>:-Werror>)
endfunction()

# zel_sources(VARIABLE PATTERN...): the sources matching the patterns, relative to the current
# folder, for the target platform: a file named *_posix.cpp or *_windows.cpp is left out of the
# other platform's build. Sources added or removed later are noticed by the next build.
function(zel_sources variable)
  list(TRANSFORM ARGN PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  file(GLOB sources CONFIGURE_DEPENDS ${ARGN})
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_posix\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
  endif()
  if(CMAKE_CXX_CLANG_TIDY)
    # A changed list of checks has everything checked again.
    file(GLOB lists CONFIGURE_DEPENDS
      ${PROJECT_SOURCE_DIR}/.clang-tidy ${CMAKE_CURRENT_SOURCE_DIR}/.clang-tidy)
    set_property(SOURCE ${sources} APPEND PROPERTY OBJECT_DEPENDS ${lists})
  endif()
  set(${variable} ${sources} PARENT_SCOPE)
endfunction()
