#include <unistd.h>

#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Respuestas.h"
#include "cli/Senales.h"
#include "cli/Tabla.h"
#include "cli/TextoTerminal.h"

namespace Cli {

namespace {

using Lx::Firma::Certificados;

// What one call lists: the numbers are those that a signature with the same file understands.
struct Listado {
    std::string pkcs12;
    Certificados certificados;
};

[[nodiscard]] Listado ListarUno(const std::string& ruta, const Argumentos& a) {
    Lx::Firma::Listar trabajo(ContextoDe(a, ruta), PreguntasDe(a), NombraFuente(a));
    Correr(trabajo);
    return {ruta, trabajo.Respuesta()};
}

// --- For programs

[[nodiscard]] std::string JsonDeEntrada(const Lx::CertStore::Entrada& e, const Lx::Firma::Aptitud& aptitud,
                                        size_t numero) {
    std::vector<std::string> breves, motivos;
    for (const Lx::Motivo m : aptitud.impedimentos) {
        breves.push_back(Json::Texto(Lx::Firma::EnBreve(m)));
        motivos.push_back(Json::Texto(NombreDe(m)));
    }
    Json::Objeto o;
    o.PonerNumero("numero", numero).PonerTexto("nombre", Lx::Firma::NombreDe(e.cert));
    o.PonerTexto("etiqueta", e.etiqueta).PonerTexto("origen", Lx::CertStore::NombreOrigen(e.origen));
    o.PonerTexto("emisor", e.cert.issuerCN).PonerTexto("serie", e.cert.serial);
    o.Poner("desde", std::string_view(std::to_string(e.cert.notBefore)));
    o.Poner("hasta", std::string_view(std::to_string(e.cert.notAfter)));
    o.PonerLogico("clave", e.conClave).PonerLogico("utilizable", aptitud.Apto());
    o.Poner("impedimentos", std::string_view(Json::Lista(breves)));
    return o.Poner("motivos", std::string_view(Json::Lista(motivos))).Cerrar();
}

[[nodiscard]] std::string JsonDeFuente(const Lx::CertStore::FuenteListada& f) {
    Json::Objeto o;
    o.PonerTexto("origen", Lx::CertStore::NombreOrigen(f.origen)).PonerTexto("quien", f.quien);
    o.PonerNumero("cuantos", f.cuantos).PonerTexto("error", f.fallo.frase);
    return o.PonerTexto("motivo", NombreDe(f.fallo.motivo)).Cerrar();
}

[[nodiscard]] std::string JsonDeListado(const Listado& l) {
    const Certificados& c = l.certificados;
    std::vector<std::string> entradas, fuentes;
    for (size_t i = 0; i < c.listado.entradas.size(); ++i)
        entradas.push_back(JsonDeEntrada(c.listado.entradas[i], c.aptitudes[i], i + 1));
    for (const auto& f : c.listado.fuentes) fuentes.push_back(JsonDeFuente(f));
    Json::Objeto o;
    o.PonerTexto("pkcs12", l.pkcs12).PonerTexto("resumen", c.listado.resumen).PonerTexto("error", c.fallo.frase);
    o.PonerTexto("motivo", NombreDe(c.fallo.motivo)).Poner("fuentes", std::string_view(Json::Lista(fuentes)));
    return o.Poner("certificados", std::string_view(Json::Lista(entradas))).Cerrar();
}

[[nodiscard]] std::string JsonDe(const std::vector<Listado>& listados, Lx::Motivo motivo, const std::string& error) {
    std::vector<std::string> textos;
    textos.reserve(listados.size());
    for (const Listado& l : listados) textos.push_back(JsonDeListado(l));
    Json::Objeto o;
    o.PonerNumero("version", 1).PonerTexto("error", error).PonerTexto("motivo", NombreDe(motivo));
    return o.Poner("listados", std::string_view(Json::Lista(textos))).Cerrar() + "\n";
}

// --- For people

void Quejarse(const Lx::Aviso& fallo) {
    if (!fallo) return;
    DecirError(fallo.frase);
    Aconsejar(fallo.motivo);
}

[[nodiscard]] bool Mostrar(const Listado& l, bool conTitulo) {
    const Certificados& c = l.certificados;
    const bool vacio = c.listado.entradas.empty();
    std::string texto = conTitulo ? Visible(l.pkcs12) + ":\n" : "";
    if (!vacio) texto += Tabla(c, AnchoTerminal(STDOUT_FILENO));
    if (!texto.empty() && !EscribirSalida(texto)) return false;
    if (!c.listado.resumen.empty()) Decir(c.listado.resumen);
    if (vacio && l.pkcs12.empty()) Decir("No hay ningún certificado; los de un fichero se ven con --pkcs12.");
    Quejarse(c.fallo);
    return true;
}

}  // namespace

std::string JsonDeFalloCertificados(const Argumentos&, const std::string& error) {
    return JsonDe({}, Lx::Motivo::MalUso, error);
}

int OrdenCertificados(const Argumentos& a) {
    std::vector<std::string> rutas = a.pkcs12;
    if (rutas.empty()) rutas.emplace_back();
    std::vector<Listado> listados;
    int estado = kBien;
    for (const std::string& ruta : rutas) {
        const Listado& l = listados.emplace_back(ListarUno(ruta, a));
        AcabarPorSenal();
        if (l.certificados.fallo) estado = kSinCertificado;
        if (!a.json && !Mostrar(l, rutas.size() > 1)) return kAlgoFallo;
    }
    if (!a.json) return estado;
    for (const Listado& l : listados) Quejarse(l.certificados.fallo);
    return EscribirSalida(JsonDe(listados, Lx::Motivo::Ninguno, "")) ? estado : kAlgoFallo;
}

}  // namespace Cli
