#!/usr/bin/env python3
"""Measures the window program on an X server of the run's own, beside other viewers, and prints a table.

    bench/medir_app.py [--vueltas N] [--carpeta FOLDER] [--sin-construir] [MEASUREMENT...]

MEASUREMENT: bienvenida apertura paginas dialogo firma; all of them when none is named. Times are medians of N (11 unless
told) by the clock, from the start of the program, or of the xdotool that clicks or types, to the moment when the screen
shows what was waited for. It is looked at every few milliseconds, for a row of pixels of one colour: the test documents'
pages are filled with colours that nothing else has. The viewers are those of mupdf and zathura that are installed."""

import ctypes
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from contextlib import contextmanager
from pathlib import Path

import medir
import medir_ui

BIN = medir.BIN
ROSA, CIAN = "ff00cc", "00ccff"  # of the odd and the even pages
FRANJA = {"y0": 400, "alto": 60}  # all of them show their page there, and looking at it takes next to nothing
VERDE, ROJO, AVISO = "218c52", "be2e2e", "ffffff"  # a line of the welcome document, "Cancelar", the notice


class Xlib:
    """The screen's pixels, as fast as this language reads them."""

    class Imagen(ctypes.Structure):
        _fields_ = [(n, ctypes.c_int) for n in ("width", "height", "xoffset", "format")] + [
            ("data", ctypes.c_void_p)] + [(n, ctypes.c_int) for n in ("orden", "unidad", "bits", "relleno", "depth",
                                                                       "bytes_per_line")]

    def __init__(self, pantalla):
        self.x = ctypes.CDLL("libX11.so.6")
        self.x.XOpenDisplay.restype = self.x.XRootWindow.restype = ctypes.c_void_p
        self.x.XGetImage.restype = ctypes.POINTER(self.Imagen)
        self.d = ctypes.c_void_p(self.x.XOpenDisplay(pantalla.encode()))
        self.raiz = ctypes.c_void_p(self.x.XRootWindow(self.d, 0))

    def hay(self, color, largo, y0=0, alto=960):
        """Whether a row of `largo` pixels has the colour."""
        imagen = self.x.XGetImage(self.d, self.raiz, 0, y0, 1280, alto, ctypes.c_ulong(0xFFFFFF), 2)
        i = imagen.contents
        bruto = ctypes.string_at(i.data, i.bytes_per_line * i.height)
        self.x.XDestroyImage(imagen)
        pixel = bytes.fromhex(color)[::-1]
        return any((pixel + relleno) * largo in bruto for relleno in (b"\0", b"\xff"))

    def esperar(self, color, largo, segundos=20, y0=0, alto=960):
        fin = time.monotonic() + segundos
        while not self.hay(color, largo, y0, alto):
            if time.monotonic() > fin:
                sys.exit(f"{color} did not show")
            time.sleep(0.002)
        return time.monotonic()


def documento(ruta, paginas, veces=1):
    """Pages filled with a colour in turn, each with fifty lines of text, so often in each line; classic objects, so that
    it can be signed."""
    objetos = ["<< /Type /Catalog /Pages 2 0 R >>", "", "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
    hijos = []
    for p in range(paginas):
        r, g, b = (int(c, 16) / 255 for c in ((ROSA, CIAN)[p % 2][i:i + 2] for i in (0, 2, 4)))
        lineas = " ".join(f"({' '.join([f'{p}.{n} texto de prueba de una linea corriente'] * veces)}) '" for n in range(50))
        flujo = f"{r:.4f} {g:.4f} {b:.4f} rg 0 0 595 842 re f 0 g BT /F1 9 Tf 12 TL 60 760 Td {lineas} ET"
        objetos.append(f"<< /Length {len(flujo)} >>\nstream\n{flujo}\nendstream")
        objetos.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents {len(objetos)} 0 R "
                       "/Resources << /Font << /F1 3 0 R >> >> >>")
        hijos.append(f"{len(objetos)} 0 R")
    objetos[1] = f"<< /Type /Pages /Count {paginas} /Kids [{' '.join(hijos)}] >>"
    salida, posiciones = "%PDF-1.4\n", []
    for n, o in enumerate(objetos, 1):
        posiciones.append(len(salida))
        salida += f"{n} 0 obj\n{o}\nendobj\n"
    tabla = "".join(f"{x:010d} 00000 n \n" for x in posiciones)
    salida += (f"xref\n0 {len(objetos) + 1}\n0000000000 65535 f \n{tabla}trailer\n<< /Size {len(objetos) + 1} /Root 1 0 R "
               f">>\nstartxref\n{len(salida)}\n%%EOF\n")
    ruta.write_text(salida, encoding="ascii")
    return ruta


class Taller:
    def __init__(self, carpeta, entorno, vueltas):
        self.carpeta, self.entorno, self.vueltas, self.filas = Path(carpeta), entorno, vueltas, []
        self.x = Xlib(entorno["DISPLAY"])
        # One of them remembers the page that it was left at.
        visores = {"mupdf": ["mupdf"], "zathura": ["zathura", "-P", "1"]}
        self.programas = {"velmora": [BIN / "velmora"]} | {n: v for n, v in visores.items() if shutil.which(n)}

    fila = medir.Taller.fila

    @contextmanager
    def abierto(self, *orden):
        # Some go on where they were left.
        self.entorno["HOME"] = tempfile.mkdtemp(dir=self.carpeta)
        p = subprocess.Popen(orden, env=self.entorno, stdout=subprocess.DEVNULL,
                             stderr=subprocess.DEVNULL)
        try:
            yield p
        finally:
            p.terminate()
            p.wait()
            time.sleep(0.15)  # the screen is empty again

    def xdotool(self, *orden):
        inicio = time.monotonic()
        subprocess.run(["xdotool", *orden], env=self.entorno, check=True, stdout=subprocess.DEVNULL)
        return inicio

    def ventana(self, titulo):
        orden = ["xdotool", "search", "--sync", "--onlyvisible", "--name", titulo]
        return subprocess.run(orden, env=self.entorno, check=True, capture_output=True, text=True).stdout.split()[0]

    def clic(self, ventana, x, y):
        return self.xdotool("mousemove", "--window", ventana, str(x), str(y), "click", "1")

    def medianas(self, que, medir_una, meta=None):
        """Medians in ms of `medir_una` for each program, taken in turn, and their ratios."""
        tiempos = {nombre: [] for nombre in self.programas}
        for vuelta in range(self.vueltas + 1):
            for nombre, programa in self.programas.items():
                ms = 1000 * medir_una(nombre, programa)
                if vuelta > 0:
                    tiempos[nombre].append(ms)
        m = {nombre: statistics.median(x) for nombre, x in tiempos.items()}
        for nombre, ms in m.items():
            self.fila(f"{que}: {nombre}", f"{ms:.0f} ms")
        for nombre, ms in m.items():
            if nombre != "velmora":
                razon = m["velmora"] / ms
                self.fila(f"{que}: velmora / {nombre}", f"{razon:.2f}", meta or "", razon <= 1 if meta else None)


def medir_bienvenida(t):
    tiempos = []
    for _ in range(t.vueltas + 1):
        inicio = time.monotonic()
        with t.abierto(BIN / "velmora"):
            tiempos.append(1000 * (t.x.esperar(VERDE, 300) - inicio))
    t.fila("exec to the welcome page", f"{statistics.median(tiempos[1:]):.0f} ms")


def medir_apertura(t):
    ruta = documento(t.carpeta / "trescientas.pdf", 300)

    def una(_, programa):
        inicio = time.monotonic()
        with t.abierto(*programa, ruta):
            return t.x.esperar(ROSA, 100, **FRANJA) - inicio
    t.medianas("exec to page 1 of 300", una, "<= 1")


def medir_paginas(t):
    ruta = documento(t.carpeta / "trescientas.pdf", 300)
    tecla = {"velmora": "Next", "mupdf": "period", "zathura": "J"}

    def una(nombre, programa):
        with t.abierto(*programa, ruta):
            t.x.esperar(ROSA, 100)
            time.sleep(0.4)
            inicio = t.xdotool("key", tecla[nombre])
            return t.x.esperar(CIAN, 100, **FRANJA) - inicio
    t.medianas("key to page 2", una)


def con_identidad(t):
    subprocess.run([medir.RAIZ / "herramientas" / "identidad.sh", t.carpeta], check=True)
    return t.carpeta / "identidad.p12"


def medir_dialogo(t):
    ruta, tiempos = documento(t.carpeta / "una.pdf", 1), []
    for _ in range(t.vueltas + 1):
        with t.abierto(BIN / "velmora", ruta):
            t.x.esperar(ROSA, 100)
            ventana = t.ventana("Velmora 2026")
            inicio = t.clic(ventana, 174, 68)
            tiempos.append(1000 * (t.x.esperar(ROJO, 60) - inicio))
    t.fila("click on Firmar to the listing, no card", f"{statistics.median(tiempos[1:]):.0f} ms")


def medir_firma(t):
    p12, tiempos = con_identidad(t), []
    for vuelta in range(t.vueltas + 1):
        ruta = documento(t.carpeta / f"firmar{vuelta}.pdf", 1)
        with t.abierto(BIN / "velmora", ruta):
            t.x.esperar(ROSA, 100)
            t.clic(t.ventana("Velmora 2026"), 174, 68)
            t.x.esperar(ROJO, 60)
            dialogo = t.ventana("Selecciona")
            t.clic(dialogo, 220, 464)
            t.xdotool("type", str(p12))
            t.clic(dialogo, 552, 464)
            t.xdotool("type", "--file", str(t.carpeta / "clave"))  # its line's end is Enter
            time.sleep(1)
            inicio = t.clic(dialogo, 490, 422)
            while not (t.x.hay(AVISO, 500, 600, 300) and t.x.hay(ROSA, 100)):
                if time.monotonic() > inicio + 20:
                    sys.exit("the signed document did not show")
            tiempos.append(1000 * (time.monotonic() - inicio))
    t.fila("accept to the signed document (PKCS#12)", f"{statistics.median(tiempos[1:]):.0f} ms")


MEDIDAS = {"bienvenida": medir_bienvenida, "apertura": medir_apertura, "paginas": medir_paginas,
           "dialogo": medir_dialogo, "firma": medir_firma}


@contextmanager
def taller(carpeta, a):
    with medir_ui.pantalla(carpeta) as entorno:
        yield Taller(carpeta, entorno, a.vueltas)


if __name__ == "__main__":
    medir.correr(__doc__, MEDIDAS, 11, taller)
