#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

#include "card/LxTarjeta.h"
#include "certstore/LxCertStore.h"
#include "certstore/Pkcs12.h"

namespace Lx::CertStore {

namespace {

[[nodiscard]] FuenteListada ListarTarjeta(const Contexto& ctx, std::vector<Entrada>& lista, Control& control) {
    Dnie::Lectura lectura = Dnie::LeerTarjeta(ctx.lector, control);
    FuenteListada f;
    f.origen = Origen::Dnie;
    f.quien = lectura.lector;
    f.firmaPerdida = lectura.firmaPerdida;
    f.fallo = std::move(lectura.fallo);
    f.texto = "DNIe: sin lector";
    if (lectura.lector.empty()) return f;
    for (Dnie::CertificadoDnie& leido : lectura.certificados) {
        if (leido.cert.isCA) continue;
        const std::string& nombre = leido.cert.subjectCN.empty() ? leido.cert.subjectDN : leido.cert.subjectCN;
        lista.push_back({Origen::Dnie, "DNIe · " + (nombre.empty() ? "(sin nombre)" : nombre), lectura.lector,
                         std::move(leido.cert), true, std::move(leido.etiqueta), leido.deFirma});
        ++f.cuantos;
    }
    f.texto = "DNIe: " + (f.cuantos == 0 ? "ninguno" : std::to_string(f.cuantos) + " de firma");
    if (lectura.certificados.empty() && !f.fallo.frase.empty()) f.texto += " (" + f.fallo.frase + ")";
    return f;
}

[[nodiscard]] FuenteListada ListarAlmacen(std::vector<Entrada>& lista, Control& control) {
    const size_t antes = lista.size();
    ListadoSistema listado = LeerSistema(lista, control);
    FuenteListada f;
    f.origen = Origen::Sistema;
    f.cuantos = lista.size() - antes;
    f.fallo = std::move(listado.fallo);
    f.texto = std::string(NombreOrigen(Origen::Sistema)) + ": ";
    if (f.cuantos != 0)
        f.texto += std::to_string(f.cuantos) + " certificado(s)";
    else
        f.texto += listado.texto.empty() ? "vacío" : listado.texto;
    return f;
}

// What an earlier list had from the other sources.
void TomarDelAnterior(const Listado& anterior, Listado& l) {
    for (const Entrada& e : anterior.entradas)
        if (e.origen != Origen::Dnie) l.entradas.push_back(e);
    for (const FuenteListada& f : anterior.fuentes)
        if (f.origen != Origen::Dnie) l.fuentes.push_back(f);
}

// The card's certificates always stay, even beside the same one in another source: only they can sign by the card.
void QuitarRepetidos(std::vector<Entrada>& lista) {
    std::map<std::string, size_t> vistos;
    std::vector<Entrada> quedan;
    for (Entrada& e : lista) {
        if (e.origen != Origen::Dnie) {
            const auto [visto, nuevo] = vistos.emplace(e.cert.issuerDN + "|" + e.cert.serial, quedan.size());
            if (!nuevo) {
                Entrada& primera = quedan[visto->second];
                if (e.origen == Origen::Pkcs12 && e.conClave && e.cert.der == primera.cert.der)
                    primera.enFichero = primera.origen != Origen::Pkcs12;
                continue;
            }
        }
        quedan.push_back(std::move(e));
    }
    lista = std::move(quedan);
}

// The clock is asked once per certificate: one that expires meanwhile can't upset the order.
void Ordenar(std::vector<Entrada>& lista) {
    std::stable_sort(lista.begin(), lista.end(),
                     [](const Entrada& a, const Entrada& b) { return a.origen < b.origen; });
    std::stable_partition(lista.begin(), lista.end(), [](const Entrada& e) { return !e.cert.Caducado(); });
}

}  // namespace

const FuenteListada* Listado::De(Origen origen) const {
    const auto i =
        std::find_if(fuentes.begin(), fuentes.end(), [origen](const FuenteListada& f) { return f.origen == origen; });
    return i == fuentes.end() ? nullptr : &*i;
}

Listado ListarFuentes(const Contexto& ctx, Control& control, const Listado* anterior) {
    Listado l;
    l.fuentes.push_back(ListarTarjeta(ctx, l.entradas, control));
    if (anterior != nullptr) {
        TomarDelAnterior(*anterior, l);
    } else {
        l.fuentes.push_back(ListarAlmacen(l.entradas, control));
        if (!ctx.rutaPkcs12.empty()) l.fuentes.push_back(ListarPkcs12(ctx, l.entradas, control));
    }
    for (const FuenteListada& f : l.fuentes) l.resumen += (l.resumen.empty() ? "" : " | ") + f.texto;
    QuitarRepetidos(l.entradas);
    Ordenar(l.entradas);
    return l;
}

std::vector<Entrada> Listar(const Contexto& ctx, std::string& resumen) {
    Control control;
    Listado l = ListarFuentes(ctx, control);
    resumen = std::move(l.resumen);
    return std::move(l.entradas);
}

}  // namespace Lx::CertStore
