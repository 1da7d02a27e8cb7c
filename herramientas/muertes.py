#!/usr/bin/env python3
"""muertes.py PROGRAM [N]: kills the command-line signer N times (200) at random moments of a signature, and says what
was found on the disk afterwards: in the folder of the document, in the temporary folders and in /dev/shm."""

import os
import random
import secrets
import shutil
import signal
import subprocess
import sys
import tempfile
import time


def nuevos(carpetas, antes):
    return sorted(os.path.join(c, n) for c in carpetas for n in os.listdir(c) if os.path.join(c, n) not in antes)


def contiene(ruta, agujas):
    if not os.path.isfile(ruta):
        return False
    with open(ruta, "rb") as f:
        datos = f.read()
    return any(a in datos for a in agujas)


def entero(ruta):
    """The file is a signed document that qpdf reads and whose last signature covers it."""
    dicho = subprocess.run(["pdfsig", "-nocert", ruta], capture_output=True, text=True, check=False).stdout
    return "Total document signed" in dicho


def main():
    programa, veces = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 200
    raiz = tempfile.mkdtemp()
    aqui = os.path.dirname(os.path.abspath(__file__))
    subprocess.run([os.path.join(aqui, "identidad.sh"), raiz], check=True, capture_output=True)
    with open(os.path.join(raiz, "clave"), "rb") as f:
        clave = f.read().strip()
    trabajo, temporal, ejecucion = (os.path.join(raiz, n) for n in ("trabajo", "temporal", "ejecucion"))
    for c in (trabajo, temporal, ejecucion):
        os.mkdir(c, 0o700)
    documento = os.path.join(trabajo, "contrato.pdf")
    with open(documento, "wb") as f:  # large enough that the copy takes a while
        subprocess.run([os.path.join(aqui, "documento.sh")], stdout=f, check=True)
    relleno = b"".join(b"% " + secrets.token_hex(500).encode() + b"\n" for _ in range(40000))
    with open(documento, "rb") as f:
        pdf = f.read()
    corte = pdf.rindex(b"xref", 0, pdf.rindex(b"startxref"))
    with open(documento, "wb") as f:
        f.write(pdf[:corte] + relleno + pdf[corte:].replace(str(corte).encode(), str(corte + len(relleno)).encode()))
    entorno = {**os.environ, "TMPDIR": temporal, "TEMP": temporal, "TMP": temporal, "XDG_RUNTIME_DIR": ejecucion}
    orden = [programa, "firmar", "--pkcs12", os.path.join(raiz, "identidad.p12"), "--clave-desde",
             os.path.join(raiz, "clave"), documento]
    carpetas = [trabajo, temporal, ejecucion, "/dev/shm", "/tmp"]
    inicio = time.monotonic()
    subprocess.run(orden, env=entorno, check=True, capture_output=True)
    dura = time.monotonic() - inicio
    os.unlink(os.path.join(trabajo, "contrato_firmao.pdf"))
    antes = {os.path.join(c, n) for c in carpetas for n in os.listdir(c)}
    cuenta = {"killed": 0, "ended before": 0, "whole": 0, "partial": 0, "secret": 0, "other": 0}
    for _ in range(veces):
        p = subprocess.Popen(orden, env=entorno, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(random.uniform(0, dura))
        p.send_signal(signal.SIGKILL)
        p.wait()
        cuenta["killed" if p.returncode == -signal.SIGKILL else "ended before"] += 1
        for ruta in nuevos(carpetas, antes):
            if contiene(ruta, (b"PRIVATE KEY", clave)):
                cuenta["secret"] += 1
            elif ruta.endswith("_firmao.pdf"):
                cuenta["whole" if entero(ruta) else "partial"] += 1
            elif ruta.startswith((trabajo, temporal, ejecucion)) or "velmora" in ruta or "lxcert" in ruta:
                cuenta["other"] += 1
                print("found:", ruta)
            else:
                continue
            os.unlink(ruta)
    print(f"one signature: {dura * 1000:.0f} ms;", ", ".join(f"{k}: {v}" for k, v in cuenta.items()))
    shutil.rmtree(raiz)


if __name__ == "__main__":
    main()
