#!/bin/bash
# The project stands on its own: neither its files, their names nor the history's messages may point to a text or a
# place outside it. The patterns are put together from pieces so that this file passes its own check.
set -euo pipefail
sin_caja=(
    "especifi""caci[oó]n" "speci""fication" "\bspec""\.md" "\best""ilo\.md"
    "\bpart""e? [0-9]+\.[0-9]" "\biss""ue #?[0-9]" "(^|[^,] |[^ ])\bst""ep [0-9]" "\.lib""rary" "\bfa""rm-"
)
con_caja=("(^|[^A-Za-z0-9_./~-])/(wo""rk|ro""ot)(/|\b)")

unir() { local IFS='|'; echo "($*)"; }
estado=0
buscar() {
    local salida
    salida=$(grep -nIE "$@" | cut -c1-300) || return 0
    echo "$salida"
    estado=1
}

historia=$(git log --format='%h %s%n%b' HEAD)
mapfile -d '' ficheros < <(git ls-files -z)
[ ${#ficheros[@]} -gt 0 ]
buscar -iH -e "$(unir "${sin_caja[@]}")" -- "${ficheros[@]}"
buscar -H -e "$(unir "${con_caja[@]}")" -- "${ficheros[@]}"
buscar -i --label="file names" -H -e "$(unir "${sin_caja[@]}")" < <(printf '%s\n' "${ficheros[@]}")
buscar -i --label="commit messages" -H -e "$(unir "${sin_caja[@]}")" <<< "$historia"
buscar --label="commit messages" -H -e "$(unir "${con_caja[@]}")" <<< "$historia"
exit $estado
