#!/usr/bin/env python3
"""Measures turning pages: from the request to the raster, beside the time that poppler takes for the same page in a
process of its own accord, in the same run, and prints a table.

    bench/medir_pagina.py [--vueltas N] [--sin-construir] [FILE...]

Without a FILE it makes its own documents: pages of text, of lines and of one picture. Widths are those of a page in a
window of the usual size, on a plain display and on one of twice the density. Times are medians by the clock over all
pages, N rounds (5 unless told) after one that isn't counted."""

import argparse
import json
import os
import random
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

from medir import BIN, RAIZ, tabla

ANCHOS = (864, 1728)
ADELANTADA = 0.016  # seconds: one frame
EN_FRIO = 1.2       # of poppler's own time


def pdf(hojas, recursos, otros=()):
    """Pages of 595 x 842 with these contents; `otros` are the objects from number 4 on, streams complete."""
    primera = 4 + len(otros)
    hijos = " ".join(f"{primera + 2 * i} 0 R" for i in range(len(hojas)))
    objetos = [b"<< /Type /Catalog /Pages 2 0 R >>",
               f"<< /Type /Pages /Count {len(hojas)} /Kids [{hijos}] >>".encode(), recursos.encode(), *otros]
    for i, hoja in enumerate(hojas):
        objetos.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources 3 0 R "
                       f"/Contents {primera + 2 * i + 1} 0 R >>".encode())
        objetos.append(flujo(hoja.encode()))
    salida, tabla_xref = bytearray(b"%PDF-1.7\n"), b""
    for i, objeto in enumerate(objetos, 1):
        tabla_xref += b"%010d 00000 n \n" % len(salida)
        salida += b"%d 0 obj\n%b\nendobj\n" % (i, objeto)
    n = len(objetos) + 1
    return bytes(salida) + b"xref\n0 %d\n0000000000 65535 f \n%btrailer << /Size %d /Root 1 0 R >>\nstartxref\n%d\n" \
        b"%%%%EOF\n" % (n, tabla_xref, n, len(salida))


def flujo(datos, entradas=""):
    comprimido = zlib.compress(datos)
    return b"<< /Length %d /Filter /FlateDecode %b >>\nstream\n%b\nendstream" % (
        len(comprimido), entradas.encode(), comprimido)


def texto(azar):
    def linea(y):
        palabras = " ".join("".join(azar.choices("aeiourstlnmd", k=azar.randint(2, 10))) for _ in range(15))
        return f"BT /T 10 Tf 40 {y} Td ({palabras}) Tj ET"
    hojas = ["\n".join(linea(y) for y in range(60, 800, 13)) for _ in range(8)]
    return pdf(hojas, "<< /Font << /T << /Type /Font /Subtype /Type1 /BaseFont /Times-Roman >> >> >>")


def lineas(azar):
    def trazo():
        puntos = " ".join(str(azar.randint(40, 550)) for _ in range(8)).split()
        return "{} {} m {} {} {} {} {} {} c S".format(*puntos)
    return pdf(["\n".join(trazo() for _ in range(400)) for _ in range(4)], "<< >>")


def fotografia(azar):
    ancho, alto = 1240, 1754
    fila = bytes(azar.randrange(256) for _ in range(ancho * 3))
    datos = b"".join(fila[y % 999:] + fila[:y % 999] for y in range(alto))
    imagen = flujo(datos, f"/Type /XObject /Subtype /Image /Width {ancho} /Height {alto} /ColorSpace /DeviceRGB "
                          "/BitsPerComponent 8")
    return pdf(["595 0 0 842 0 0 cm /I Do"] * 4, "<< /XObject << /I 4 0 R >> >>", (imagen,))


def medir(fichero, nombre, ancho, vueltas):
    salida = subprocess.run([BIN / "bench_pagina", str(ancho), str(vueltas), Path(fichero).resolve()], stdout=subprocess.PIPE,
                            check=True).stdout
    m = {clave: segundos * 1000 for clave, segundos in json.loads(salida).items()}
    razon = m["cold"] / m["poppler"]
    print(f"  {nombre}, {ancho} pixels: opened in {m['open']:.1f} ms", flush=True)
    return [
        (f"{nombre}, {ancho} pixels: poppler itself", f"{m['poppler']:.1f} ms", "", ""),
        ("    turn to a page", f"{m['cold']:.1f} ms, {razon:.2f}", f"<= {EN_FRIO}",
         "met" if razon <= EN_FRIO else "MISSED"),
        ("    turn to a page drawn ahead", f"{m['ahead']:.1f} ms", f"<= {ADELANTADA * 1000:.0f} ms",
         "met" if m["ahead"] <= ADELANTADA * 1000 else "MISSED"),
    ]


def main():
    p = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--vueltas", type=int, default=5)
    p.add_argument("--sin-construir", action="store_true")
    p.add_argument("ficheros", nargs="*", metavar="FILE")
    a = p.parse_args()
    if not a.sin_construir:
        for orden in (["--preset", "release"], ["--build", "--preset", "release", "--target", "bench_pagina"]):
            subprocess.run(["cmake", *orden], cwd=RAIZ, check=True, stdout=subprocess.DEVNULL)
    print(f"{os.cpu_count()} cores, load {os.getloadavg()[0]:.1f}: figures taken on a busy machine mean little")
    filas = [("what", "measured", "target", "")]
    with tempfile.TemporaryDirectory() as carpeta:
        ficheros = [Path(f) for f in a.ficheros]
        if not ficheros:
            for generador in (texto, lineas, fotografia):
                ficheros.append(Path(carpeta) / f"{generador.__name__}.pdf")
                ficheros[-1].write_bytes(generador(random.Random(1)))
        for fichero in ficheros:
            for ancho in ANCHOS:
                filas += medir(fichero, fichero.stem, ancho, a.vueltas)
    print()
    tabla(filas)
    return 0


if __name__ == "__main__":
    sys.exit(main())
