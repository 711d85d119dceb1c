#!/usr/bin/env bash
# Runs a program for 32-bit Windows under Wine, whose files and settings are kept in build/wine and
# not with those of the person who runs it.
set -euo pipefail

tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
mkdir -p "$tree/build/wine"
export WINEPREFIX=$tree/build/wine
export WINEARCH=win32
export WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor a browser: Wine would ask whether to fetch them.
export WINEDLLOVERRIDES='mscoree,mshtml='
# Names of files are written in UTF-8, and byte texts are in the code page of the United States.
export LC_ALL=C.UTF-8
exec wine "$@"
