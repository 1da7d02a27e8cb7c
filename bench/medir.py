#!/usr/bin/env python3
"""Measures whole runs of velmora-cli beside other programs on the same files, in the same run, and prints a table.

    bench/medir.py [--vueltas N] [--carpeta FOLDER] [--sin-construir] [--otra PROGRAM] [--documentos FOLDER]
                   [MEASUREMENT...]

MEASUREMENT: sha grande objetos memoria rechazos texto paginas hostiles coleccion; all of them when none is named. Times
are medians of N (7 unless told) by the clock, the candidates taken in turn, files in the page cache. Peak memory is
ru_maxrss of the process or of its largest child, as wait4 gives it; it is never below this script's own, 20 to 35 MB.
MB is 1,000,000 bytes. PROGRAM is another velmora-cli to measure beside this one; coleccion signs what both can sign of
the PDF files under FOLDER."""

import argparse
import json
import os
import random
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from contextlib import nullcontext
from pathlib import Path
from typing import NamedTuple

import generar

RAIZ = Path(__file__).resolve().parent.parent
BIN = RAIZ / "build" / "release" / "bin"
MB = 1_000_000


class Medida(NamedTuple):
    segundos: float  # by the clock
    cpu: float       # user and system seconds, children included
    memoria: int     # peak bytes
    estado: int
    disco: float = 0.0  # seconds of waiting for the disk, which `segundos` leaves out


class Taller:
    """The folder of one run with its throw-away identity, and the ways to run things in it."""

    def __init__(self, carpeta, a):
        self.carpeta, self.vueltas, self.filas = Path(carpeta), a.vueltas, []
        self.otra, self.documentos = a.otra, a.documentos
        subprocess.run([RAIZ / "herramientas" / "identidad.sh", carpeta], check=True)
        subprocess.run(["pk12util", "-i", "identidad.p12", "-d", "sql:nss", "-w", "clave"], cwd=carpeta, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def fila(self, que, medido, meta="", cumple=None):
        self.filas.append((que, medido, meta, {None: "", True: "met", False: "MISSED"}[cumple]))
        print(f"  {que}: {medido}", flush=True)

    def entrada(self, nombre, clase, numero):
        """Made by a process of its own: the memory of this one counts in that of all that it starts."""
        ruta = self.carpeta / nombre
        if not ruta.exists():
            subprocess.run([sys.executable, RAIZ / "bench" / "generar.py", clase, ruta, str(numero)], check=True)
        return ruta

    def orden(self, entrada, salida, sello="primera", programa=None):
        return [*self.identidad(programa), "--sello", sello, "--salida", salida, entrada]

    def identidad(self, programa=None):
        return [programa or BIN / "velmora-cli", "firmar", "--json", "--pkcs12", self.carpeta / "identidad.p12",
                "--clave-desde", self.carpeta / "clave"]

    def firmar(self, entrada, sello="primera", entorno=None, programa=None, prefijo=()):
        """One signature; the output is checked to be there and is removed."""
        salida = self.carpeta / "salida.pdf"
        salida.unlink(missing_ok=True)
        m = medir([*prefijo, *self.orden(entrada, salida, sello, programa)], self.carpeta, entorno)
        if m.estado != 0 or not salida.exists():
            sys.exit(f"velmora-cli did not sign {entrada.name} (status {m.estado}):\n{leer(self.carpeta / 'errores')}")
        salida.unlink()
        return m

    def sin_disco(self, funcion, entorno=os.environ):
        """What `funcion` measures in the environment that it gets, with what passes in fsync and its like apart."""
        registro = self.carpeta / "disco"
        registro.write_text("")
        biblioteca = compilar(self, "disco.cpp", "disco.so", "-shared", "-fPIC")
        m = funcion(dict(entorno, LD_PRELOAD=str(biblioteca), MEDIR_DISCO=str(registro)))
        disco = dentro_de(registro)[0]
        return m._replace(segundos=m.segundos - disco, disco=disco)

    def firmar_sin_disco(self, entrada, programa=None, prefijo=()):
        return self.sin_disco(lambda e: self.firmar(entrada, entorno=e, programa=programa, prefijo=prefijo))


def leer(ruta):
    return Path(ruta).read_text(encoding="utf-8", errors="replace")


def medir(orden, carpeta, entorno=None, entrada=None, salida=None):
    """One process with all its children."""
    with open(entrada or os.devnull, "rb") as e, open(salida or Path(carpeta) / "palabras", "wb") as s, \
            open(Path(carpeta) / "errores", "wb") as err:
        inicio = time.perf_counter()
        p = subprocess.Popen([str(x) for x in orden], stdin=e, stdout=s, stderr=err, env=entorno)
        _, estado, uso = os.wait4(p.pid, 0)
        segundos = time.perf_counter() - inicio
    p.returncode = os.waitstatus_to_exitcode(estado)
    return Medida(segundos, uso.ru_utime + uso.ru_stime, uso.ru_maxrss * 1024, p.returncode)


UN_NUCLEO = ("taskset", "-c", "0")


def suelo(t, entrada, prefijo=()):
    """A copy of the file and three hashes of it by openssl, one after the other: what reading, writing and checking
    cost by themselves."""
    copia = t.carpeta / "copia"
    copia.unlink(missing_ok=True)
    partes = [medir([*prefijo, "cat"], t.carpeta, entrada=entrada, salida=copia)]
    partes += [medir([*prefijo, "openssl", "dgst", "-sha256", entrada], t.carpeta) for _ in range(3)]
    copia.unlink()
    return Medida(sum(p.segundos for p in partes), sum(p.cpu for p in partes), max(p.memoria for p in partes), 0)


def con_pdfsig(t, entrada):
    """The same by another signer, which keeps its keys in a database of its own; None when it can't."""
    salida = t.carpeta / "ajena.pdf"
    salida.unlink(missing_ok=True)
    m = medir(["pdfsig", "-nssdir", f"sql:{t.carpeta}/nss", entrada, salida, "-add-signature", "-nick", "Firmante"],
              t.carpeta)
    if not salida.exists():
        return None
    salida.unlink()
    return m


def medianas(medidas):
    return statistics.median(m.segundos for m in medidas), statistics.median(m.cpu for m in medidas)


def por_turnos(t, entrada, candidatos):
    """The measures of each candidate, taken in turn, each turn in an order of its own; the first warms up and doesn't
    count. What a virtual machine gave back to its host is dear to get again: each candidate finds memory at hand."""
    hechas = {nombre: [] for nombre in candidatos}
    for vuelta in range(t.vueltas + 1):
        for nombre in random.Random(vuelta).sample(sorted(candidatos), len(candidatos)):
            subprocess.run([sys.executable, "-c", "b'1' * 400_000_000"], check=True)
            m = candidatos[nombre](t, entrada)
            if vuelta > 0 and m is not None:
                hechas[nombre].append(m)
    return {nombre: medidas for nombre, medidas in hechas.items() if medidas}


def contra_el_suelo(t, que, hechas, piso, parejas):
    """A row for each candidate beside the floor `piso`, and one for each pair: candidate, its own floor, limit, aim."""
    base = medianas(hechas[piso])[0]
    for nombre, medidas in hechas.items():
        reloj, cpu = medianas(medidas)
        disco = statistics.median(m.disco for m in medidas)
        t.fila(f"{que}: {nombre}", f"{reloj:.3f} s, {cpu:.3f} s of processor; {reloj / base:.2f} of the floor"
               + (f"; {disco:.3f} s of fsync apart" if disco > 0 else ""))
    for nombre, suyo, tope, meta in parejas:
        (reloj, cpu), (base, cpu_base) = medianas(hechas[nombre]), medianas(hechas[suyo])
        razones = sorted(m.segundos / p.segundos for m, p in zip(hechas[nombre], hechas[suyo]))
        t.fila(f"{que}: {nombre} / {suyo}", f"{reloj / base:.2f}, by turns {razones[0]:.2f} to {razones[-1]:.2f}; of "
               f"processor {cpu / cpu_base:.2f}", f"<= {tope}{meta}", reloj / base <= tope)


def medir_grande(t):
    entrada = t.entrada("grande.pdf", "grande", 100 * MB)
    candidatos = {"floor": suelo, "sign": Taller.firmar_sin_disco,
                  "floor on one core": lambda t, e: suelo(t, e, UN_NUCLEO),
                  "sign on one core": lambda t, e: t.firmar_sin_disco(e, prefijo=UN_NUCLEO)}
    if t.otra:
        candidatos["sign by the other"] = lambda t, e: t.firmar_sin_disco(e, t.otra)
    candidatos["pdfsig -add-signature"] = con_pdfsig
    contra_el_suelo(t, "100 MB", por_turnos(t, entrada, candidatos), "floor",
                    [("sign", "floor", 0.5, " (aim 0.4)"), ("sign on one core", "floor on one core", 0.75, "")])


def medir_objetos(t):
    entrada = t.entrada("objetos.pdf", "objetos", 200_000)
    subprocess.run(["qpdf", "--check", entrada], check=True, stdout=subprocess.DEVNULL)
    hechas = por_turnos(t, entrada, {"floor": suelo, "sign": Taller.firmar_sin_disco,
                                     "pdfsig -add-signature": con_pdfsig})
    contra_el_suelo(t, "200,000 objects", hechas, "floor", [("sign", "floor", 1.15, "")])
    memoria = max(m.memoria for m in hechas["sign"]) / MB
    t.fila("200,000 objects: peak memory", f"{memoria:.1f} MB", "<= 120 MB", memoria <= 120)


def hay_sitio(t, que, largo):
    """Whether the disk takes a copy of `largo` bytes and leaves room for others."""
    libre = shutil.disk_usage(t.carpeta).free
    if libre < largo + 5000 * MB:
        t.fila(que, f"left out: {libre / MB:.0f} MB free on the disk")
    return libre >= largo + 5000 * MB


def medir_memoria(t):
    for millones, clase in ((100, "grande"), (5000, "hueca")):
        que = f"{millones} MB: peak memory"
        if not hay_sitio(t, que, millones * MB):
            continue
        entrada = t.entrada("grande.pdf" if millones == 100 else "hueca.pdf", clase, millones * MB)
        hechas = [t.firmar_sin_disco(entrada) for _ in range(3 if millones == 100 else 1)]
        memoria = max(m.memoria for m in hechas) / MB
        t.fila(que, f"{memoria:.1f} MB, in {hechas[0].segundos:.1f} s; {hechas[0].disco:.1f} s of fsync apart",
               "<= 48 MB", memoria <= 48)


def rechazables(t):
    """Name and path of large files that nobody can sign; each is gone when the next is asked for."""
    def con(nombre, largo, principio=b""):
        ruta = t.carpeta / "rechazo.pdf"
        with open(ruta, "wb") as f:
            f.write(principio + os.urandom(generar.TROZO))
            f.truncate(largo - generar.TROZO)
            f.seek(0, os.SEEK_END)
            f.write(os.urandom(generar.TROZO))
        yield nombre, ruta
        ruta.unlink()
    yield from con("2 GB, not a PDF", 2000 * MB)
    yield from con("2 GB without startxref", 2000 * MB, b"%PDF-1.4\n")
    entrada = t.entrada("excesiva.pdf", "hueca", 9001 * MB)
    yield "9001 MB", entrada
    entrada.unlink()


def medir_rechazos(t):
    salida = t.carpeta / "salida.pdf"
    for nombre, entrada in rechazables(t):
        medidas = [medir(["timeout", "100", *t.orden(entrada, salida)], t.carpeta) for _ in range(3)]
        documento = json.loads(leer(t.carpeta / "palabras") or '{"documentos":[{}]}')["documentos"][0]
        reloj, memoria = medianas(medidas)[0], max(m.memoria for m in medidas) / MB
        rechazada = medidas[0].estado == 1 and documento.get("error") and not salida.exists()
        t.fila(f"{nombre}: refused", f"{reloj:.3f} s, {memoria:.1f} MB: {documento.get('motivo')}, "
               f"{documento.get('error')!r}", "< 0.5 s, <= 48 MB", rechazada and reloj < 0.5 and memoria <= 48)
        salida.unlink(missing_ok=True)


def firmar_todos(t, programa, documentos):
    """Seconds, those in fsync apart, and which were signed, of a program that gets the documents by the hundred."""
    salidas, segundos, disco, firmados = t.carpeta / "firmados", 0.0, 0.0, set()
    for i in range(0, len(documentos), 100):
        salidas.mkdir()
        orden = [*t.identidad(programa), "--directorio", salidas, "--", *documentos[i:i + 100]]
        m = t.sin_disco(lambda e, orden=orden: medir(orden, t.carpeta, e))
        segundos, disco = segundos + m.segundos, disco + m.disco
        firmados |= {Path(d["entrada"]) for d in json.loads(leer(t.carpeta / "palabras"))["documentos"] if d["firmado"]}
        shutil.rmtree(salidas)
    return segundos, disco, firmados


def medir_coleccion(t):
    if not (t.otra and t.documentos):
        t.fila("a collection of documents", "left out: it needs --otra and --documentos")
        return
    documentos = sorted(t.documentos.rglob("*.pdf"))
    suyos, propios = firmar_todos(t, t.otra, documentos)[2], firmar_todos(t, None, documentos)[2]
    comunes = sorted(suyos & propios)
    t.fila(f"{len(documentos)} documents", f"signed {len(propios)}; by the other {len(suyos)}, by both {len(comunes)}")
    propio, suyo = [], []
    for _ in range(t.vueltas):
        suyo.append(firmar_todos(t, t.otra, comunes)[:2])
        propio.append(firmar_todos(t, None, comunes)[:2])
    (a, disco), (b, otro) = ([statistics.median(x) for x in zip(*medidas)] for medidas in (propio, suyo))
    t.fila("documents signed by both: this one / the other", f"{a:.2f} s / {b:.2f} s = {a / b:.3f}; in fsync "
           f"{disco:.2f} s and {otro:.2f} s", "<= 1", a <= b)
    for d in sorted(suyos - propios):
        print(f"  not signed any more: {d}")


def compilar(t, fuente, nombre, *opciones):
    """A program or library of this folder, built once."""
    hecho = t.carpeta / nombre
    if not hecho.exists():
        subprocess.run(["g++", "-std=c++20", "-O2", *opciones, "-o", hecho, RAIZ / "bench" / fuente], check=True)
    return hecho


def cronometro(t):
    """An environment whose openssl is a stand-in that times the real one."""
    carpeta = t.carpeta / "cronometro"
    carpeta.mkdir(exist_ok=True)
    compilar(t, "cronometro.cpp", "cronometro/openssl", "-static")
    return dict(os.environ, PATH=f"{carpeta}:{os.environ['PATH']}", MEDIR_OPENSSL=shutil.which("openssl"),
                MEDIR_REGISTRO=str(t.carpeta / "registro"))


def dentro_de(registro):
    """Seconds that something in the record was going on, and how many things."""
    tramos = sorted(tuple(map(int, linea.split())) for linea in leer(registro).splitlines())
    total, hasta = 0, 0
    for inicio, fin in tramos:
        total += max(0, fin - max(inicio, hasta))
        hasta = max(hasta, fin)
    return total / 1e9, len(tramos)


def milis(segundos):
    return f"{1000 * statistics.median(segundos):.1f} ms, least {1000 * min(segundos):.1f}"


def coste_del_cronometro(t, entorno):
    """Seconds that one stand-in adds around the real openssl."""
    registro = t.carpeta / "registro"
    costes = []
    for _ in range(3 * t.vueltas):
        registro.unlink(missing_ok=True)
        m = medir([t.carpeta / "cronometro" / "openssl", "version"], t.carpeta, entorno)
        costes.append(m.segundos - dentro_de(registro)[0])
    return statistics.median(costes)


def medir_texto(t):
    """What passes outside openssl is an upper bound: shells count as ours, and so do the stand-ins' own starts."""
    entrada = t.entrada("texto.pdf", "texto", 50_000)
    entorno, registro = cronometro(t), t.carpeta / "registro"
    t.firmar(entrada)
    enteros, propios, suyos, discos, cuantos = [], [], [], [], 0
    for _ in range(3 * t.vueltas):
        enteros.append(t.firmar(entrada).segundos)
        registro.unlink(missing_ok=True)
        m = t.sin_disco(lambda e: t.firmar(entrada, entorno=e), entorno)
        de_openssl, cuantos = dentro_de(registro)
        propios.append(m.segundos - de_openssl)
        suyos.append(de_openssl)
        discos.append(m.disco)
    propio, coste = statistics.median(propios), coste_del_cronometro(t, entorno)
    t.fila("50 kB: sign, whole", milis(enteros))
    t.fila(f"50 kB: inside the {cuantos} openssl processes", milis(suyos))
    t.fila("50 kB: in fsync", milis(discos))
    t.fila("50 kB: outside them (shells and stand-ins included)", milis(propios), "< 10 ms", propio < 0.010)
    t.fila("50 kB: of that, about, the stand-ins", f"{1000 * cuantos * coste:.1f} ms")
    ajenas = [m.segundos for m in (con_pdfsig(t, entrada) for _ in range(t.vueltas)) if m is not None]
    if ajenas:
        t.fila("50 kB: pdfsig -add-signature", milis(ajenas))


def medir_paginas(t):
    """Linear or not is read from processor time, the least of the runs: the clock's differences drown in noise."""
    cpu = {}
    for cuantas in (5_000, 10_000, 20_000):
        entrada = t.entrada(f"paginas{cuantas}.pdf", "paginas", cuantas)
        t.firmar(entrada, "todas")
        medidas = [t.firmar(entrada, "todas") for _ in range(t.vueltas)]
        cpu[cuantas] = min(m.cpu for m in medidas)
        t.fila(f"{cuantas} pages, {5 * cuantas} objects: stamp on every page",
               f"{medianas(medidas)[0]:.3f} s; least processor time {cpu[cuantas]:.3f} s")
    razon = (cpu[20_000] - cpu[10_000]) / max(cpu[10_000] - cpu[5_000], 1e-9)
    t.fila("pages: processor time of 10,000 more / of 5,000 more", f"{razon:.2f}", "2 when linear; <= 2.6", razon <= 2.6)


def medir_hostiles(t):
    """Each ends on its own, by a status of the program's and not by a signal, with a sentence or a signed file."""
    peor, mayor, faltas = 0.0, 0, 0
    for nombre, datos in generar.hostiles():
        entrada, salida = t.carpeta / "hostil.pdf", t.carpeta / "hostil_salida.pdf"
        entrada.write_bytes(datos)
        salida.unlink(missing_ok=True)
        m = medir(["timeout", "20", *t.orden(entrada, salida, "todas")], t.carpeta)
        segundos, estado = m.segundos, m.estado
        try:
            documento = json.loads(leer(t.carpeta / "palabras"))["documentos"][0]
        except (ValueError, LookupError):
            documento = {}
        palabras = "signed" if documento.get("firmado") else documento.get("error", "")
        bien = estado in (0, 1) and palabras != ""
        faltas += not (bien and segundos < 1)
        peor, mayor = max(peor, segundos), max(mayor, m.memoria)
        palabras = palabras or leer(t.carpeta / "errores")[-200:]
        print(f"  {nombre}: {segundos:.3f} s, {m.memoria / MB:.1f} MB, status {estado}: {palabras!r}", flush=True)
    t.fila("hostile inputs: the worst", f"{peor:.3f} s; {mayor / MB:.1f} MB; {faltas} without a clear end",
           "< 1 s, <= 64 MB, all clear", faltas == 0 and peor < 1 and mayor <= 64 * MB)


def velocidad_openssl(entorno):
    """Bytes per second on large blocks."""
    r = subprocess.run(["openssl", "speed", "-mr", "-seconds", "2", "-bytes", "1048576", "-evp", "sha256"], check=True,
                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, env=dict(os.environ, **entorno))
    return float(re.search(rb"^\+F:\d+:[^:]+:([0-9.e+]+)", r.stdout, re.MULTILINE)[1])


def medir_sha(t):
    # Bit 29 of the second word stands for the SHA extensions (OPENSSL_ia32cap(3)).
    con, sin = velocidad_openssl({}), velocidad_openssl({"OPENSSL_ia32cap": ":~0x20000000"})
    t.fila("SHA-256: openssl speed, all extensions", f"{con / 1e6:.0f} MB/s")
    t.fila("SHA-256: openssl speed, no SHA extensions", f"{sin / 1e6:.0f} MB/s")
    if not (BIN / "bench_crypto").exists():
        return
    r = subprocess.run([BIN / "bench_crypto", "--benchmark_filter=(Sha256|Comprimir).*/1048576", "--benchmark_format=json",
                        "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true"], stdout=subprocess.PIPE,
                       stderr=subprocess.DEVNULL, check=True)
    for b in json.loads(r.stdout)["benchmarks"]:
        if b.get("aggregate_name") == "median" and "bytes_per_second" in b:
            v = b["bytes_per_second"]
            t.fila(f"SHA-256: {b['run_name']}", f"{v / 1e6:.0f} MB/s, {v / con:.2f} of openssl, {v / sin:.2f} of it without SHA")


MEDIDAS = {"sha": medir_sha, "grande": medir_grande, "objetos": medir_objetos, "memoria": medir_memoria,
           "rechazos": medir_rechazos, "texto": medir_texto, "paginas": medir_paginas, "hostiles": medir_hostiles,
           "coleccion": medir_coleccion}


def construir():
    subprocess.run([RAIZ / "herramientas" / "instalar", "construir", "ejecutar", "medir"], check=True)
    for orden in (["cmake", "--preset", "release"], ["cmake", "--build", "--preset", "release"]):
        subprocess.run(orden, cwd=RAIZ, check=True, stdout=subprocess.DEVNULL)


def tabla(filas):
    anchos = [max(len(f[i]) for f in filas) for i in range(4)]
    for f in filas:
        print("  ".join(x.ljust(a) for x, a in zip(f, anchos)).rstrip())


def correr(doc, medidas, vueltas, taller, rutas=()):
    """A script's command line: `taller(carpeta, a)` gives the context in which its measurements run. `rutas` are further
    options that name a path."""
    p = argparse.ArgumentParser(description=doc, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--vueltas", type=int, default=vueltas)
    p.add_argument("--carpeta", default=str(RAIZ / "build"))
    p.add_argument("--sin-construir", action="store_true")
    for nombre in rutas:
        p.add_argument(nombre, type=lambda ruta: Path(ruta).resolve(), help=rutas[nombre])
    p.add_argument("medidas", nargs="*", metavar="MEASUREMENT")
    a = p.parse_args()
    if not set(a.medidas) <= set(medidas):
        p.error("MEASUREMENT is one of: " + " ".join(medidas))
    if not a.sin_construir:
        construir()
    Path(a.carpeta).mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=a.carpeta) as carpeta, taller(carpeta, a) as t:
        print(f"{os.cpu_count()} cores, load {os.getloadavg()[0]:.1f}: figures taken on a busy machine mean little")
        for nombre in a.medidas or medidas:
            print(nombre, flush=True)
            medidas[nombre](t)
    print()
    tabla([("what", "measured", "target", "")] + t.filas)


if __name__ == "__main__":
    correr(__doc__, MEDIDAS, 7, lambda carpeta, a: nullcontext(Taller(carpeta, a)), {
        "--otra": "another velmora-cli to measure beside this one", "--documentos": "the folder that coleccion signs"})
