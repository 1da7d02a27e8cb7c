#!/bin/bash
# Everything, benchmarks included, builds with the second compiler, warnings as errors.
set -euo pipefail
cmake --preset clang -DVELMORA_BENCH=ON
cmake --build --preset clang
