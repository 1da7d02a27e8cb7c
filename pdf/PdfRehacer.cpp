#include "pdf/PdfRehacer.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "pdf/LxSintaxis.h"
#include "pdf/PdfRastreo.h"

namespace LxPdf {

namespace {

constexpr int kFallidosMaximos = 64;  // headers without a readable value
constexpr size_t kCandidatosMaximos = 4'000'000;

// The dictionary at `pos`. What isn't closed within a quarter of a megabyte is none; `margen` pays for what is read.
bool DictEn(Ventana& ventana, uint64_t pos, uint64_t& margen, std::string& dict) {
    for (const size_t n : {size_t{4096}, size_t{256} << 10}) {
        const std::string_view texto = ventana.Ver(pos, n).substr(0, n);
        const size_t ini = Blanco(texto, 0);
        std::string_view dentro;
        if (ini < texto.size() && texto.substr(ini, 2) != "<<") return false;
        if (Interior(texto, dentro)) {
            dict = dentro;
            margen -= std::min<uint64_t>(margen, dict.size());
            return true;
        }
        margen -= std::min<uint64_t>(margen, texto.size());
        if (ventana.HastaElFinal(pos, texto) || margen == 0) return false;
    }
    return false;
}

// The number of the object that a trailer's /Root refers to, 0 when it refers to none.
uint32_t RaizDe(std::string_view trailer) {
    long num = 0;
    long gen = 0;
    if (!LeerReferencia(UltimoValor(trailer, "Root"), num, gen) || num < 1 || num > kNumeroMaximo) return 0;
    return static_cast<uint32_t>(num);
}

bool EsCifrado(std::string_view trailer) {
    const std::string_view valor = UltimoValor(trailer, "Encrypt");
    return !valor.empty() && valor != "null";
}

class Busqueda {
  public:
    Busqueda(Almacen& almacen, std::string& trailer, Fallo& fallo)
        : almacen_(almacen),
          trailer_(trailer),
          fallo_(fallo),
          ventana_(almacen.Bytes(), 1U << 20),
          margen_(MargenDe(almacen.Bytes())) {}

    bool Hacer();

  private:
    void BuscarEnteros();
    bool Objeto(uint64_t& pos);
    void Apuntar(const Crudo& crudo);
    bool Trailer(std::string_view dict);
    bool Miembros();
    bool BuscarCatalogo();

    Almacen& almacen_;
    std::string& trailer_;
    Fallo& fallo_;
    Ventana ventana_;
    Mapa mapa_;
    std::map<uint64_t, long> enteros_;  // numbers whose objects are whole numbers; negative: not always the same
    std::vector<uint32_t> flujos_;      // object streams as they come
    std::set<uint32_t> catalogos_;
    int fallidos_ = 0;
    uint64_t margen_ = 0;
};

// The lengths of streams may stand behind them.
void Busqueda::BuscarEnteros() {
    Ventana ventana(almacen_.Bytes(), 4096);
    Rastrear(
        almacen_.Bytes(),
        [&](const Cabecera& c) {
            Crudo crudo;
            uint64_t cuerpo = 0;
            if (!LeerCabecera(ventana, c.pos, crudo, cuerpo)) return;
            const std::string_view texto = ventana.Ver(cuerpo, 64);
            size_t pos = 0;
            long n = 0;
            if (!LeerEntero(texto, pos, n) || n < 0 || !texto.substr(Blanco(texto, pos)).starts_with("endobj")) return;
            const auto [it, nuevo] = enteros_.try_emplace(c.num, n);
            if (!nuevo && it->second != n) it->second = -1;
        },
        [](uint64_t) {});
}

void Busqueda::Apuntar(const Crudo& crudo) {
    if (crudo.num == 0 || crudo.num > kNumeroMaximo || crudo.gen > 65535) return;
    const auto num = static_cast<uint32_t>(crudo.num);
    Entrada& e = mapa_.Poner(num);
    e.tipo = Tipo::Suelta;
    e.pos = (crudo.inicio - almacen_.Base()) & kPosMaxima;
    e.gen = static_cast<uint16_t>(crudo.gen);
    std::string_view dict;
    if (!Interior(crudo.valor, dict)) return;
    const std::string_view tipo = UltimoValor(dict, "Type");
    if (tipo == "/Catalog") catalogos_.insert(num);
    if (tipo == "/ObjStm" && crudo.flujo) flujos_.push_back(num);
}

// The newest with a /Root is the document's.
bool Busqueda::Trailer(std::string_view dict) {
    if (EsCifrado(dict)) {
        fallo_.defecto = Defecto::Cifrado;
        return false;
    }
    if (RaizDe(dict) != 0) trailer_ = dict;
    return true;
}

// Reads the object at `pos` and moves behind it. False when the search can't go on.
bool Busqueda::Objeto(uint64_t& pos) {
    Crudo crudo;
    if (!LeerCrudo(ventana_, pos, crudo)) {
        uint64_t cuerpo = 0;
        if (LeerCabecera(ventana_, pos, crudo, cuerpo) && ++fallidos_ > kFallidosMaximos) {
            fallo_.defecto = Defecto::Excesivo;
            return false;
        }
        const std::string_view texto = ventana_.Ver(pos, 64);
        size_t n = 0;
        while (n < texto.size() && !EsDelim(texto[n])) ++n;
        pos += std::max<size_t>(n, 1);
        return true;
    }
    Apuntar(crudo);
    pos = crudo.fin;
    if (!crudo.flujo) return true;
    std::string_view dict;
    std::string copia;
    if (Interior(crudo.valor, dict)) copia = dict;
    if (UltimoValor(copia, "Type") == "/XRef" && !Trailer(copia)) return false;
    const std::string_view valor = UltimoValor(copia, "Length");
    long largo = -1;
    long num = 0;
    long gen = 0;
    size_t p = 0;
    if (LeerReferencia(valor, num, gen)) {
        const auto it = enteros_.find(static_cast<uint64_t>(num));
        largo = it == enteros_.end() ? -1 : it->second;
    } else if (!LeerEntero(valor, p, largo)) {
        largo = -1;
    }
    pos = FinDatos(ventana_, crudo, largo, almacen_.Bytes().Longitud());
    return true;
}

// What object streams hold goes over what stood before them in the file.
bool Busqueda::Miembros() {
    almacen_.PonerMapa(std::move(mapa_));
    Mapa& mapa = almacen_.Objetos();
    for (const uint32_t num : flujos_) {
        const Entrada* flujo = mapa.Viva(num);
        std::shared_ptr<const FlujoObjetos> objetos;
        if (flujo == nullptr || flujo->tipo != Tipo::Suelta) continue;
        const uint64_t pos = flujo->pos;
        const Estado estado = almacen_.Contenedor(num, objetos);
        if (estado == Estado::Excesivo || estado == Estado::Ajeno) {
            fallo_ = {estado == Estado::Ajeno ? Defecto::Filtro : Defecto::Excesivo, num, almacen_.Filtro()};
            return false;
        }
        if (estado != Estado::Bien) continue;
        for (size_t i = 0; i < objetos->miembros.size(); ++i) {
            const uint32_t miembro = objetos->miembros[i].num;
            if (miembro == 0 || miembro == num) continue;
            Entrada& e = mapa.Poner(miembro);
            const Entrada* previo = e.tipo == Tipo::EnFlujo ? mapa.Viva(e.Contenedor()) : &e;
            if (e.Viva() && previo != nullptr && previo->pos > pos) continue;
            e.tipo = Tipo::EnFlujo;
            e.pos = (static_cast<uint64_t>(num) << 32 | i) & kPosMaxima;
            e.gen = 0;
            std::string_view dict;
            const bool catalogo =
                Interior(objetos->Valor(objetos->miembros[i]), dict) && UltimoValor(dict, "Type") == "/Catalog";
            if (catalogo) catalogos_.insert(miembro);
        }
    }
    return true;
}

// Without a trailer the catalogue itself must do, if there is but one.
bool Busqueda::BuscarCatalogo() {
    if (!trailer_.empty()) return true;
    if (catalogos_.size() != 1) {
        fallo_.defecto = catalogos_.empty() ? Defecto::Irreparable : Defecto::DosRaices;
        return false;
    }
    const uint32_t num = *catalogos_.begin();
    trailer_ = " /Root " + Texto(Ref{num, almacen_.Objetos().Viva(num)->gen});
    return true;
}

bool Busqueda::Hacer() {
    BuscarEnteros();
    const uint64_t total = almacen_.Bytes().Longitud();
    for (uint64_t pos = almacen_.Base(); pos < total;) {
        const std::string_view texto = ventana_.Ver(pos, 4096);
        if (texto.empty()) break;
        const char c = texto.front();
        if (EsBlanco(c)) {
            size_t n = 1;
            while (n < texto.size() && EsBlanco(texto[n])) ++n;
            pos += n;
        } else if (c == '%') {
            // A comment may be longer than the view.
            for (std::string_view resto = texto; !resto.empty(); resto = ventana_.Ver(pos, 4096)) {
                const size_t fin = resto.find_first_of("\r\n");
                pos += std::min(fin, resto.size());
                if (fin != std::string_view::npos) break;
            }
        } else if (c >= '0' && c <= '9') {
            if (!Objeto(pos)) return false;
        } else if (texto.starts_with("trailer")) {
            std::string dict;
            pos += 7;
            if (DictEn(ventana_, pos, margen_, dict) && !Trailer(dict)) return false;
        } else {
            size_t n = 1;
            while (n < texto.size() && !EsDelim(c) && !EsDelim(texto[n])) ++n;
            pos += n;
        }
    }
    return Miembros() && BuscarCatalogo();
}

// --- The second opinion

class Opinion {
  public:
    Opinion(Almacen& almacen, const Grafo& grafo, Ref raiz, Fallo& fallo)
        : almacen_(almacen), grafo_(grafo), raiz_(raiz), fallo_(fallo), margen_(MargenDe(almacen.Bytes())) {}

    bool Pedir();

  private:
    [[nodiscard]] bool Interesa(uint64_t num) const {
        return num <= kNumeroMaximo && (grafo_.Alcanzado(static_cast<uint32_t>(num)) || EsNulo(num));
    }
    [[nodiscard]] bool EsNulo(uint64_t num) const {
        const auto& nulos = grafo_.Nulos();
        return std::binary_search(nulos.begin(), nulos.end(), static_cast<uint32_t>(num));
    }
    void Recoger();
    bool Miembros();
    bool Sueltos();
    [[nodiscard]] bool Difiere(uint32_t num, uint64_t pos);
    bool Otro(uint32_t num) {
        fallo_ = {Defecto::DosLecturas, num, {}};
        return false;
    }

    Almacen& almacen_;
    const Grafo& grafo_;
    Ref raiz_;
    Fallo& fallo_;
    std::vector<Cabecera> candidatos_;
    std::vector<uint64_t> flujos_;  // where object streams stand, or seem to
    uint64_t margen_;               // bytes that may still be read: headers may lie inside each other's values
    bool otraRaiz_ = false;
};

void Opinion::Recoger() {
    Ventana ventana(almacen_.Bytes());
    const auto raiz = [&](std::string_view dict) {
        const uint32_t num = RaizDe(dict);
        otraRaiz_ = otraRaiz_ || (num != 0 && num != raiz_.num);
    };
    Rastrear(
        almacen_.Bytes(),
        [&](const Cabecera& c) {
            if (margen_ == 0) return;
            if (candidatos_.size() > kCandidatosMaximos) margen_ = 0;
            if (Interesa(c.num)) candidatos_.push_back(c);
            Crudo crudo;
            uint64_t cuerpo = 0;
            std::string dict;
            if (!LeerCabecera(ventana, c.pos, crudo, cuerpo) || !DictEn(ventana, cuerpo, margen_, dict)) return;
            const std::string_view tipo = UltimoValor(dict, "Type");
            if (tipo == "/XRef") raiz(dict);
            if (tipo == "/ObjStm") flujos_.push_back(c.pos);
        },
        [&](uint64_t pos) {
            std::string dict;
            if (DictEn(ventana, pos, margen_, dict)) raiz(dict);
        });
    std::stable_sort(candidatos_.begin(), candidatos_.end(),
                     [](const Cabecera& a, const Cabecera& b) { return a.num < b.num; });
}

// The object at `pos` isn't what the map has under the number.
bool Opinion::Difiere(uint32_t num, uint64_t pos) {
    const Entrada* e = almacen_.Objetos().Viva(num);
    Ventana ventana(almacen_.Bytes(), 4096);
    Crudo crudo;
    if (!LeerCrudo(ventana, pos, crudo)) return true;
    if (e == nullptr) return crudo.valor != "null";
    if (e->tipo == Tipo::Suelta) {
        return !MismoCuerpo(almacen_.Bytes(), almacen_, almacen_.Base() + e->pos, crudo.inicio) &&
               almacen_.Base() + e->pos != pos;
    }
    std::string valor;
    const std::string otro(crudo.valor);
    return crudo.flujo || almacen_.Leer(num, valor) != Estado::Bien || valor != otro;
}

bool Opinion::Sueltos() {
    const uint64_t fin = UltimoFin(almacen_.Bytes());
    for (size_t i = 0; i < candidatos_.size();) {
        const auto num = static_cast<uint32_t>(candidatos_[i].num);
        // The last; the last that begins a line; the last of the highest generation; the last before the end.
        const Cabecera* elegidos[5] = {};
        for (; i < candidatos_.size() && candidatos_[i].num == num; ++i) {
            const Cabecera* c = &candidatos_[i];
            elegidos[0] = c;
            if (c->linea) elegidos[1] = c;
            if (elegidos[2] == nullptr || c->gen >= elegidos[2]->gen) elegidos[2] = c;
            if (c->linea && (elegidos[3] == nullptr || c->gen >= elegidos[3]->gen)) elegidos[3] = c;
            if (c->pos < fin) elegidos[4] = c;
        }
        for (size_t k = 0; k < std::size(elegidos); ++k) {
            if (elegidos[k] == nullptr || std::find(elegidos, elegidos + k, elegidos[k]) != elegidos + k) continue;
            if (Difiere(num, elegidos[k]->pos)) return Otro(num);
        }
    }
    return true;
}

// Of the members of object streams, those of the last one count for readers who look into them.
bool Opinion::Miembros() {
    std::set<uint32_t> otros;  // numbers whose last member so far isn't the document's
    for (const uint64_t pos : flujos_) {
        FlujoObjetos flujo;
        const Estado estado = almacen_.AbrirEn(pos, flujo);
        if (estado == Estado::Excesivo) {
            fallo_.defecto = Defecto::Excesivo;
            return false;
        }
        if (estado != Estado::Bien) continue;
        for (const FlujoObjetos::Miembro& m : flujo.miembros) {
            if (!Interesa(m.num)) continue;
            std::string valor;
            if (almacen_.Leer(m.num, valor) == Estado::Bien && valor == flujo.Valor(m)) {
                otros.erase(m.num);
            } else {
                otros.insert(m.num);
            }
        }
    }
    return otros.empty() || Otro(*otros.begin());
}

bool Opinion::Pedir() {
    Recoger();
    if (margen_ == 0) {
        fallo_.defecto = Defecto::Excesivo;
        return false;
    }
    if (otraRaiz_) {
        fallo_.defecto = Defecto::DosRaices;
        return false;
    }
    return Sueltos() && Miembros();
}

}  // namespace

bool Rehacer(Almacen& almacen, std::string& trailer, Fallo& fallo) {
    trailer.clear();
    return Busqueda(almacen, trailer, fallo).Hacer();
}

bool Coincide(Almacen& almacen, const Grafo& grafo, Ref raiz, Fallo& fallo) {
    return Opinion(almacen, grafo, raiz, fallo).Pedir();
}

}  // namespace LxPdf
