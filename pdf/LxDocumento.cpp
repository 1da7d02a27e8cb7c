#include "pdf/LxDocumento.h"

#include <algorithm>
#include <set>
#include <utility>

#include "pdf/LxSintaxis.h"
#include "pdf/PdfGrafo.h"
#include "pdf/PdfPartes.h"
#include "pdf/PdfRehacer.h"

namespace LxPdf {

namespace {

constexpr size_t kCabeceraHasta = 1024;  // where readers look for %PDF-
constexpr size_t kCola = 1U << 20;       // where startxref is looked for
constexpr size_t kColaHabitual = 1024;   // where all readers look for it
constexpr int kNivelesReferencia = 8;
constexpr std::string_view kFin = "%%EOF";
// What ten digits of a cross-reference entry can say (ISO 32000-1, 7.5.4), with room for the update.
constexpr uint64_t kTamanoMaximo = 9'000'000'000;

bool Falla(Fallo& fallo, Defecto defecto, uint32_t numero = 0) {
    fallo = {defecto, numero, {}};
    return false;
}

// Whether a document can be made of what was read, or another way must be tried.
enum class Examen { Bien, Roto, Imposible };

}  // namespace

// The opening of one document, step by step.
class Apertura {
  public:
    Apertura(Documento::Partes& e, Fallo& fallo) : e_(e), fallo_(fallo) {}

    bool Abrir();
    bool Consultar();
    bool Localizar();

  private:
    Desenlace PorCadena();
    bool Sostiene(uint64_t base, Cadena& cadena, Desenlace& r);
    bool Reconstruir();
    Examen Examinar(const std::vector<std::pair<uint32_t, uint64_t>>& repetidos);
    Examen Arbol();
    Examen Nodo(Ref ref, const std::string& dict, std::vector<Ref>& hijos);
    bool PideOpinion(const Grafo& grafo) const;
    bool LeerRaiz();

    Documento::Partes& e_;
    Fallo& fallo_;
    uint64_t cabecera_ = 0;            // where %PDF- stands
    uint64_t startxref_ = 0;           // what it says; 0 when it says nothing usable
    bool cadena_ = false;              // the chain was read, whatever it leads to
    std::vector<uint32_t> liberados_;  // what it says to be free
    bool sospechoso_ = false;          // readers disagree on where to look
    std::vector<std::pair<uint32_t, uint64_t>> repetidos_;
};

// Finds both ends of the document from its first and last bytes.
bool Apertura::Localizar() {
    const Fuente& fuente = *e_.fuente;
    const uint64_t total = fuente.Longitud();
    std::string texto(static_cast<size_t>(std::min<uint64_t>(total, kCabeceraHasta)), '\0');
    if (!fuente.Leer(0, texto.size(), texto.data())) return Falla(fallo_, Defecto::NoSeLee);
    const size_t cabecera = texto.find("%PDF-");
    if (total < 8 || cabecera == std::string::npos) return Falla(fallo_, Defecto::SinCabecera);
    cabecera_ = cabecera;
    texto.resize(static_cast<size_t>(std::min<uint64_t>(total, kCola)));
    if (!fuente.Leer(total - texto.size(), texto.size(), texto.data())) return Falla(fallo_, Defecto::NoSeLee);
    const size_t palabra = texto.rfind("startxref");
    if (palabra == std::string::npos) return Falla(fallo_, Defecto::SinStartxref);
    if (total > kTamanoMaximo) return Falla(fallo_, Defecto::DemasiadoGrande);
    size_t pos = palabra + 9;
    long offset = 0;
    if (LeerEntero(texto, pos, offset) && offset > 0) startxref_ = static_cast<uint64_t>(offset);
    sospechoso_ = cabecera_ > 0 || texto.size() - palabra > kColaHabitual;
    return true;
}

// The chain can be read with offsets that count from `base`, and leads to a catalogue.
bool Apertura::Sostiene(uint64_t base, Cadena& cadena, Desenlace& r) {
    r = LeerCadena(*e_.fuente, base, startxref_, cadena, fallo_);
    if (r != Desenlace::Bien) return false;
    long num = 0;
    long gen = 0;
    const bool hay = LeerReferencia(UltimoValor(cadena.secciones.front().trailer, "Root"), num, gen) && num > 0;
    const Entrada* e = hay ? cadena.mapa.Viva(static_cast<uint64_t>(num)) : nullptr;
    r = Desenlace::Rota;
    if (e == nullptr) return false;
    if (e->tipo == Tipo::EnFlujo) e = cadena.mapa.Viva(e->Contenedor());
    Ventana ventana(*e_.fuente, 4096);
    Crudo crudo;
    uint64_t cuerpo = 0;
    // An object stream that is nowhere, or in another, is for the examination to judge.
    const bool flujoAjeno = e == nullptr || e->tipo != Tipo::Suelta;
    if (!flujoAjeno && !LeerCabecera(ventana, base + e->pos, crudo, cuerpo)) return false;
    r = Desenlace::Bien;
    return true;
}

Desenlace Apertura::PorCadena() {
    if (startxref_ == 0) return Desenlace::Rota;
    Cadena cadena;
    Desenlace r = Desenlace::Rota;
    uint64_t base = cabecera_;
    const bool porCabecera = Sostiene(base, cadena, r);
    if (cabecera_ > 0) {
        Cadena otra;
        Desenlace r0 = Desenlace::Rota;
        if (Sostiene(0, otra, r0)) {
            if (porCabecera) {
                Falla(fallo_, Defecto::DosBases);
                return Desenlace::Imposible;
            }
            cadena = std::move(otra);
            base = 0;
            r = r0;
        }
    }
    if (r != Desenlace::Bien) return r;
    e_.almacen.PonerBase(base);
    e_.almacen.PonerMapa(std::move(cadena.mapa));
    e_.secciones = std::move(cadena.secciones);
    repetidos_ = std::move(cadena.repetidos);
    const SeccionLeida& nueva = e_.secciones.front();
    e_.trailer = nueva.trailer;
    e_.clase = nueva.clase;
    e_.previo = nueva.inicio - base;
    const auto esFlujo = [](const SeccionLeida& s) { return s.clase == Seccion::Flujo; };
    e_.rarezas.tablaTrasFlujo = !esFlujo(nueva) && std::any_of(e_.secciones.begin(), e_.secciones.end(), esFlujo);
    return r;
}

bool Apertura::Reconstruir() {
    e_.secciones.clear();
    e_.rarezas = {};
    e_.rarezas.reconstruido = true;
    e_.paginas.clear();
    if (cadena_) {
        e_.almacen.Objetos().ParaCada([&](uint32_t num, const Entrada& e) {
            if (e.tipo == Tipo::Libre) liberados_.push_back(num);
        });
    }
    e_.almacen.PonerBase(cabecera_);
    e_.almacen.PonerMapa({});
    e_.almacen.Tolerar();
    if (!Rehacer(e_.almacen, e_.trailer, fallo_)) return false;
    bool hayFlujos = false;
    e_.almacen.Objetos().ParaCada([&](uint32_t, const Entrada& e) { hayFlujos |= e.tipo == Tipo::EnFlujo; });
    e_.clase = hayFlujos ? Seccion::Flujo : Seccion::Tabla;
    e_.previo = 0;
    return true;
}

bool Apertura::LeerRaiz() {
    long num = 0;
    long gen = 0;
    if (!LeerReferencia(UltimoValor(e_.trailer, "Root"), num, gen) || num < 1 || num > kNumeroMaximo) return false;
    const Entrada* e = e_.almacen.Objetos().Viva(static_cast<uint64_t>(num));
    if (e == nullptr || e->gen != gen) return false;
    e_.raiz = {static_cast<uint32_t>(num), static_cast<uint16_t>(gen)};
    std::string valor;
    std::string_view dict;
    if (e_.almacen.Leer(e_.raiz.num, valor) != Estado::Bien || !Interior(valor, dict)) return false;
    e_.catalogo = dict;
    return true;
}

// One node of the page tree: a page, or the children that are to be visited.
Examen Apertura::Nodo(Ref ref, const std::string& dict, std::vector<Ref>& hijos) {
    if (ClavesAmbiguas(dict)) {
        Falla(fallo_, Defecto::ClaveRepetida, ref.num);
        return Examen::Imposible;
    }
    const std::string tipo = e_.Resolver(UltimoValor(dict, "Type"));
    const std::string lista = e_.Resolver(UltimoValor(dict, "Kids"));
    std::string_view elementos;
    if (tipo == "/Page" || !Elementos(lista, elementos)) {
        // Something that says to be neither a page nor to have children is neither.
        if (tipo == "/Page" || tipo.empty()) e_.paginas.push_back(ref);
        return Examen::Bien;
    }
    for (size_t pos = Blanco(elementos, 0); pos < elementos.size();) {
        const size_t fin = FinLiteral(elementos, pos);
        long num = 0;
        long gen = 0;
        if (LeerReferencia(elementos.substr(pos, fin - pos), num, gen) && num > 0 && num <= kNumeroMaximo) {
            hijos.push_back({static_cast<uint32_t>(num), static_cast<uint16_t>(std::clamp(gen, 0L, 65535L))});
        }
        pos = Blanco(elementos, fin);
    }
    return Examen::Bien;
}

// The pages in document order; each inner node is visited once, so that cycles end and doubled branches don't multiply.
Examen Apertura::Arbol() {
    if (!LeerRaiz()) return Examen::Roto;
    if (ClavesAmbiguas(e_.catalogo) || ClavesAmbiguas(e_.trailer)) {
        Falla(fallo_, Defecto::ClaveRepetida, e_.raiz.num);
        return Examen::Imposible;
    }
    long num = 0;
    long gen = 0;
    if (!LeerReferencia(UltimoValor(e_.catalogo, "Pages"), num, gen) || num < 1 || num > kNumeroMaximo) {
        Falla(fallo_, Defecto::SinArbol);
        return Examen::Roto;
    }
    std::set<uint32_t> vistos;
    std::vector<Ref> pendientes{{static_cast<uint32_t>(num), static_cast<uint16_t>(gen)}};
    std::vector<Ref> hijos;
    while (!pendientes.empty()) {
        const Ref ref = pendientes.back();
        pendientes.pop_back();
        const Entrada* e = e_.almacen.Objetos().Viva(ref.num);
        std::string valor;
        std::string_view dict;
        if (e == nullptr || e->gen != ref.gen || e_.almacen.Leer(ref.num, valor) != Estado::Bien ||
            !Interior(valor, dict)) {
            continue;
        }
        hijos.clear();
        const Examen r = Nodo(ref, std::string(dict), hijos);
        if (r != Examen::Bien) return r;
        if (!hijos.empty() && !vistos.insert(ref.num).second) continue;
        pendientes.insert(pendientes.end(), hijos.rbegin(), hijos.rend());
    }
    if (!e_.paginas.empty()) return Examen::Bien;
    Falla(fallo_, Defecto::SinPaginas);
    return Examen::Roto;
}

bool Apertura::PideOpinion(const Grafo& grafo) const {
    if (sospechoso_ || e_.rarezas.reconstruido) return true;
    if (e_.clase != Seccion::Flujo) return !grafo.Nulos().empty();
    // Some readers don't believe a table that an object is free.
    const auto liberado = [&](uint32_t num) {
        const Entrada* e = e_.almacen.Objetos().Ver(num);
        return e != nullptr && e->tipo == Tipo::Libre && e->deTabla;
    };
    return std::any_of(grafo.Nulos().begin(), grafo.Nulos().end(), liberado);
}

Examen Apertura::Examinar(const std::vector<std::pair<uint32_t, uint64_t>>& repetidos) {
    Grafo grafo(e_.almacen);
    if (!grafo.Construir(e_.trailer, repetidos, fallo_) || !grafo.Alcanzar(e_.trailer, fallo_)) {
        return Examen::Imposible;
    }
    if (grafo.Ambiguo().defecto != Defecto::Ninguno) {
        fallo_ = grafo.Ambiguo();
        return Examen::Imposible;
    }
    if (grafo.Roto()) return Examen::Roto;
    // A page that the document has freed comes back when its objects are looked for; readers who believe the document
    // show it without.
    const auto libre =
        std::find_if(liberados_.begin(), liberados_.end(), [&](uint32_t n) { return grafo.Alcanzado(n); });
    if (libre != liberados_.end()) {
        Falla(fallo_, Defecto::DosLecturas, *libre);
        return Examen::Imposible;
    }
    if (!grafo.Nulos().empty() && grafo.Nulos().back() > kNumeroMaximo) {
        Falla(fallo_, Defecto::Excesivo, grafo.Nulos().back());
        return Examen::Imposible;
    }
    e_.rarezas.indiceAjeno = grafo.Extrano();
    const Examen r = Arbol();
    if (r != Examen::Bien) return r;
    if (PideOpinion(grafo) && !Coincide(e_.almacen, grafo, e_.raiz, fallo_)) return Examen::Imposible;
    return Examen::Bien;
}

bool Apertura::Consultar() {
    if (!Localizar() || PorCadena() != Desenlace::Bien) return false;
    return LeerRaiz() || Falla(fallo_, Defecto::CatalogoIlegible);
}

bool Apertura::Abrir() {
    if (!Localizar()) return false;
    const Desenlace r = PorCadena();
    if (r == Desenlace::Imposible) return false;
    if (r == Desenlace::Bien) {
        cadena_ = true;
        const Examen examen = Examinar(repetidos_);
        if (examen != Examen::Roto) return examen == Examen::Bien;
    }
    fallo_ = {};
    if (!Reconstruir()) return false;
    const Examen examen = Examinar({});
    if (examen == Examen::Roto && fallo_.defecto == Defecto::Ninguno) fallo_.defecto = Defecto::Irreparable;
    return examen == Examen::Bien;
}

Documento::Documento() = default;
Documento::~Documento() = default;

std::unique_ptr<Documento> Documento::Abrir(std::shared_ptr<const Fuente> fuente, Fallo& fallo) {
    fallo = {};
    std::unique_ptr<Documento> doc(new Documento);
    doc->e_ = std::make_unique<Partes>(std::move(fuente));
    if (!Apertura(*doc->e_, fallo).Abrir()) return nullptr;
    return doc;
}

std::unique_ptr<Documento> Documento::Consultar(std::shared_ptr<const Fuente> fuente, Fallo& fallo) {
    fallo = {};
    std::unique_ptr<Documento> doc(new Documento);
    doc->e_ = std::make_unique<Partes>(std::move(fuente));
    if (!Apertura(*doc->e_, fallo).Consultar()) return nullptr;
    return doc;
}

bool Documento::TienePrincipioYFin(const Fuente& fuente, Fallo& fallo) {
    Partes partes(std::shared_ptr<const Fuente>(std::shared_ptr<const Fuente>(), &fuente));
    return Apertura(partes, fallo).Localizar();
}

std::vector<Revision> Documento::Revisiones() const {
    std::vector<Revision> revisiones;
    Ventana ventana(*e_->fuente, 4096);
    for (auto s = e_->secciones.rbegin(); s != e_->secciones.rend(); ++s) {
        Revision r{s->clase, s->inicio, e_->fuente->Longitud()};
        for (uint64_t pos = s->inicio;;) {
            const std::string_view texto = ventana.Ver(pos, 4096);
            const size_t fin = texto.find(kFin);
            if (fin != std::string_view::npos) {
                const uint64_t tras = pos + fin + kFin.size();
                const std::string_view linea = ventana.Ver(tras, 2).substr(0, 2);
                r.fin = tras + (linea == "\r\n" ? 2 : linea.starts_with('\n') || linea.starts_with('\r') ? 1 : 0);
                break;
            }
            if (texto.size() < kFin.size() || ventana.HastaElFinal(pos, texto)) break;
            pos += texto.size() - kFin.size() + 1;
        }
        // The first-page section of a linearized file stands before the one that it continues.
        if (!revisiones.empty() && revisiones.back().inicio > r.inicio) {
            revisiones.back().clase = r.clase;
            continue;
        }
        revisiones.push_back(r);
    }
    return revisiones;
}

const struct Rarezas& Documento::Rarezas() const {
    return e_->rarezas;
}

std::vector<Documento::Sitio> Documento::Sitios() const {
    std::vector<Sitio> sitios;
    e_->almacen.Objetos().ParaCada([&](uint32_t num, const Entrada& e) {
        if (e.tipo == Tipo::Suelta) sitios.push_back({{num, e.gen}, 0, e.pos});
        if (e.tipo == Tipo::EnFlujo) sitios.push_back({{num, 0}, e.Contenedor(), e.Indice()});
    });
    return sitios;
}

const Fuente& Documento::Bytes() const {
    return *e_->fuente;
}
Seccion Documento::Clase() const {
    return e_->clase;
}
uint64_t Documento::Previo() const {
    return e_->previo;
}
std::string_view Documento::Trailer() const {
    return e_->trailer;
}
uint64_t Documento::Base() const {
    return e_->almacen.Base();
}
Ref Documento::Raiz() const {
    return e_->raiz;
}
const std::vector<Ref>& Documento::Paginas() const {
    return e_->paginas;
}

uint32_t Documento::Siguiente() const {
    uint32_t siguiente = e_->almacen.Objetos().Mayor() + 1;
    const auto contar = [&](std::string_view trailer) {
        long n = 0;
        size_t pos = 0;
        // A size beyond what readers promise is a slip, not a count.
        if (LeerEntero(UltimoValor(trailer, "Size"), pos, n) && n > 0 && n <= static_cast<long>(kNumeroMaximo)) {
            siguiente = std::max(siguiente, static_cast<uint32_t>(n));
        }
    };
    contar(e_->trailer);
    for (const SeccionLeida& s : e_->secciones) contar(s.trailer);
    return siguiente;
}

bool Documento::EsNulo(Ref ref) const {
    const Entrada* e = e_->almacen.Objetos().Viva(ref.num);
    return e == nullptr || e->gen != ref.gen;
}

bool Documento::Vigente(Ref) const {
    return true;
}

bool Documento::ValorDe(Ref ref, std::string& valor) const {
    return !EsNulo(ref) && e_->almacen.Leer(ref.num, valor) == Estado::Bien;
}

bool Documento::RefDe(std::string_view dict, std::string_view clave, Ref& ref) const {
    long num = 0;
    long gen = 0;
    if (!LeerReferencia(UltimoValor(dict, clave), num, gen) || num < 1 || num > kNumeroMaximo || gen < 0 ||
        gen > UINT16_MAX) {
        return false;
    }
    const Ref leida{static_cast<uint32_t>(num), static_cast<uint16_t>(gen)};
    if (EsNulo(leida)) return false;
    ref = leida;
    return true;
}

std::string Documento::Resolver(std::string_view valor) const {
    return e_->Resolver(valor);
}

std::string Documento::Partes::Resolver(std::string_view valor) const {
    std::string texto(valor);
    for (int i = 0; i < kNivelesReferencia; ++i) {
        long num = 0;
        long gen = 0;
        if (!LeerReferencia(texto, num, gen)) return texto;
        const Entrada* e = num > 0 ? almacen.Objetos().Viva(static_cast<uint64_t>(num)) : nullptr;
        if (e == nullptr || e->gen != gen) return {};
        if (almacen.Leer(static_cast<uint32_t>(num), texto) != Estado::Bien) return {};
    }
    return {};
}

}  // namespace LxPdf
