#!/usr/bin/env bash
# Runs a program for 64-bit Windows; see wine.sh.
ZEL_WINE_BITS=64 exec "$(dirname "${BASH_SOURCE[0]}")/wine.sh" "$@"
