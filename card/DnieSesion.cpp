#include "card/DnieSesion.h"

#include <algorithm>

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

bool Sesion::Rendirse(long code, std::string frase, std::string& error) {
    codigo = code;
    error = std::move(frase);
    Cerrar();
    return false;
}

bool Sesion::Conectar(const std::string& lector, std::string& error) {
    long code = Pcsc::EstablecerContexto(2, contexto_);
    if (code != 0) return Rendirse(code, Pcsc::ExplicarContexto(code), error);
    code = Pcsc::Conectar(contexto_, lector, tarjeta.card, tarjeta.protocol);
    if (code != 0) return Rendirse(code, Pcsc::ExplicarConexion(code), error);
    unsigned protocolo = 0;
    code = Pcsc::Estado(tarjeta.card, atrHex, protocolo);
    if (code != 0) return Rendirse(code, Pcsc::ExplicarConexion(code), error);
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

void Sesion::Cerrar() {
    Pcsc::Desconectar(tarjeta.card);
    Pcsc::LiberarContexto(contexto_);
    tarjeta.card = 0;
    contexto_ = 0;
}

}  // namespace Lx::Dnie
