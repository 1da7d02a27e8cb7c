#!/usr/bin/env python3
"""Measures the toolkit's windows on an X server of the run's own, and prints a table.

    bench/medir_ui.py [--vueltas N] [--carpeta FOLDER] [--sin-construir] [MEASUREMENT...]

MEASUREMENT: arranque repintado memoria; all of them when none is named. Times are medians of N (21 unless told) by the
clock, the candidates taken in turn, files in the page cache. Peak memory is VmHWM of the process. MB is 1,000,000
bytes."""

import os
import statistics
import subprocess
import time
from contextlib import contextmanager
from pathlib import Path

import medir

BIN = medir.BIN


class Taller:
    """The display of one run and the ways to run programs on it."""

    def __init__(self, carpeta, entorno, vueltas):
        self.carpeta, self.entorno, self.vueltas, self.filas = Path(carpeta), entorno, vueltas, []

    fila = medir.Taller.fila

    def numeros(self, orden):
        """The moment of the start and the integers that the program printed."""
        inicio = time.monotonic_ns()
        salida = subprocess.run(orden, env=self.entorno, stdout=subprocess.PIPE, check=True).stdout
        return inicio, [int(x) for x in salida.split()]


@contextmanager
def pantalla(carpeta):
    """An X server and a window manager; what programs on it are started with."""
    entorno = {k: v for k, v in os.environ.items() if not k.startswith(("QT_", "WAYLAND", "XDG_", "DBUS_"))}
    entorno |= {"HOME": carpeta, "XDG_RUNTIME_DIR": carpeta}
    leer, escribir = os.pipe()
    orden = ["Xvfb", "-displayfd", str(escribir), "-screen", "0", "1280x960x24", "-nolisten", "tcp", "-noreset"]
    procesos = [subprocess.Popen(orden, pass_fds=[escribir], stderr=subprocess.DEVNULL)]
    os.close(escribir)
    try:
        with os.fdopen(leer) as f:
            entorno["DISPLAY"] = ":" + f.readline().strip()
        procesos.append(subprocess.Popen(["openbox"], env=entorno, stderr=subprocess.DEVNULL))
        time.sleep(1)
        yield entorno
    finally:
        for p in reversed(procesos):
            p.terminate()
            p.wait()


def medir_arranque(t):
    candidatos = {"an empty window of Qt": ["bench_vacia"], "the same with a line of text": ["bench_vacia", "Texto"],
                  "the gallery": ["bench_ventana"], "the main window": ["bench_arranque"]}
    hechas = {nombre: [] for nombre in candidatos}
    for vuelta in range(t.vueltas + 1):
        for nombre, (programa, *argumentos) in candidatos.items():
            inicio, (fin, *_) = t.numeros([BIN / programa, *argumentos])
            if vuelta > 0:
                hechas[nombre].append((fin - inicio) / 1e6)
    medianas = {nombre: statistics.median(x) for nombre, x in hechas.items()}
    vacia, texto, galeria, principal = medianas.values()
    for nombre, ms in medianas.items():
        t.fila(f"exec to first paint: {nombre}", f"{ms:.1f} ms")
    t.fila("the gallery / the empty window, which loads no font", f"{galeria / vacia:.2f}", "<= 1.3", galeria / vacia <= 1.3)
    t.fila("the main window / the empty window", f"{principal / vacia:.2f}", "<= 1.2", principal / vacia <= 1.2)
    t.fila("the gallery / the window with a line of text", f"{galeria / texto:.2f}")


def medir_repintado(t):
    _, (_, *tiempos) = t.numeros([BIN / "bench_ventana", str(10 * t.vueltas)])
    ms = statistics.median(tiempos) / 1e6
    t.fila("repaint of all of 900 x 680", f"{ms:.2f} ms", "<= 10 ms", ms <= 10)


def pico(t, programa):
    """Peak memory of a program that has stood open for two seconds."""
    p = subprocess.Popen([BIN / programa], env=t.entorno, stdout=subprocess.DEVNULL)
    try:
        time.sleep(2)
        lineas = Path(f"/proc/{p.pid}/status").read_text(encoding="ascii", errors="replace").splitlines()
        return next(int(x.split()[1]) * 1024 for x in lineas if x.startswith("VmHWM:"))
    finally:
        p.terminate()
        p.wait()


def medir_memoria(t):
    programa = "velmora" if (BIN / "velmora").exists() else "lx-galeria"
    mb = statistics.median(pico(t, programa) for _ in range(3)) / medir.MB
    t.fila(f"peak memory of {programa} without a document", f"{mb:.1f} MB", "<= 45 MB", mb <= 45)


MEDIDAS = {"arranque": medir_arranque, "repintado": medir_repintado, "memoria": medir_memoria}


@contextmanager
def taller(carpeta, a):
    with pantalla(carpeta) as entorno:
        yield Taller(carpeta, entorno, a.vueltas)


if __name__ == "__main__":
    medir.correr(__doc__, MEDIDAS, 21, taller)
