#!/usr/bin/python3
"""arbol.py [ORDER...]: what an assistive tool sees of the gallery: one line per object, "role|name|states|text".

ORDER: press=NAME, text=NAME=VALUE or focus=NAME, done first, one after the other."""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

ESTADOS = {"CHECKED", "EDITABLE", "ENABLED", "FOCUSED", "SELECTED", "FOCUSABLE"}


def hijos(objeto):
    return [objeto.get_child_at_index(i) for i in range(objeto.get_child_count())]


def todos(objeto):
    yield objeto
    for hijo in hijos(objeto):
        if hijo is not None:
            yield from todos(hijo)


def aplicacion():
    for _ in range(100):
        for app in hijos(Atspi.get_desktop(0)):
            if app is not None and app.get_name() == "velmora" and app.get_child_count() > 0:
                return app
        time.sleep(0.1)
    sys.exit("the gallery is not there")


def actuar(app, orden):
    que, nombre, *resto = orden.split("=")
    llamados = [o for o in todos(app) if o.get_name() == nombre]
    if que == "text":
        next(o for o in llamados if o.get_editable_text_iface()).get_editable_text_iface().set_text_contents(resto[0])
        return
    objeto = llamados[0]
    accion = objeto.get_action_iface()
    nombres = [accion.get_action_name(i).lower() for i in range(accion.get_n_actions())]
    accion.do_action(nombres.index({"press": "press", "focus": "setfocus"}[que]))


def linea(objeto):
    estados = objeto.get_state_set().get_states()
    nombres = sorted({e.value_nick.upper() for e in estados} & ESTADOS)
    texto = objeto.get_text_iface()
    contenido = texto.get_text(0, texto.get_character_count()) if texto else ""
    return "|".join([objeto.get_role_name(), objeto.get_name() or "", " ".join(nombres), contenido])


app = aplicacion()
for orden in sys.argv[1:]:
    actuar(app, orden)
    time.sleep(0.5)
for objeto in todos(app):
    print(linea(objeto))
