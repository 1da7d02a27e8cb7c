#include <algorithm>
#include <string_view>
#include <utility>

#include "crypto/LxApi.h"
#include "firma/LxListar.h"

namespace Lx::Firma {

namespace {

using CertStore::Entrada;
using CertStore::Origen;
using Lista = std::vector<Entrada>;
using Indices = std::vector<size_t>;

// Serial numbers compare without separators, case and leading zeros.
[[nodiscard]] std::string SerieLlana(std::string_view serie) {
    std::string llana;
    for (const char c : Api::ToLowerAscii(std::string(serie)))
        if (c != ':' && c != ' ') llana += c;
    llana.erase(0, std::min(llana.find_first_not_of('0'), llana.size()));
    return llana;
}

[[nodiscard]] Indices PorNumero(const Lista& lista, const std::string& cual) {
    constexpr size_t kCifras = 6;
    if (cual.size() > kCifras || cual.find_first_not_of("0123456789") != cual.npos) return {};
    size_t n = 0;
    for (const char c : cual) n = n * 10 + static_cast<size_t>(c - '0');
    return n >= 1 && n <= lista.size() ? Indices{n - 1} : Indices{};
}

template <class Condicion>
[[nodiscard]] Indices LosQue(const Lista& lista, Condicion condicion) {
    Indices hallados;
    for (size_t i = 0; i < lista.size(); ++i)
        if (condicion(lista[i])) hallados.push_back(i);
    return hallados;
}

[[nodiscard]] Indices PorSerie(const Lista& lista, const std::string& cual) {
    const std::string serie = SerieLlana(cual);
    if (serie.empty() || serie.find_first_not_of("0123456789abcdef") != serie.npos) return {};
    return LosQue(lista, [&serie](const Entrada& e) { return SerieLlana(e.cert.serial) == serie; });
}

[[nodiscard]] Indices PorNombre(const Lista& lista, const std::string& cual) {
    const std::string parte = Api::ToLowerAscii(cual);
    return LosQue(lista, [&parte](const Entrada& e) {
        return Api::ToLowerAscii(NombreDe(e.cert)).find(parte) != std::string::npos;
    });
}

[[nodiscard]] Indices Candidatos(const Lista& lista, const std::string& cual) {
    for (const auto& buscar : {PorNumero, PorSerie, PorNombre})
        if (Indices hallados = buscar(lista, cual); !hallados.empty()) return hallados;
    return {};
}

// Whoever names the file means the file's key, also of a certificate that is listed for the system's store.
[[nodiscard]] bool EsDe(const Entrada& e, Origen origen) {
    return e.origen == origen || (origen == Origen::Pkcs12 && e.enFichero);
}

// The choice in progress.
class Eligiendo {
  public:
    Eligiendo(const Certificados& c, const Peticion& p, int64_t ahora)
        : lista_(c.listado.entradas), certificados_(c), peticion_(p), ahora_(ahora) {}

    [[nodiscard]] Eleccion Hacer() {
        if (lista_.empty() && !TarjetaPerdida())
            return Fallo(Motivo::SinCertificados, "no hay ningún certificado con el que firmar.");
        if (!peticion_.cual) return SinNombrar();
        const Indices hallados = Candidatos(lista_, *peticion_.cual);
        if (hallados.empty())
            return Fallo(Motivo::CertificadoDesconocido,
                         "ningún certificado tiene el número, la serie o el nombre \"" + *peticion_.cual + "\".");
        if (hallados.size() == 1) return Nombrado(hallados.front());
        return Unico(hallados, " con \"" + *peticion_.cual + "\"");
    }

  private:
    static Eleccion Fallo(Motivo motivo, std::string frase) {
        Eleccion e;
        e.fallo = {motivo, std::move(frase)};
        return e;
    }

    [[nodiscard]] Aptitud De(size_t i) const {
        Entrada e = lista_[i];
        if (PorFichero(e)) e.conClave = true;
        return Juzgar(e, ahora_);
    }

    [[nodiscard]] bool PorFichero(const Entrada& e) const { return peticion_.pedido == Origen::Pkcs12 && e.enFichero; }

    [[nodiscard]] Eleccion Elegido(size_t i) const {
        Eleccion e;
        e.indice = static_cast<int>(i);
        e.elegida = lista_[i];
        if (!PorFichero(e.elegida)) return e;
        e.elegida.origen = Origen::Pkcs12;
        e.elegida.conClave = true;
        return e;
    }

    [[nodiscard]] bool TarjetaPerdida() const {
        const CertStore::FuenteListada* tarjeta = certificados_.listado.De(Origen::Dnie);
        return tarjeta != nullptr && tarjeta->firmaPerdida;
    }

    // Of a card that is there, its certificate for signing is what is meant.
    [[nodiscard]] Aviso DeLaTarjeta() const {
        if (TarjetaPerdida()) return {Motivo::FirmaNoLeida, "no se pudo leer el certificado de firma de la tarjeta."};
        Aviso fallo;
        for (size_t i = 0; i < lista_.size(); ++i) {
            if (lista_[i].origen != Origen::Dnie) continue;
            const Aptitud aptitud = De(i);
            if (aptitud.Apto()) return {};
            if (lista_[i].deFirma || !fallo) fallo = Explicar(lista_[i], aptitud);
        }
        return fallo;
    }

    [[nodiscard]] Eleccion SinNombrar() const {
        const auto pedido = peticion_.pedido;
        if (!pedido || pedido == Origen::Dnie) {
            if (Aviso fallo = DeLaTarjeta()) return Fallo(fallo.motivo, std::move(fallo.frase));
        }
        Indices suyos;
        for (size_t i = 0; i < lista_.size(); ++i)
            if (!pedido || EsDe(lista_[i], *pedido)) suyos.push_back(i);
        const bool todos = suyos.size() == lista_.size();
        return Unico(suyos, todos ? "" : " de " + std::string(CertStore::NombreOrigen(*pedido)));
    }

    // The only fit one of those, of the named source first.
    [[nodiscard]] Eleccion Unico(const Indices& candidatos, const std::string& donde) const {
        Indices buenos;
        for (const size_t i : candidatos)
            if (De(i).Apto()) buenos.push_back(i);
        Indices suyos;
        for (const size_t i : buenos)
            if (peticion_.pedido && EsDe(lista_[i], *peticion_.pedido)) suyos.push_back(i);
        if (!suyos.empty()) buenos = suyos;
        if (buenos.size() == 1) return Elegido(buenos.front());
        if (buenos.empty() && candidatos.size() == 1) {
            Aviso fallo = Explicar(lista_[candidatos.front()], De(candidatos.front()));
            return Fallo(fallo.motivo, std::move(fallo.frase));
        }
        if (buenos.empty())
            return Fallo(Motivo::CertificadoInutil, "ninguno de los certificados" + donde + " se puede utilizar.");
        return Fallo(Motivo::VariosCertificados, "hay " + std::to_string(buenos.size()) + " certificados utilizables" +
                                                     donde + ": elige uno con --certificado.");
    }

    [[nodiscard]] Eleccion Nombrado(size_t i) const {
        const Aptitud aptitud = De(i);
        if (aptitud.Apto()) return Elegido(i);
        Aviso motivo = Explicar(lista_[i], aptitud);
        if (!aptitud.Salvable()) return Fallo(motivo.motivo, std::move(motivo.frase));
        if (!aptitud.Salvada(peticion_.aunque)) {
            std::string opciones;
            for (const Motivo m : aptitud.impedimentos)
                if (const std::string opcion = " --aunque " + std::string(NombreDeAunque(m));
                    opciones.find(opcion) == opciones.npos)
                    opciones += opcion;
            return Fallo(motivo.motivo, motivo.frase + " Para firmar con él de todos modos, añade" + opciones + ".");
        }
        Eleccion e = Elegido(i);
        e.aviso = {motivo.motivo, "se firma aunque " + motivo.frase};
        return e;
    }

    const Lista& lista_;
    const Certificados& certificados_;
    const Peticion& peticion_;
    int64_t ahora_;
};

}  // namespace

Eleccion Elegir(const Certificados& certificados, const Peticion& peticion, int64_t ahora) {
    return Eligiendo(certificados, peticion, ahora).Hacer();
}

}  // namespace Lx::Firma
