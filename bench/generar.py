#!/usr/bin/env python3
"""generar.py KIND FILE [NUMBER]: writes one of the inputs that medir.py signs.

KIND: grande (one page and one image of NUMBER bytes), texto (one page, about NUMBER bytes), paginas (NUMBER pages, five
objects each). The files are plain PDF 1.4 with a classic cross-reference table (ISO 32000-1, 7.5.4)."""

import os
import sys

TROZO = 1 << 20


class Escritor:
    """Writes objects as they come and keeps their offsets for the cross-reference table."""

    def __init__(self, fichero):
        self.fichero = fichero
        self.pos = 0
        self.tabla = {}
        self.escribir(b"%PDF-1.4\n%\xe2\xe3\xcf\xd3\n")

    def escribir(self, datos):
        self.fichero.write(datos)
        self.pos += len(datos)

    def objeto(self, num, cuerpo):
        self.tabla[num] = self.pos
        self.escribir(b"%d 0 obj\n%s\nendobj\n" % (num, cuerpo.encode("ascii")))

    def flujo(self, num, dicc, largo, trozos):
        self.tabla[num] = self.pos
        self.escribir(b"%d 0 obj\n<< %s /Length %d >>\nstream\n" % (num, dicc.encode("ascii"), largo))
        for trozo in trozos:
            self.escribir(trozo)
        self.escribir(b"\nendstream\nendobj\n")

    def cerrar(self, raiz):
        """The table holds the objects 1 to n, all of them written."""
        inicio, n = self.pos, len(self.tabla) + 1
        filas = [b"0000000000 65535 f \n"] + [b"%010d 00000 n \n" % self.tabla[i] for i in range(1, n)]
        self.escribir(b"xref\n0 %d\n" % n + b"".join(filas))
        self.escribir(b"trailer\n<< /Size %d /Root %d 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (n, raiz, inicio))


def al_azar(largo):
    while largo > 0:
        trozo = os.urandom(min(largo, TROZO))
        largo -= len(trozo)
        yield trozo


def grande(fichero, largo):
    """One image of `largo` bytes, as little for a signer to skip as a scan of one page leaves it."""
    e = Escritor(fichero)
    alto = max(largo // 10000, 1)
    e.objeto(1, "<< /Type /Catalog /Pages 2 0 R >>")
    e.objeto(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
    e.objeto(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
                "/Resources << /XObject << /I 5 0 R >> >> >>")
    dibujo = b"q 595 0 0 842 0 0 cm /I Do Q"
    e.flujo(4, "", len(dibujo), [dibujo])
    imagen = "/Type /XObject /Subtype /Image /Width 10000 /Height %d /ColorSpace /DeviceGray /BitsPerComponent 8" % alto
    e.flujo(5, imagen, alto * 10000, al_azar(alto * 10000))
    e.cerrar(1)


def texto(fichero, largo):
    e = Escritor(fichero)
    e.objeto(1, "<< /Type /Catalog /Pages 2 0 R >>")
    e.objeto(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
    e.objeto(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
                "/Resources << /Font << /F1 5 0 R >> >> >>")
    lineas, i = [], 0
    while sum(map(len, lineas)) < largo - 1000:
        i += 1
        lineas.append(b"BT /F1 9 Tf 72 %d Td (Clausula %d: las partes firman este contrato de muestra.) Tj ET\n" % (
            800 - i % 70 * 10, i))
    e.flujo(4, "", sum(map(len, lineas)), lineas)
    e.objeto(5, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>")
    e.cerrar(1)


def paginas(fichero, cuantas):
    """A tree of two levels; of each three pages one has no annotations, one has them in place, one by reference."""
    e = Escritor(fichero)
    por_nodo = 200
    nodos = -(-cuantas // por_nodo)
    primera = 4 + nodos
    e.objeto(1, "<< /Type /Catalog /Pages 2 0 R >>")
    e.objeto(2, "<< /Type /Pages /Count %d /Kids [%s] >>" % (
        cuantas, " ".join("%d 0 R" % (4 + i) for i in range(nodos))))
    e.objeto(3, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>")
    for i in range(nodos):
        hijas = range(i * por_nodo, min((i + 1) * por_nodo, cuantas))
        e.objeto(4 + i, "<< /Type /Pages /Parent 2 0 R /Count %d /Kids [%s] >>" % (
            len(hijas), " ".join("%d 0 R" % (primera + 5 * h) for h in hijas)))
    for p in range(cuantas):
        n = primera + 5 * p
        notas = ("", "/Annots [%d 0 R]" % (n + 3), "/Annots %d 0 R" % (n + 4))[p % 3]
        e.objeto(n, "<< /Type /Page /Parent %d 0 R /MediaBox [0 0 595 842] /Contents %d 0 R /Resources %d 0 R %s >>" % (
            4 + p // por_nodo, n + 1, n + 2, notas))
        cuerpo = b"BT /F1 12 Tf 72 760 Td (Pagina %d) Tj ET" % (p + 1)
        e.flujo(n + 1, "", len(cuerpo), [cuerpo])
        e.objeto(n + 2, "<< /Font << /F1 3 0 R >> >>")
        e.objeto(n + 3, "<< /Type /Annot /Subtype /Link /Rect [72 700 200 720] /Dest [%d 0 R /Fit] >>" % n)
        e.objeto(n + 4, "[%d 0 R]" % (n + 3))
    e.cerrar(1)


def documento(cuerpos, antes=b""):
    """A small file around the bodies of its objects, cross-reference table and all."""
    salida, tabla = b"%PDF-1.4\n", [b"0000000000 65535 f \n"]
    for i, cuerpo in enumerate(cuerpos, 1):
        tabla.append(b"%010d 00000 n \n" % len(salida))
        salida += b"%d 0 obj\n%s\nendobj\n" % (i, cuerpo)
    inicio = len(salida)
    return salida + b"xref\n0 %d\n%strailer\n<< %s/Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (
        len(tabla), b"".join(tabla), antes, len(tabla), inicio)


def hostiles():
    """Name and bytes of inputs made to cost time, stack or memory."""
    mega = 1 << 20
    catalogo, hojas = b"<< /Type /Catalog /Pages 2 0 R >>", b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>"
    hoja = b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>"
    cadena = [b"<< /Type /Pages /Kids [%d 0 R] /Count 1 >>" % (i + 3) for i in range(30000)]
    yield '1 MB of "["', documento([catalogo, hojas, b"<< /Type /Page /Annots " + b"[" * mega + b" >>"])
    yield '1 MB of "<<"', documento([catalogo, hojas, b"<< /Type /Page /X " + b"<<" * (mega // 2) + b" >>"])
    yield '1 MB of "("', documento([catalogo, hojas, b"<< /Type /Page /X " + b"(" * mega + b" >>"])
    yield '1 MB of ")"', documento([catalogo, hojas, b"<< /Type /Page /X " + b")" * mega + b" >>"])
    yield '1 MB of "[" alone', b"%PDF-1.4\n" + b"[" * mega
    yield '1 MB of "1 0 obj "', b"%PDF-1.4\n" + b"1 0 obj " * (mega // 8)
    yield '1 MB of "1 0 obj<<"', b"%PDF-1.4\n" + b"1 0 obj<<" * (mega // 9)
    yield '1 MB of "startxref 9 "', b"%PDF-1.4\n" + b"startxref 9 " * (mega // 12)
    yield '1 MB of "trailer<<"', b"%PDF-1.4\n" + b"trailer<<" * (mega // 9)
    yield "/Kids cycle", documento([catalogo, b"<< /Type /Pages /Kids [2 0 R 2 0 R] /Count 2 >>"])
    yield "/Kids cycle of two", documento([catalogo, b"<< /Type /Pages /Kids [3 0 R 3 0 R] /Count 2 >>",
                                           b"<< /Type /Pages /Kids [2 0 R 2 0 R] /Count 2 >>"])
    yield "30,000 levels of /Kids", documento([catalogo] + cadena)
    yield "/Kids doubling 60 levels", documento([catalogo] + [
        b"<< /Type /Pages /Kids [%d 0 R %d 0 R] /Count 2 >>" % (i + 3, i + 3) for i in range(60)] + [hoja])
    yield "/Annots that is itself", documento([catalogo, hojas, b"<< /Type /Page /Annots 4 0 R >>", b"4 0 R"])
    yield "/Prev cycle", documento([catalogo, hojas, hoja], b"/Prev 9 ")
    yield "huge object number", documento([catalogo, hojas, hoja]).replace(b"3 0 obj", b"99999999999999999999 0 obj")
    yield "empty file", b""


GENERADORES = {"grande": grande, "texto": texto, "paginas": paginas}

if __name__ == "__main__":
    if len(sys.argv) != 4 or sys.argv[1] not in GENERADORES:
        sys.exit(__doc__)
    with open(sys.argv[2], "wb") as salida_:
        GENERADORES[sys.argv[1]](salida_, int(sys.argv[3]))
