#!/usr/bin/env bash
# Fails on words that do not belong into the repository: a text here says what holds and why, and
# refers neither to documents that the reader does not have nor to one machine's folders.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

words='(?<!file )\b[s]pec(s|ified|ification|ifications)?\b|\b[P]art [0-9]+\.[0-9]|\b[i]ssue #[0-9]'
folders='(^|[^\w.])/([w]ork|[r]oot)/'

if grep -rnIiP --exclude-dir=.git --exclude-dir=build "$words|$folders" .; then
  exit 1
fi
