#!/usr/bin/env bash
# Uses the project as others do: installs it into an empty prefix and from there builds programs with
# CMake, with pkg-config and with the compiler alone; builds it as a part of another project; makes
# the packages twice, in folders of their own, and compares and checks them. './dev test-package'
# calls it.
#
#   --full         with gcc and clang, for debugging and as a release; else with gcc as a release
#   --root FOLDER  in a bare Debian in FOLDER, which is made with debootstrap if it is not there
#   --packages     the packages alone; --programs: everything but them
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

source=$PWD
full=no packages=yes programs=yes root=
while [ $# -gt 0 ]; do
  case $1 in
    --full) full=yes ;;
    --packages) programs=no ;;
    --programs) packages=no ;;
    --root)
      root=${2:?a folder}
      shift
      ;;
    *)
      echo "test-package has no option $1" >&2
      exit 2
      ;;
  esac
  shift
done

work=$source/build/test-package
jobs=$(nproc)
if ! command -v make >/dev/null; then
  export CMAKE_GENERATOR=Ninja
fi

say() {
  printf '\n== %s\n' "$*"
}

# quietly COMMAND...: shows what the command printed only if it fails.
quietly() {
  "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    echo "failed: $*"
    return 1
  }
}

# ---- In a bare Debian ----

if [ -n "$root" ]; then
  if [ ! -e "$root/usr/bin/cmake" ]; then
    debootstrap --variant=minbase \
      --include=clang,cmake,gcc,g++,libc6-dev,ninja-build,pkg-config bookworm "$root"
  fi
  rm -rf "$root/src"
  mkdir -p "$root/src"
  git ls-files -z --cached --others --exclude-standard | tar --null -cf - -T - | tar -xf - -C "$root/src"
  arguments=(--programs)
  if [ "$full" = yes ]; then arguments+=(--full); fi
  exec chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 \
    /src/scripts/test_package.sh "${arguments[@]}"
fi

rm -rf "$work"
mkdir -p "$work"

# ---- Programs ----

# consumers CC CXX TYPE PREFIX LIBDIR: programs that have the installation in PREFIX.
consumers() {
  local cc=$1 cxx=$2 type=$3 prefix=$4 libdir=$5 folder=$work/consumer
  rm -rf "$folder"
  mkdir -p "$folder"
  export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig

  # The program of the README with eight lines of CMake.
  awk '/^```cpp$/ { inside = 1; next } /^```$/ { if (inside) exit } inside' README.md >"$folder/main.cpp"
  cat >"$folder/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.22)
project(Consumer LANGUAGES C CXX)
find_package(ZELUtils 1.0 REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE ZELUtils::host)
add_custom_target(check COMMAND consumer $<TARGET_FILE:ZELUtils::ZELUtils>)
END
  quietly cmake -S "$folder" -B "$folder/build" -DZELUtils_DIR="$prefix/$libdir/cmake/ZELUtils" \
    -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE="$type"
  quietly cmake --build "$folder/build" --target consumer check
  echo "find_package: $(grep -v '^\[' "$work/log" | tail -1)"

  # C with pkg-config: the shared host, and the static one.
  # shellcheck disable=SC2046
  "$cc" examples/hello.c $(pkg-config --cflags --libs zelhost) -o "$folder/hello"
  echo "pkg-config: $(LD_LIBRARY_PATH=$prefix/$libdir "$folder/hello")"
  # shellcheck disable=SC2046
  "$cc" -c examples/hello.c $(pkg-config --cflags zelhost) -o "$folder/hello.o"
  "$cxx" "$folder/hello.o" "$(pkg-config --variable=archive zelhost)" -ldl -o "$folder/hello_static"
  echo "pkg-config, static: $(LD_LIBRARY_PATH=$prefix/$libdir "$folder/hello_static")"

  # The library linked, with flags written by hand.
  "$cc" -DZEL_LINKED tests/header_c99_test.c -I "$prefix/include" -L "$prefix/$libdir" -lZELUtils \
    -o "$folder/linked"
  LD_LIBRARY_PATH=$prefix/$libdir "$folder/linked"
  echo "cc alone: linked and run"

  # The installed examples are a project with tests.
  quietly cmake -S "$prefix/share/doc/zelutils/examples" -B "$folder/examples" \
    -DZELUtils_DIR="$prefix/$libdir/cmake/ZELUtils" -DCMAKE_C_COMPILER="$cc" -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_BUILD_TYPE="$type"
  quietly cmake --build "$folder/examples" -j "$jobs"
  quietly ctest --test-dir "$folder/examples" --no-tests=error
  echo "installed examples: $(grep 'tests passed' "$work/log")"
}

# part CC CXX TYPE: the project inside of another one, on a machine without GoogleTest.
part() {
  local folder=$work/part
  rm -rf "$folder"
  mkdir -p "$folder"
  cp examples/hello.c "$folder"
  cat >"$folder/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.22)
project(Whole LANGUAGES C CXX)
include(FetchContent)
FetchContent_Declare(ZELUtils SOURCE_DIR $source)
FetchContent_MakeAvailable(ZELUtils)
add_executable(whole hello.c)
target_link_libraries(whole PRIVATE ZELUtils::host)
END
  quietly cmake -S "$folder" -B "$folder/build" -DCMAKE_C_COMPILER="$1" -DCMAKE_CXX_COMPILER="$2" \
    -DCMAKE_BUILD_TYPE="$3" -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON
  quietly cmake --build "$folder/build" -j "$jobs" --target whole # and what it loads
  echo "FetchContent: $("$folder/build/whole")"
  if cmake --build "$folder/build" --target help | grep -qE 'zel_tests|zelpos|zel_demo'; then
    echo "FetchContent: tests, tool or examples are in the build of the whole"
    return 1
  fi
}

# use CC CXX TYPE LIBDIR
use() {
  local build=$work/build prefix=$work/prefix
  say "$1, $3, $4: installed"
  rm -rf "$build" "$prefix"
  quietly cmake -S . -B "$build" -DCMAKE_C_COMPILER="$1" -DCMAKE_CXX_COMPILER="$2" \
    -DCMAKE_BUILD_TYPE="$3" -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR="$4" \
    -DZEL_TESTS=OFF -DZEL_TOOL=OFF -DZEL_EXAMPLES=OFF
  quietly cmake --build "$build" -j "$jobs"

  # Through DESTDIR, and then moved: nothing may depend on the place.
  DESTDIR=$work/stage quietly cmake --install "$build"
  mv "$work/stage$prefix" "$prefix"
  rm -rf "$work/stage"
  if grep -rlF "$build" "$prefix" --include='*.cmake' --include='*.pc'; then
    echo "names the folder of the build"
    return 1
  fi
  consumers "$1" "$2" "$3" "$prefix" "$4"

  DESTDIR='' quietly cmake --build "$build" --target uninstall
  if [ -n "$(find "$prefix" ! -type d)" ]; then
    find "$prefix" ! -type d
    echo "left by the uninstallation"
    return 1
  fi
  echo "uninstalled: nothing is left"
  say "$1, $3: as a part of another project"
  part "$1" "$2" "$3"
}

if [ "$programs" = yes ]; then
  if [ "$full" = yes ]; then
    for type in Debug Release; do
      use gcc g++ "$type" lib
      use clang clang++ "$type" lib/elsewhere
    done
  else
    use gcc g++ Release lib/elsewhere
  fi
fi

# ---- Packages ----

if [ "$packages" = yes ]; then
  # Without the compiler cache, which would make the second build from the results of the first.
  export CCACHE_DISABLE=1
  for place in one two/deeper; do
    say "Packages, made in a folder $place"
    mkdir -p "$work/$place"
    git ls-files -z --cached --others --exclude-standard | tar --null -cf - -T - | tar -xf - -C "$work/$place"
    "$work/$place/scripts/package.sh"
  done
  for file in "$work"/one/build/package/*.deb "$work"/one/build/package/*.tar.gz; do
    cmp "$file" "$work/two/deeper/build/package/${file##*/}"
  done
  echo "the same bytes"

  say "lintian"
  lintian --allow-root --tag-display-limit 0 --fail-on error,warning \
    --suppress-tags-from-file packaging/debian/lintian-suppressed "$work"/one/build/package/*.deb
  echo "lintian: no error, no warning"
fi
say "test-package is clean"
