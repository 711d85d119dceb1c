#!/usr/bin/env bash
# Fails on words that do not belong into the repository: a text here says what holds and why, and
# refers neither to documents that the reader does not have nor to one machine's folders. A sentence
# of a comment begins with its noun.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

words='(?<!file )\b[s]pec(s|ified|ification|ifications)?\b|\b[P]art [0-9]+\.[0-9]|\b[i]ssue #[0-9]'
folders='(^|[^\w.])/([w]ork|[r]oot)/'
nounless='(//|/\*|^\s*\*|^\s*#)(| .*[.!?:;]) +(What|Who|Whose|Whom|Where|How)\b'

failed=0
if grep -rnIiP --exclude-dir=.git --exclude-dir=build "$words|$folders" .; then
  failed=1
fi
if grep -rnIP --exclude-dir=.git --exclude-dir=build --include='*.'{h,hpp,c,cpp,py,sh,cmake} \
  --include=CMakeLists.txt --include=dev "$nounless" .; then
  failed=1
fi
exit $failed
