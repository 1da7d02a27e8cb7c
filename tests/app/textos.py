#!/usr/bin/python3
"""textos.py REGEX SECONDS [donde]: waits until a line of what an assistive tool sees of the program matches, and prints
all lines or, with "donde", the middle of the last that matches, as "x y" of the screen.

A line is "role|name|states|text". Ends with 1 when none matched in time."""

import re
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

ESTADOS = {"ENABLED", "FOCUSED", "SELECTED"}


def todos(objeto):
    yield objeto
    for i in range(objeto.get_child_count()):
        hijo = objeto.get_child_at_index(i)
        if hijo is not None:
            yield from todos(hijo)


def linea(objeto):
    estados = {e.value_nick.upper() for e in objeto.get_state_set().get_states()}
    texto = objeto.get_text_iface()
    contenido = texto.get_text(0, texto.get_character_count()) if texto else ""
    return "|".join([objeto.get_role_name(), objeto.get_name() or "", " ".join(sorted(estados & ESTADOS)), contenido])


patron, fin = re.compile(sys.argv[1]), time.monotonic() + float(sys.argv[2])
lineas = []
while True:
    try:
        escritorio = Atspi.get_desktop(0)
        programas = [escritorio.get_child_at_index(i) for i in range(escritorio.get_child_count())]
        objetos = [o for p in programas if p is not None for o in todos(p)]
        lineas = [linea(o) for o in objetos]
        halladas = [o for o, una in zip(objetos, lineas) if patron.search(una)]
        caja = halladas[-1].get_extents(Atspi.CoordType.SCREEN) if halladas else None
    except Exception as fallo:  # a window went while it was looked at
        lineas, halladas = [str(fallo)], []
    if halladas or time.monotonic() > fin:
        break
    Atspi.get_desktop(0).clear_cache()
    time.sleep(0.1)
if halladas and len(sys.argv) > 3:
    lineas = [f"{caja.x + caja.width // 2} {caja.y + caja.height // 2}"]
print("\n".join(lineas))
sys.exit(0 if halladas else 1)
