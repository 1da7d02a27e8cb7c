#include "card/DnieSesion.h"

#include <algorithm>
#include <utility>

#include "card/DnieTextos.h"
#include "card/LxPcsc.h"
#include "crypto/LxApi.h"

namespace Lx::Dnie {

namespace {

bool CumpleAtr(const Regla& regla, const Bytes& atr) {
    const Bytes patron = regla.atr.Valor();
    if (patron.empty()) return true;
    const bool largo = regla.prefijo ? atr.size() >= patron.size() : atr.size() == patron.size();
    return largo && std::equal(patron.begin(), patron.end(), atr.begin());
}

}  // namespace

bool Sesion::Rendirse(long code, bool deContexto, Aviso& fallo) {
    codigo = code;
    fallo =
        Fallo(deContexto && Pcsc::MotivoDe(code) == Motivo::TarjetaMuda ? Motivo::SinServicio : Pcsc::MotivoDe(code),
              deContexto ? Pcsc::ExplicarContexto(code) : Pcsc::ExplicarConexion(code));
    canal.Cerrar();
    return false;
}

bool Sesion::ListarLectores(std::vector<std::string>& lectores, Aviso& fallo) {
    lectores.clear();
    const long code = canal.ListarLectores(lectores);
    // Having no reader is a code for one service and an empty list for another.
    if (code != 0 && (canal.Dejado() || !canal.ConContexto())) return Rendirse(code, true, fallo);
    if (!lectores.empty()) return true;
    fallo = {Motivo::SinLector, "No hay lectores de tarjetas conectados."};
    return false;
}

bool Sesion::ElegirLector(std::string& lector, Aviso& fallo) {
    if (!lector.empty()) return true;
    std::vector<std::string> lectores;
    if (!ListarLectores(lectores, fallo)) return false;
    lector = lectores[static_cast<size_t>(Pcsc::PriorizarLector(lectores))];
    return true;
}

bool Sesion::Conectar(const std::string& lector, Aviso& fallo) {
    bool deContexto = false;
    const long code = canal.Conectar(lector, deContexto);
    if (code != 0) return Rendirse(code, deContexto, fallo);
    atrHex = canal.Atr();
    tarjeta.protocol = canal.Protocolo();
    tarjeta.card = canal.Tarjeta();
    tarjeta.via = [this](const Bytes& apdu, Bytes& respuesta) { return canal.Transmitir(apdu, respuesta); };
    sinContacto = Pcsc::DetectarTipo(lector) == 1;
    return true;
}

Perfil Sesion::Identificar() {
    const Bytes atr = Api::HexToBin(atrHex);
    for (const Regla& regla : Reglas(sinContacto)) {
        if (!CumpleAtr(regla, atr)) continue;
        const Bytes aid = regla.aid.Valor();
        if (aid.empty() || tarjeta.SelectAid(aid, regla.p2s)) return regla.perfil;
    }
    NotaFallo();
    return Perfil::Ninguno;
}

bool Sesion::Abrir(const std::vector<Apertura>& apertura) {
    for (const Apertura& paso : apertura) {
        const Bytes id = paso.id.Valor();
        bool abierto = paso.modo == Apertura::UnaVezYAid && tarjeta.SelectOnce(id, paso.p1, paso.p2s.front(), true);
        if (!abierto) {
            abierto =
                paso.modo == Apertura::Fid ? tarjeta.SelectFid(id, paso.p1, paso.p2s) : tarjeta.SelectAid(id, paso.p2s);
        }
        if (!abierto && paso.obligatoria) return false;
    }
    return true;
}

void Sesion::NotaFallo() {
    if (nota.empty()) nota = ExplicarLectura(tarjeta.sw);
}

Aviso Sesion::Fallo(Motivo motivo, std::string frase) const {
    if (canal.Dejado()) return canal.Dejado();
    const long perdida = canal.Perdida();
    if (perdida == 0) return {motivo, std::move(frase)};
    // A signature that has lost its card isn't tried again with whatever stands in the reader now.
    const bool retirada = canal.estricto || Pcsc::EsCodigo(perdida, Pcsc::kRetirada);
    return {retirada ? Motivo::TarjetaRetirada : Pcsc::MotivoDe(perdida), std::move(frase)};
}

}  // namespace Lx::Dnie
