#!/usr/bin/python3
"""documentos.py FOLDER [FAMILY...]: writes the documents that a signer can be fooled with, and prints a line for each:

NAME <tab> OUTCOME <tab> REASON <tab> WARNING <tab> KIND

OUTCOME is "firmado", "rechazado" or "igual" (either will do, as long as nobody sees something else afterwards); REASON
and WARNING are names of reasons, "-" where any will do and none is asked for. KIND is "hostil" where time and memory
count. Every page says "10 EUR" when it is read as it should be; "9999 EUR" lies in wait."""

import os
import sys
import zlib

from armar import (ARBOL, CABEZA, CATALOGO, COMUN, FUENTE, MIEMBROS, PAGINA, TEXTO, Pdf, alojar, cerrar, crudo,
                   documento, flujo, revision)

FIRMADO, REHECHO, EXTRANO = ("firmado",), ("firmado", "-", "Reconstruido"), ("firmado", "-", "Extrano")
AMBIGUO, RECHAZADO, IGUAL = ("rechazado", "Ambiguo"), ("rechazado",), ("igual",)

FALSOS = {
    "contenido": "4 0 obj\n[8 0 R]\nendobj\n",
    "pagina": f"3 0 obj\n{PAGINA % '8 0 R'}\nendobj\n",
    "catalogo": "1 0 obj\n<< /Type /Catalog /Pages 16 0 R >>\nendobj\n",
    "arbol": f"2 0 obj\n{ARBOL % '9 0 R'}\nendobj\n",
    "adjunto": "13 0 obj\n<< /Type /EmbeddedFile /Length 8 >>\nstream\n9999 EUR\nendstream\nendobj\n",
    "flujo": f"10 0 obj\n{COMUN[8].decode()}\nendobj\n",
}
FALSO, PAGINA_FALSA = FALSOS["contenido"], FALSOS["pagina"]


def disfraces():
    """Sound documents in which what looks like an object stands where none is."""
    for que, falso in FALSOS.items():
        for clase in ("tabla", "miembros"):
            yield f"cuerpo-{que}-{clase}", documento(clase, despues=alojar(falso)), FIRMADO
    linea = PAGINA_FALSA.replace("\n", " ")
    entero = documento(objetos={3: PAGINA % "8 0 R"}).b
    dibujo = f"{TEXTO} BI /W {len(linea)} /H 1 /CS /G /BPC 8 ID {linea} EI"
    for clase in ("tabla", "flujo"):
        for nombre, como in {
            "cuerpo-generacion": {"despues": alojar(PAGINA_FALSA.replace("3 0 obj", "3 1 obj"))},
            "comentario": {"despues": crudo("% " + linea + "\n")},
            "imagen": {"objetos": {10: flujo(dibujo)}},
            "incrustado": {"despues": alojar(bytes(entero), "/Type /EmbeddedFile")},
            "flujo-de-objetos": {"despues": lambda d: d.objstm(15, [(3, PAGINA % "8 0 R")], anotar=False)},
        }.items():
            yield f"{nombre}-{clase}", documento(clase, **como), FIRMADO
        d = documento(clase)
        d.mas(PAGINA_FALSA)
        yield f"tras-eof-{clase}", d, FIRMADO
        # The last revision goes back to the first one's body.
        d = documento(clase)
        primera = d.b.index(b"\n3 0 obj") + 1
        revision(d, {3: PAGINA % "8 0 R"}, clase)
        d.anotar(3, (1, primera, 0))
        yield f"revision-vieja-{clase}", cerrar(d, clase, 19), FIRMADO


def nulos():
    """Numbers that aren't defined, which some readers then look for by a scan."""
    con = {3: PAGINA.replace("/Contents", "/Group 30 0 R /Contents") % "4 0 R"}
    formas = {"falta": {"objetos": con, "size": 31}, "pasado-size": {"objetos": con},
              "libre": {"objetos": con, "cambios": {30: (0, 0, 1)}}, "info": {"extra": "/Info 30 0 R", "size": 31},
              "cero": {"objetos": con, "cambios": {30: (1, 0, 0)}}}
    dos = {3: PAGINA % "[10 0 R 30 0 R]"}
    falso = f"30 0 obj\n{COMUN[8].decode()}\nendobj\n"
    for clase, fin in (("tabla", AMBIGUO), ("flujo", FIRMADO)):
        for nombre, como in formas.items():
            if clase == "tabla" or nombre != "cero":
                yield f"nulo-{nombre}-sin-trampa-{clase}", documento(clase, **como), FIRMADO
                yield f"nulo-{nombre}-cuerpo-{clase}", documento(clase, **como, despues=alojar(FALSO)), fin
        # The number itself is defined only where no object is.
        for nombre, despues in {"cuerpo": alojar(falso), "hueco": crudo(falso)}.items():
            yield f"nulo-solo-en-{nombre}-{clase}", documento(clase, objetos=dos, despues=despues, size=31), fin
        # What was freed some show and some don't.
        d = documento(clase, objetos={3: PAGINA % "[10 0 R 8 0 R]"})
        revision(d, {}, clase, cambios={0: (0, 8, 65535), 8: (0, 0, 1)})
        yield f"liberado-{clase}", d, RECHAZADO if clase == "tabla" else IGUAL


def suelto(objetos=None, inicio=CABEZA, sin=None):
    """The common document's objects, without a section."""
    d = Pdf(inicio)
    for num, cuerpo in {**COMUN, **(objetos or {})}.items():
        if num != sin:
            d.obj(num, cuerpo)
    return d


def hibrida(en_tabla=None, en_flujo=None, xrefstm=None):
    """A table and its /XRefStm: what `en_tabla` writes stands in the one, what `en_flujo` writes in the other."""
    d = suelto(sin=4)
    if en_tabla:
        en_tabla(d)
    tabla, d.nuevas = d.nuevas, {}
    if en_flujo:
        en_flujo(d)
    d.xflujo(17, {0: None}, prev=False, propia=False, cerrar=False)
    oculta, d.seccion, d.nuevas = d.seccion, None, tabla
    d.tabla({17: (1, oculta, 0)}, extra=f"/XRefStm {xrefstm or oculta}")
    return d


def hibridas():
    def miembro(num, texto):
        return lambda d: d.objstm(15, [(num, texto)])

    def suelta(d):
        d.obj(4, "[10 0 R]")

    def libre(d):
        d.anotar(4, (0, 0, 0))

    bueno = miembro(4, "[10 0 R]")
    yield "hibrida", hibrida(en_flujo=bueno), FIRMADO
    yield "hibrida-libre-y-viva", hibrida(libre, bueno), AMBIGUO
    yield ("hibrida-libre-y-viva-sin-uso",
           hibrida(lambda d: (suelta(d), d.anotar(30, (0, 0, 0))), miembro(30, "null")), FIRMADO)
    yield "hibrida-dos-cuerpos", hibrida(suelta, miembro(4, "[8 0 R]")), FIRMADO
    yield "hibrida-ilegible", hibrida(suelta, xrefstm=20), REHECHO


def cadenas():
    """What leads from one section to another."""
    aqui = documento().seccion
    for nombre, prev in (("fuera", 99999999), ("real", f"{aqui}.0"), ("negativo", -5), ("en-nada", 30)):
        yield f"prev-{nombre}", revision(documento(), {5: FUENTE}, prev=prev), REHECHO
    for clase in ("tabla", "flujo"):
        for nombre, falso, fin in (("", "nada", REHECHO), ("-trampa", FALSO, AMBIGUO)):
            d = revision(documento(clase, despues=alojar(falso), extra="/Prev 0000000000"), {5: FUENTE}, clase)
            yield f"ciclo-{clase}{nombre}", bytes(d.b).replace(b"/Prev 0000000000", b"/Prev %010d" % d.seccion), fin
    d = documento()
    for _ in range(299):
        revision(d, {5: FUENTE})
    yield "revisiones-300", d, FIRMADO
    yield "tabla-tras-flujo", revision(documento("flujo"), {5: FUENTE}), EXTRANO
    yield "encrypt-antes", revision(documento(extra="/Encrypt 12 0 R"), {5: FUENTE}), ("rechazado", "Cifrado")
    yield "root-solo-antes", revision(documento(), {5: FUENTE}, raiz=None), REHECHO
    for nombre, startxref, fin in (("", None, FIRMADO), ("-roto", 5, AMBIGUO)):
        d = documento(objetos={19: "<< /Type /Catalog /Pages 16 0 R >>"}, raiz="19 0 R")
        yield f"dos-root{nombre}", revision(d, {5: FUENTE}, startxref=startxref), fin
        # A member that an update replaced by a plain object; damaged, some go back to the member.
        d = documento("miembros", objetos={3: PAGINA % "8 0 R"})
        yield f"miembro-sustituido{nombre}", revision(d, {3: COMUN[3]}, "flujo", startxref=startxref), fin


def principios_y_finales():
    """Where offsets are counted from, and where the last section is said to be."""
    basura = "basura del correo\n" * 3
    for nombre, falso, fin in (("", "nada", FIRMADO), ("-trampa", FALSO, AMBIGUO)):
        como = {"despues": alojar(falso)}
        yield f"basura{nombre}", documento(inicio=basura + CABEZA, base=len(basura), **como), fin
    # Two chains: one is right when offsets count from the file's first byte, the other from the header.
    mucha = "basura del correo\n" * 50
    d = suelto(inicio=mucha + CABEZA)
    buenas = dict(d.nuevas)
    d.obj(3, PAGINA % "8 0 R")
    falsas = {0: (0, 0, 65535), **{n: (1, pos - len(mucha), 0) for n, (_, pos, _) in d.nuevas.items()}}
    d.tabla(buenas, cerrar=False)
    cero = d.seccion
    d.mas(" " * (cero + len(mucha) - len(d.b)))
    d.base = len(mucha)
    d.tabla(falsas, prev=False, startxref=cero)
    yield "dos-bases", d, AMBIGUO
    aqui = documento().seccion
    for nombre, pos in (("dentro", aqui + 2), ("antes", aqui - 9), ("fuera", 99999999)):
        yield f"startxref-{nombre}", documento(startxref=pos), REHECHO
    # The last one counts, also in a comment: here it leads to the first of two revisions.
    d = documento()
    primera = d.seccion
    revision(d, {4: "[8 0 R]"}).mas(f"% startxref\n{primera}\n%%EOF\n")
    yield "startxref-en-comentario", d, FIRMADO
    # Damaged, and what looks like an object lies where a repair may look.
    for nombre, despues, fin in (
        ("cuerpo", alojar(FALSO), AMBIGUO),
        ("comprimido", alojar(zlib.compress(FALSO.encode()), "/Filter /FlateDecode"), REHECHO),
        ("flujo-de-objetos", lambda d: d.objstm(15, [(4, "[8 0 R]")], anotar=False), AMBIGUO),
        ("gemelo", alojar(f"10 0 obj\n{flujo(TEXTO.replace('10', '99')).decode()}\nendobj\n"), AMBIGUO),
    ):
        yield f"roto-{nombre}", documento(startxref=5, despues=despues), fin
    yield "roto-miembros", documento("miembros", startxref=5), REHECHO


def tablas():
    """The table's own syntax and entries."""
    p = {n: pos for n, (_, pos, _) in suelto().nuevas.items()}
    for nombre, como, fin in (
        ("pegada", {"cabeza": "xref ", "trailer": "trailer"}, FIRMADO),
        ("19-bytes", {"tras": "\n"}, FIRMADO), ("21-bytes", {"tras": " \r\n"}, FIRMADO),
        ("empieza-en-1", {"primera": 1}, FIRMADO),
        ("sin-palabra", {"cabeza": ""}, REHECHO),
        ("entrada-ilegible", {"repetidas": "3 1\nxxxxxxxxxx 00000 n \n"}, REHECHO),
        # Where the entry of the page's contents points.
        ("entrada-en-blanco", {"cambios": {4: (1, p[4] - 1, 0)}}, FIRMADO),
        ("entrada-1-despues", {"cambios": {4: (1, p[4] + 1, 0)}}, REHECHO),
        ("entrada-en-otro", {"cambios": {4: (1, p[5], 0)}}, REHECHO),
        ("entrada-en-24", {"antes": lambda d: (d.obj(24, "[8 0 R]"), d.anotar(24, (1, len(CABEZA), 0))),
                           "cambios": {4: (1, len(CABEZA) + 1, 0)}}, AMBIGUO),
        ("entrada-de-generacion-1", {"cambios": {4: (1, p[4], 1)}}, AMBIGUO),
    ):
        yield f"tabla-{nombre}", documento(**como), fin
    d = suelto({3: PAGINA % "8 0 R"})
    falsa = d.nuevas[3][1]
    d.obj(3, COMUN[3])
    d.tabla(repetidas=f"3 1\n{falsa:010d} 00000 n \n")
    yield "tabla-entrada-doble", d, AMBIGUO
    d = documento(objetos={4: None}, antes=lambda d: d.obj(4, COMUN[4], 1), cambios={4: (1, len(CABEZA), 0)})
    yield "cabecera-generacion", d, RECHAZADO


def hex_de(datos):
    return datos.hex().encode() + b">"


FILTROS = (("hex", "/Filter /ASCIIHexDecode", hex_de),
           ("hex-flate", "/Filter [/ASCIIHexDecode /FlateDecode]", lambda b: hex_de(zlib.compress(b))))


def secciones_de_flujo():
    """Cross-reference streams."""
    for nombre, clase, como, fin in (
        ("w-120", "flujo", {"w": (1, 2, 0)}, FIRMADO),
        ("w-021", "flujo", {"w": (0, 2, 1), "cambios": {0: None}}, FIRMADO),
        ("w-182", "miembros", {"w": (1, 8, 2)}, FIRMADO),
        ("sin-index", "flujo", {"index": None, "cambios": {11: (0, 0, 0), 15: (0, 0, 0)}}, FIRMADO),
        ("index-desordenado", "miembros", {"filas": lambda e: [*e.items()][3:] + [*e.items()][:3]}, FIRMADO),
        ("sobra", "miembros", {"sobra": b"\1" * 7}, FIRMADO),
        ("propia-en-otra-parte", "miembros", {"cambios": {17: (1, 20, 0)}}, FIRMADO),
        ("tipo-3", "miembros", {"cambios": {4: (3, 1, 0)}}, RECHAZADO),
        ("w-000", "flujo", {"w": (0, 0, 0)}, REHECHO), ("w-192", "flujo", {"w": (1, 9, 2)}, REHECHO),
        ("index-negativo", "flujo", {"index": "[-1 30]"}, REHECHO), ("faltan", "flujo", {"quita": 20}, REHECHO),
        ("codigo-y-mas", "flujo", {"codificar": lambda b: zlib.compress(b) + b"basura"}, FIRMADO),
        *((f"predictor-{p}", "miembros", {"predictor": p}, FIRMADO) for p in (2, 15)),
        *((nombre, "flujo", {"filtro": filtro, "codificar": codificar}, ("rechazado", "Filtro"))
          for nombre, filtro, codificar in FILTROS),
    ):
        yield f"xref-{nombre}", documento(clase, **como), fin
    d = suelto({3: PAGINA % "8 0 R"})
    falsa = d.nuevas[3]
    d.obj(3, COMUN[3])
    d.xflujo(17, filas=lambda e: [*e.items(), (3, falsa)])
    yield "xref-entrada-doble", d, AMBIGUO


def flujos_de_objetos():
    """Object streams. The member in question is the page's contents."""
    pares = [(n, COMUN[n]) for n in MIEMBROS if n in COMUN]

    def con(num, texto):
        return [(n, texto if n == num else t) for n, t in pares]

    rotos = [*range(len(pares))]
    rotos[3:5] = 4, 3
    for nombre, contenedor, como, fin in (
        *((f"predictor-{p}", {"predictor": p}, {}, FIRMADO) for p in (2, 15)),
        *((nombre, {"filtro": filtro, "codificar": codificar}, {}, ("rechazado", "Filtro"))
          for nombre, filtro, codificar in FILTROS),
        ("indice-falso", {}, {"cambios": {4: (2, 15, 0)}}, EXTRANO),
        ("doble", {"miembros": [*pares, (4, "[8 0 R]")]}, {}, AMBIGUO),
        ("desordenado", {"orden": rotos}, {}, RECHAZADO), ("first-corto", {"primero": 40}, {}, RECHAZADO),
        ("n-corto", {"n": 2}, {}, RECHAZADO), ("n-negativo", {"n": -3}, {}, RECHAZADO),
        ("en-otro-flujo", {}, {"cambios": {4: (2, 10, 0)}}, RECHAZADO),
        ("en-flujo-miembro", {"miembros": [*pares, (20, COMUN[10])]}, {"cambios": {4: (2, 20, 0)}}, RECHAZADO),
        ("miembro-referencia", {"miembros": con(4, "19 0 R")}, {"objetos": {19: "[10 0 R]"}}, RECHAZADO),
        ("largo-falso", {"largo": 20}, {}, REHECHO), ("largo-ninguno", {"largo": "null"}, {}, REHECHO),
        ("stream-pegado", {"marcas": ("\nstream", "\nendstream")}, {}, RECHAZADO),
    ):
        yield f"objstm-{nombre}", documento("miembros", contenedor=contenedor, **como), fin
    d = documento("miembros", objetos={10: flujo(TEXTO, largo="11 0 R"), 11: str(len(TEXTO))})
    yield "largo-aparte", d, FIRMADO
    yield "largo-falso-sin-uso", documento("miembros", objetos={13: flujo("10 EUR", largo=3)}), FIRMADO


def claves_dobles():
    pagina, raiz, arbol = PAGINA % "4 0 R", COMUN[1], COMUN[2]
    for nombre, num, cuerpo in (
        ("catalogo", 1, raiz.replace("/Names", "/Pages 16 0 R /Names")),
        ("pagina-escrita", 3, pagina.replace("/Contents", "/Content#73 8 0 R /Contents")),
        ("catalogo-formulario", 1, raiz.replace("/Names", "/AcroForm << /Fields [] >> /Names")),
        ("arbol", 2, arbol.replace("/Kids", "/Kids [9 0 R] /Kids")),
    ):
        for clase in ("tabla", "miembros"):
            yield f"doble-{nombre}-{clase}", documento(clase, objetos={num: cuerpo}), AMBIGUO
    yield "doble-fuente", documento(objetos={5: FUENTE.replace("/Type", "/BaseFont /Courier /Type")}), FIRMADO
    d = documento(extra="/Root 19 0 R", objetos={19: "<< /Type /Catalog /Pages 16 0 R >>"})
    yield "doble-root", d, AMBIGUO
    yield "sin-paginas", documento(objetos={2: ARBOL % ""}), ("rechazado", "SinPaginas")


def bomba(megas):
    """Deflates what it gets and many megabytes of blanks: one, again and again."""
    def codificar(principio):
        c = zlib.compressobj(9, zlib.DEFLATED, -15)
        trozo = b" " * 1000000
        cabeza = c.compress(principio) + c.flush(zlib.Z_FULL_FLUSH)
        uno = c.compress(trozo) + c.flush(zlib.Z_FULL_FLUSH)
        suma = zlib.adler32(principio)
        for _ in range(megas):
            suma = zlib.adler32(trozo, suma)
        return b"\x78\xda" + cabeza + uno * megas + c.flush(zlib.Z_FINISH) + suma.to_bytes(4, "big")
    return codificar


def formulario(cuantos, campo, objetos):
    """A form of many fields, objects 100 and on; `campo` is the text of one."""
    nums = range(100, 100 + cuantos)
    return documento(objetos={6: f"<< /Fields [{' '.join(f'{n} 0 R' for n in nums)}] >>",
                              **{n: campo for n in nums}, **objetos})


def hostiles():
    mil, millon, excesivo = 1000, 1000000, ("rechazado", "Excesivo")
    doble = {100 + i: f"<< /Type /Pages /Kids [{101 + i} 0 R {101 + i} 0 R] /Count 2 >>" for i in range(60)}
    hondo = {100 + i: ARBOL % f"{101 + i} 0 R" for i in range(20 * mil)}
    largo = "41" * 128 * mil
    seguidas = {11: (0, 0, 0), 15: (0, 0, 0)}
    for nombre, d, fin in (
        ("index-de-un-millon", documento("flujo", cambios=seguidas, index=f"[0 {millon}]", size=millon), IGUAL),
        ("tabla-de-dos-mil-millones", documento(repetidas="0 2147483647\n0000000000 65535 f \n"), IGUAL),
        ("n-de-dos-mil-millones", documento("miembros", contenedor={"n": 2 * mil * millon}), RECHAZADO),
        ("bomba", documento("miembros", contenedor={"codificar": bomba(300)}), excesivo),
        ("bomba-sin-uso", documento("flujo", despues=lambda d: d.objstm(15, [(30, "null")], codificar=bomba(100))),
         FIRMADO),
        ("bomba-xref", documento("flujo", codificar=bomba(300)), IGUAL),
        ("flujos-mutuos", documento("miembros", cambios={15: (2, 20, 0), 20: (2, 15, 0)}), RECHAZADO),
        ("arbol-hondo", documento(objetos={2: ARBOL % "100 0 R", **hondo, 100 + 20 * mil: COMUN[3]}), IGUAL),
        ("arbol-en-ciclo", documento(objetos={2: ARBOL % "16 0 R", 16: ARBOL % "2 0 R"}), RECHAZADO),
        ("arbol-que-se-dobla", documento(objetos={2: ARBOL % "100 0 R", **doble, 160: COMUN[3]}), IGUAL),
        ("campos-de-una-firma", formulario(8 * mil, "<< /FT /Sig /T (a) /V 30 0 R >>", {30: (
            f"<< /Reference [<< /TransformMethod /DocMDP /TransformParams << /P 1 >> >>] /Contents <{largo}> >>")}),
         ("rechazado", "Certificado")),
        ("nombres-heredados", formulario(2 * mil, "<< /T (a) >>", {
            6: "<< /Fields [30 0 R] >>",
            30: f"<< /FT /Sig /T ({largo}) /Kids [{' '.join(f'{n} 0 R' for n in range(100, 2100))}] >>"}), excesivo),
        ("referencias-repetidas", formulario(1, "<< /FT /Sig /T (a) /V 31 0 R >>", {
            30: f"({largo})", 31: f"<< /Reference [{'30 0 R ' * mil}] >>"}), excesivo),
        ("largo-que-es-el-flujo", documento("miembros", contenedor={"largo": "15 0 R"}), IGUAL),
    ):
        yield nombre, d, (*fin, *("-", "-", "hostil")[len(fin) - 1:])


FAMILIAS = {f.__name__: f for f in (disfraces, nulos, hibridas, cadenas, principios_y_finales, tablas,
                                    secciones_de_flujo, flujos_de_objetos, claves_dobles, hostiles)}


def principal(carpeta, familias):
    for familia in familias or FAMILIAS:
        for nombre, d, fin in FAMILIAS[familia]():
            with open(os.path.join(carpeta, nombre + ".pdf"), "xb") as f:
                f.write(getattr(d, "b", d))
            print("\t".join([nombre, *fin, *("-", "-", "-")[len(fin) - 1:]]))


if __name__ == "__main__":
    principal(sys.argv[1], sys.argv[2:])
