#!/usr/bin/python3
"""portal.py: an older settings portal of a desktop, on the session bus. It wants dark colours, and light ones from the
first SIGUSR1 on. Writes "listo" when it answers."""

import signal

from gi.repository import Gio, GLib

RUTA, CLASE = "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings"
XML = f"""<node><interface name="{CLASE}">
<method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""
QUE = ("org.freedesktop.appearance", "color-scheme")


def contestar(_bus, _quien, _ruta, _clase, _metodo, pedido, respuesta):
    if tuple(pedido) != QUE:
        respuesta.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no")
        return
    respuesta.return_value(GLib.Variant("(v)", (GLib.Variant("v", GLib.Variant("u", 1)),)))


def cambiar():
    bus.emit_signal(None, RUTA, CLASE, "SettingChanged", GLib.Variant("(ssv)", (*QUE, GLib.Variant("u", 2))))
    return True


bus = Gio.bus_get_sync(Gio.BusType.SESSION)
bus.register_object(RUTA, Gio.DBusNodeInfo.new_for_xml(XML).interfaces[0], contestar, None, None)
GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, cambiar)
Gio.bus_own_name_on_connection(bus, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE,
                               lambda *_: print("listo", flush=True), None)
GLib.MainLoop().run()
