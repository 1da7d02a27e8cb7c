#!/bin/bash
# locales.sh FOLDER: compiles the Spanish locales into FOLDER, for LOCPATH. The system's own are left alone.
set -euo pipefail
mkdir -p "$1"
for nombre in es_ES es_PE; do
    destino=$1/$nombre.UTF-8
    [ -s "$destino/LC_NUMERIC" ] && continue
    # Its warnings about the sources are no news; what counts is that the locale then loads.
    localedef -i "$nombre" -f UTF-8 "$destino" > /dev/null 2>&1 || true
    [ "$(LOCPATH=$1 LC_ALL=$nombre.UTF-8 locale charmap)" = UTF-8 ] || { echo "no locale $nombre.UTF-8" >&2; exit 1; }
done
