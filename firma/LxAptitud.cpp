#include "firma/LxAptitud.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <iterator>

namespace Lx::Firma {

namespace {

using CertStore::Entrada;
using CertStore::Origen;

// In order of rank. The names of the command line stand for what can be accepted.
constexpr struct {
    Motivo motivo;
    std::string_view breve;
    std::string_view aunque;
    const char* antes;    // of the name in the sentence
    const char* despues;  // {d}: the day that matters
} kImpedimentos[] = {
    {Motivo::ClaveNoRsa, "no es RSA", "", "con el certificado de ", " no se puede firmar: su clave no es RSA."},
    {Motivo::SinClave, "sin clave", "", "no hay clave privada para el certificado de ", "."},
    {Motivo::CertificadoCa, "es de una CA", "ca", "el certificado de ",
     " es de una autoridad de certificación, no de una persona."},
    {Motivo::NoEsElDeFirma, "no es el de firma", "uso", "el certificado de ",
     " es de la tarjeta, pero no el de firma."},
    {Motivo::UsoAjeno, "no es para firmar", "uso", "el certificado de ", " no es para firmar."},
    {Motivo::Caducado, "caducado", "caducado", "el certificado de ", " caducó el {d}."},
    {Motivo::AunNoValido, "aún no válido", "aun_no_valido", "el certificado de ", " no vale hasta el {d}."},
};

[[nodiscard]] const auto* FilaDe(Motivo motivo) {
    const auto* fila = std::find_if(std::begin(kImpedimentos), std::end(kImpedimentos),
                                    [motivo](const auto& f) { return f.motivo == motivo; });
    return fila == std::end(kImpedimentos) ? nullptr : fila;
}

[[nodiscard]] bool EsRsa(const X509::Certificado& cert) {
    std::vector<unsigned char> modulo, exponente;
    return X509::ClaveRsa(cert, modulo, exponente);
}

[[nodiscard]] bool UsoDeFirma(const Entrada& e) {
    if (e.origen == Origen::Dnie) return e.cert.contentCommitment;
    return !e.cert.conUso || e.cert.contentCommitment || e.cert.digitalSignature;
}

}  // namespace

bool Aptitud::Salvable() const {
    return std::all_of(impedimentos.begin(), impedimentos.end(), [](Motivo m) { return !NombreDeAunque(m).empty(); });
}

bool Aptitud::Salvada(const std::vector<Motivo>& aunque) const {
    return std::all_of(impedimentos.begin(), impedimentos.end(), [&aunque](Motivo m) {
        const std::string_view nombre = NombreDeAunque(m);
        return !nombre.empty() && std::any_of(aunque.begin(), aunque.end(),
                                              [nombre](Motivo otro) { return NombreDeAunque(otro) == nombre; });
    });
}

Aptitud Juzgar(const Entrada& e, int64_t ahora) {
    const bool rsa = EsRsa(e.cert);
    const bool ajeno = e.origen == Origen::Dnie && !e.deFirma;
    const std::pair<bool, Motivo> casos[] = {
        {!rsa, Motivo::ClaveNoRsa},
        {rsa && !e.conClave, Motivo::SinClave},  // whether another key is there was never looked at
        {e.cert.isCA, Motivo::CertificadoCa},
        {ajeno, Motivo::NoEsElDeFirma},
        {!ajeno && !UsoDeFirma(e), Motivo::UsoAjeno},
        {e.cert.notAfter >= 1 && e.cert.notAfter < ahora, Motivo::Caducado},
        {e.cert.notBefore > ahora, Motivo::AunNoValido},
    };
    Aptitud aptitud;
    for (const auto& [si, motivo] : casos)
        if (si) aptitud.impedimentos.push_back(motivo);
    return aptitud;
}

std::string_view EnBreve(Motivo impedimento) {
    const auto* fila = FilaDe(impedimento);
    return fila == nullptr ? std::string_view() : fila->breve;
}

std::string EnBreve(const Aptitud& aptitud) {
    std::string texto;
    for (const Motivo m : aptitud.impedimentos) texto.append(texto.empty() ? "" : ", ").append(EnBreve(m));
    return texto;
}

Aviso Explicar(const Entrada& e, const Aptitud& aptitud) {
    if (aptitud.Apto()) return {};
    const Motivo motivo = aptitud.impedimentos.front();
    const auto* fila = FilaDe(motivo);
    std::string frase = fila->antes + NombreDe(e.cert) + fila->despues;
    if (const size_t i = frase.rfind("{d}"); i != frase.npos)
        frase.replace(i, 3, Dia(motivo == Motivo::Caducado ? e.cert.notAfter : e.cert.notBefore));
    return {motivo, frase};
}

Motivo MotivoDeAunque(std::string_view nombre) {
    for (const auto& fila : kImpedimentos)
        if (!nombre.empty() && fila.aunque == nombre) return fila.motivo;
    return Motivo::Ninguno;
}

std::string_view NombreDeAunque(Motivo impedimento) {
    const auto* fila = FilaDe(impedimento);
    return fila == nullptr ? std::string_view() : fila->aunque;
}

std::vector<size_t> OrdenDeEleccion(const std::vector<Aptitud>& aptitudes) {
    std::vector<size_t> orden(aptitudes.size());
    for (size_t i = 0; i < orden.size(); ++i) orden[i] = i;
    std::stable_partition(orden.begin(), orden.end(), [&aptitudes](size_t i) { return aptitudes[i].Apto(); });
    return orden;
}

std::string NombreDe(const X509::Certificado& cert) {
    if (!cert.subjectCN.empty()) return cert.subjectCN;
    return cert.subjectDN.empty() ? "(sin nombre)" : cert.subjectDN;
}

std::string Dia(int64_t instante) {
    const auto t = static_cast<time_t>(instante);
    tm partes{};
    char texto[32];
    if (localtime_r(&t, &partes) == nullptr || std::strftime(texto, sizeof texto, "%d/%m/%Y", &partes) == 0) return "-";
    return texto;
}

}  // namespace Lx::Firma
