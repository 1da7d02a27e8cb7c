#!/usr/bin/env python3
"""Measures whole runs of velmora-cli beside other programs on the same files, in the same run, and prints a table.

    bench/medir.py [--vueltas N] [--carpeta FOLDER] [--sin-construir] [MEASUREMENT...]

MEASUREMENT: sha grande memoria texto paginas hostiles; all of them when none is named. Times are medians of N (7 unless
told) by the clock, the candidates taken in turn, files in the page cache. Peak memory is ru_maxrss of the process or of
its largest child, as wait4 gives it; it is never below this script's own, about 20 MB. MB is 1,000,000 bytes."""

import argparse
import json
import os
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


class Taller:
    """The folder of one run with its throw-away identity, and the ways to run things in it."""

    def __init__(self, carpeta, vueltas):
        self.carpeta, self.vueltas, self.filas = Path(carpeta), vueltas, []
        subprocess.run([RAIZ / "herramientas" / "identidad.sh", carpeta], check=True)
        subprocess.run(["pk12util", "-i", "identidad.p12", "-d", "sql:nss", "-w", "clave"], cwd=carpeta, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def fila(self, que, medido, meta="", cumple=None):
        self.filas.append((que, medido, meta, {None: "", True: "met", False: "MISSED"}[cumple]))
        print(f"  {que}: {medido}", flush=True)

    def entrada(self, nombre, generador, numero):
        ruta = self.carpeta / nombre
        if not ruta.exists():
            with open(ruta, "wb") as f:
                generador(f, numero)
        return ruta

    def orden(self, entrada, salida, sello="primera"):
        return [BIN / "velmora-cli", "firmar", "--json", "--pkcs12", self.carpeta / "identidad.p12", "--clave-desde",
                self.carpeta / "clave", "--sello", sello, "--salida", salida, entrada]

    def firmar(self, entrada, sello="primera", entorno=None):
        """One signature; the output is checked to be there and is removed."""
        salida = self.carpeta / "salida.pdf"
        salida.unlink(missing_ok=True)
        m = medir(self.orden(entrada, salida, sello), self.carpeta, entorno)
        if m.estado != 0 or not salida.exists():
            sys.exit(f"velmora-cli did not sign {entrada.name} (status {m.estado}):\n{leer(self.carpeta / 'errores')}")
        salida.unlink()
        return m


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


def suelo(t, entrada):
    """A copy of the file and three hashes of it by openssl: what reading, writing and checking cost at least."""
    copia = t.carpeta / "copia"
    copia.unlink(missing_ok=True)
    partes = [medir(["cat"], t.carpeta, entrada=entrada, salida=copia)]
    partes += [medir(["openssl", "dgst", "-sha256", entrada], t.carpeta) for _ in range(3)]
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


def medir_grande(t):
    entrada = t.entrada("grande.pdf", generar.grande, 100 * MB)
    piso = "floor (cat and three openssl dgst)"
    candidatos = {piso: suelo, "sign": Taller.firmar, "pdfsig -add-signature": con_pdfsig}
    hechas = {nombre: [] for nombre in candidatos}
    for vuelta in range(t.vueltas + 1):
        for nombre, funcion in candidatos.items():
            m = funcion(t, entrada)
            if vuelta > 0 and m is not None:
                hechas[nombre].append(m)
    base, cpu_base = medianas(hechas[piso])
    for nombre, medidas in hechas.items():
        if medidas:
            reloj, cpu = medianas(medidas)
            t.fila(f"100 MB: {nombre}", f"{reloj:.3f} s, {cpu:.3f} s of processor; {reloj / base:.2f} of the floor")
    reloj, cpu = medianas(hechas["sign"])
    t.fila("100 MB: sign / floor", f"{reloj / base:.2f}; of processor {cpu / cpu_base:.2f}", "<= 0.85 (aim 0.70)",
           reloj / base <= 0.85)


def medir_memoria(t):
    for millones in (25, 50, 100, 200):
        entrada = t.entrada("grande.pdf" if millones == 100 else "memoria.pdf", generar.grande, millones * MB)
        largo = entrada.stat().st_size
        memoria = max(t.firmar(entrada).memoria for _ in range(3))
        tope = 1.25 * largo + 32 * MB
        exceso = (memoria - 1.25 * largo) / MB
        t.fila(f"{millones} MB: peak memory", f"{memoria / MB:.1f} MB, {exceso:+.1f} MB over 1.25 n",
               "<= 1.25 n + 32 MB", memoria <= tope)
        if millones != 100:
            entrada.unlink()


def cronometro(t):
    """An environment whose openssl is a stand-in that times the real one."""
    carpeta = t.carpeta / "cronometro"
    if not carpeta.exists():
        carpeta.mkdir()
        fuente = RAIZ / "bench" / "cronometro.cpp"
        subprocess.run(["g++", "-std=c++20", "-O2", "-static", "-o", carpeta / "openssl", fuente], check=True)
    return dict(os.environ, PATH=f"{carpeta}:{os.environ['PATH']}", MEDIR_OPENSSL=shutil.which("openssl"),
                MEDIR_REGISTRO=str(t.carpeta / "registro"))


def dentro_de_openssl(registro):
    """Seconds that some openssl was running, and how many ran."""
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
        costes.append(m.segundos - dentro_de_openssl(registro)[0])
    return statistics.median(costes)


def medir_texto(t):
    """What passes outside openssl is an upper bound: shells count as ours, and so do the stand-ins' own starts."""
    entrada = t.entrada("texto.pdf", generar.texto, 50_000)
    entorno, registro = cronometro(t), t.carpeta / "registro"
    t.firmar(entrada)
    enteros, propios, suyos, cuantos = [], [], [], 0
    for _ in range(3 * t.vueltas):
        enteros.append(t.firmar(entrada).segundos)
        registro.unlink(missing_ok=True)
        total = t.firmar(entrada, entorno=entorno).segundos
        de_openssl, cuantos = dentro_de_openssl(registro)
        propios.append(total - de_openssl)
        suyos.append(de_openssl)
    propio, coste = statistics.median(propios), coste_del_cronometro(t, entorno)
    t.fila("50 kB: sign, whole", milis(enteros))
    t.fila(f"50 kB: inside the {cuantos} openssl processes", milis(suyos))
    t.fila("50 kB: outside them (shells and stand-ins included)", milis(propios), "< 10 ms", propio < 0.010)
    t.fila("50 kB: of that, about, the stand-ins", f"{1000 * cuantos * coste:.1f} ms")
    ajenas = [m.segundos for m in (con_pdfsig(t, entrada) for _ in range(t.vueltas)) if m is not None]
    if ajenas:
        t.fila("50 kB: pdfsig -add-signature", milis(ajenas))


def medir_paginas(t):
    """Linear or not is read from processor time, the least of the runs: the clock's differences drown in noise."""
    cpu = {}
    for cuantas in (5_000, 10_000, 20_000):
        entrada = t.entrada(f"paginas{cuantas}.pdf", generar.paginas, cuantas)
        t.firmar(entrada, "todas")
        medidas = [t.firmar(entrada, "todas") for _ in range(t.vueltas)]
        cpu[cuantas] = min(m.cpu for m in medidas)
        t.fila(f"{cuantas} pages, {5 * cuantas} objects: stamp on every page",
               f"{medianas(medidas)[0]:.3f} s; least processor time {cpu[cuantas]:.3f} s")
    razon = (cpu[20_000] - cpu[10_000]) / max(cpu[10_000] - cpu[5_000], 1e-9)
    t.fila("pages: processor time of 10,000 more / of 5,000 more", f"{razon:.2f}", "2 when linear; <= 2.6", razon <= 2.6)


def medir_hostiles(t):
    """Each ends on its own, by a status of the program's and not by a signal, with a sentence or a signed file."""
    peor, faltas = 0.0, 0
    for nombre, datos in generar.hostiles():
        entrada, salida = t.carpeta / "hostil.pdf", t.carpeta / "hostil_salida.pdf"
        entrada.write_bytes(datos)
        salida.unlink(missing_ok=True)
        segundos, _, _, estado = medir(["timeout", "20", *t.orden(entrada, salida, "todas")], t.carpeta)
        try:
            documento = json.loads(leer(t.carpeta / "palabras"))["documentos"][0]
        except (ValueError, LookupError):
            documento = {}
        palabras = "signed" if documento.get("firmado") else documento.get("error", "")
        bien = estado in (0, 1) and palabras != ""
        faltas += not (bien and segundos < 1)
        peor = max(peor, segundos)
        palabras = palabras or leer(t.carpeta / "errores")[-200:]
        print(f"  {nombre}: {segundos:.3f} s, status {estado}: {palabras!r}", flush=True)
    t.fila("hostile inputs: the slowest", f"{peor:.3f} s; {faltas} without a clear end", "< 1 s, all clear",
           faltas == 0 and peor < 1)


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


MEDIDAS = {"sha": medir_sha, "grande": medir_grande, "memoria": medir_memoria, "texto": medir_texto,
           "paginas": medir_paginas, "hostiles": medir_hostiles}


def construir():
    subprocess.run([RAIZ / "herramientas" / "instalar", "construir", "ejecutar", "medir"], check=True)
    for orden in (["cmake", "--preset", "release"], ["cmake", "--build", "--preset", "release"]):
        subprocess.run(orden, cwd=RAIZ, check=True, stdout=subprocess.DEVNULL)


def tabla(filas):
    anchos = [max(len(f[i]) for f in filas) for i in range(4)]
    for f in filas:
        print("  ".join(x.ljust(a) for x, a in zip(f, anchos)).rstrip())


def correr(doc, medidas, vueltas, taller):
    """A script's command line: `taller(carpeta, a)` gives the context in which its measurements run."""
    p = argparse.ArgumentParser(description=doc, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--vueltas", type=int, default=vueltas)
    p.add_argument("--carpeta", default=str(RAIZ / "build"))
    p.add_argument("--sin-construir", action="store_true")
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
    correr(__doc__, MEDIDAS, 7, lambda carpeta, a: nullcontext(Taller(carpeta, a.vueltas)))
