#include <algorithm>
#include <iterator>
#include <set>

#include "certstore/LxCertStore.h"
#include "certstore/Pkcs12.h"
#include "certstore/Tarjeta.h"

namespace Lx::CertStore {

namespace {

[[nodiscard]] std::string LectorElegido(const Contexto& ctx) {
    const std::vector<std::string> lectores = Tarjeta::ListarLectores();
    if (!ctx.lector.empty() || lectores.empty()) return ctx.lector;
    const int indice = Tarjeta::PriorizarLector(lectores);
    if (indice < 0 || static_cast<size_t>(indice) >= lectores.size()) return {};
    return lectores[static_cast<size_t>(indice)];
}

[[nodiscard]] std::string ListarTarjeta(const Contexto& ctx, std::vector<Entrada>& lista) {
    const std::string lector = LectorElegido(ctx);
    if (lector.empty()) return "DNIe: sin lector";
    std::string error;
    const std::vector<X509::Certificado> certificados = Tarjeta::LeerCertificados(lector, error);
    size_t cuantos = 0;
    for (const X509::Certificado& cert : certificados) {
        if (cert.isCA) continue;
        const std::string& nombre = cert.subjectCN.empty() ? cert.subjectDN : cert.subjectCN;
        lista.push_back({Origen::Dnie, "DNIe · " + (nombre.empty() ? "(sin nombre)" : nombre), lector, cert, true});
        ++cuantos;
    }
    std::string texto = "DNIe: " + (cuantos == 0 ? "ninguno" : std::to_string(cuantos) + " de firma");
    if (certificados.empty() && !error.empty()) texto += " (" + error + ")";
    return texto;
}

[[nodiscard]] std::string ListarAlmacen(std::vector<Entrada>& lista) {
    const size_t antes = lista.size();
    std::string texto;
    ListarSistema(lista, texto);
    const size_t cuantos = lista.size() - antes;
    if (cuantos != 0)
        texto = std::to_string(cuantos) + " certificado(s)";
    else if (texto.empty())
        texto = "vacío";
    return std::string(" | ") + NombreOrigen(Origen::Sistema) + ": " + texto;
}

// The card's certificates always stay, even beside the same one in another source: only they can sign by the card.
void QuitarRepetidos(std::vector<Entrada>& lista) {
    std::set<std::string> vistos;
    std::erase_if(lista, [&vistos](const Entrada& e) {
        return e.origen != Origen::Dnie && !vistos.insert(e.cert.issuerDN + "|" + e.cert.serial).second;
    });
}

// The clock is asked once per certificate: one that expires meanwhile can't upset the order.
void Ordenar(std::vector<Entrada>& lista) {
    std::stable_sort(lista.begin(), lista.end(),
                     [](const Entrada& a, const Entrada& b) { return a.origen < b.origen; });
    std::stable_partition(lista.begin(), lista.end(), [](const Entrada& e) { return !e.cert.Caducado(); });
}

}  // namespace

std::vector<Entrada> Listar(const Contexto& ctx, std::string& resumen) {
    std::vector<Entrada> lista;
    resumen = ListarTarjeta(ctx, lista);
    resumen += ListarAlmacen(lista);
    if (!ctx.rutaPkcs12.empty()) resumen += " | PKCS#12: " + ListarPkcs12(ctx, lista);
    QuitarRepetidos(lista);
    Ordenar(lista);
    return lista;
}

}  // namespace Lx::CertStore
