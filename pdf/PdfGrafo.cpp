#include "pdf/PdfGrafo.h"

#include <algorithm>

#include "pdf/LxSintaxis.h"

namespace LxPdf {

namespace {

constexpr size_t kAristasMaximas = 24'000'000;
constexpr size_t kAntes = 16;  // bytes looked at before a header

// "14 0 obj" read from its 4 on is object 4 for some.
bool Pegado(std::string_view antes) {
    if (antes.empty() || EsDelim(antes.back())) return false;
    return !antes.ends_with("endobj") && !antes.ends_with("%%EOF") && !antes.ends_with("endstream");
}

bool EsReferenciaSola(std::string_view valor) {
    long num = 0;
    long gen = 0;
    std::string_view resto;
    return LeerReferencia(valor, num, gen, &resto) && QuitarBlancos(resto).empty();
}

}  // namespace

bool MismoCuerpo(const Fuente& fuente, Almacen& almacen, uint64_t una, uint64_t otra) {
    if (una == otra) return true;
    Ventana ventana(fuente);
    const auto leer = [&](uint64_t pos, std::string& valor, uint64_t& datos, uint64_t& fin) {
        Crudo crudo;
        std::string_view dict;
        if (!LeerCrudo(ventana, pos, crudo)) return false;
        valor = crudo.valor;
        datos = fin = crudo.datos;
        if (!crudo.flujo) return true;
        long largo = -1;
        if (!Interior(valor, dict) || !almacen.Entero(UltimoValor(dict, "Length"), largo)) largo = -1;
        fin = FinDatos(ventana, crudo, largo, fuente.Longitud());
        return true;
    };
    std::string a;
    std::string b;
    uint64_t datosA = 0;
    uint64_t datosB = 0;
    uint64_t finA = 0;
    uint64_t finB = 0;
    if (!leer(una, a, datosA, finA) || !leer(otra, b, datosB, finB)) return false;
    if (a != b || finA - datosA != finB - datosB) return false;
    std::string trozoA;
    std::string trozoB;
    for (uint64_t hecho = 0; hecho < finA - datosA; hecho += trozoA.size()) {
        const auto n = static_cast<size_t>(std::min<uint64_t>(1U << 20, finA - datosA - hecho));
        trozoA.resize(n);
        trozoB.resize(n);
        if (!fuente.Leer(datosA + hecho, n, trozoA.data()) || !fuente.Leer(datosB + hecho, n, trozoB.data())) {
            return false;
        }
        if (trozoA != trozoB) return false;
    }
    return true;
}

bool Grafo::Alcanzado(uint32_t num) const {
    const Entrada* e = almacen_.Objetos().Viva(num);
    return e != nullptr && e->nodo < nodos_.size() && nodos_[e->nodo].num == num && nodos_[e->nodo].alcanzado;
}

void Grafo::Situar() {
    Mapa& mapa = almacen_.Objetos();
    mapa.ParaCada([&](uint32_t num, Entrada& e) {
        if (!e.Viva()) return;
        e.nodo = static_cast<uint32_t>(nodos_.size());
        Nodo nodo;
        nodo.num = num;
        nodo.ajeno = num;
        if (e.hibrida) nodo.defecto = Defecto::HibridoAmbiguo;
        nodos_.push_back(nodo);
    });
    sitios_.reserve(nodos_.size());
    for (uint32_t i = 0; i < nodos_.size(); ++i) {
        const Entrada& e = *mapa.Viva(nodos_[i].num);
        if (e.tipo == Tipo::Suelta) {
            sitios_.push_back({e.pos, 0, i});
            continue;
        }
        const Entrada* flujo = mapa.Viva(e.Contenedor());
        if (flujo == nullptr || flujo->tipo == Tipo::EnFlujo) {
            nodos_[i].defecto = Defecto::MiembroImposible;
        } else {
            sitios_.push_back({flujo->pos, e.Indice() + 1, i});
        }
    }
    std::sort(sitios_.begin(), sitios_.end(),
              [](const Sitio& a, const Sitio& b) { return a.pos != b.pos ? a.pos < b.pos : a.indice < b.indice; });
}

void Grafo::Referencias(Nodo& nodo, std::string_view valor) {
    const Mapa& mapa = almacen_.Objetos();
    const auto indice = static_cast<uint32_t>(&nodo - nodos_.data());
    nodo.desde = static_cast<uint32_t>(aristas_.size());
    ParaCadaReferencia(valor, [&](uint64_t num, uint64_t gen) {
        const Entrada* e = mapa.Viva(num);
        if (e == nullptr) {
            if (num == 0) return;
            colgantes_.emplace_back(indice, static_cast<uint32_t>(std::min<uint64_t>(num, UINT32_MAX)));
        } else if (gen != e->gen) {
            if (nodo.defecto == Defecto::Ninguno) {
                nodo.defecto = Defecto::GeneracionAjena;
                nodo.ajeno = static_cast<uint32_t>(num);
            }
        } else {
            aristas_.push_back(e->nodo);
        }
    });
    nodo.cuantas = static_cast<uint32_t>(aristas_.size()) - nodo.desde;
}

void Grafo::LeerSuelto(Nodo& nodo, const Entrada& e) {
    const uint64_t pos = almacen_.Base() + e.pos;
    const uint64_t antes = pos - std::min<uint64_t>(pos, kAntes);
    const std::string_view texto = ventana_->Ver(antes, 512);
    const auto largo = static_cast<size_t>(pos - antes);
    const bool pegado = texto.size() > largo && !EsBlanco(texto[largo]) && Pegado(texto.substr(0, largo));
    Crudo crudo;
    if (!LeerCrudo(*ventana_, pos, crudo) || crudo.num != nodo.num) {
        nodo.malo = true;
        return;
    }
    margen_ -= std::min<uint64_t>(margen_, crudo.fin - crudo.inicio);
    if (nodo.defecto == Defecto::Ninguno && crudo.gen != e.gen) nodo.defecto = Defecto::GeneracionAjena;
    if (nodo.defecto == Defecto::Ninguno && pegado) nodo.defecto = Defecto::DosLecturas;
    if (nodo.num == raiz_) {
        ReferenciasDeRaiz(nodo, crudo.valor);
    } else {
        Referencias(nodo, crudo.valor);
    }
}

// What the catalogue says for others than the reader of its pages may be lost without anybody seeing it.
void Grafo::ReferenciasDeRaiz(Nodo& nodo, std::string_view valor) {
    std::string_view dict;
    const Defecto antes = nodo.defecto;
    Referencias(nodo, valor);
    if (nodo.defecto != Defecto::GeneracionAjena || antes != Defecto::Ninguno || !Interior(valor, dict)) return;
    nodo.defecto = antes;
    Claves claves(dict);
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre == "StructTreeRoot" || c.nombre == "Metadata" || c.nombre == "PieceInfo") continue;
        ParaCadaReferencia(dict.substr(c.ini, c.fin - c.ini), [&](uint64_t num, uint64_t gen) {
            const Entrada* e = almacen_.Objetos().Viva(num);
            if (e == nullptr || e->gen == gen) return;
            nodo.defecto = Defecto::GeneracionAjena;
            nodo.ajeno = static_cast<uint32_t>(num);
        });
    }
}

void Grafo::LeerMiembro(Nodo& nodo, const Entrada& e) {
    std::shared_ptr<const FlujoObjetos> flujo;
    switch (almacen_.Contenedor(e.Contenedor(), flujo)) {
        case Estado::Bien:
            break;
        case Estado::Ajeno:
            nodo.defecto = Defecto::Filtro;
            return;
        case Estado::Otro:
            nodo.defecto = Defecto::MiembroImposible;
            return;
        case Estado::Excesivo:
            nodo.defecto = Defecto::Excesivo;
            return;
        default:
            nodo.malo = true;
            return;
    }
    bool ajeno = false;
    bool repetido = false;
    const FlujoObjetos::Miembro* m = flujo->Buscar(nodo.num, e.Indice(), ajeno, repetido);
    if (m == nullptr) {
        nodo.malo = true;
        return;
    }
    nodo.extrano = ajeno;
    const std::string_view parte = flujo->Parte(*m);
    // Of nearly all the part is a dictionary and nothing else: its end need not be looked for.
    const std::string_view valor = parte.starts_with("<<") && parte.ends_with(">>") ? parte : flujo->Valor(*m);
    const std::string_view resto = parte.substr(valor.size());
    const bool imposible = flujo->dudoso || repetido || valor.empty() || EsReferenciaSola(valor) ||
                           (valor.starts_with("<<") && QuitarBlancos(resto).starts_with("stream"));
    if (imposible) nodo.defecto = Defecto::MiembroImposible;
    if (nodo.num == raiz_) {
        ReferenciasDeRaiz(nodo, valor);
    } else {
        Referencias(nodo, valor);
    }
}

void Grafo::Repetidos(const std::vector<std::pair<uint32_t, uint64_t>>& repetidos) {
    for (const auto& [num, pos] : repetidos) {
        const Entrada* e = almacen_.Objetos().Viva(num);
        if (e == nullptr || !e->repetida) continue;
        Nodo& nodo = nodos_[e->nodo];
        const bool igual = e->tipo == Tipo::Suelta && pos != UINT64_MAX &&
                           MismoCuerpo(almacen_.Bytes(), almacen_, almacen_.Base() + e->pos, pos);
        if (!igual && nodo.defecto == Defecto::Ninguno) nodo.defecto = Defecto::DosLecturas;
    }
}

bool Grafo::Construir(std::string_view trailer, const std::vector<std::pair<uint32_t, uint64_t>>& repetidos,
                      Fallo& fallo) {
    long num = 0;
    long gen = 0;
    if (LeerReferencia(UltimoValor(trailer, "Root"), num, gen) && num > 0) raiz_ = static_cast<uint64_t>(num);
    Situar();
    Ventana ventana(almacen_.Bytes());
    ventana_ = &ventana;
    margen_ = MargenDe(almacen_.Bytes());
    for (const Sitio& s : sitios_) {
        Nodo& nodo = nodos_[s.nodo];
        const Entrada& e = *almacen_.Objetos().Viva(nodo.num);
        if (e.tipo != Tipo::Suelta) continue;
        LeerSuelto(nodo, e);
        if (aristas_.size() + colgantes_.size() > kAristasMaximas) {
            fallo.defecto = Defecto::Excesivo;
            return false;
        }
        if (margen_ == 0) {
            fallo.defecto = Defecto::Solapados;
            return false;
        }
    }
    ventana_ = nullptr;
    Repetidos(repetidos);
    return true;
}

// All members of the object stream that stands at `pos`.
void Grafo::LeerFlujo(uint64_t pos) {
    auto s =
        std::lower_bound(sitios_.begin(), sitios_.end(), pos, [](const Sitio& a, uint64_t p) { return a.pos < p; });
    for (; s != sitios_.end() && s->pos == pos; ++s) {
        Nodo& nodo = nodos_[s->nodo];
        const Entrada& e = *almacen_.Objetos().Viva(nodo.num);
        if (e.tipo != Tipo::EnFlujo || nodo.leido) continue;
        nodo.leido = true;
        LeerMiembro(nodo, e);
    }
}

bool Grafo::Alcanzar(std::string_view trailer, Fallo& fallo) {
    const Mapa& mapa = almacen_.Objetos();
    std::vector<uint32_t> pendientes;
    const auto entrar = [&](uint32_t indice) {
        Nodo& nodo = nodos_[indice];
        if (nodo.alcanzado) return;
        nodo.alcanzado = true;
        pendientes.push_back(indice);
    };
    Claves claves(trailer);
    for (Clave c; claves.Siguiente(c);) {
        if (c.nombre == "Prev" || c.nombre == "XRefStm") continue;
        ParaCadaReferencia(trailer.substr(c.ini, c.fin - c.ini), [&](uint64_t num, uint64_t gen) {
            const Entrada* e = mapa.Viva(num);
            if (e == nullptr) {
                if (num != 0) nulos_.push_back(static_cast<uint32_t>(std::min<uint64_t>(num, UINT32_MAX)));
            } else if (e->gen != gen) {
                ambiguo_ = {Defecto::GeneracionAjena, static_cast<uint32_t>(num), {}};
            } else {
                entrar(e->nodo);
            }
        });
    }
    while (!pendientes.empty()) {
        const uint32_t indice = pendientes.back();
        pendientes.pop_back();
        const Entrada& e = *mapa.Viva(nodos_[indice].num);
        const bool porLeer = e.tipo == Tipo::EnFlujo && !nodos_[indice].leido;
        const Entrada* flujo = porLeer ? mapa.Viva(e.Contenedor()) : nullptr;
        if (flujo != nullptr && flujo->tipo == Tipo::Suelta) LeerFlujo(flujo->pos);
        if (aristas_.size() + colgantes_.size() > kAristasMaximas) {
            fallo.defecto = Defecto::Excesivo;
            return false;
        }
        const Nodo nodo = nodos_[indice];
        for (uint32_t i = 0; i < nodo.cuantas; ++i) entrar(aristas_[nodo.desde + i]);
    }
    Juzgar();
    return true;
}

void Grafo::Juzgar() {
    for (const Nodo& nodo : nodos_) {
        if (!nodo.alcanzado) continue;
        roto_ = roto_ || nodo.malo;
        extrano_ = extrano_ || nodo.extrano;
        if (ambiguo_.defecto != Defecto::Ninguno || nodo.defecto == Defecto::Ninguno) continue;
        ambiguo_ = {nodo.defecto, nodo.ajeno, {}};
        if (nodo.defecto == Defecto::Filtro) ambiguo_.nombre = almacen_.Filtro();
    }
    for (const auto& [nodo, num] : colgantes_)
        if (nodos_[nodo].alcanzado) nulos_.push_back(num);
    std::sort(nulos_.begin(), nulos_.end());
    nulos_.erase(std::unique(nulos_.begin(), nulos_.end()), nulos_.end());
    for (const uint32_t num : nulos_) {
        const Entrada* e = almacen_.Objetos().Ver(num);
        if (e != nullptr && e->tipo == Tipo::Ajena && ambiguo_.defecto == Defecto::Ninguno) {
            ambiguo_ = {Defecto::EntradaAjena, num, {}};
        }
    }
}

}  // namespace LxPdf
