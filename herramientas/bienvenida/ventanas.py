"""The program's windows as drawings, each in its own pixels; who draws one sets its scale with Pagina.marco."""

import pathlib
import xml.etree.ElementTree

from lienzo import FIJA, NEGRITA, ancho_de

FONDO, AZUL, RAYA, BARRA = "#F5F7FB", "#0D2B5E", "#DFE4EC", "#10203A"
TINTA, GRIS, SUBTITULO, BORDE, VERDE = "#101828", "#5A687E", "#788498", "#C8D2E0", "#208C52"
AVISO, CANCELAR, ESTADO, CREDITO, SOBRE = "#C63434", "#BE2E2E", "#243046", "#C6D2E6", "#1E3E74"
FOCO, HUECO, RENGLON = "#1559B0", "#E2E6EE", "#D5DBE6"

ICONO = pathlib.Path(__file__).resolve().parents[2] / "instalacion" / "velmora.svg"


def icono(p, x, y, lado):
    """The program's icon, from its file: paths of absolute M, L, C and Z with plain colours."""
    with p.marco(x, y, lado / 128):
        for camino in xml.etree.ElementTree.parse(ICONO).getroot().iter("{http://www.w3.org/2000/svg}path"):
            relleno = camino.get("fill") if camino.get("fill") != "none" else None
            p.trazo(camino.get("d"), relleno, camino.get("stroke"), float(camino.get("stroke-width", 1)))


def ventana(p, ancho, alto, titulo, fondo=FONDO):
    """Shadow, title bar of 32 over the client area, whose corner is the origin."""
    p.sombra(0, -32, ancho, alto + 32, 8)
    p.caja(0, -32, ancho, 60, "#E4E9F1", radio=8)
    p.texto(ancho / 2, -11.5, titulo, 12.5, GRIS, NEGRITA, "c")
    for camino in ("M {0} -20 L {1} -12", "M {0} -12 L {1} -20"):
        p.trazo(camino.format(ancho - 24, ancho - 16), None, GRIS, 1.5)
    p.caja(0, 0, ancho, alto - 8, fondo)
    p.caja(0, alto - 40, ancho, 40, fondo, radio=8)


def boton(p, x, y, ancho, alto, texto, fondo=BARRA, negrita=False, tinta="#FFFFFF"):
    p.caja(x, y, ancho, alto, fondo, radio=6)
    p.texto(x + ancho / 2, y + alto / 2 + 4.3, texto, 12, tinta, NEGRITA if negrita else "F1", "c")


def campo(p, x, y, ancho, alto, texto="", tinta=TINTA, borde=BORDE):
    p.caja(x, y, ancho, alto, "#FFFFFF", borde, 4)
    p.texto(x + 9, y + alto / 2 + 4.3, texto, 12, tinta)


def renglones(p, x, y, anchos, paso=14, grosor=5, tinta=RENGLON):
    """Lines of text seen from afar."""
    for i, ancho in enumerate(anchos):
        if ancho:
            p.caja(x, y + i * paso, ancho, grosor, tinta, radio=grosor / 2)


def hoja(p, x, y, ancho, alto, firmada=False):
    """A written sheet of the document, with a stamp at its foot when signed."""
    p.sombra(x, y, ancho, alto, 1)
    p.caja(x, y, ancho, alto, "#FFFFFF")
    margen = ancho * 0.11
    util = ancho - 2 * margen
    p.caja(x + margen, y + margen, util * 0.52, 9, AZUL, radio=4)
    filas = [1, 0.94, 0.98, 0.6, 0, 0.97, 1, 0.92, 0.99, 0.4]
    caben = int((alto - margen - 34 - (62 if firmada else 20)) / 14)
    renglones(p, x + margen, y + margen + 26, [util * f for f in (filas * 3)[:caben]])
    if firmada:
        sello(p, x + margen, y + alto - 56, util * 0.72)


def sello(p, x, y, ancho):
    p.caja(x, y, ancho, 38, "#EEF7F1", VERDE, 4)
    p.trazo(f"M {x + 12} {y + 20} L {x + 18} {y + 26} L {x + 30} {y + 12}", None, VERDE, 3.5)
    renglones(p, x + 42, y + 9, [(ancho - 54) * f for f in (1, 0.8, 0.55)], 8.5, 3.5, "#8FC7A8")


def barra(p, ancho):
    p.caja(0, 46, ancho, 44, BARRA)
    boton(p, 14, 53, 104, 30, "Abrir PDF")
    boton(p, 126, 53, 96, 30, "Firmar", SOBRE, True)
    for x, texto, activo in ((308, "<<", 0), (260, "<", 0), (106, ">", 1), (58, ">>", 1)):
        boton(p, ancho - x, 53, 44, 30, texto, BARRA, False, "#FFFFFF" if activo else "#6B7A94")
    campo(p, ancho - 206, 54, 90, 28)
    p.texto(ancho - 161, 72.3, "1 / 3", 12, TINTA, ancla="c")


def principal(p, ancho, alto):
    """The main window with a document open."""
    ventana(p, ancho, alto, "Velmora 2026")
    p.caja(0, 0, ancho, 46, "#FFFFFF")
    p.texto(18, 25, "Velmora", 24, AZUL, NEGRITA)
    p.texto(19, 40, "Software de firma digital (PAdES / CMS)", 11, SUBTITULO)
    barra(p, ancho)
    p.caja(14, 100, ancho - 28, alto - 136, HUECO)
    with p.recorte(14, 100, ancho - 28, alto - 136):
        hoja(p, ancho / 2 - 190, 116, 380, alto)
    p.caja(0, alto - 28, ancho, 20, ESTADO)
    p.caja(0, alto - 28, ancho, 28, ESTADO, radio=8)
    p.texto(14, alto - 10.5, "/home/ana/Documentos/contrato.pdf", 11, "#FFFFFF")


def ficha(p, y, nombre, datos, donde, elegida=False):
    """One certificate of the list, in its second form: a card."""
    p.caja(20, y, 620, 66, "#E2ECFC" if elegida else "#FFFFFF", FOCO if elegida else RAYA, 6, 1.8 if elegida else 1)
    p.texto(34, y + 29, nombre, 13.5, TINTA, NEGRITA)
    x = 34
    for rotulo, dato in zip(("Origen:", "Emisor:", "Vencimiento:"), datos):
        p.texto(x, y + 47, rotulo, 12, GRIS)
        x += ancho_de(rotulo, 12) + 4
        p.texto(x, y + 47, dato, 12, TINTA)
        x += ancho_de(dato, 12) + 18
    ancho = ancho_de(donde, 11) + 20
    p.caja(626 - ancho, y + 14, ancho, 20, "#FFFFFF" if elegida else FONDO, radio=10)
    p.texto(636 - ancho, y + 28, donde, 11, GRIS)


def certificados(p):
    """The dialog that chooses certificate and stamp."""
    ventana(p, 660, 520, "Selecciona el certificado digital")
    p.texto(16, 28, "Elige el certificado digital con el que deseas firmar el PDF:", 12, GRIS)
    p.caja(16, 40, 628, 255, "#F8FAFD", BORDE, 5)
    for y, nombre, datos, donde in (
        (45, "ANA GARCÍA LÓPEZ (FIRMA)", ("DNIe", "AC DNIE 004", "14/03/2029 11:20:00"), "en la tarjeta (DNIe)"),
        (117, "Ana García López", ("NSS (Linux)", "AC Ciudadanos", "02/11/2027 09:41:27"), "lista"),
        (189, "Gestoría García, S. L.", ("PKCS#12", "AC Empresas", "30/06/2028 17:05:09"), "del fichero"),
    ):
        ficha(p, y, nombre, datos, donde, elegida=y == 45)
    boton(p, 16, 306, 120, 26, "Actualizar lista")
    p.texto(16, 364, "Sello visual", 12, TINTA)
    campo(p, 105, 346, 230, 28, "Primera pagina (defecto)")
    p.trazo("M 314 357 L 319 363 L 324 357", None, GRIS, 1.8)
    p.texto(350, 364, "Paginas:", 12, GRIS)
    campo(p, 410, 346, 234, 28, "ej. 1, 3, 5-8", "#A3AEC0")
    p.texto(16, 427, "Documento: contrato.pdf", 11, GRIS)
    boton(p, 440, 405, 102, 34, "Firmar", SOBRE, True)
    boton(p, 550, 405, 94, 34, "Cancelar", CANCELAR)
    p.texto(16, 468, "PKCS#12", 12, TINTA)
    campo(p, 88, 450, 262, 28, "Fichero .pfx o .p12", "#A3AEC0")
    boton(p, 358, 450, 94, 28, "Examinar...")
    campo(p, 460, 450, 184, 28, "Contraseña", "#A3AEC0")


def pin(p):
    """The dialog that asks for the card's PIN."""
    ventana(p, 420, 250, "PIN del DNI electrónico")
    p.texto(24, 31, "Autenticación con DNI electrónico", 13, AZUL, NEGRITA)
    p.texto(24, 51, "Titular: ANA GARCÍA LÓPEZ (FIRMA)", 11, TINTA)
    p.texto(24, 75, "Introduce el PIN de tu tarjeta para autorizar la firma digital:", 11, GRIS)
    campo(p, 24, 90, 372, 30, borde=FOCO)
    for i in range(8):
        p.circulo(38 + i * 13, 105, 4, TINTA)
    p.linea(143, 97, 143, 113, TINTA, 1.3)
    p.texto(24, 139, "Quedan 3 intentos.", 11, AVISO)
    p.texto(24, 160, "Aviso: El chip del DNIe se bloquea tras 3 intentos erróneos consecutivos.", 10, GRIS)
    boton(p, 194, 188, 100, 34, "Aceptar", SOBRE, True)
    boton(p, 304, 188, 92, 34, "Cancelar", CANCELAR)


def tarjeta(p, x, y):
    """34 x 34: a card with its chip."""
    p.caja(x, y + 5, 34, 24, "#CDD8EC", AZUL, 3.5, 1.6)
    p.caja(x + 5, y + 11, 9, 8, "#E9C46A", "#A07A22", 1.5, 0.8)
    renglones(p, x + 18, y + 12, [11, 8], 5, 2, AZUL)
    p.caja(x + 5, y + 23, 24, 2, AZUL, radio=1)


def navegador(p, x, y):
    """34 x 34: a window with a key inside."""
    p.caja(x, y + 3, 34, 28, "#FFFFFF", AZUL, 3.5, 1.6)
    p.linea(x, y + 11, x + 34, y + 11, AZUL, 1.6)
    for i in range(3):
        p.circulo(x + 5 + 4.5 * i, y + 7, 1.1, AZUL)
    p.circulo(x + 11, y + 21, 4, None, VERDE, 2)
    p.trazo(f"M {x + 15} {y + 21} L {x + 27} {y + 21} L {x + 27} {y + 25}", None, VERDE, 2)
    p.linea(x + 22, y + 21, x + 22, y + 24, VERDE, 2)


def fichero(p, x, y):
    """34 x 34: a file that holds an identity."""
    p.trazo(
        f"M {x + 6} {y + 1} L {x + 20} {y + 1} L {x + 29} {y + 10} L {x + 29} {y + 33} L {x + 6} {y + 33} Z",
        "#FFFFFF", AZUL, 1.6,
    )
    p.trazo(f"M {x + 20} {y + 1} L {x + 20} {y + 10} L {x + 29} {y + 10} Z", "#CDD8EC", AZUL, 1.6)
    p.texto(x + 17.5, y + 25, ".p12", 8.5, VERDE, NEGRITA, "c")


def orden(p, x, y, texto, tamano=10.5):
    """A command to type, on its own ground."""
    ancho = ancho_de(texto, tamano, FIJA) + 20
    p.caja(x, y - tamano - 2, ancho, tamano + 9, BARRA, radio=4)
    p.texto(x + 10, y, texto, tamano, "#FFFFFF", FIJA)
