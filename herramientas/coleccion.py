#!/usr/bin/python3
"""coleccion.py FOLDER VELMORA_CLI [--literal OTHER_CLI] [--filtro REGEX] [--guardar FOLDER]: signs every PDF of a
folder with a throw-away identity, visibly on the first page, and says what other programs think of it.

Every result must be valid for pdfsig and cover the whole file; qpdf must not complain more than before, and text,
pages, attachments, form fields and earlier signatures must be what they were. Documents that pdfsig signs and the program
doesn't are listed with its reason. With --literal the output is compared with that of another build, byte by byte but
for what changes with the time and the key, /ID, /Info and other keys of the trailer.

Exits with 1 when anything deviates. Not a part of the tests: those bring their own documents."""

import argparse
import collections
import concurrent.futures
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

AQUI = os.path.dirname(os.path.abspath(__file__))
IDENTIDAD = os.path.join(AQUI, "identidad.sh")
Salida = collections.namedtuple("Salida", "codigo texto")
TARDE = Salida(124, "")


def ejecutar(*argumentos):
    try:
        r = subprocess.run(argumentos, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                           timeout=60, check=False)
    except subprocess.TimeoutExpired:
        return TARDE
    return Salida(r.returncode, r.stdout.decode("utf-8", "replace"))


def crear_identidad(carpeta):
    """The authority and identity of identidad.sh, its key also where pdfsig finds it."""
    subprocess.run(["bash", IDENTIDAD, carpeta], check=True, stdout=subprocess.DEVNULL)
    vacia = os.path.join(carpeta, "vacia")
    with open(vacia, "w", encoding="ascii") as f:
        f.write("\n")
    subprocess.run(["pk12util", "-i", f"{carpeta}/identidad.p12", "-d", f"sql:{carpeta}/nss", "-w", f"{carpeta}/clave",
                    "-k", vacia], check=True, stdout=subprocess.DEVNULL)


def gravedad(ruta):
    """What qpdf thinks: 0 nothing, 1 warnings, 2 errors."""
    return {0: 0, 3: 1}.get(ejecutar("qpdf", "--check", ruta).codigo, 2)


def firmas(ruta, nss):
    """A list of (field, state, whether it covers the file), in the file's order of fields."""
    lista = []
    for trozo in ejecutar("pdfsig", "-nssdir", f"sql:{nss}", ruta).texto.split("Signature #")[1:]:
        campo = re.search(r"Field Name: (.*)", trozo)
        estado = re.search(r"Signature Validation: (.*)", trozo)
        if estado:
            lista.append((campo.group(1) if campo else "", estado.group(1), "Total document signed" in trozo))
    return lista


def campos(ruta):
    """The fields of the form, each as text; None where qpdf can't tell."""
    s = ejecutar("qpdf", "--json", "--json-key=acroform", ruta)
    try:
        lista = json.loads(s.texto)["acroform"]["fields"]
    except (ValueError, KeyError, TypeError):
        return None
    sin = ("annotation", "object", "parent")
    return collections.Counter(
        (c["fieldtype"], json.dumps({k: v for k, v in c.items() if k not in sin}, sort_keys=True)) for c in lista)


def paginas(ruta):
    r = re.search(r"^Pages: +(\d+)", ejecutar("pdfinfo", ruta).texto, re.M)
    return int(r.group(1)) if r else None


def lineas(ruta):
    """In the order of the contents: a stamp that lies over a line would join it otherwise."""
    return collections.Counter(ejecutar("pdftotext", "-raw", ruta, "-").texto.splitlines())


def comparar(entrada, salida, nss):
    """What is wrong with a signed document: a list of sentences."""
    mal = []
    with open(entrada, "rb") as f, open(salida, "rb") as g:
        original = f.read()
        if g.read(len(original)) != original:
            mal.append("los bytes del original han cambiado")
    antes, despues = firmas(entrada, nss), firmas(salida, nss)
    validas = sum(e == "Signature is Valid." and total for _, e, total in despues)
    if validas != 1:
        mal.append(f"pdfsig: {validas} firmas validas de todo el documento; {despues}")
    estados = collections.Counter((campo, estado) for campo, estado, _ in despues)
    for campo, estado, _ in antes:
        if estado == "Signature is Valid." and not estados[campo, estado]:
            mal.append(f"pdfsig: la firma anterior {campo} ya no es valida")
    if len(despues) != len(antes) + 1:
        mal.append(f"pdfsig: habia {len(antes)} firmas y hay {len(despues)}")
    g1, g2 = gravedad(entrada), gravedad(salida)
    if g2 > g1:
        mal.append(f"qpdf --check: de {g1} a {g2}")
    falta = lineas(entrada) - lineas(salida)
    if falta:
        mal.append(f"pdftotext: faltan {sum(falta.values())} lineas, la primera {next(iter(falta))!r}")
    for que, mirar in (("paginas", paginas), ("adjuntos", lambda r: ejecutar("pdfdetach", "-list", r).texto)):
        a, b = mirar(entrada), mirar(salida)
        if a not in (b, None, ""):
            mal.append(f"{que}: {a!r} y {b!r}")
    a, b = campos(entrada), campos(salida)
    if a is not None and b is None:
        mal.append("qpdf ya no lee el formulario")
    elif a is not None:
        nuevos = b - a
        if a - b or [tipo for tipo, _ in nuevos.elements()] != ["/Sig"]:
            mal.append(f"campos: faltan {list((a - b).elements())[:3]}, hay de mas {list(nuevos.elements())[:3]}")
    return mal


def normal(original, firmado):
    """The update without what differs from run to run, and without the trailer's keys that builds carry differently."""
    cola = firmado[len(original):]
    cola = re.sub(rb"/M \(D:[^)]*\)", b"/M ()", cola)
    cola = re.sub(rb"/Contents <[0-9A-Fa-f]{1000,}>", lambda m: b"/Contents <%d>" % len(m.group()), cola)
    cola = re.sub(rb"Fecha: [-0-9: ]+UTC", b"Fecha", cola)
    cola = re.sub(rb"(/ByteRange \[\d+ \d+ \d+) \d+", rb"\1", cola)
    i = cola.rfind(b"trailer")
    if i < 0:
        return cola
    fin = cola.rindex(b"startxref")
    claves = [re.search(rb"/" + k + rb" [0-9 R]+", cola[i:fin]) for k in (b"Size", b"Root", b"Prev")]
    return cola[:i] + b" ".join(c.group().strip() if c else b"-" for c in claves) + cola[fin:]


class Juez:
    def __init__(self, opciones, carpeta):
        self.o, self.carpeta = opciones, carpeta
        self.id = os.path.join(carpeta, "identidad")
        self.nss = os.path.join(self.id, "nss")

    def firmar(self, programa, entrada, salida):
        s = ejecutar(programa, "firmar", "--pkcs12", f"{self.id}/identidad.p12", "--clave-desde", f"{self.id}/clave",
                     "--salida", salida, "--json", entrada)
        try:
            return json.loads(s.texto)["documentos"][0]
        except (ValueError, KeyError, IndexError):
            return {"firmado": False, "error": f"velmora-cli acaba con {s.codigo}", "motivo": "(fallo)"}

    def mirar(self, numero, ruta):
        """(outcome, what our program says, whether pdfsig signs it, deviations, comparison with the other build)"""
        en = [os.path.join(self.carpeta, f"{numero}-{quien}.pdf") for quien in ("nuestra", "pdfsig", "otra")]
        r = self.firmar(self.o.cli, ruta, en[0])
        ajeno = ejecutar("pdfsig", "-nssdir", f"sql:{self.nss}", "-add-signature", "-nick", "Firmante", ruta, en[1])
        pdfsig = ajeno.codigo == 0 and any(e == "Signature is Valid." and t for _, e, t in firmas(en[1], self.nss))
        mal, literal = [], ""
        if r["firmado"]:
            mal = comparar(ruta, en[0], self.nss)
        elif os.path.exists(en[0]):
            mal = ["rechazado, pero hay salida"]
        if self.o.literal:
            literal = self.literal(ruta, r, *en[::2])
        if self.o.guardar and r["firmado"]:
            shutil.copy(en[0], os.path.join(self.o.guardar, self.nombre(ruta).replace("/", "__")))
        for fichero in en:
            if os.path.exists(fichero):
                os.remove(fichero)
        return r, pdfsig, mal, literal

    def literal(self, ruta, nuestra, salida, otra):
        r = self.firmar(self.o.literal, ruta, otra)
        if not r["firmado"]:
            return "solo nosotros" if nuestra["firmado"] else "ninguno"
        if not nuestra["firmado"]:
            return f"solo el otro: {nuestra['error']}"
        with open(ruta, "rb") as f, open(salida, "rb") as g, open(otra, "rb") as h:
            original = f.read()
            a, b = normal(original, g.read()), normal(original, h.read())
        if a == b:
            return "iguales"
        if (b"/Type /XRef" in a) != (b"/Type /XRef" in b):
            return "seccion de otra clase"
        i = next((i for i, (x, y) in enumerate(zip(a, b)) if x != y), min(len(a), len(b)))
        return f"distintos: {a[max(0, i - 40):i + 60]!r} frente a {b[max(0, i - 40):i + 60]!r}"

    def nombre(self, ruta):
        return os.path.relpath(ruta, self.o.carpeta)


def mostrar_cuenta(titulo, cuenta):
    print(f"\n{titulo}")
    for que, n in cuenta.most_common():
        print(f"  {n:5} {que}")


def informar(juez, rutas, todos):
    sellados = [(juez.nombre(r), *t) for r, t in zip(rutas, todos)]
    nuestros, suyos = [t[0]["firmado"] for t in todos], [t[1] for t in todos]
    print(f"{len(rutas)} documentos; firmados {sum(nuestros)}, por pdfsig {sum(suyos)}, por los dos "
          f"{sum(a and b for a, b in zip(nuestros, suyos))}")
    mostrar_cuenta("Rechazados, por motivo", collections.Counter(
        t[0].get("motivo") or t[0]["error"] for t in todos if not t[0]["firmado"]))
    mostrar_cuenta("Avisos", collections.Counter(
        a.get("motivo") for t in todos for a in t[0].get("avisos", [])))
    print("\nLos que pdfsig firma y nosotros no")
    for nombre, r, pdfsig, _, _ in sellados:
        if pdfsig and not r["firmado"]:
            print(f"  {nombre}: {r.get('motivo', '')} {r['error']}")
    print("\nLo que no es como debe")
    malos = [(nombre, frase) for nombre, _, _, mal, _ in sellados for frase in mal]
    for nombre, frase in malos:
        print(f"  {nombre}: {frase}")
    if juez.o.literal:
        mostrar_cuenta("Frente al otro programa", collections.Counter(t[3].split(":")[0] for t in todos))
        distintos = [(nombre, literal) for nombre, *_, literal in sellados if ":" in literal]
        for nombre, literal in distintos:
            print(f"  {nombre}: {literal}")
        malos += distintos
    return 1 if malos else 0


def principal():
    p = argparse.ArgumentParser()
    p.add_argument("carpeta")
    p.add_argument("cli")
    p.add_argument("--literal")
    p.add_argument("--filtro", default="")
    p.add_argument("--guardar")
    opciones = p.parse_args()
    rutas = sorted(os.path.join(c, f) for c, _, fs in os.walk(opciones.carpeta) for f in fs
                   if f.lower().endswith(".pdf") and re.search(opciones.filtro, os.path.join(c, f)))
    with tempfile.TemporaryDirectory() as carpeta:
        juez = Juez(opciones, carpeta)
        os.mkdir(juez.id, 0o700)
        crear_identidad(juez.id)
        with concurrent.futures.ThreadPoolExecutor(max_workers=2) as hilos:
            todos = list(hilos.map(juez.mirar, range(len(rutas)), rutas))
        return informar(juez, rutas, todos)


if __name__ == "__main__":
    sys.exit(principal())
