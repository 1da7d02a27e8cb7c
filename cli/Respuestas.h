// How the command line answers a job's questions, and what it shows while one runs.
#pragma once

#include <string>

#include "cli/Argumentos.h"
#include "firma/LxFirmar.h"
#include "firma/LxListar.h"
#include "firma/LxTrabajo.h"

namespace Cli {

// From the terminal, or from the files that the options name. `a` must outlive the answers.
[[nodiscard]] Lx::Firma::Preguntas PreguntasDe(const Argumentos& a);

// The sources' secrets as far as the options name them, and whether they name a source.
[[nodiscard]] Lx::CertStore::Contexto ContextoDe(const Argumentos& a, const std::string& pkcs12);
[[nodiscard]] bool NombraFuente(const Argumentos& a);

// Runs the job here. A word is said of what takes long because of others. A signal that would end the program cancels
// the job instead, within a second: a key that is in use gets its signature finished first. Then the program ends by
// that signal, in AcabarPorSenal.
void Correr(Lx::Firma::Trabajo& trabajo);

// The certificate for an order that signs: lists, chooses. On a failure the user has been shown the choices, and the
// reason is in `fallo`.
struct Identidad {
    Lx::CertStore::Entrada elegida;
    Lx::CertStore::Contexto ctx;
    Lx::Aviso fallo;
};
void AbrirIdentidad(const Argumentos& a, Identidad& identidad);

// What the options say of a signature by that identity.
[[nodiscard]] Lx::Firma::Encargo EncargoDe(const Argumentos& a, const Identidad& identidad);

// What can be done about it, after two blanks, unless the sentence says it.
void Aconsejar(Lx::Motivo motivo);
// What is left to say of the card's PIN.
void DecirIntentos(const Lx::Firma::Firmados& firmados);

}  // namespace Cli
