#!/usr/bin/env python3
"""generar.py OUTPUT.pdf: writes the document that the program shows when it is started without one."""

import sys

from lienzo import ALTO, ANCHO, NEGRITA, Pagina, ancho_de, documento
from ventanas import (
    AZUL, BARRA, CREDITO, GRIS, TINTA, VERDE,
    certificados, fichero, hoja, icono, navegador, orden, pin, principal, tarjeta,
)

MARGEN = 48
UTIL = ANCHO - 2 * MARGEN
ARRIBA = 290  # of the large window, under its title bar


def ficha_numero(p, x, y, n, radio=11):
    p.circulo(x, y, radio + 1.6, "#FFFFFF")
    p.circulo(x, y, radio, VERDE)
    p.texto(x, y + radio * 0.4, str(n), radio * 1.15, "#FFFFFF", NEGRITA, "c")


def titulo(p, y, texto):
    p.texto(MARGEN, y, texto, 19, AZUL, NEGRITA)
    p.caja(MARGEN, y + 8, 34, 2.6, VERDE, radio=1.3)


def cabecera(p, alto):
    p.caja(0, 0, ANCHO, alto, BARRA)
    p.caja(0, alto, ANCHO, 3, VERDE)


def pie(p, n):
    p.texto(ANCHO - MARGEN, ALTO - 20, f"{n} / 2", 8.5, GRIS, ancla="d")


def paso(p, x, y, ancho, n, nombre, texto):
    ficha_numero(p, x + 11, y - 5, n)
    p.texto(x + 30, y, nombre, 14.5, AZUL, NEGRITA)
    p.parrafo(x, y + 23, ancho, texto, 10.5, TINTA, 1.42)


def primera():
    p = Pagina()
    cabecera(p, 92)
    p.caja(MARGEN, 17, 58, 58, "#1E3E74", radio=14)
    icono(p, MARGEN - 1, 16, 60)
    p.texto(MARGEN + 78, 48, "Velmora", 30, "#FFFFFF", NEGRITA)
    p.texto(MARGEN + 79, 69, "Firma tus documentos PDF con tu DNI electrónico o tu certificado", 11.5, CREDITO)

    titulo(p, 134, "Un documento firmado, en tres pasos")
    ancho, y = (UTIL - 48) / 3, 180
    paso(p, MARGEN, y, ancho, 1, "Abre", "Pulsa *Abrir PDF* y elige el documento, o arrástralo hasta la ventana.")
    paso(p, MARGEN + ancho + 24, y, ancho, 2, "Elige",
         "Pulsa *Firmar*, elige tu certificado en la lista y dónde quieres el sello.")
    paso(p, MARGEN + 2 * (ancho + 24), y, ancho, 3, "Firma",
         "Con el DNIe, escribe tu PIN. Enseguida tienes delante el documento firmado.")
    pasos_en_ventanas(p)

    p.texto(MARGEN, 689, "Tu documento original no cambia: la copia firmada se guarda a su lado.", 10.5, GRIS)
    p.texto(MARGEN, 722, "El sello visible de la firma se pone aquí, al pie de la página.", 9, GRIS)
    with p.rayado(3, 3):
        p.caja(MARGEN, 731, UTIL, 76, "#FAFBFD", "#A9B5C9", 6, 0.8)
    pie(p, 1)
    return p


def pasos_en_ventanas(p):
    escala = UTIL / 900
    with p.marco(MARGEN, ARRIBA, escala):
        principal(p, 900, 650)
    ficha_numero(p, MARGEN + 66 * escala, ARRIBA + 101 * escala, 1)
    ficha_numero(p, MARGEN + 174 * escala, ARRIBA + 101 * escala, 2)
    x, y = MARGEN + UTIL - 420 * 0.47 - 22, ARRIBA + 178
    with p.marco(x, y, 0.47):
        pin(p)
    ficha_numero(p, x + 244 * 0.47, y + 236 * 0.47, 3)


def fuente(p, y, dibujo, nombre, texto):
    x = 376
    dibujo(p, x, y - 12)
    p.texto(x + 46, y, nombre, 12, AZUL, NEGRITA)
    return p.parrafo(x + 46, y + 15, ANCHO - MARGEN - x - 46, texto, 9.8, TINTA, 1.38)


def elegir(p):
    titulo(p, 100, "Elige con qué firmas")
    with p.marco(MARGEN, 143, 300 / 660):
        certificados(p)
    y = fuente(p, 146, tarjeta, "Tu DNI electrónico", "Insértalo en el lector, o déjalo encima si es sin contacto.")
    y = fuente(p, y + 18, navegador, "El de tu navegador",
               "Los certificados de Firefox, Thunderbird o Chromium aparecen solos.")
    fuente(p, y + 18, fichero, "Un fichero .p12 o .pfx",
           "Pulsa *Examinar...*, elige el fichero y escribe su contraseña.")


def escribir_pin(p):
    titulo(p, 436, "Escribe tu PIN, sin prisa")
    with p.marco(MARGEN, 478, 230 / 420):
        pin(p)
    x, ancho = 310, ANCHO - MARGEN - 310
    y = p.parrafo(x, 474, ancho, "Velmora te dice cuántos *intentos quedan* antes de gastar ninguno.", 10.5)
    y = p.parrafo(x, y + 8, ancho, "Tras *tres PIN erróneos* seguidos el DNIe se bloquea. Si solo queda un intento, "
                  "te avisa antes de usarlo.", 10.5)
    p.parrafo(x, y + 8, ancho, "El PIN solo se usa para firmar: no se guarda en el disco y se olvida al cerrar.", 10.5)


def resultado(p):
    titulo(p, 664, "Y ya está firmado")
    for x, nombre, firmada in ((MARGEN, "contrato.pdf", False), (MARGEN + 124, "contrato_firmao.pdf", True)):
        with p.marco(x + 12, 690, 0.34):
            hoja(p, 0, 0, 170, 206, firmada)
        p.texto(x + 41, 775, nombre, 8.5, TINTA, NEGRITA, "c")
    p.trazo(f"M {MARGEN + 84} 724 L {MARGEN + 120} 724", None, VERDE, 2.4)
    p.trazo(f"M {MARGEN + 112} 717 L {MARGEN + 120} 724 L {MARGEN + 112} 731", None, VERDE, 2.4)
    x, ancho = 310, ANCHO - MARGEN - 310
    y = p.parrafo(x, 694, ancho, "El nombre termina en *_firmao*. La firma cubre todo el documento: si alguien lo "
                  "cambia, se nota al comprobarla.", 10.5)
    p.parrafo(x, y + 8, ancho, "Se puede *firmar otra vez*, tú u otra persona: las firmas anteriores siguen valiendo.",
              10.5)


def segunda():
    p = Pagina()
    cabecera(p, 50)
    icono(p, MARGEN - 2, 11, 28)
    p.texto(MARGEN + 36, 31.5, "Velmora", 16, "#FFFFFF", NEGRITA)
    elegir(p)
    escribir_pin(p)
    resultado(p)
    pregunta = "¿No aparece tu DNIe? En un terminal:"
    p.texto(MARGEN, 812, pregunta, 9.5, GRIS)
    orden(p, MARGEN + ancho_de(pregunta, 9.5) + 10, 812, "velmora-cli diagnosticar", 9)
    pie(p, 2)
    return p


def main():
    if len(sys.argv) != 2:
        sys.exit("Usage: generar.py OUTPUT.pdf")
    datos = documento([primera(), segunda()], "Bienvenida a Velmora", "Abrir, elegir y firmar un PDF")
    with open(sys.argv[1], "wb") as f:
        f.write(datos)


if __name__ == "__main__":
    main()
