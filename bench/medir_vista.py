#!/usr/bin/env python3
"""Measures how the document view moves, on an X server of the run's own, beside other viewers, and prints a table.

    bench/medir_vista.py [--vueltas N] [--carpeta FOLDER] [--sin-construir] [MEASUREMENT...]

MEASUREMENT: rueda ultima zoom busqueda memoria; all of them when none is named. Medians of N (5 unless told). The
screen is read every two milliseconds or so, the same way for all: a strip in its middle, across lines of text,
whose change is a frame, or the colour that only the last page has. All windows have the same size. Viewers that aren't installed are left out."""

import ctypes
import shutil
import statistics
import subprocess
import sys
import time
from contextlib import contextmanager
from pathlib import Path

import medir
import medir_app
import medir_ui

ROSA, ULTIMA, PAGINAS, PALABRA = "ff00cc", "00aa44", 2000, "zurriburri"
VISORES = {  # how it is started, the keys for the last page, for a step of zoom, for a search
    "velmora": ([medir.BIN / "velmora"], "End", "ctrl+plus", "ctrl+f"),
    "mupdf": (["mupdf"], "shift+g", "plus", "slash"),
    "zathura": (["zathura", "-P", "1"], "shift+g", "plus", "slash"),
    "evince": (["evince"], "ctrl+End", "ctrl+plus", "ctrl+f"),
    "okular": (["okular"], "ctrl+End", "ctrl+plus", "ctrl+f"),
}


class Pantalla(medir_app.Xlib):
    def franja(self, x=530, y=200, ancho=24, alto=500):
        imagen = self.x.XGetImage(self.d, self.raiz, x, y, ancho, alto, ctypes.c_ulong(0xFFFFFF), 2)
        i = imagen.contents
        bruto = ctypes.string_at(i.data, i.bytes_per_line * i.height)
        self.x.XDestroyImage(imagen)
        return bruto

    def cambios(self, segundos, hasta=None, antes=None):
        """When the strip changed, and the longest run of white rows that was seen in it."""
        veces, blanco, antes, fin = [], 0, antes or self.franja(), time.monotonic() + segundos
        while time.monotonic() < fin and not (hasta and hasta()):
            ahora = self.franja()
            if ahora != antes:
                veces.append(time.monotonic())
                blanco = max(blanco, 100 if b"\xff\xff\xff\xff" * (24 * 100) in ahora or
                             b"\xff\xff\xff\0" * (24 * 100) in ahora else 0)
                antes = ahora
            time.sleep(0.001)
        return veces, blanco


def documento(ruta):
    """Text on pages of one colour; the last one has another, and the only word that is looked for."""
    medir_app.documento(ruta, PAGINAS, 2)
    texto = ruta.read_text(encoding="ascii")
    cian = " ".join(f"{int(medir_app.CIAN[i:i + 2], 16) / 255:.4f}" for i in (0, 2, 4)) + " rg"
    rosa = " ".join(f"{int(ROSA[i:i + 2], 16) / 255:.4f}" for i in (0, 2, 4)) + " rg"
    fin = " ".join(f"{int(ULTIMA[i:i + 2], 16) / 255:.4f}" for i in (0, 2, 4)) + " rg"
    assert len(cian) == len(rosa) == len(fin)
    texto = texto.replace(cian, rosa)
    corte = texto.rindex(rosa)
    cola = texto[corte:].replace(rosa, fin).replace("texto de p", PALABRA, 1)
    ruta.write_text(texto[:corte] + cola, encoding="ascii")
    return ruta


class Taller(medir_app.Taller):
    def __init__(self, carpeta, entorno, vueltas):
        super().__init__(carpeta, entorno, vueltas)
        self.x = Pantalla(entorno["DISPLAY"])
        self.visores = {n: v for n, v in VISORES.items() if n == "velmora" or shutil.which(n)}
        self.doc = documento(self.carpeta / "dosmil.pdf")

    @contextmanager
    def leyendo(self, orden):
        with self.abierto(*orden, self.doc) as p:
            self.x.esperar(ROSA, 60)
            time.sleep(0.5)
            self.xdotool("getactivewindow", "windowsize", "1000", "900", "windowmove", "100", "30")
            time.sleep(1)
            self.xdotool("mousemove", "542", "400")
            time.sleep(0.2)
            yield p

    def pulsar(self, tecla):
        return subprocess.Popen(["xdotool", "key", tecla], env=self.entorno)

    def por_visor(self, que, una, unidad="ms", meta=None):
        hechas = {n: [] for n in self.visores}
        for _ in range(self.vueltas):
            for nombre, visor in self.visores.items():
                try:
                    hechas[nombre].append(una(visor))
                except (SystemExit, subprocess.CalledProcessError) as fallo:
                    print(f"  {que}: {nombre}: {fallo}", file=sys.stderr)
        for nombre, x in hechas.items():
            self.fila(f"{que}: {nombre}", f"{statistics.median(x):.0f} {unidad}" if x else "not seen",
                      meta if nombre == "velmora" and meta else "")


def medir_rueda(t):
    filas = {n: [] for n in t.visores}
    for _ in range(t.vueltas):
        for nombre, (orden, *_resto) in t.visores.items():
            with t.leyendo(orden):
                p = subprocess.Popen(["xdotool", "click", "--repeat", "100", "--delay", "16", "5"], env=t.entorno)
                veces, blanco = t.x.cambios(4, lambda p=p: p.poll() is not None)
                huecos = [b - a for a, b in zip(veces, veces[1:])]
                filas[nombre].append((len(veces), 1000 * max(huecos, default=0), blanco))
    for nombre, x in filas.items():
        cuadros, hueco, blanco = (statistics.median(c) for c in zip(*x))
        t.fila(f"100 wheel steps: {nombre}", f"{cuadros:.0f} frames, gap {hueco:.0f} ms, {'WHITE' if blanco else 'no white'}",
               ">= 95, <= 33 ms" if nombre == "velmora" else "")


def medir_ultima(t):
    def una(visor):
        with t.leyendo(visor[0]):
            inicio = time.monotonic()
            p = t.pulsar(visor[1])
            visto = t.x.esperar(ULTIMA, 60, **medir_app.FRANJA)
            p.wait()
            return 1000 * (visto - inicio)
    t.por_visor(f"key to the last of {PAGINAS}", una)


def medir_zoom(t):
    def una(visor):
        with t.leyendo(visor[0]):
            antes, inicio = t.x.franja(), time.monotonic()
            p = t.pulsar(visor[2])
            veces, _ = t.x.cambios(0.8, antes=antes)
            p.wait()
            if not veces:
                sys.exit("nothing changed")
            return 1000 * (veces[-1] - inicio)
    t.por_visor("key to the last change of a zoom step", una)


def medir_busqueda(t):
    def una(visor):
        with t.leyendo(visor[0]):
            t.xdotool("key", visor[3])
            time.sleep(0.3)
            t.xdotool("type", "--delay", "5", PALABRA)
            inicio = t.xdotool("key", "Return")
            return 1000 * (t.x.esperar(ULTIMA, 60, 60, **medir_app.FRANJA) - inicio)
    t.por_visor(f"search, only hit on the last of {PAGINAS}", una)


def pss(raiz):
    """Summed PSS in MB of a process and of what descends from it."""
    padres = {}
    for p in Path("/proc").glob("[0-9]*/stat"):
        try:
            padres[int(p.parent.name)] = int(p.read_text().rsplit(")", 1)[1].split()[1])
        except OSError:
            continue
    suyos, crece = {raiz}, True
    while crece:
        mas = {p for p, padre in padres.items() if padre in suyos} - suyos
        suyos |= mas
        crece = bool(mas)
    total = 0
    for p in suyos:
        try:
            lineas = Path(f"/proc/{p}/smaps_rollup").read_text().splitlines()
            total += next(int(x.split()[1]) for x in lineas if x.startswith("Pss:"))
        except (OSError, StopIteration):
            continue
    return total * 1024 / medir.MB


def medir_memoria(t):
    def una(visor):
        with t.leyendo(visor[0]) as p:
            t.xdotool("key", "--repeat", str(PAGINAS + 100), "--delay", "8", "Next")
            time.sleep(3)
            return pss(p.pid)
    vueltas, t.vueltas = t.vueltas, 1
    t.por_visor(f"summed PSS after {PAGINAS} pages", una, "MB", "<= 150 MB")
    t.vueltas = vueltas


MEDIDAS = {"rueda": medir_rueda, "ultima": medir_ultima, "zoom": medir_zoom, "busqueda": medir_busqueda,
           "memoria": medir_memoria}


@contextmanager
def taller(carpeta, a):
    with medir_ui.pantalla(carpeta) as entorno:
        yield Taller(carpeta, entorno, a.vueltas)


if __name__ == "__main__":
    medir.correr(__doc__, MEDIDAS, 5, taller)
