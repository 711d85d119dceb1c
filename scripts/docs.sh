#!/usr/bin/env bash
# Builds the documentation into build/site/html: the pages of docs/ and the reference of the public
# headers, with a search. Fails on any warning and on any link that leads nowhere. './dev docs' calls
# it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

site=build/site
rm -rf "$site"
mkdir -p "$site/html"
# The words of the drawing; the places depend on the fonts of the machine.
words() {
  sed -n 's:.*<text[^>]*>\(.*\)</text>.*:\1:p' "$1" | sort
}
dot -Tsvg docs/architecture.dot -o "$site/architecture.svg"
if [ "$(words "$site/architecture.svg")" != "$(words docs/architecture.svg)" ]; then
  echo "docs/architecture.svg is older than docs/architecture.dot: cp $site/architecture.svg docs"
  exit 1
fi
version=$(sed -n 's/^  VERSION \([0-9.]*\)$/\1/p' CMakeLists.txt)
{
  cat docs/Doxyfile
  printf 'PROJECT_NUMBER = %s\nOUTPUT_DIRECTORY = %s\n' "$version" "$site"
} >"$site/Doxyfile"
doxygen "$site/Doxyfile" >"$site/doxygen.log" 2>"$site/warnings.log" || true
if [ -s "$site/warnings.log" ]; then
  cat "$site/warnings.log"
  echo "doxygen: $(wc -l <"$site/warnings.log") lines of warnings"
  exit 1
fi
echo "doxygen: no warning"
scripts/check_site.py "$site/html"
echo "built: $site/html/index.html"
