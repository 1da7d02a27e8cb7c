#!/bin/bash
# paquete.sh: builds the Debian package from the release preset into build/paquete and prints its path. Installs what is
# missing with apt-get.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/.."

herramientas/instalar construir empaquetar
registro=$(mktemp)
trap 'rm -f "$registro"' EXIT
umask 022
rm -rf build/paquete
if ! { cmake --preset release -DVELMORA_BENCH=OFF -DVELMORA_TESTS=OFF -DVELMORA_VENTANAS=ON &&
    cmake --build --preset release &&
    cpack --config build/release/CPackConfig.cmake -B build/paquete; } > "$registro" 2>&1; then
    cat "$registro" >&2
    exit 1
fi
echo build/paquete/*.deb
