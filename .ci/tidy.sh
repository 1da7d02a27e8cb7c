#!/bin/bash
# clang-tidy 14 on the modules' files that changed since the branch left main, or since the commit before on main
# itself. Needs the tree of the clang preset (its compile commands).
set -euo pipefail
base=$(git merge-base HEAD origin/main 2> /dev/null || git rev-parse HEAD)
if [ "$base" = "$(git rev-parse HEAD)" ]; then
    base=$(git rev-parse -q --verify HEAD~1) || { echo "tidy: no commit to compare with"; exit 0; }
fi
mapfile -t ficheros < <(git diff --name-only --diff-filter=d "$base" HEAD -- \
    'app/*.cpp' 'ayudante/*.cpp' 'card/*.cpp' 'certstore/*.cpp' 'cli/*.cpp' 'cms/*.cpp' 'crypto/*.cpp' 'firma/*.cpp' \
    'pdf/*.cpp' 'red/*.cpp' 'signer/*.cpp' 'ui/*.cpp')
[ ${#ficheros[@]} -gt 0 ] || { echo "tidy: no changed files"; exit 0; }
echo "tidy: ${#ficheros[@]} files"
printf '%s\0' "${ficheros[@]}" | xargs -0 -P "$(nproc)" -n 1 clang-tidy-14 --quiet -p build/clang 2>&1 |
    { grep -v ' warnings generated\.$\| warning generated\.$' || true; }
