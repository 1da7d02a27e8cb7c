"""A small PDF writer: pages of vector drawings and Helvetica text, classic cross-reference table, nothing embedded.

Coordinates are points from the page's top left corner, y down. The same calls give the same bytes.
"""

import hashlib
import re
import unicodedata
import zlib
from contextlib import contextmanager

ANCHO, ALTO = 595, 842  # A4

NORMAL, NEGRITA, FIJA = "F1", "F2", "F3"
FUENTES = {NORMAL: "Helvetica", NEGRITA: "Helvetica-Bold", FIJA: "Courier"}

# Widths of the characters 32 to 126, in thousandths of the size. Letters with an accent are as wide as without.
ANCHOS = {
    NORMAL: (
        "278 278 355 556 556 889 667 191 333 333 389 584 278 333 278 278 556 556 556 556 556 556 556 556 556 556 "
        "278 278 584 584 584 556 1015 667 667 722 722 667 611 778 722 278 500 667 556 833 722 778 667 778 722 667 "
        "611 722 667 944 667 667 611 278 278 278 469 556 333 556 556 500 556 556 278 556 556 222 222 500 222 833 "
        "556 556 556 556 333 500 278 556 500 722 500 500 500 334 260 334 584"
    ),
    NEGRITA: (
        "278 333 474 556 556 889 722 238 333 333 389 584 278 333 278 278 556 556 556 556 556 556 556 556 556 556 "
        "333 333 584 584 584 611 975 722 722 722 722 667 611 778 722 278 556 722 611 833 722 778 667 778 722 667 "
        "611 722 667 944 667 667 611 333 278 333 584 556 333 556 611 556 611 556 333 611 611 278 278 556 278 889 "
        "611 611 611 611 389 556 333 611 556 778 556 556 500 389 280 389 584"
    ),
    FIJA: " ".join(["600"] * 95),
}
ANCHOS = {fuente: [int(n) for n in texto.split()] for fuente, texto in ANCHOS.items()}
OTROS_ANCHOS = {"«": 556, "»": 556, "¿": 611, "¡": 333, "•": 350, "…": 1000, "·": 278, "–": 556}


def ancho_de(texto, tamano, fuente=NORMAL):
    """Width of one line, in points."""
    suma = 0
    for c in texto:
        base = unicodedata.normalize("NFD", c)[0]
        suma += ANCHOS[fuente][ord(base) - 32] if " " <= base <= "~" else OTROS_ANCHOS[c]
    return suma * tamano / 1000


def numero(x):
    return f"{x:.2f}".rstrip("0").rstrip(".") if abs(x) >= 0.005 else "0"


def color(hexadecimal):
    return " ".join(numero(int(hexadecimal[i : i + 2], 16) / 255) for i in (1, 3, 5))


class Pagina:
    """One page's content. `marco` nests: inside it, lengths are its own."""

    def __init__(self):
        self.ordenes = []
        self.alfas = set()
        self.dx, self.dy, self.escala = 0, 0, 1

    @contextmanager
    def marco(self, x, y, escala):
        antes = self.dx, self.dy, self.escala
        self.dx, self.dy = self.dx + x * self.escala, self.dy + y * self.escala
        self.escala *= escala
        yield
        self.dx, self.dy, self.escala = antes

    @contextmanager
    def recorte(self, x, y, ancho, alto, radio=0):
        self.ordenes.append("q " + self._redondeado(x, y, ancho, alto, radio) + " W n")
        yield
        self.ordenes.append("Q")

    @contextmanager
    def alfa(self, valor):
        self.alfas.add(valor)
        self.ordenes.append(f"q /A{valor} gs")
        yield
        self.ordenes.append("Q")

    @contextmanager
    def rayado(self, raya, hueco):
        self.ordenes.append(f"[{raya} {hueco}] 0 d 0 J")
        yield
        self.ordenes.append("[] 0 d 1 J")

    def _punto(self, x, y):
        return numero(self.dx + x * self.escala) + " " + numero(ALTO - self.dy - y * self.escala)

    def _redondeado(self, x, y, w, h, r):
        p, k = self._punto, r * 0.4477
        if r == 0:
            return f"{p(x, y + h)} {numero(w * self.escala)} {numero(h * self.escala)} re"
        d, b = x + w, y + h
        return (
            f"{p(x + r, y)} m {p(d - r, y)} l {p(d - k, y)} {p(d, y + k)} {p(d, y + r)} c "
            f"{p(d, b - r)} l {p(d, b - k)} {p(d - k, b)} {p(d - r, b)} c "
            f"{p(x + r, b)} l {p(x + k, b)} {p(x, b - k)} {p(x, b - r)} c "
            f"{p(x, y + r)} l {p(x, y + k)} {p(x + k, y)} {p(x + r, y)} c h"
        )

    def _pintar(self, camino, relleno, borde, grosor):
        estado = f"{color(relleno)} rg " if relleno else ""
        estado += f"{color(borde)} RG {numero(grosor * self.escala)} w " if borde else ""
        operador = {(True, True): "B", (True, False): "f", (False, True): "S"}[bool(relleno), bool(borde)]
        self.ordenes.append(f"{estado}{camino} {operador}")

    def caja(self, x, y, ancho, alto, relleno=None, borde=None, radio=0, grosor=1):
        self._pintar(self._redondeado(x, y, ancho, alto, radio), relleno, borde, grosor)

    def circulo(self, x, y, radio, relleno=None, borde=None, grosor=1):
        self.caja(x - radio, y - radio, 2 * radio, 2 * radio, relleno, borde, radio, grosor)

    def trazo(self, camino, relleno=None, borde=None, grosor=1):
        """`camino`: absolute M, L, C and Z of SVG, numbers and letters apart."""
        piezas, pendientes, salida = {"M": 2, "L": 2, "C": 6}, [], []
        for pieza in re.findall(r"[MLCZ]|-?[\d.]+", camino):
            if pieza == "Z":
                salida.append("h")
            elif pieza in piezas:
                operador, faltan, pendientes = pieza, piezas[pieza], []
            else:
                pendientes.append(float(pieza))
                if len(pendientes) == faltan:
                    puntos = [self._punto(*pendientes[i : i + 2]) for i in range(0, faltan, 2)]
                    salida.append(" ".join(puntos) + " " + operador.lower())
                    pendientes = []
        self._pintar(" ".join(salida), relleno, borde, grosor)

    def linea(self, x1, y1, x2, y2, borde, grosor=1):
        self.trazo(f"M {x1} {y1} L {x2} {y2}", None, borde, grosor)

    def sombra(self, x, y, ancho, alto, radio):
        """What a sheet lying on the page darkens around itself."""
        with self.alfa(3):
            for i in range(6, 0, -1):
                self.caja(x - i, y - i + 3, ancho + 2 * i, alto + 2 * i, "#10203A", radio=radio + i)

    def texto(self, x, y, cadena, tamano, tinta="#101828", fuente=NORMAL, ancla="i"):
        """`y` is the base line; `ancla` says what `x` is: the left end (i), the middle (c) or the right end (d)."""
        x -= {"i": 0, "c": 0.5, "d": 1}[ancla] * ancho_de(cadena, tamano, fuente)
        octetos = re.sub(rb"([()\\])", rb"\\\1", cadena.encode("cp1252")).decode("latin-1")
        self.ordenes.append(
            f"BT /{fuente} {numero(tamano * self.escala)} Tf {color(tinta)} rg {self._punto(x, y)} Td ({octetos}) Tj ET"
        )

    def parrafo(self, x, y, ancho, cadena, tamano, tinta="#101828", paso=1.4):
        """Fills lines of `ancho`; what stands between asterisks is bold. Gives back the base line after the last."""
        fila, usado = [], 0
        espacio = ancho_de(" ", tamano)
        for i, tramo in enumerate(cadena.split("*")):
            fuente = NEGRITA if i % 2 else NORMAL
            for palabra in re.findall(r"\S+\s?|\s", tramo):
                suelta = palabra.rstrip()
                largo = ancho_de(suelta, tamano, fuente)
                if fila and usado + largo > ancho and suelta and fila[-1][3]:
                    self._fila(x, y, fila, tamano, tinta)
                    y, fila, usado = y + tamano * paso, [], 0
                fila.append((usado, suelta, fuente, palabra != suelta))
                usado += largo + (espacio if palabra != suelta else 0)
        self._fila(x, y, fila, tamano, tinta)
        return y + tamano * paso

    def _fila(self, x, y, fila, tamano, tinta):
        for desde, palabra, fuente, _ in fila:
            if palabra:
                self.texto(x + desde, y, palabra, tamano, tinta, fuente)


def _flujo(contenido):
    datos = zlib.compress(contenido.encode("latin-1"), 9)
    return f"<< /Length {len(datos)} /Filter /FlateDecode >>\nstream\n".encode() + datos + b"\nendstream"


def documento(paginas, titulo, asunto):
    """The file of `paginas`."""
    recursos = "/Font << " + " ".join(f"/{f} {5 + i} 0 R" for i, f in enumerate(FUENTES)) + " >>"
    alfas = sorted(set().union(*(p.alfas for p in paginas)))
    if alfas:
        recursos += " /ExtGState << " + " ".join(f"/A{a} << /ca {a / 100} /CA {a / 100} >>" for a in alfas) + " >>"
    primera = 5 + len(FUENTES)
    hojas = " ".join(f"{primera + 2 * i} 0 R" for i in range(len(paginas)))
    objetos = [
        b"<< /Type /Catalog /Pages 2 0 R /Lang (es) /ViewerPreferences << /DisplayDocTitle true >> >>",
        f"<< /Type /Pages /Kids [{hojas}] /Count {len(paginas)} >>".encode(),
        f"<< /Title ({titulo}) /Subject ({asunto}) /Creator (Velmora) >>".encode("cp1252"),
        f"<< {recursos} >>".encode(),
    ]
    for nombre in FUENTES.values():
        objetos.append(f"<< /Type /Font /Subtype /Type1 /BaseFont /{nombre} /Encoding /WinAnsiEncoding >>".encode())
    for i, pagina in enumerate(paginas):
        objetos.append(
            f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {ANCHO} {ALTO}] /Resources 4 0 R "
            f"/Contents {primera + 2 * i + 1} 0 R >>".encode()
        )
        objetos.append(_flujo("1 J 1 j\n" + "\n".join(pagina.ordenes)))

    salida, posiciones = b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n", []
    for i, objeto in enumerate(objetos, 1):
        posiciones.append(len(salida))
        salida += b"%d 0 obj\n" % i + objeto + b"\nendobj\n"
    tabla = len(salida)
    salida += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objetos) + 1)
    salida += b"".join(b"%010d 00000 n \n" % p for p in posiciones)
    identidad = hashlib.md5(salida, usedforsecurity=False).hexdigest()
    cola = f"<< /Size {len(objetos) + 1} /Root 1 0 R /Info 3 0 R /ID [<{identidad}> <{identidad}>] >>"
    return salida + f"trailer\n{cola}\nstartxref\n{tabla}\n%%EOF\n".encode()
