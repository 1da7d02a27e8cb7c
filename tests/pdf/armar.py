"""Builds PDF documents byte by byte, sound or broken as a test wants them. Nothing is repaired and nothing checked."""

import zlib


def flujo(datos, dicc="", largo=None, marcas=("\nstream\n", "\nendstream")):
    """The text of a stream object, without its header. `marcas`: what stands before and behind the data."""
    datos = datos if isinstance(datos, bytes) else datos.encode("latin-1")
    cabeza = f"<< {dicc} /Length {len(datos) if largo is None else largo} >>{marcas[0]}"
    return cabeza.encode("latin-1") + datos + marcas[1].encode("latin-1")


def predecir(datos, columnas, predictor):
    """Rows of bytes as TIFF predictor 2 or a PNG one (15: each kind in turn) leaves them (ISO 32000-1, 7.4.4.4)."""
    datos += b" " * (-len(datos) % columnas)
    salida, previa = bytearray(), bytes(columnas)
    for n, pos in enumerate(range(0, len(datos), columnas)):
        fila = datos[pos:pos + columnas]
        izquierda, diagonal = b"\0" + fila[:-1], b"\0" + previa[:-1]
        if predictor == 2:
            salida += bytes((a - b) % 256 for a, b in zip(fila, izquierda))
            continue
        clase = n % 5 if predictor == 15 else predictor - 10
        paeth = (min((abs(b - c), 0, a), (abs(a - c), 1, b), (abs(a + b - 2 * c), 2, c))[2]
                 for a, b, c in zip(izquierda, previa, diagonal))
        media = ((a + b) // 2 for a, b in zip(izquierda, previa))
        resta = (bytes(columnas), izquierda, previa, media, paeth)[clase]
        salida += bytes([clase]) + bytes((x - y) % 256 for x, y in zip(fila, resta))
        previa = fila
    return bytes(salida)


class Pdf:
    def __init__(self, inicio="%PDF-1.5\n%\xe2\xe3\xcf\xd3\n", base=0):
        self.b = bytearray(inicio.encode("latin-1"))
        self.base = base      # what every offset is counted from
        self.nuevas = {}      # number -> entry (type, offset or stream, generation or index) since the last section
        self.seccion = None   # where the last section begins
        self.mayor = 0

    def aqui(self):
        return len(self.b) - self.base

    def mas(self, datos):
        self.b += datos if isinstance(datos, bytes) else datos.encode("latin-1")

    def obj(self, num, cuerpo, gen=0):
        self.anotar(num, (1, self.aqui(), gen))
        self.mas(f"{num} {gen} obj\n")
        self.mas(cuerpo)
        self.mas("\nendobj\n")

    def anotar(self, num, entrada):
        self.nuevas[num] = entrada
        self.mayor = max(self.mayor, num)

    def objstm(self, num, miembros, n=None, primero=None, dicc="", predictor=0, codificar=zlib.compress,
               filtro="/Filter /FlateDecode", orden=None, anotar=True, **mas):
        """`miembros`: pairs of number and text. `orden` mixes them in the header."""
        cuerpos, pares = b"", []
        for m, texto in miembros:
            pares.append((m, len(cuerpos)))
            cuerpos += (texto if isinstance(texto, bytes) else texto.encode("latin-1")) + b"\n"
        pares = [pares[i] for i in orden] if orden else pares
        cabeza = " ".join(f"{m} {p}" for m, p in pares).encode() + b"\n"
        datos = cabeza + cuerpos
        if predictor:
            dicc += f" /DecodeParms << /Predictor {predictor} /Columns 7 >>"
            datos = predecir(datos, 7, predictor)
        self.obj(num, flujo(codificar(datos), f"/Type /ObjStm /N {len(pares) if n is None else n} "
                            f"/First {len(cabeza) if primero is None else primero} {filtro} {dicc}", **mas))
        for i, (m, _) in reversed(list(enumerate(pares)) if anotar else []):
            self.anotar(m, (2, num, i))

    def entradas(self, cambios):
        """The entries since the last section, with changes to them; None leaves a number out."""
        todas = {} if self.seccion is not None else {0: (0, 0, 65535)}
        todas.update(self.nuevas)
        todas.update(cambios or {})
        self.nuevas = {}
        return {n: todas[n] for n in sorted(todas) if todas[n] is not None}

    def claves(self, extra, size, prev, raiz):
        prev = self.seccion if prev is None else prev
        texto = f"/Size {self.mayor + 1 if size is None else size}"
        if raiz:
            texto += f" /Root {raiz}"
        if prev is not None and prev is not False:
            texto += f" /Prev {prev}"
        return f"{texto} {extra}"

    def fin(self, startxref=None):
        self.mas(f"startxref\n{self.seccion if startxref is None else startxref}\n%%EOF\n")

    def tabla(self, cambios=None, extra="", size=None, prev=None, raiz="1 0 R", startxref=None, tras=" \n",
              cabeza="xref\n", trailer="trailer\n", primera=None, repetidas="", cerrar=True):
        """`repetidas`: text behind the last entry; `primera`: another number for the first subsection's start."""
        entradas = self.entradas(cambios)
        aqui = self.aqui()
        self.mas(cabeza)
        nums, i = list(entradas), 0
        while i < len(nums):
            j = i
            while j + 1 < len(nums) and nums[j + 1] == nums[j] + 1:
                j += 1
            self.mas(f"{nums[i] if primera is None or i else primera} {j - i + 1}\n")
            for n in nums[i:j + 1]:
                tipo, a, b = entradas[n]
                self.mas(f"{a:010d} {b:05d} {'n' if tipo else 'f'}{tras}")
            i = j + 1
        self.mas(repetidas)
        claves = self.claves(extra, size, prev, raiz)
        self.seccion = aqui
        self.mas(f"{trailer}<< {claves} >>\n")
        if cerrar:
            self.fin(startxref)

    def xflujo(self, num, cambios=None, extra="", size=None, prev=None, raiz="1 0 R", startxref=None, w=(1, 4, 2),
               index="", predictor=0, codificar=zlib.compress, filtro="/Filter /FlateDecode", sobra=b"",
               quita=0, propia=True, cerrar=True, filas=None):
        aqui = self.aqui()
        if propia:
            self.anotar(num, (1, aqui, 0))
        self.mayor = max(self.mayor, num)
        entradas = self.entradas(cambios)
        filas = filas(entradas) if filas else list(entradas.items())
        datos = bytearray()
        for _, entrada in filas:
            for ancho, valor in zip(w, entrada):
                datos += (valor & 256**ancho - 1).to_bytes(ancho, "big")
        datos = bytes(datos[:len(datos) - quita]) + sobra
        if predictor:
            extra += f" /DecodeParms << /Predictor {predictor} /Columns {sum(w)} >>"
            datos = predecir(datos, sum(w), predictor)
        if index == "":
            index = "[" + " ".join(f"{n} 1" for n, _ in filas) + "]"
        dicc = f"/Type /XRef /W {list(w)} {self.claves(extra, size, prev, raiz)} {filtro}"
        dicc = dicc.replace(",", "") + (f" /Index {index}" if index else "")
        self.mas(f"{num} 0 obj\n")
        self.mas(flujo(codificar(datos), dicc))
        self.mas("\nendobj\n")
        self.seccion = aqui
        if cerrar:
            self.fin(startxref)


# The document that most tests start from. What it says is 10 EUR; objects 8, 9, 14 and 16, to which nothing refers, are
# a page that says 9999 EUR.
PAGINA = ("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 5 0 R >> >> "
          "/Contents %s >>")
FUENTE = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"
CATALOGO = ("<< /Type /Catalog /Pages 2 0 R /AcroForm 6 0 R "
            "/Names << /EmbeddedFiles << /Names [(a.txt) 7 0 R] >> >> %s >>")
ARBOL = "<< /Type /Pages /Kids [%s] /Count 1 >>"
TEXTO = "BT /F1 24 Tf 72 700 Td (10 EUR) Tj ET"
COMUN = {
    1: CATALOGO % "",
    2: ARBOL % "3 0 R",
    3: PAGINA % "4 0 R",
    4: "[10 0 R]",
    5: FUENTE,
    6: "<< /Fields [12 0 R] >>",
    7: "<< /Type /Filespec /F (a.txt) /UF (a.txt) /EF << /F 13 0 R >> >>",
    8: flujo(TEXTO.replace("10", "9999")),
    9: PAGINA % "8 0 R",
    10: flujo(TEXTO),
    12: "<< /FT /Tx /T (importe) /V (10 EUR) >>",
    13: flujo("10 EUR", "/Type /EmbeddedFile"),
    14: flujo("9999 EUR", "/Type /EmbeddedFile"),
    16: ARBOL % "9 0 R",
}
MIEMBROS = (1, 2, 3, 4, 5, 6, 7, 9, 11, 12, 16)  # what an object stream may hold
CABEZA = "%PDF-1.5\n%\xe2\xe3\xcf\xd3\n"


def documento(clase="tabla", antes=None, despues=None, objetos=None, inicio=CABEZA, base=0, contenedor=None, **seccion):
    """The common document with one section. `clase`: "tabla"; "flujo", a cross-reference stream (object 17);
    "miembros", one whose objects lie in object stream 15. `antes` and `despues` write what else there is; `objetos`
    replaces objects (None: leaves out); `contenedor` is for the object stream, `seccion` for the section."""
    d = Pdf(inicio, base)
    todos = {n: cuerpo for n, cuerpo in {**COMUN, **(objetos or {})}.items() if cuerpo is not None}
    if antes:
        antes(d)
    dentro = [(n, todos.pop(n)) for n in MIEMBROS if n in todos] if clase == "miembros" else []
    for num, cuerpo in todos.items():
        d.obj(num, cuerpo)
    if dentro:
        d.objstm(15, **{"miembros": dentro, **(contenedor or {})})
    if despues:
        despues(d)
    return cerrar(d, clase, **seccion)


def cerrar(d, clase="tabla", num=17, **seccion):
    if clase == "tabla":
        d.tabla(**seccion)
    else:
        d.xflujo(num, **seccion)
    return d


def revision(d, objetos, clase="tabla", num=18, **seccion):
    for n, cuerpo in objetos.items():
        d.obj(n, cuerpo)
    return cerrar(d, clase, num, **seccion)


def crudo(texto):
    return lambda d: d.mas(texto)


def alojar(texto, dicc=""):
    return lambda d: d.obj(11, flujo(texto, dicc))
