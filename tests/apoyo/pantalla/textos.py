#!/usr/bin/python3
"""textos.py REGEX SECONDS [donde | oye | ORDER...]: waits until a line of what an assistive tool sees of the program matches,
and prints all lines or, with "donde", the middle of the last that matches, as "x y" of the screen. With "oye" it waits
for something that says that it is shown, and prints the line of that.

A line is "role|name|states|text". An ORDER, press=NAME, text=NAME=VALUE or focus=NAME, is done then, one after the
other, before the lines are read again. Ends with 1 when none matched in time."""

import re
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

ESTADOS = {"CHECKED", "EDITABLE", "ENABLED", "FOCUSABLE", "FOCUSED", "MODAL", "SELECTED"}


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


def mirar():
    escritorio = Atspi.get_desktop(0)
    programas = [escritorio.get_child_at_index(i) for i in range(escritorio.get_child_count())]
    objetos = [o for p in programas if p is not None for o in todos(p)]
    return objetos, [linea(o) for o in objetos]


def actuar(orden):
    que, nombre, *resto = orden.split("=")
    llamados = [o for o in mirar()[0] if o.get_name() == nombre]
    if que == "text":
        next(o for o in llamados if o.get_editable_text_iface()).get_editable_text_iface().set_text_contents(resto[0])
        return
    accion = llamados[0].get_action_iface()
    nombres = [accion.get_action_name(i).lower() for i in range(accion.get_n_actions())]
    accion.do_action(nombres.index({"press": "press", "focus": "setfocus"}[que]))


def oir(patron, segundos):
    def llega(suceso):
        if suceso.detail1 and patron.search(linea(suceso.source)):
            print(linea(suceso.source))
            Atspi.event_quit()

    Atspi.EventListener.new(llega).register("object:state-changed:showing")
    GLib.timeout_add(int(segundos * 1000), Atspi.event_quit)
    print("listo", flush=True)
    Atspi.event_main()


patron, fin = re.compile(sys.argv[1]), time.monotonic() + float(sys.argv[2])
if sys.argv[3:] == ["oye"]:
    oir(patron, float(sys.argv[2]))
    sys.exit(0)
lineas = []
while True:
    try:
        objetos, lineas = mirar()
        halladas = [o for o, una in zip(objetos, lineas) if patron.search(una)]
        caja = halladas[-1].get_extents(Atspi.CoordType.SCREEN) if halladas else None
    except Exception as fallo:  # a window went while it was looked at
        lineas, halladas = [str(fallo)], []
    if halladas or time.monotonic() > fin:
        break
    Atspi.get_desktop(0).clear_cache()
    time.sleep(0.1)
if sys.argv[3:] == ["donde"] and halladas:
    lineas = [f"{caja.x + caja.width // 2} {caja.y + caja.height // 2}"]
elif halladas and len(sys.argv) > 3:
    for orden in sys.argv[3:]:
        actuar(orden)
        time.sleep(0.5)
    lineas = mirar()[1]
print("\n".join(lineas))
sys.exit(0 if halladas else 1)
