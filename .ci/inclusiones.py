#!/usr/bin/env python3
"""Checks which folder includes from which: the modules form a graph without cycles, and a private header stays home."""

import re
import subprocess
import sys
from pathlib import PurePosixPath

# Folder: the folders whose public headers it may include, itself apart. The longest matching folder counts.
PERMITIDOS = {
    "crypto": set(),
    "red": {"crypto"},
    "certstore/sistema": {"crypto"},
    "card": {"crypto", "certstore/sistema"},
    "certstore": {"crypto", "certstore/sistema", "card"},
    "pdf": {"crypto"},
    "cms": {"crypto"},
    "ayudante": {"crypto"},
    "signer": {"pdf", "cms", "crypto"},
    "firma": {"signer", "pdf", "certstore", "certstore/sistema", "card", "ayudante", "crypto"},
    "ui": set(),
    "ui/viewer": {"ui"},
    "ui/galeria": {"ui", "ui/viewer"},
    "ui/platform/qt": {"ui"},
    "ui/platform/pdf": {"ui", "ayudante", "pdf", "crypto"},
    "app": {"firma", "ui", "ui/viewer", "crypto"},
    "cli": {"firma", "crypto"},
}
# These may include everything, private headers too, and nothing may include them.
LIBRES = ("tests", "bench", "fuzz")

# Headers of other libraries: which folders may see them; none may see those of what is opened at run time.
AJENOS = [
    (re.compile(r"^(gtest|gmock)/"), ("tests",)),
    (re.compile(r"^benchmark/"), ("bench",)),
    (re.compile(r"^Q[A-Za-z/]+$"), ("ui/platform/qt", "bench")),
    (re.compile(r"^(poppler|cairo|glib|gio|fpdf|mupdf)"), ("ui/platform/pdf", "bench")),
    (re.compile(r"^zlib\.h$"), ("pdf", "tests", "bench")),
    (re.compile(r"^(openssl|curl|PCSC|nss|nspr)/|^winscard\.h$"), ()),
]

INCLUSION = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


def carpeta_de(ruta):
    """The module folder that a path lies in; its first folder when it is in none."""
    padre = str(PurePosixPath(ruta).parent)
    candidatas = [c for c in PERMITIDOS if padre == c or padre.startswith(c + "/")]
    return max(candidatas, key=len, default=ruta.split("/")[0])


def falta(fichero, comillas, incluido, todos):
    """What is wrong with one inclusion; empty when nothing is."""
    origen = carpeta_de(fichero)
    if comillas == "<":
        for patron, donde in AJENOS:
            if patron.match(incluido) and not any(origen == d or origen.startswith(d + "/") for d in donde):
                return "another library's header isn't allowed in this folder"
        return ""
    if origen in LIBRES and str(PurePosixPath(fichero).parent / incluido) in todos:
        return ""
    if incluido not in todos:
        return "no such file: inclusions are written from the root"
    destino = carpeta_de(incluido)
    if origen in LIBRES or destino == origen:
        return ""
    if destino in LIBRES:
        return f"{origen} may not include tests, benchmarks or fuzz targets"
    if destino not in PERMITIDOS.get(origen, set()):
        return f"{origen} may not include from {destino}"
    if not PurePosixPath(incluido).name.startswith("Lx"):
        return "a header without the prefix Lx is private to its folder"
    return ""


def main():
    todos = set(subprocess.run(["git", "ls-files", "-z"], capture_output=True, check=True).stdout.decode().split("\0"))
    fallos = 0
    for fichero in sorted(f for f in todos if f.endswith((".cpp", ".h"))):
        if carpeta_de(fichero) not in PERMITIDOS and carpeta_de(fichero) not in LIBRES:
            print(f"{fichero}: in no known folder")
            fallos += 1
        with open(fichero, encoding="utf-8") as f:
            texto = f.read()
        for m in INCLUSION.finditer(texto):
            motivo = falta(fichero, m[1], m[2], todos)
            if motivo:
                print(f"{fichero}: {m[2]}: {motivo}")
                fallos += 1
    return 1 if fallos else 0


if __name__ == "__main__":
    sys.exit(main())
