#include "pdf/PdfAlmacen.h"

#include <algorithm>
#include <numeric>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr size_t kCabecera = 512;                  // of which an object's header takes less
constexpr size_t kPrimeraMirada = 4096;            // most values end within it
constexpr size_t kTopeCache = 32U << 20;           // decoded object streams that are kept
constexpr uint64_t kTopeDocumento = 256ULL << 20;  // decoded in all
constexpr uint64_t kTopeRepetido = 1ULL << 30;     // decoded again because the cache had let it go
constexpr size_t kTopeCacheados = 512;
constexpr int kNivelesLargo = 8;  // of references to a /Length
constexpr size_t kMemoriaPorMiembro = sizeof(FlujoObjetos::Miembro);

size_t SaltarBlancos(std::string_view texto, size_t pos) {
    while (pos < texto.size() && EsBlanco(texto[pos])) ++pos;
    return pos;
}

bool LeerCifras(std::string_view texto, size_t& pos, uint64_t& n) {
    const size_t ini = pos;
    n = 0;
    for (; pos < texto.size() && texto[pos] >= '0' && texto[pos] <= '9'; ++pos) {
        n = n > UINT32_MAX ? n : n * 10 + static_cast<uint64_t>(texto[pos] - '0');
    }
    return pos > ini;
}

// Where a stream's data begin, given the position of its keyword (ISO 32000-1, 7.3.8.1). Readers forgive blanks before
// the line end, and a lone CR.
size_t InicioDatos(std::string_view texto, size_t palabra, bool& sinLinea) {
    size_t pos = palabra + 6;
    while (pos < texto.size() && (texto[pos] == ' ' || texto[pos] == '\t')) ++pos;
    if (pos < texto.size() && texto[pos] == '\r') {
        ++pos;
        if (pos < texto.size() && texto[pos] == '\n') ++pos;
        return pos;
    }
    if (pos < texto.size() && texto[pos] == '\n') return pos + 1;
    sinLinea = true;
    return palabra + 6;
}

// Splits the object stream into its members (ISO 32000-1, 7.5.7).
bool Repartir(FlujoObjetos& flujo, long n, long primero) {
    const std::string_view texto = flujo.texto;
    if (n < 0 || primero < 0 || static_cast<size_t>(primero) > texto.size()) return false;
    // Two numbers and two blanks are the least that a member takes in the header.
    if (static_cast<size_t>(n) > texto.size() / 4 + 1) return false;
    flujo.miembros.reserve(static_cast<size_t>(n));
    size_t pos = 0;
    for (long i = 0; i < n; ++i) {
        uint64_t num = 0;
        uint64_t desde = 0;
        pos = Blanco(texto, pos);
        if (!LeerCifras(texto, pos, num)) return false;
        pos = Blanco(texto, pos);
        if (!LeerCifras(texto, pos, desde)) return false;
        if (num > kNumeroMaximo || desde > texto.size() - static_cast<size_t>(primero)) return false;
        const size_t ini = static_cast<size_t>(primero) + static_cast<size_t>(desde);
        if (!flujo.miembros.empty() && ini <= flujo.miembros.back().ini) flujo.dudoso = true;
        flujo.miembros.push_back({static_cast<uint32_t>(num), ini, 0});
    }
    if (pos > static_cast<size_t>(primero)) flujo.dudoso = true;
    for (size_t i = 0; i < flujo.miembros.size(); ++i) {
        FlujoObjetos::Miembro& m = flujo.miembros[i];
        if (flujo.dudoso) {
            m.ini = m.fin = 0;
            continue;
        }
        const bool acotado = i + 1 < flujo.miembros.size();
        const std::string_view hasta = texto.substr(0, acotado ? flujo.miembros[i + 1].ini : texto.size());
        m.ini = std::min(Blanco(hasta, m.ini), hasta.size());
        m.fin = m.ini + QuitarBlancos(hasta.substr(m.ini)).size();
    }
    flujo.orden.resize(flujo.miembros.size());
    std::iota(flujo.orden.begin(), flujo.orden.end(), 0U);
    std::stable_sort(flujo.orden.begin(), flujo.orden.end(),
                     [&](uint32_t a, uint32_t b) { return flujo.miembros[a].num < flujo.miembros[b].num; });
    return true;
}

uint64_t Buscar(Ventana& ventana, uint64_t pos, std::string_view palabra) {
    for (;;) {
        const std::string_view texto = ventana.Ver(pos, 4096);
        const size_t hallado = texto.find(palabra);
        if (hallado != std::string_view::npos) return pos + hallado;
        if (texto.size() < palabra.size() || ventana.HastaElFinal(pos, texto)) return UINT64_MAX;
        pos += texto.size() - palabra.size() + 1;
    }
}

}  // namespace

uint64_t FinDatos(Ventana& ventana, const Crudo& crudo, long largo, uint64_t total) {
    if (largo >= 0 && AcabaFlujo(ventana, crudo.datos, static_cast<uint64_t>(largo))) {
        return crudo.datos + static_cast<uint64_t>(largo);
    }
    uint64_t fin = Buscar(ventana, crudo.datos, "endstream");
    if (fin == UINT64_MAX) fin = Buscar(ventana, crudo.datos, "endobj");
    return std::min(fin, total);
}

bool LeerCabecera(Ventana& ventana, uint64_t pos, Crudo& crudo, uint64_t& cuerpo) {
    const std::string_view texto = ventana.Ver(pos, kCabecera);
    size_t p = SaltarBlancos(texto, 0);
    crudo.inicio = pos + p;
    if (!LeerCifras(texto, p, crudo.num)) return false;
    const size_t tras = p;
    p = SaltarBlancos(texto, p);
    if (p == tras || !LeerCifras(texto, p, crudo.gen)) return false;
    p = SaltarBlancos(texto, p);
    if (texto.substr(p, 3) != "obj") return false;
    p += 3;
    if (p < texto.size() && !EsDelim(texto[p])) return false;
    cuerpo = pos + p;
    return true;
}

bool LeerCrudo(Ventana& ventana, uint64_t pos, Crudo& crudo) {
    uint64_t cuerpo = 0;
    crudo = {};
    if (!LeerCabecera(ventana, pos, crudo, cuerpo)) return false;
    for (size_t n = kPrimeraMirada; n <= 2 * kTopeValor; n *= 8) {
        const std::string_view texto = ventana.Ver(cuerpo, n);
        const bool entero = ventana.HastaElFinal(cuerpo, texto);
        const size_t ini = Blanco(texto, 0);
        const size_t fin = FinLiteral(texto, ini);
        const size_t despues = Blanco(texto, fin);
        // Near the view's end a value may look as if it ended sooner than it does.
        if (!entero && despues + 16 > texto.size()) continue;
        if (ini >= texto.size()) return false;
        crudo.valor = QuitarBlancos(texto.substr(ini, fin - ini));
        if (crudo.valor.starts_with("endobj")) crudo.valor = "null";
        crudo.fin = cuerpo + fin;
        if (texto.substr(despues, 6) != "stream" || !crudo.valor.starts_with("<<")) return true;
        crudo.flujo = true;
        crudo.datos = cuerpo + InicioDatos(texto, despues, crudo.sinLinea);
        return true;
    }
    return false;
}

bool AcabaFlujo(Ventana& ventana, uint64_t datos, uint64_t largo) {
    if (largo > UINT64_MAX - datos) return false;
    const std::string_view texto = ventana.Ver(datos + largo, 64);
    return texto.substr(SaltarBlancos(texto, 0)).starts_with("endstream");
}

Decodificado LeerFlujo(const Fuente& fuente, const Crudo& crudo, uint64_t largo, std::string& salida,
                       std::string& filtro) {
    Filtros filtros;
    std::string_view dict;
    if (!Interior(crudo.valor, dict)) return Decodificado::Malo;
    const Decodificado como = LeerFiltros(dict, filtros);
    filtro = filtros.ajeno;
    if (como != Decodificado::Bien) return como;
    // What is compressed may be a little larger than what comes out of it, not much.
    if (largo > kTopeFlujo + (1U << 20)) return Decodificado::Excesivo;
    std::string datos(static_cast<size_t>(largo), '\0');
    if (!fuente.Leer(crudo.datos, datos.size(), datos.data())) return Decodificado::Malo;
    return Decodificar(datos, filtros, salida);
}

std::string_view FlujoObjetos::Valor(const Miembro& m) const {
    const std::string_view parte = Parte(m);
    return QuitarBlancos(parte.substr(0, FinLiteral(parte, 0)));
}

const FlujoObjetos::Miembro* FlujoObjetos::Buscar(uint32_t num, uint32_t indice, bool& ajeno, bool& repetido) const {
    const Miembro* hallado = indice < miembros.size() && miembros[indice].num == num ? &miembros[indice] : nullptr;
    ajeno = hallado == nullptr;
    repetido = false;
    auto it = std::lower_bound(orden.begin(), orden.end(), num,
                               [this](uint32_t i, uint32_t n) { return miembros[i].num < n; });
    for (; it != orden.end() && miembros[*it].num == num; ++it) {
        const Miembro& m = miembros[*it];
        if (hallado == nullptr) hallado = &m;
        if (&m != hallado && Valor(m) != Valor(*hallado)) repetido = true;
    }
    return hallado;
}

void Almacen::PonerMapa(Mapa mapa) {
    mapa_ = std::move(mapa);
    cache_.clear();
    guardado_ = 0;
}

bool Almacen::Entero(std::string_view valor, long& n, int nivel) {
    long num = 0;
    long gen = 0;
    if (LeerReferencia(valor, num, gen)) {
        std::string texto;
        if (nivel >= kNivelesLargo || num < 1 || num > kNumeroMaximo) return false;
        return Leer(static_cast<uint32_t>(num), texto) == Estado::Bien && Entero(texto, n, nivel + 1);
    }
    size_t pos = 0;
    return LeerEntero(valor, pos, n) && Blanco(valor, pos) == valor.size();
}

Estado Almacen::Decodificar(const Crudo& crudo, std::string& salida) {
    // A copy: finding the length may move the window.
    Crudo propio = crudo;
    const std::string valor(crudo.valor);
    propio.valor = valor;
    std::string_view dict;
    long largo = 0;
    if (!crudo.flujo || crudo.sinLinea || !Interior(valor, dict)) return Estado::Malo;
    if (!Entero(UltimoValor(dict, "Length"), largo)) largo = -1;
    const uint64_t fin = FinDatos(ventana_, propio, largo, fuente_.Longitud());
    const uint64_t bytes = fin - propio.datos;
    if (!tolerante_ &&
        (largo < 0 || bytes != static_cast<uint64_t>(largo) || !AcabaFlujo(ventana_, propio.datos, bytes))) {
        return Estado::Malo;
    }
    const Decodificado r = LeerFlujo(fuente_, propio, bytes, salida, filtro_);
    (vistos_.insert(static_cast<uint32_t>(crudo.num)).second ? decodificado_ : repetido_) += salida.size();
    if (r == Decodificado::Excesivo || decodificado_ > kTopeDocumento || repetido_ > kTopeRepetido) {
        return Estado::Excesivo;
    }
    if (r == Decodificado::Ajeno) return Estado::Ajeno;
    return r == Decodificado::Bien ? Estado::Bien : Estado::Malo;
}

Estado Almacen::AbrirEn(uint64_t pos, FlujoObjetos& flujo) {
    Crudo crudo;
    std::string_view dict;
    if (!LeerCrudo(ventana_, pos, crudo)) return Estado::Malo;
    if (!Interior(crudo.valor, dict) || UltimoValor(dict, "Type") != "/ObjStm") return Estado::Otro;
    const std::string copia(dict);
    const Estado estado = Decodificar(crudo, flujo.texto);
    if (estado != Estado::Bien) return estado;
    long n = 0;
    long primero = 0;
    const bool bien = Entero(UltimoValor(copia, "N"), n) && Entero(UltimoValor(copia, "First"), primero) &&
                      Repartir(flujo, n, primero);
    return bien ? Estado::Bien : Estado::Malo;
}

size_t Almacen::Peso(const FlujoObjetos& f) {
    return f.texto.size() + f.miembros.size() * kMemoriaPorMiembro;
}

// Lets go of what was used longest ago.
void Almacen::Aligerar(size_t hasta) {
    while (guardado_ > hasta || cache_.size() > kTopeCacheados) {
        guardado_ -= Peso(*cache_.back().second);
        cache_.pop_back();
    }
}

void Almacen::Guardar(uint32_t num, std::shared_ptr<const FlujoObjetos> flujo) {
    Aligerar(kTopeCache - std::min(kTopeCache, Peso(*flujo)));
    guardado_ += Peso(*flujo);
    cache_.emplace_front(num, std::move(flujo));
}

Estado Almacen::Contenedor(uint32_t num, std::shared_ptr<const FlujoObjetos>& flujo) {
    const auto it = std::find_if(cache_.begin(), cache_.end(), [num](const auto& c) { return c.first == num; });
    if (it != cache_.end()) {
        cache_.splice(cache_.begin(), cache_, it);
        flujo = it->second;
        return Estado::Bien;
    }
    // An object stream whose length stands in itself, or in one that leads back to it.
    if (std::find(abriendo_.begin(), abriendo_.end(), num) != abriendo_.end()) return Estado::Malo;
    abriendo_.push_back(num);
    Aligerar(kTopeCache / 4 * 3);
    auto nuevo = std::make_shared<FlujoObjetos>();
    const Entrada* e = mapa_.Viva(num);
    Crudo crudo;
    uint64_t cuerpo = 0;
    const bool hallado = e != nullptr && e->tipo == Tipo::Suelta &&
                         LeerCabecera(ventana_, base_ + e->pos, crudo, cuerpo) && crudo.num == num;
    const Estado estado = hallado ? AbrirEn(base_ + e->pos, *nuevo) : Estado::Malo;
    abriendo_.pop_back();
    if (estado != Estado::Bien) return estado;
    flujo = nuevo;
    Guardar(num, std::move(nuevo));
    return Estado::Bien;
}

Estado Almacen::Leer(uint32_t num, std::string& valor) {
    const Entrada* e = mapa_.Viva(num);
    if (e == nullptr) return Estado::Nulo;
    if (e->tipo == Tipo::Suelta) {
        Crudo crudo;
        if (!LeerCrudo(ventana_, base_ + e->pos, crudo) || crudo.num != num || crudo.gen != e->gen) return Estado::Malo;
        valor = crudo.valor;
        return Estado::Bien;
    }
    std::shared_ptr<const FlujoObjetos> flujo;
    const Estado estado = Contenedor(e->Contenedor(), flujo);
    if (estado != Estado::Bien) return estado;
    bool ajeno = false;
    bool repetido = false;
    const FlujoObjetos::Miembro* m = flujo->Buscar(num, e->Indice(), ajeno, repetido);
    if (m == nullptr) return Estado::Malo;
    valor = flujo->Valor(*m);
    return Estado::Bien;
}

}  // namespace LxPdf
