#!/bin/bash
# Every C++ file is as clang-format 14 with the project's settings writes it.
set -euo pipefail
git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format-14 --dry-run -Werror
