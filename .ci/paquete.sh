#!/bin/bash
# The Debian package: what it holds, and what the tools that will read its files say of them.
set -euo pipefail
deb=$(herramientas/paquete.sh)
arbol=$(mktemp -d)
trap 'rm -rf "$arbol"' EXIT
dpkg-deb -x "$deb" "$arbol"

diff - <(cd "$arbol/usr" && find . -type f -o -type l | sed 's|^\./||' | LC_ALL=C sort) << 'LISTA'
bin/velmora
bin/velmora-cli
lib/velmora/Velmora.pdf
lib/velmora/complementos/libvelmora-impresion.so
lib/velmora/velmora
lib/velmora/velmora-pagina
share/applications/velmora.desktop
share/bash-completion/completions/velmora
share/bash-completion/completions/velmora-cli
share/doc/velmora/changelog.Debian.gz
share/doc/velmora/changelog.gz
share/doc/velmora/copyright
share/icons/hicolor/128x128/apps/velmora.png
share/icons/hicolor/256x256/apps/velmora.png
share/icons/hicolor/48x48/apps/velmora.png
share/icons/hicolor/scalable/apps/velmora.svg
share/lintian/overrides/velmora
share/man/man1/velmora-cli.1.gz
share/man/man1/velmora.1.gz
share/metainfo/org.velmora.velmora.metainfo.xml
LISTA
[ "$(readlink -e "$arbol/usr/bin/velmora")" = "$arbol/usr/lib/velmora/velmora" ]

lintian --allow-root --fail-on error,warning "$deb"
desktop-file-validate "$arbol/usr/share/applications/velmora.desktop"
appstreamcli validate --no-net "$arbol/usr/share/metainfo/org.velmora.velmora.metainfo.xml"
for pagina in "$arbol"/usr/share/man/man1/*.gz; do
    avisos=$(man --warnings -E UTF-8 -l -Tutf8 -Z "$pagina" 2>&1 > /dev/null)
    [ -z "$avisos" ] || { echo "$pagina: $avisos" >&2; exit 1; }
done

# The manual names the options that the program has, and no other.
opciones() { grep -oE -- '--[a-z0-9-]*[a-z0-9]' | sort -u; }
diff <(for orden in firmar certificados crear diagnosticar; do
    "$arbol/usr/bin/velmora-cli" $orden --help
done | opciones) <(MANWIDTH=200 man -E UTF-8 -l "$arbol/usr/share/man/man1/velmora-cli.1.gz" | col -b | opciones)

qpdf --check "$arbol/usr/lib/velmora/Velmora.pdf" > /dev/null
[ "$(qpdf --show-npages "$arbol/usr/lib/velmora/Velmora.pdf")" = 2 ]
