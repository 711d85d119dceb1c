#!/usr/bin/env bash
# Tests the Python package against the release build, checks its type hints, builds it, and installs
# it into an empty environment; './dev test-python' calls it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export ZELHOST_LIBRARY=$PWD/build/release/libzelhost.so ZEL_DOCS=$PWD/docs
work=$PWD/build/python
rm -rf "$work"
mkdir -p "$work"
# Nothing is left in the source folder.
cp -R bindings/python "$work/source"
cd "$work/source"

PYTHONPATH=. /usr/bin/python3 -m pytest -q -p no:cacheprovider
mypy --no-error-summary --check-untyped-defs zelutils
# Programs of users may be as strict as they like: those of the pages are.
# shellcheck disable=SC2016 # the backquotes are those of the page
sed -n '/^```python$/,/^```$/{/^```/d;p}' "$ZEL_DOCS/python.md" README.md >"$work/pages.py"
MYPYPATH=. mypy --no-error-summary --strict --follow-imports=silent "$work/pages.py"

# With the checking layer beside the host in place of the library: it finds nothing.
release=$(dirname "$ZELHOST_LIBRARY")
mkdir "$work/checked"
cp "$ZELHOST_LIBRARY" "$work/checked/libzelhost.so"
cp "$release/libZELUtilsCheck.so" "$work/checked/$(basename "$release"/libZELUtils.so.?)"
ZELHOST_LIBRARY=$work/checked/libzelhost.so ZELUTILS_LIBRARY=$release/libZELUtils.so \
  ZELUTILS_CHECK=stats,out=$work/checked/log PYTHONPATH=. /usr/bin/python3 -m pytest -q -p no:cacheprovider
if grep -E '^zelutils-check: [a-z]+-' "$work/checked/log" || ! grep -q 'calls, failures' "$work/checked/log"; then
  cat "$work/checked/log"
  echo "the checking layer finds something, or was not there"
  exit 1
fi

/usr/bin/python3 -m pip --quiet wheel --no-index --no-deps --no-build-isolation -w "$work" .
/usr/bin/python3 -m venv "$work/environment"
"$work/environment/bin/pip" --quiet install --no-index "$work"/zelutils-*.whl
cd "$work"
"$work/environment/bin/python" -c '
import zelutils
book = zelutils.loads("<title (A book) pages [<width 595>]>")
assert book["pages"][0]["width"] == 595
print("installed zelutils %s: %s" % (zelutils.__version__, zelutils.dumps(book)))'
