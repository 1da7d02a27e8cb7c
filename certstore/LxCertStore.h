// Every certificate that the user could sign with, in one list, and one call that signs with any of them and proves
// that the key was that certificate's.
#pragma once

#include <string>
#include <vector>

#include "certstore/sistema/LxSistema.h"

namespace Lx::CertStore {

// Display name of a source, "?" for any other value.
[[nodiscard]] const char* NombreOrigen(Origen origen);

// The list: card, system store, PKCS#12 file; without duplicates, expired ones last. Never fails as a whole: `resumen`
// says in one line what each source gave.
[[nodiscard]] std::vector<Entrada> Listar(const Contexto& ctx, std::string& resumen);

// Signature with SHA-256 of `datos` (the message, not its hash) by the key of `entrada`. An RSA one (RSASSA-PKCS1-v1_5)
// is checked against its certificate; other keys pass unchecked, and it is the engine that refuses them. On false
// `firma` is empty and `mensaje` holds one sentence for the user.
[[nodiscard]] bool Firmar(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
                          std::vector<unsigned char>& firma, std::string& mensaje);

// --- The same for jobs: every outcome has its reason, and nothing is kept between two calls.

// What one source gave.
struct FuenteListada {
    Origen origen = Origen::Dnie;
    std::string quien;          // what was asked: the reader, the file; empty for the system's store
    size_t cuantos = 0;         // certificates, before duplicates went
    std::string texto;          // its part of the summary
    Lx::Aviso fallo;            // why it gave none, or gave them without their keys
    bool firmaPerdida = false;  // the card: its certificate for signing could not be read
};

struct Listado {
    std::vector<Entrada> entradas;       // as Listar gives them
    std::vector<FuenteListada> fuentes;  // those that were asked, in the list's order
    std::string resumen;

    // Null when it was not asked.
    [[nodiscard]] const FuenteListada* De(Origen origen) const;
};

// Asks every source, or with `anterior` the card alone: the rest is taken from that list. A PKCS#12 file's keys are
// looked at, each entry says whether its own is there, and none is kept.
[[nodiscard]] Listado ListarFuentes(const Contexto& ctx, Lx::Control& control, const Listado* anterior = nullptr);

struct FirmaHecha {
    std::vector<unsigned char> firma;  // empty on failure
    std::string nota;                  // what there is to say of a success
    Lx::Aviso fallo;
    int intentos = -1;  // the card's PIN after a failure; -1 when it isn't known
};

// As Firmar. A PKCS#12 file signs with the key that belongs to the certificate, wherever in the file it stands. The job
// commits itself before the key is used, after the last question; the caller releases it.
[[nodiscard]] FirmaHecha FirmarCon(const Entrada& entrada, const Contexto& ctx, const std::vector<unsigned char>& datos,
                                   const PreguntaClave& pregunta, Lx::Control& control);

}  // namespace Lx::CertStore
