#include "firma/LxListar.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include "crypto/LxDescriptor.h"
#include "crypto/LxExplicar.h"
#include "crypto/LxSecreto.h"

namespace Lx::Firma {

namespace {

using CertStore::FuenteListada;
using CertStore::Origen;

constexpr int kIntentos = 3;

[[nodiscard]] std::string ConPunto(std::string frase) {
    if (frase.empty() || frase.back() != '.') frase += '.';
    return frase;
}

}  // namespace

Listar::Listar(const CertStore::Contexto& ctx, Preguntas preguntas, bool nombrada, const Certificados* anterior)
    : ctx_(ctx), preguntas_(std::move(preguntas)), nombrada_(nombrada) {
    if (anterior != nullptr) anterior_ = anterior->listado;
}

void Listar::Hacer() {
    const NoVolcable cerrado;
    const bool pregunta = !ctx_.rutaPkcs12.empty() && preguntas_.clavePkcs12 && !anterior_;
    if (pregunta && FicheroLegible())
        Preguntar();
    else
        ListarUnaVez();
    if (control.Cancelado()) respuesta_.fallo = {Motivo::Cancelado, "Se canceló la lectura de los certificados."};
    if (nombrada_ && !respuesta_.fallo) MirarNombrados();
    const std::time_t ahora = std::time(nullptr);
    for (const CertStore::Entrada& e : respuesta_.listado.entradas) respuesta_.aptitudes.push_back(Juzgar(e, ahora));
}

void Listar::ListarUnaVez() {
    respuesta_.listado = CertStore::ListarFuentes(ctx_, control, anterior_ ? &*anterior_ : nullptr);
}

void Listar::Preguntar() {
    for (int intento = 1;; ++intento) {
        control.Pasar(Etapa::Persona);
        respuesta_.fallo = preguntas_.clavePkcs12({ctx_.rutaPkcs12, intento}, ctx_.clavePkcs12);
        if (respuesta_.fallo) return;
        ListarUnaVez();
        const FuenteListada* fichero = respuesta_.listado.De(Origen::Pkcs12);
        const bool mala = fichero != nullptr && fichero->fallo.motivo == Motivo::Pkcs12NoAbre;
        if (!mala || !preguntas_.clavePkcs12Repetible || intento == kIntentos || control.Cancelado()) return;
    }
}

// What can be known before a person types a password. The other sources are listed all the same.
bool Listar::FicheroLegible() {
    const std::string ruta = ctx_.rutaPkcs12;
    struct stat st {};
    const Api::Descriptor fd(open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    int numero = !fd || fstat(fd.Valor(), &st) != 0 ? errno : 0;
    if (numero == 0 && S_ISDIR(st.st_mode)) numero = EISDIR;
    if (numero == 0) return true;
    respuesta_.fallo = {Motivo::Pkcs12NoExiste,
                        numero == ENOENT ? "no existe el fichero " + ruta + "."
                                         : "no se pudo leer " + ruta + ": " + Api::ExplicarErrno(numero) + "."};
    ctx_.rutaPkcs12.clear();
    return false;
}

void Listar::MirarNombrados() {
    const FuenteListada* fichero = respuesta_.listado.De(Origen::Pkcs12);
    if (fichero != nullptr && fichero->cuantos == 0 && fichero->fallo) {
        respuesta_.fallo = {fichero->fallo.motivo, ConPunto(fichero->fallo.frase)};
        return;
    }
    const FuenteListada* tarjeta = respuesta_.listado.De(Origen::Dnie);
    if (ctx_.lector.empty() || tarjeta == nullptr || tarjeta->cuantos != 0) return;
    const Aviso& fallo = tarjeta->fallo;
    respuesta_.fallo = {fallo ? fallo.motivo : Motivo::TarjetaIlegible,
                        ConPunto("no se leyó ningún certificado en el lector '" + ctx_.lector + "'" +
                                 (fallo.frase.empty() ? "" : ": " + fallo.frase)) +
                            " Compruébalo con: velmora-cli diagnosticar --lector " + Api::Citar(ctx_.lector)};
}

}  // namespace Lx::Firma
