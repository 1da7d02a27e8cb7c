#!/usr/bin/python3
"""comparar.py AYUDANTE_PDF FILE...: compares what the program ayudante_pdf says of documents with what qpdf says: for
every object where it stands and its value, the pages, the keys of the trailer. Prints what differs, one line each, and
what isn't compared: documents that are refused, or damaged. Exits with 1 when anything differs."""

import decimal
import json
import re
import subprocess
import sys

PDFDOC = dict(zip([*range(0x18, 0x20), *range(0x80, 0xA1)],
                  "˘ˇˆ˙˝˛˚˜•†‡…—–ƒ⁄‹›−‰„“”‘’‚™ﬁﬂŁŒŠŸŽıłœšž\ufffd€"))
ESCAPES = dict(zip(b"nrtbf", b"\n\r\t\b\f"))
REGULAR = rb"[^\0\t\n\f\r ()<>[\]{}/%]"
TOKEN = re.compile(rb"(?:[\0\t\n\f\r ]|%[^\r\n]*)*(<<|>>|[][()<]|/" + REGULAR + rb"*|" + REGULAR + rb"+|.)", re.S)
LITERAL = re.compile(rb"\\([0-7]{1,3}|\r\n|.)|\r\n?|([()])|[^\\()\r]+", re.S)


def nombre(crudo):
    return re.sub(rb"#([0-9A-Fa-f]{2})", lambda m: bytes([int(m[1], 16)]), crudo).decode("latin-1")


class Lector:
    """Values of PDF syntax as Python's: strings are bytes, names begin with "/", references are tuples."""

    def __init__(self, datos):
        self.datos, self.pos = datos, 0

    def token(self):
        m = TOKEN.match(self.datos, self.pos)
        self.pos = m.end() if m else len(self.datos)
        return m[1] if m else None

    def literal(self):
        salida, nivel = b"", 1
        while nivel and self.pos < len(self.datos):
            m = LITERAL.match(self.datos, self.pos)
            self.pos = m.end()
            if m[1] is not None:
                c = m[1]
                salida += (bytes([int(c, 8) % 256]) if c[:1].isdigit() and c[0] < 0x38 else
                           b"" if c[0] in b"\r\n" else bytes([ESCAPES.get(c[0], c[0])]))
                continue
            nivel += {b"(": 1, b")": -1}.get(m[2], 0)
            salida += b"\n" if m[0][:1] == b"\r" else m[0] if nivel else b""
        return salida

    def lista(self, cierre):
        valores = []
        while (t := self.token()) not in (cierre, None):
            if t == b"R" and len(valores) > 1:
                valores[-2:] = [tuple(map(int, valores[-2:]))]
            else:
                valores.append(self.valor(t))
        return valores

    def valor(self, t):
        if t == b"<<":
            v = self.lista(b">>")
            return limpio(dict(zip(v[::2], v[1::2])))
        if t == b"[":
            return self.lista(b"]")
        if t == b"(":
            return self.literal()
        if t == b"<":
            fin = self.datos.index(b">", self.pos)
            cifras = re.sub(rb"[^0-9A-Fa-f]", b"", self.datos[self.pos:fin]).decode()
            self.pos = fin + 1
            return bytes.fromhex(cifras + "0" * (len(cifras) % 2))
        if t[:1] == b"/":
            return nombre(t)
        if t in (b"null", b"true", b"false"):
            return {b"null": None, b"true": True, b"false": False}[t]
        try:
            return decimal.Decimal(t.decode("latin-1"))
        except decimal.InvalidOperation:
            return "?" + t.decode("latin-1")

    def todo(self):
        v = self.lista(None)
        return v[0] if len(v) == 1 else v


def limpio(d):
    return {k: v for k, v in d.items() if v is not None}


def texto(crudo):
    for marca, juego in ((b"\xfe\xff", "utf-16-be"), (b"\xff\xfe", "utf-16-le"), (b"\xef\xbb\xbf", "utf-8")):
        if crudo.startswith(marca):
            return crudo[len(marca):].decode(juego, "ignore")
    return "".join(PDFDOC.get(c, chr(c)) for c in crudo)


def igual(nuestro, suyo, vivos):
    """`suyo` is a value of qpdf's JSON, its bytes read as Latin-1, since names needn't be UTF-8. Keys that lead to an
    object that doesn't live are left out there."""
    if isinstance(nuestro, dict):
        if not isinstance(suyo, dict):
            return False
        suyo = limpio(suyo)
        nuestro = {k: v for k, v in nuestro.items() if k in suyo or not isinstance(v, tuple) or v in vivos}
        return nuestro.keys() == suyo.keys() and all(igual(v, suyo[k], vivos) for k, v in nuestro.items())
    if isinstance(nuestro, list):
        return (isinstance(suyo, list) and len(nuestro) == len(suyo) and
                all(igual(a, b, vivos) for a, b in zip(nuestro, suyo)))
    if isinstance(nuestro, tuple):
        return suyo == "%d %d R" % nuestro or (suyo is None and nuestro not in vivos)
    if isinstance(nuestro, bytes):
        return suyo in ("u:" + texto(nuestro).encode().decode("latin-1"), "b:" + nuestro.hex())
    return nuestro == suyo and isinstance(nuestro, str) == isinstance(suyo, str)


def qpdf(*argumentos):
    r = subprocess.run(["qpdf", *argumentos], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120, check=False)
    return r.returncode, r.stdout


def de_qpdf(ruta):
    """Where each object stands, as pairs of its reference and (stream, offset or index); their values; the pages."""
    sitios = {}
    forma = r"(\d+)/(\d+): (?:uncompressed; offset = (\d+)|compressed; stream = (\d+), index = (\d+))"
    for entrada in re.findall(forma, qpdf("--show-xref", ruta)[1].decode()):
        num, gen, pos, flujo, indice = (int(x or 0) for x in entrada)
        if pos or flujo:
            sitios[num, gen] = (flujo, pos or indice)
    salida = re.sub(r"(?m)(\d\.)(,?)$", r"\g<1>0\2", qpdf("--json=2", "--json-key=qpdf", ruta)[1].decode("latin-1"))
    valores = json.loads(salida, parse_float=decimal.Decimal, parse_int=decimal.Decimal)["qpdf"][1]
    paginas = json.loads(qpdf("--json=2", "--json-key=pages", ruta)[1])["pages"]
    return sitios, valores, [p["object"] for p in paginas]


def comparar(ayudante, ruta):
    """What differs, a text for each, or None; and what was compared."""
    r = subprocess.run([ayudante, ruta], stdout=subprocess.PIPE, timeout=120, check=False)
    lineas = [linea.split(" ") for linea in r.stdout.decode().splitlines()]
    if r.returncode or ["reconstruido"] in lineas:
        return None, r.stdout[:60].decode().replace("\n", ", ")
    sitios, valores, paginas = de_qpdf(ruta)
    suyos = {k.removeprefix("obj:"): v.get("value", v.get("stream", {}).get("dict")) for k, v in valores.items()}
    vivos = {tuple(map(int, k.split()[:2])) for k, v in suyos.items() if k[0].isdigit() and v is not None}
    nuestras = [f"{p[1]} {p[2]} R" for p in lineas if p[0] == "pagina"]
    difiere = [] if nuestras == paginas else [f"paginas {nuestras}, segun qpdf {paginas}"]
    vistos = 0
    for num, gen, flujo, pos, hexa in (p[1:] for p in lineas if p[0] == "objeto"):
        sitio = sitios.pop((int(num), int(gen)), None)
        if sitio != (int(flujo), int(pos)):
            difiere.append(f"{num}: en {(flujo, pos)}, segun qpdf en {sitio}")
        nuestro = hexa if hexa == "ilegible" else Lector(bytes.fromhex(hexa)).todo()
        suyo = suyos.get(f"{num} {gen} R")
        tipos = [d.get("/Type") for d in (nuestro, suyo) if isinstance(d, dict)]
        # Some of these qpdf leaves out, and nobody has to find a cross-reference stream by its own entry.
        if (suyo is None and "/ObjStm" in tipos) or "/XRef" in tipos:
            continue
        vistos += 1
        if f"obj:{num} {gen} R" in valores and "stream" in valores[f"obj:{num} {gen} R"]:
            nuestro, suyo = ({k: v for k, v in d.items() if k != "/Length"} for d in (nuestro, suyo))
        if not igual(nuestro, suyo, vivos):
            difiere.append(f"{num}: {nuestro}, segun qpdf {suyo}")
    # Of a number used again it lists the old generation, too.
    nuestros = {int(p[1]) for p in lineas if p[0] == "objeto"}
    difiere += [f"{ref}: falta, segun qpdf en {sitio}" for ref, sitio in sitios.items() if ref[0] not in nuestros]
    trailer = next(Lector(b"<<" + bytes.fromhex(p[1]) + b">>").todo() for p in lineas if p[0] == "trailer")
    difiere += [f"{k}: {trailer[k]}, segun qpdf {suyos['trailer'].get(k)}" for k in ("/Root", "/Info", "/ID")
                if k in trailer and not igual(trailer[k], suyos["trailer"].get(k), vivos)]
    return difiere, f"{vistos} objetos, {len(paginas)} paginas"


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
