#include <algorithm>

#include "cli/Json.h"
#include "cli/Ordenes.h"
#include "cli/Respuestas.h"
#include "cli/Senales.h"
#include "cli/TextoTerminal.h"
#include "firma/LxDiagnosticar.h"

namespace Cli {

namespace {

using Lx::Firma::Diagnostico;
using Certificado = decltype(decltype(Diagnostico::tarjeta)::certificados)::value_type;
using Paso = decltype(decltype(Diagnostico::tarjeta)::pasos)::value_type;

constexpr int kSinPerfil = 3;

[[nodiscard]] std::string JsonDePaso(const Paso& p) {
    Json::Objeto o;
    o.PonerTexto("nombre", p.nombre).PonerLogico("probado", p.probado).PonerLogico("ok", p.ok);
    o.PonerTexto("motivo", NombreDe(p.motivo));
    return o.PonerTexto("texto", p.texto).PonerTexto("consejo", p.consejo).Cerrar();
}

[[nodiscard]] std::string JsonDeCertificado(const Certificado& c, bool detalle) {
    Json::Objeto o;
    o.PonerTexto("uso", c.etiqueta).Poner("hasta", std::string_view(std::to_string(c.cert.notAfter)));
    o.PonerLogico("caducado", c.Caducado()).PonerLogico("ca", c.cert.isCA);
    if (!detalle) return o.Cerrar();
    o.PonerTexto("titular", c.cert.subjectDN).PonerTexto("emisor", c.cert.issuerDN);
    return o.PonerTexto("serie", c.cert.serial).PonerTexto("pem", Lx::Firma::Pem(c.cert)).Cerrar();
}

[[nodiscard]] std::string NumeroONulo(int numero, bool hay) {
    return hay ? std::to_string(numero) : "null";
}

[[nodiscard]] std::string ListaDe(const std::vector<std::string>& textos) {
    std::vector<std::string> valores;
    valores.reserve(textos.size());
    for (const std::string& t : textos) valores.push_back(Json::Texto(t));
    return Json::Lista(valores);
}

[[nodiscard]] std::string JsonDe(const Diagnostico& diagnostico, Lx::Motivo motivo, const std::string& error,
                                 bool detalle) {
    const auto& d = diagnostico.tarjeta;
    std::vector<std::string> pasos, certificados;
    for (const Paso& p : d.pasos) pasos.push_back(JsonDePaso(p));
    for (const Certificado& c : d.certificados) certificados.push_back(JsonDeCertificado(c, detalle));
    Json::Objeto o;
    o.PonerNumero("version", 1).PonerTexto("error", error).PonerTexto("motivo", NombreDe(motivo));
    o.PonerLogico("puedeFirmar", d.puedeFirmar);
    o.Poner("lectores", std::string_view(ListaDe(d.lectores))).PonerTexto("lector", d.lector);
    o.PonerLogico("sinContacto", d.sinContacto).PonerTexto("atr", d.atr);
    o.Poner("perfil", std::string_view(NumeroONulo(d.perfil, d.perfil != kSinPerfil))).PonerTexto("modelo", d.modelo);
    o.Poner("intentosPin", std::string_view(NumeroONulo(d.intentosPin, d.intentosPin >= 0)));
    o.Poner("pasos", std::string_view(Json::Lista(pasos)));
    o.Poner("certificados", std::string_view(Json::Lista(certificados))).PonerTexto("informe", d.informe);
    return o.Poner("protecciones", std::string_view(ListaDe(diagnostico.protecciones))).Cerrar() + "\n";
}

// Names of readers and of certificates come from others and must not drive the terminal.
[[nodiscard]] std::string LineasVisibles(std::string_view texto) {
    std::string salida;
    for (size_t fin = 0; !texto.empty(); texto.remove_prefix(fin + 1)) {
        fin = std::min(texto.find('\n'), texto.size() - 1);
        salida += Visible(texto.substr(0, fin)) + "\n";
    }
    return salida;
}

}  // namespace

std::string JsonDeFalloDiagnosticar(const Argumentos&, const std::string& error) {
    return JsonDe({}, Lx::Motivo::MalUso, error, false);
}

int OrdenDiagnosticar(const Argumentos& a) {
    Lx::Firma::Diagnosticar trabajo(a.lector.value_or(""));
    Correr(trabajo);
    AcabarPorSenal();
    const Diagnostico& d = trabajo.Respuesta();
    const std::string texto = a.json ? JsonDe(d, d.motivo, "", a.detalle) : LineasVisibles(Informe(d, a.detalle));
    if (!EscribirSalida(texto)) return kAlgoFallo;
    return d.tarjeta.puedeFirmar ? kBien : kAlgoFallo;
}

}  // namespace Cli
