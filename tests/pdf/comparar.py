#!/usr/bin/python3
"""comparar.py AYUDANTE_PDF FILE...: compares what the program ayudante_pdf says of documents with what qpdf says: for
every object where it stands and its value, the pages, the keys of the trailer. Values are compared as qpdf reads them,
once in the document and once in a plain one that holds what the program gave. Prints what differs, one line each, and
what isn't compared: documents that are refused, or damaged. Exits with 1 when anything differs."""

import json
import re
import subprocess
import sys
import tempfile

from armar import Pdf


def qpdf(*argumentos):
    r = subprocess.run(["qpdf", *argumentos], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, check=False)
    return r.returncode, r.stdout.decode("latin-1")


def valores_de(ruta):
    """What qpdf says of a file, 0 when it has no complaint, and its values by "obj:1 0 R" or "trailer". Of a stream the
    dictionary counts, whose length may stand elsewhere. Names needn't be UTF-8."""
    codigo, salida = qpdf("--json=2", "--json-key=qpdf", ruta)
    objetos = json.loads(re.sub(r"(?m)(\d\.)(,?)$", r"\g<1>0\2", salida), parse_float=str)["qpdf"][1]
    return codigo, {k: v.get("value", v.get("stream", {}).get("dict")) for k, v in objetos.items()}


def sitios_de(ruta):
    """Pairs of a stream, or 0, and an offset or index."""
    sitios = {}
    forma = r"(\d+)/(\d+): (?:uncompressed; offset = (\d+)|compressed; stream = (\d+), index = (\d+))"
    for entrada in re.findall(forma, qpdf("--show-xref", ruta)[1]):
        num, gen, pos, flujo, indice = (int(x or 0) for x in entrada)
        if pos or flujo:
            sitios[num, gen] = (flujo, pos or indice)
    return sitios


def nuestros_de(objetos, trailer, raiz):
    """The same as valores_de() of the objects and, as one more object, the trailer that the program gave."""
    d = Pdf()
    for num, gen, _, _, hexa in objetos:
        d.obj(int(num), b"(ilegible)" if hexa == "ilegible" else bytes.fromhex(hexa), int(gen))
    d.obj(d.mayor + 1, b"<<" + bytes.fromhex(trailer) + b">>")
    d.tabla(raiz=raiz)
    with tempfile.NamedTemporaryFile(suffix=".pdf") as f:
        f.write(d.b)
        f.flush()
        codigo, valores = valores_de(f.name)
    return codigo, valores, valores[f"obj:{d.mayor} 0 R"]


def sin_largo(v):
    return {k: w for k, w in v.items() if k != "/Length"} if isinstance(v, dict) else v


def comparar(ayudante, ruta):
    """What differs, a text for each, or None; and what was compared."""
    r = subprocess.run([ayudante, ruta], stdout=subprocess.PIPE, timeout=120, check=False)
    lineas = [linea.split(" ") for linea in r.stdout.decode().splitlines()]
    if r.returncode or ["reconstruido"] in lineas:
        return None, r.stdout[:60].decode().replace("\n", ", ")
    codigo, suyos = valores_de(ruta)
    objetos = [p[1:] for p in lineas if p[0] == "objeto"]
    trailer = next(p[1] for p in lineas if p[0] == "trailer")
    codigo_nuestro, nuestros, trailer = nuestros_de(objetos, trailer, suyos["trailer"]["/Root"])
    paginas = [p["object"] for p in json.loads(qpdf("--json=2", "--json-key=pages", ruta)[1])["pages"]]
    nuestras = [f"{p[1]} {p[2]} R" for p in lineas if p[0] == "pagina"]
    difiere = [] if nuestras == paginas else [f"paginas {nuestras}, segun qpdf {paginas}"]
    if codigo_nuestro and not codigo:
        difiere.append("qpdf no lee bien los objetos sueltos")
    sitios = sitios_de(ruta)
    for num, gen, flujo, pos, _ in objetos:
        sitio = sitios.pop((int(num), int(gen)), None)
        if sitio != (int(flujo), int(pos)):
            difiere.append(f"{num}: en {(flujo, pos)}, segun qpdf en {sitio}")
        nuestro, suyo = (v.get(f"obj:{num} {gen} R") for v in (nuestros, suyos))
        tipo = nuestro.get("/Type") if isinstance(nuestro, dict) else None
        # Some of these qpdf leaves out, and nobody has to find a cross-reference stream by its own entry.
        if (suyo is None and tipo == "/ObjStm") or tipo == "/XRef":
            continue
        if sin_largo(nuestro) != sin_largo(suyo):
            difiere.append(f"{num}: {nuestro}, segun qpdf {suyo}")
    # Of a number used again it lists the old generation, too.
    vistos = {int(p[0]) for p in objetos}
    difiere += [f"{ref}: falta, segun qpdf en {sitio}" for ref, sitio in sitios.items() if ref[0] not in vistos]
    difiere += [f"{k}: {trailer.get(k)}, segun qpdf {suyos['trailer'].get(k)}" for k in ("/Root", "/Info", "/ID")
                if k in trailer and trailer[k] != suyos["trailer"].get(k)]
    return difiere, f"{len(vistos)} objetos, {len(paginas)} paginas"


def main():
    distintos = 0
    for ruta in sys.argv[2:]:
        difiere, nota = comparar(sys.argv[1], ruta)
        distintos += bool(difiere)
        print(f"{ruta}\t{'no comparado' if difiere is None else 'distinto' if difiere else 'igual'}\t{nota}")
        for linea in difiere or []:
            print(f"\t{linea[:400]}")
    return 1 if distintos else 0


if __name__ == "__main__":
    sys.exit(main())
