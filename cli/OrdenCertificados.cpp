#include <unistd.h>

#include <ctime>

#include "cli/Identidad.h"
#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Texto.h"

namespace Cli {

namespace {

// What one call lists: the numbers are those that a signature with the same file understands.
struct Listado {
    std::string pkcs12;
    std::string resumen;
    std::string error;
    Lista lista;
};

[[nodiscard]] Listado ListarUno(const std::string& ruta, const Argumentos& a) {
    Fuentes fuentes;
    Listado l;
    l.pkcs12 = ruta;
    if (!Listar(ruta, a, fuentes, l.error) && l.error.empty()) l.error = "no se pudo leer " + ruta + ".";
    l.resumen = fuentes.resumen;
    l.lista = fuentes.lista;
    return l;
}

// --- For programs

[[nodiscard]] std::string JsonDeEntrada(const Lx::CertStore::Entrada& e, size_t numero, int64_t ahora) {
    std::vector<std::string> motivos;
    for (const std::string& m : Impedimentos(e, ahora)) motivos.push_back(Json::Texto(m));
    Json::Objeto o;
    o.PonerNumero("numero", numero).PonerTexto("nombre", NombreDe(e.cert)).PonerTexto("etiqueta", e.etiqueta);
    o.PonerTexto("origen", Lx::CertStore::NombreOrigen(e.origen)).PonerTexto("emisor", e.cert.issuerCN);
    o.PonerTexto("serie", e.cert.serial);
    o.Poner("desde", std::string_view(std::to_string(e.cert.notBefore)));
    o.Poner("hasta", std::string_view(std::to_string(e.cert.notAfter)));
    o.PonerLogico("clave", e.conClave).PonerLogico("utilizable", motivos.empty());
    return o.Poner("impedimentos", std::string_view(Json::Lista(motivos))).Cerrar();
}

[[nodiscard]] std::string JsonDe(const std::vector<Listado>& listados, const std::string& error, int64_t ahora) {
    std::vector<std::string> fuentes;
    for (const Listado& l : listados) {
        std::vector<std::string> entradas;
        for (const auto& e : l.lista) entradas.push_back(JsonDeEntrada(e, entradas.size() + 1, ahora));
        Json::Objeto o;
        o.PonerTexto("pkcs12", l.pkcs12).PonerTexto("resumen", l.resumen).PonerTexto("error", l.error);
        fuentes.push_back(o.Poner("certificados", std::string_view(Json::Lista(entradas))).Cerrar());
    }
    Json::Objeto o;
    o.PonerNumero("version", 1).PonerTexto("error", error);
    return o.Poner("listados", std::string_view(Json::Lista(fuentes))).Cerrar() + "\n";
}

// --- For people

[[nodiscard]] bool Mostrar(const Listado& l, bool conTitulo, int64_t ahora) {
    std::string texto = conTitulo ? Visible(l.pkcs12) + ":\n" : "";
    if (!l.lista.empty()) texto += Tabla(l.lista, ahora, AnchoTerminal(STDOUT_FILENO));
    if (!texto.empty() && !EscribirSalida(texto)) return false;
    if (!l.resumen.empty()) Decir(l.resumen);
    if (l.lista.empty() && l.pkcs12.empty()) Decir("No hay ningún certificado; los de un fichero se ven con --pkcs12.");
    if (!l.error.empty()) DecirError(l.error);
    return true;
}

}  // namespace

std::string JsonDeFalloCertificados(const Argumentos&, const std::string& error) {
    return JsonDe({}, error, 0);
}

int OrdenCertificados(const Argumentos& a) {
    const int64_t ahora = std::time(nullptr);
    std::vector<std::string> rutas = a.pkcs12;
    if (rutas.empty()) rutas.emplace_back();
    std::vector<Listado> listados;
    int estado = kBien;
    for (const std::string& ruta : rutas) {
        const Listado& l = listados.emplace_back(ListarUno(ruta, a));
        if (!l.error.empty()) estado = kSinCertificado;
        if (!a.json && !Mostrar(l, rutas.size() > 1, ahora)) return kAlgoFallo;
    }
    if (!a.json) return estado;
    for (const Listado& l : listados)
        if (!l.error.empty()) DecirError(l.error);
    return EscribirSalida(JsonDe(listados, "", ahora)) ? estado : kAlgoFallo;
}

}  // namespace Cli
