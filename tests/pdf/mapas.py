#!/usr/bin/python3
"""mapas.py FOLDER: writes sound documents whose objects stand wherever a document may keep them, some made by qpdf, and
prints a line for each: NAME <tab> REVISIONS, "kind:end" each from the oldest to the newest. Those called "roto" are
damaged: what is written of them is the kind of their only section."""

import os
import re
import subprocess
import sys

from armar import COMUN, FUENTE, PAGINA, Pdf, documento, flujo, revision
from documentos import hibrida

# Three levels of pages with inherited values, annotations, a form with kids, and every kind of value and spelling.
RICO = {
    2: "<< /Type /Pages /Count 4 /Kids [20 0 R 3 0 R % 9 0 R\n22 0 R] /MediaBox [0 0 595.5 842] >>",
    3: PAGINA.replace("/Parent", "/Annots [24 0 R << /Subtype /Text /Rect [1 2 3 4] >>] /Parent") % "4 0 R",
    6: "<</Fields[12 0 R 25 0 R]/DA(/Helv 0 Tf)>>",
    20: "<< /Type /Pages /Parent 2 0 R /Count 2 /Kids 21 0 R >>",
    21: "[23 0 R 26 0 R]",
    22: (PAGINA % "27 0 R").replace("/MediaBox [0 0 595 842]", ""),
    23: "<< /Type /Pages /Parent 20 0 R /Count 1 /Kids [28 0 R] >>",
    24: "<< /Type /Annot /Subtype /Widget /Rect [10 10 50 50] /Parent 25 0 R /P 3 0 R >>",
    25: "<< /FT /Btn /T <FEFF00E1> /Kids [24 0 R] /V /S#ed >>",
    26: PAGINA.replace("2 0 R", "20 0 R") % "10 0 R",
    27: flujo(TEXTO_LARGO := b"BT (9 0 obj [8 0 R] endobj) Tj ET\nendstream % no\n", largo="29 0 R"),
    28: PAGINA.replace("2 0 R", "23 0 R") % "[10 0 R 27 0 R]",
    29: str(len(TEXTO_LARGO)),
    30: "<< /Cadenas [(a\\(b\\)c\\\\ \\101\\7\\\nx\\r) (b(c)d) <48 6F6> () <>] /Numeros [-1 +2 .5 4. -.25 007] % >>\n"
        "/Sin#20blanco true /Nada null /Ref%\n31 0 R /Falta 99 0 R /Vacio <<>> /Lista [[] [null 1 0 R] /N/M] >>",
    31: "(\r\nlinea)",
    32: "null",
    33: "-17",
}


def rico(clase):
    """Of `miembros` most of what is rich lies in a second object stream."""
    fuera = RICO if clase != "miembros" else {n: RICO[n] for n in (2, 3, 6, 27)}
    dentro = [(n, c) for n, c in RICO.items() if n not in fuera]
    return documento(clase, objetos=fuera, extra="/Info 30 0 R /ID [<00> (b\\)c)]",
                     despues=dentro and (lambda d: d.objstm(18, dentro, dicc="/Extends 15 0 R")))


class Seguido(Pdf):
    """A finished document, to be continued."""

    def __init__(self, datos):
        super().__init__()
        self.b = bytearray(datos)
        self.seccion = int(datos[datos.rindex(b"startxref") + 9:].split()[0])
        self.mayor = max(map(int, re.findall(rb"/Size (\d+)", datos))) - 1
        self.fines = [len(datos)]

    def revisar(self, objetos, clase, **mas):
        revision(self, objetos, clase, self.mayor + 1, **mas)
        self.fines.append(len(self.b))
        return self


def generaciones():
    """A page freed, and its number used again with generation 1."""
    d = Seguido(rico("tabla").b)
    d.revisar({2: RICO[2].replace("4 /K", "3 /K").replace("22 0 R", "")}, "tabla",
              cambios={0: (0, 22, 65535), 22: (0, 0, 1)})
    d.obj(22, RICO[22], 1)
    d.revisar({2: RICO[2].replace("22 0 R", "22 1 R")}, "tabla")
    return d, ["tabla"] * 3


def de_qpdf(carpeta, *opciones):
    ruta, hecho = (os.path.join(carpeta, n) for n in ("rico-tabla.pdf", "hecho.pdf"))
    subprocess.run(["qpdf", *opciones, ruta, hecho], check=True)
    with open(hecho, "rb") as f:
        return Seguido(f.read())


def hechos_por_qpdf(carpeta):
    for nombre, clase, *opciones in (("clasico", "tabla", "--object-streams=disable"),
                                     ("miembros", "flujo", "--object-streams=generate"),
                                     ("lineal", "tabla", "--object-streams=disable", "--linearize"),
                                     ("lineal-miembros", "flujo", "--object-streams=generate", "--linearize")):
        yield f"qpdf-{nombre}", de_qpdf(carpeta, *opciones), [clase]
        d = de_qpdf(carpeta, *opciones)
        catalogo = re.search(rb"/Root (\d+ 0 R)", bytes(d.b))[1].decode()
        for n in range(2):
            nuevo = d.mayor + 1
            d.obj(nuevo, FUENTE) if clase == "tabla" or n else d.objstm(nuevo, [(nuevo + 1, "(nuevo)")])
            d.revisar({}, clase, raiz=catalogo)
        yield f"qpdf-{nombre}-cambiado", d, [clase] * 3


def documentos(carpeta):
    for clase in ("tabla", "flujo", "miembros"):
        suya = "tabla" if clase == "tabla" else "flujo"
        yield f"rico-{clase}", rico(clase), [suya]
        d = Seguido(rico(clase).b).revisar({31: "(otra)"}, suya).revisar({3: COMUN[3], 31: "/Otra"}, suya)
        yield f"rico-{clase}-cambiado", d, [suya] * 3
    yield "desplazado-tabla", documento(inicio="basura\r\n%PDF-1.5\n", base=8), ["tabla"]
    yield "generaciones", *generaciones()
    yield from hechos_por_qpdf(carpeta)
    h = hibrida(en_flujo=lambda d: d.objstm(15, [(4, "[10 0 R]"), (31, "(oculto)")]))
    yield "hibrida", h, ["hibrida"]
    yield "hibrida-cambiada", Seguido(h.b).revisar({5: FUENTE}, "tabla"), ["hibrida", "tabla"]
    for nombre, fin in (("crlf", b"\r\n"), ("cr", b"\r"), ("sin-fin", b"")):
        d = documento()
        d.b = d.b[:-1] + fin
        yield f"final-{nombre}", Seguido(d.b).revisar({5: FUENTE}, "tabla"), ["tabla"] * 2


def principal(carpeta):
    for nombre, d, clases in documentos(carpeta):
        with open(os.path.join(carpeta, nombre + ".pdf"), "xb") as f:
            f.write(d.b)
        print(nombre, " ".join(f"{c}:{f}" for c, f in zip(clases, getattr(d, "fines", [len(d.b)]), strict=True)),
              sep="\t", flush=True)


if __name__ == "__main__":
    principal(sys.argv[1])
