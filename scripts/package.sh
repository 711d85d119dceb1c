#!/usr/bin/env bash
# Builds what is published into build/package: Debian packages, an archive, and with --windows a zip
# for 32-bit Windows. './dev package' calls it.
#
# The result depends on the sources and on the compiler alone. Its date is that of the newest entry
# of the changelog.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

out=$PWD/build/package
if [ -z "${SOURCE_DATE_EPOCH:-}" ]; then
  SOURCE_DATE_EPOCH=$(date --utc +%s --date="$(sed -n 's/^## [0-9.]* (\(.*\))$/\1/p' CHANGELOG.md | head -1)")
fi
export SOURCE_DATE_EPOCH

# pack PRESET GENERATORS [CONFIGURE-ARGUMENT...]
pack() {
  local preset=$1 generators=$2 build=build/package-$1
  shift 2
  cmake --preset "$preset" -B "$build" -DZEL_TESTS=OFF -DZEL_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX=/usr "$@" \
    >"$build.configure.log"
  cmake --build "$build" -j "$(nproc)" >"$build.build.log"
  rm -rf "$build/site"
  mkdir -p "$build/site"
  cp -R build/site/html "$build/site/"
  (cd "$build" && cpack -G "$generators" -B "$out" >"$out.log") || {
    cat "$out.log"
    return 1
  }
}

mkdir -p build
scripts/docs.sh >"$out.docs.log" || {
  cat "$out.docs.log"
  exit 1
}
mkdir -p "$out"
if [ "${1:-}" = --windows ]; then
  rm -f "$out"/*.zip*
  pack win32 ZIP
else
  rm -f "$out"/*.deb* "$out"/*.tar.gz*
  pack release "TGZ;DEB" -DZEL_PYTHON_DIR=lib/python3/dist-packages
fi
rm -rf "$out/_CPack_Packages"
(cd "$out" && sha256sum ./*.deb ./*.tar.gz ./*.zip 2>/dev/null) || true
