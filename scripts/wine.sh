#!/usr/bin/env bash
# Runs a program for Windows under Wine, whose files and settings are kept in build/wine (32 bits) or
# build/wine64 and not with those of the person who runs it. ZEL_WINE_BITS is 32 or 64.
set -euo pipefail

tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
case ${ZEL_WINE_BITS:-32} in
  64) export WINEPREFIX=$tree/build/wine64 WINEARCH=win64 ;;
  *) export WINEPREFIX=$tree/build/wine WINEARCH=win32 ;;
esac
mkdir -p "$WINEPREFIX"
export WINEDEBUG=${WINEDEBUG:--all}
# Neither .NET nor a browser: Wine would ask whether to fetch them.
export WINEDLLOVERRIDES='mscoree,mshtml='
# Names of files are written in UTF-8, and byte texts are in the code page of the United States.
export LC_ALL=C.UTF-8
exec wine "$@"
