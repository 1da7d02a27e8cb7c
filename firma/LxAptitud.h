// Whether a certificate is one to sign with, decided here and nowhere else.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "certstore/sistema/LxSistema.h"
#include "crypto/LxMotivo.h"

namespace Lx::Firma {

// What speaks against a certificate, the gravest first: ClaveNoRsa, SinClave, CertificadoCa, NoEsElDeFirma, UsoAjeno,
// Caducado, AunNoValido.
struct Aptitud {
    std::vector<Lx::Motivo> impedimentos;

    [[nodiscard]] bool Apto() const { return impedimentos.empty(); }
    // A person may want to sign with it all the same: not without a key, nor with one that is not RSA.
    [[nodiscard]] bool Salvable() const;
    // Everything that speaks against it was accepted by name.
    [[nodiscard]] bool Salvada(const std::vector<Lx::Motivo>& aunque) const;
};

// At the instant `ahora`, in Unix seconds. A certificate without key usage is fit; one with it needs nonRepudiation or
// digitalSignature (RFC 5280, 4.2.1.3); one of a card must be the card's own for signing, with nonRepudiation.
[[nodiscard]] Aptitud Juzgar(const CertStore::Entrada& entrada, int64_t ahora);

// "caducado": a word or a few, for lists. Empty for a reason that is none of Juzgar's.
[[nodiscard]] std::string_view EnBreve(Lx::Motivo impedimento);
// The same for all that speaks against it, with commas.
[[nodiscard]] std::string EnBreve(const Aptitud& aptitud);

// The gravest as a sentence with the name of the certificate.
[[nodiscard]] Lx::Aviso Explicar(const CertStore::Entrada& entrada, const Aptitud& aptitud);

// What a person may accept, under the names of the command line: "caducado", "aun_no_valido", "ca", "uso". Ninguno, or
// empty, for any other.
[[nodiscard]] Lx::Motivo MotivoDeAunque(std::string_view nombre);
[[nodiscard]] std::string_view NombreDeAunque(Lx::Motivo impedimento);

// The order for choosing: places of the entries, fit ones first, otherwise as they stand.
[[nodiscard]] std::vector<size_t> OrdenDeEleccion(const std::vector<Aptitud>& aptitudes);

// Name of the holder for people.
[[nodiscard]] std::string NombreDe(const X509::Certificado& cert);
// Day of an instant in local time, dd/mm/aaaa.
[[nodiscard]] std::string Dia(int64_t instante);

}  // namespace Lx::Firma
