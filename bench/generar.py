#!/usr/bin/env python3
"""generar.py KIND FILE [NUMBER]: writes one of the inputs that medir.py signs.

KIND: grande (one page and one image of NUMBER bytes), hueca (the same with a hole for an image), texto (one page, about
NUMBER bytes), paginas (NUMBER pages, five objects each), objetos (NUMBER objects in object streams, and pictures that
make it 100 MB). All but the last are plain PDF 1.4 with a classic cross-reference table (ISO 32000-1, 7.5.4)."""

import os
import struct
import sys
import zlib

TROZO = 1 << 20


class Escritor:
    """Writes objects as they come and keeps their offsets for the cross-reference table."""

    def __init__(self, fichero, version=b"1.4"):
        self.fichero = fichero
        self.pos = 0
        self.tabla = {}
        self.escribir(b"%%PDF-%b\n%%\xe2\xe3\xcf\xd3\n" % version)

    def escribir(self, datos):
        """A number is a hole of so many bytes."""
        if isinstance(datos, int):
            self.fichero.seek(datos, os.SEEK_CUR)
            self.pos += datos
        else:
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


class EscritorComprimido(Escritor):
    """Writes objects into compressed object streams, streams as they come, and ends in a cross-reference stream
    (ISO 32000-1, 7.5.7 and 7.5.8) with the predictor that programs use there. Streams of its own count from `libre`."""

    POR_FLUJO = 400

    def __init__(self, fichero, libre):
        super().__init__(fichero, b"1.5")
        self.libre = libre
        self.miembros = []
        self.dentro = {}  # the object stream and the place in it

    def objeto(self, num, cuerpo):
        self.dentro[num] = self.libre, len(self.miembros)
        self.miembros.append((num, cuerpo.encode("ascii")))
        if len(self.miembros) == self.POR_FLUJO:
            self.vaciar()

    def vaciar(self):
        if not self.miembros:
            return
        cabecera, pos = [], 0
        for num, cuerpo in self.miembros:
            cabecera.append(b"%d %d" % (num, pos))
            pos += len(cuerpo) + 1
        indice = b" ".join(cabecera) + b"\n"
        datos = zlib.compress(indice + b"\n".join(cuerpo for _, cuerpo in self.miembros))
        self.flujo(self.libre, "/Type /ObjStm /N %d /First %d /Filter /FlateDecode" % (len(self.miembros), len(indice)),
                   len(datos), [datos])
        self.miembros = []
        self.libre += 1

    def cerrar(self, raiz):
        self.vaciar()
        inicio, n = self.pos, self.libre + 1
        self.tabla[self.libre] = inicio
        anterior, filas = bytes(7), []
        for num in range(n):
            if num in self.dentro:
                fila = struct.pack(">BIH", 2, *self.dentro[num])
            else:
                fila = struct.pack(">BIH", int(num in self.tabla), self.tabla.get(num, 0), 0)
            filas.append(b"\x02" + bytes((a - b) & 255 for a, b in zip(fila, anterior)))  # PNG, up
            anterior = fila
        datos = zlib.compress(b"".join(filas))
        self.flujo(self.libre, "/Type /XRef /W [1 4 2] /Size %d /Root %d 0 R /Filter /FlateDecode /DecodeParms "
                   "<< /Predictor 12 /Columns 7 >>" % (n, raiz), len(datos), [datos])
        self.escribir(b"startxref\n%d\n%%%%EOF\n" % inicio)


def al_azar(largo):
    while largo > 0:
        trozo = os.urandom(min(largo, TROZO))
        largo -= len(trozo)
        yield trozo


IMAGEN = "/Type /XObject /Subtype /Image /Width 10000 /Height %d /ColorSpace /DeviceGray /BitsPerComponent 8"


def grande(fichero, largo, relleno=al_azar):
    """One image of `largo` bytes, as little for a signer to skip as a scan of one page leaves it."""
    e = Escritor(fichero)
    alto = max(largo // 10000, 1)
    e.objeto(1, "<< /Type /Catalog /Pages 2 0 R >>")
    e.objeto(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
    e.objeto(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
                "/Resources << /XObject << /I 5 0 R >> >> >>")
    dibujo = b"q 595 0 0 842 0 0 cm /I Do Q"
    e.flujo(4, "", len(dibujo), [dibujo])
    e.flujo(5, IMAGEN % alto, alto * 10000, relleno(alto * 10000))
    e.cerrar(1)


def hueca(fichero, largo):
    """The same with nothing but a hole for an image: it takes no room on the disk."""
    grande(fichero, largo, lambda n: [n])


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


def objetos(fichero, cuantos, total=100_000_000):
    """Tagged pages with links and bookmarks: of each twenty objects one is a page, the others are what hangs on it."""
    paginas_, por_nodo, contenidos, imagenes = -(-cuantos // 20), 200, 100, 20
    nodos = -(-paginas_ // por_nodo)
    parte, base = 7 + nodos, 7 + 2 * nodos
    contenido = base + 20 * paginas_
    imagen = contenido + contenidos
    e = EscritorComprimido(fichero, imagen + imagenes)

    def refs(numeros):
        return " ".join("%d 0 R" % n for n in numeros)

    e.objeto(1, "<< /Type /Catalog /Pages 2 0 R /Outlines 3 0 R /StructTreeRoot 4 0 R /MarkInfo << /Marked true >> >>")
    e.objeto(2, "<< /Type /Pages /Count %d /Kids [%s] >>" % (paginas_, refs(range(7, parte))))
    e.objeto(3, "<< /Type /Outlines /First %d 0 R /Last %d 0 R /Count %d >>" % (base + 8, contenido - 12, paginas_))
    e.objeto(4, "<< /Type /StructTreeRoot /K [%s] /ParentTree << /Nums [] >> >>" % refs(range(parte, base)))
    e.objeto(5, "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>")
    e.objeto(6, "<< /Type /ExtGState /CA 1 /ca 1 /SA true >>")
    for i in range(nodos):
        hijas = [base + 20 * p for p in range(i * por_nodo, min((i + 1) * por_nodo, paginas_))]
        e.objeto(7 + i, "<< /Type /Pages /Parent 2 0 R /Count %d /Kids [%s] >>" % (len(hijas), refs(hijas)))
        e.objeto(parte + i, "<< /Type /StructElem /S /Part /P 4 0 R /K [%s] >>" % refs(n + 9 for n in hijas))
    for p in range(paginas_):
        n = base + 20 * p
        e.objeto(n, "<< /Type /Page /Parent %d 0 R /MediaBox [0 0 595.28 841.89] /Contents %d 0 R /Resources %d 0 R "
                 "/Annots [%s] /StructParents %d /Tabs /S >>" % (
                     7 + p // por_nodo, contenido + p % contenidos, n + 1, refs(range(n + 2, n + 6)), p))
        e.objeto(n + 1, "<< /Font << /F1 5 0 R >> /ExtGState << /G 6 0 R >> /XObject << /I %d 0 R >> /ProcSet [/PDF "
                 "/Text /ImageB] >>" % (imagen + p % imagenes))
        for i in range(4):
            destino = "/A %d 0 R" % (n + 6 + i) if i < 2 else "/Dest [%d 0 R /XYZ 72 %d 0]" % (n, 700 - 100 * i)
            e.objeto(n + 2 + i, "<< /Type /Annot /Subtype /Link /Rect [72 %d 210.5 %d] /Border [0 0 0] /F 4 /P %d 0 R "
                     "%s /StructParent %d >>" % (600 - 40 * i, 612 - 40 * i, n, destino, paginas_ + 4 * p + i))
        e.objeto(n + 6, "<< /Type /Action /S /URI /URI (https://ejemplo.es/anejo/%d?pagina=%d) >>" % (p % 97, p))
        e.objeto(n + 7, "<< /Type /Action /S /GoTo /D [%d 0 R /Fit] >>" % n)
        vecinos = "/Prev %d 0 R " % (n - 12) if p > 0 else ""
        vecinos += "/Next %d 0 R" % (n + 28) if p < paginas_ - 1 else ""
        e.objeto(n + 8, "<< /Title (Clausula %d) /Parent 3 0 R %s /Dest [%d 0 R /XYZ 0 842 0] >>" % (p, vecinos, n))
        e.objeto(n + 9, "<< /Type /StructElem /S /Sect /P %d 0 R /K [%s] >>" % (
            parte + p // por_nodo, refs(range(n + 10, n + 19))))
        for i in range(9):
            enlace = "<< /Type /OBJR /Pg %d 0 R /Obj %d 0 R >>" % (n, n + 2 + i) if i < 4 else ""
            e.objeto(n + 10 + i, "<< /Type /StructElem /S /%s /P %d 0 R /Pg %d 0 R /K [%d %s] /A %d 0 R >>" % (
                "Link" if i < 4 else "P", n + 9, n, i, enlace, n + 19))
        e.objeto(n + 19, "<< /O /Layout /Placement /Block /SpaceBefore %d.5 /TextAlign /Justify >>" % (p % 12))
    for i in range(contenidos):
        dibujo = b"q 595 0 0 842 0 0 cm /I Do Q BT /F1 12 Tf 72 760 Td (Hoja %d) Tj ET" % i
        e.flujo(contenido + i, "", len(dibujo), [dibujo])
    alto = max((total - e.pos) // (10000 * imagenes), 1)
    for i in range(imagenes):
        e.flujo(imagen + i, IMAGEN % alto, alto * 10000, al_azar(alto * 10000))
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


def flujo_de(dicc, datos):
    return b"<< %b /Length %d >>\nstream\n%b\nendstream" % (dicc, len(datos), datos)


def con_flujo(dicc, datos, cuerpos=()):
    """A small file that ends in a cross-reference stream: the dictionary's other entries, the stream's bytes, and the
    bodies of the objects, from 3 on, that stand before it."""
    salida = b"%PDF-1.5\n"
    for i, cuerpo in enumerate(cuerpos, 3):
        salida += b"%d 0 obj\n%b\nendobj\n" % (i, cuerpo)
    return salida + b"1 0 obj\n%b\nendobj\nstartxref\n%d\n%%%%EOF\n" % (
        flujo_de(b"/Type /XRef /Root 2 0 R " + dicc, datos), len(salida))


def inflable(principio, ceros):
    """Deflated, and never whole in this process's memory, which the programs that it starts would be charged with."""
    c = zlib.compressobj(9)
    trozos = [c.compress(principio)] + [c.compress(bytes(TROZO)) for _ in range(ceros // TROZO)]
    return b"".join(trozos) + c.flush()


def hostiles_por_referencias():
    """Those that only a reading by cross-references meets: streams that promise what they lack, or hold too much."""
    miembro = struct.pack(">BIH", 2, 3, 0)  # the catalog is the first member of object 3, which stands at byte 9
    filas = bytes(14) + miembro + struct.pack(">BIH", 1, 9, 0)
    w, flate = b"/W [1 4 2] ", b"/Filter /FlateDecode "
    yield "/Index of a million sections", con_flujo(w + b"/Size 9 /Index [" + b"0 1 " * 1_000_000 + b"]", filas)
    yield "/Index over milliards", con_flujo(w + b"/Size 4000000000 /Index [0 4000000000]", filas)
    yield "/W [8 8 8]", con_flujo(b"/W [8 8 8] /Size 4000000000", b"\xff" * 24_000)
    yield "/W without end", con_flujo(b"/W [2147483647 2147483647 2147483647] /Size 9", filas)
    yield "entries that inflate to 256 MB", con_flujo(w + flate + b"/Size 150000000", inflable(b"", 1 << 28))
    columnas = b"/Size 4 /DecodeParms << /Predictor 12 /Columns 2147483647 >>"
    yield "predictor rows of 2 GB", con_flujo(w + flate + columnas, inflable(filas, 0))
    catalogo = b"2 0 << /Type /Catalog /Pages 9 0 R >>"
    for nombre, dicc, datos in (
            ("/N of two milliards", b"/N 2000000000 /First 4", catalogo),
            ("/First past the end", b"/N 1 /First 2000000000", catalogo),
            ("/Extends of itself", b"/N 1 /First 4 /Extends 3 0 R", b"7 0 null"),
            ("an object stream that inflates to 256 MB", flate + b"/N 1 /First 4", inflable(b"2 0 ", 1 << 28)),
            ('an object stream of 1 MB of "["', b"/N 1 /First 4", b"2 0 << /Pages " + b"[" * (1 << 20))):
        cuerpo = flujo_de(b"/Type /ObjStm " + dicc, datos)
        yield nombre, con_flujo(w + b"/Size 4", filas, [cuerpo])
    yield "an object stream in itself", con_flujo(w + b"/Size 4", filas[:14] + miembro + miembro)
    cadena = documento([b"<< /Type /Catalog /Pages 2 0 R >>", b"<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                        b"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>"])
    anterior = cadena.rindex(b"xref\n0")
    for _ in range(10_000):
        inicio = len(cadena)
        cadena += b"xref\n0 0\ntrailer\n<< /Size 4 /Root 1 0 R /Prev %d >>\nstartxref\n%d\n%%%%EOF\n" % (
            anterior, inicio)
        anterior = inicio
    yield "10,000 /Prev", cadena


def hostiles():
    """Name and bytes of inputs made to cost time, stack or memory."""
    yield from hostiles_por_referencias()
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


GENERADORES = {"grande": grande, "hueca": hueca, "texto": texto, "paginas": paginas, "objetos": objetos}

if __name__ == "__main__":
    if len(sys.argv) != 4 or sys.argv[1] not in GENERADORES:
        sys.exit(__doc__)
    with open(sys.argv[2], "wb") as salida_:
        GENERADORES[sys.argv[1]](salida_, int(sys.argv[3]))
