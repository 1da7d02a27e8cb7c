#!/bin/bash
# All tests under the address and undefined-behaviour sanitizers.
set -euo pipefail
cmake --preset asan
cmake --build --preset asan
ctest --preset asan --parallel "$(nproc)" --no-tests=error
