#!/bin/bash
# fuzz.sh [SECONDS]: runs every fuzz target from its corpus, the time split among them. A crash, a leak, an input over
# ten seconds or over 2 GB is a failure, and its input stays in build/fuzz/hallazgos.
set -euo pipefail
segundos=${1:-60}
cmake --preset fuzz
cmake --build --preset fuzz

objetivos=()
for programa in build/fuzz/bin/*; do
    [[ -f $programa && -x $programa && $(basename "$programa") != velmora* ]] && objetivos+=("$programa")
done
[ ${#objetivos[@]} -gt 0 ] || { echo "fuzz: there are no targets" >&2; exit 1; }
cada=$((segundos / ${#objetivos[@]}))
[ $cada -ge 1 ] || cada=1

mkdir -p build/fuzz/hallazgos
nuevos=$(mktemp -d)
trap 'rm -rf "$nuevos"' EXIT
estado=0
for programa in "${objetivos[@]}"; do
    nombre=$(basename "$programa")
    mkdir -p "$nuevos/$nombre/corpus" "$nuevos/$nombre/tmp"
    semillas=()
    [ ! -d "fuzz/corpus/$nombre" ] || semillas=("fuzz/corpus/$nombre")
    # stdout goes too: what the code under test prints is no news here.
    if TMPDIR="$nuevos/$nombre/tmp" "$programa" -max_total_time=$cada -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="build/fuzz/hallazgos/$nombre-" \
        "$nuevos/$nombre/corpus" "${semillas[@]}" > "$nuevos/$nombre/registro" 2>&1; then
        echo "$nombre: $(sed -n 's/^stat::number_of_executed_units: *//p' "$nuevos/$nombre/registro") runs in $cada s"
    else
        tail -n 40 "$nuevos/$nombre/registro"
        echo "$nombre: FAILED"
        estado=1
    fi
done
exit $estado
