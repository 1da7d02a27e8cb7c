#include "tests/apoyo/tarjeta/TarjetaVirtual.h"

#include <algorithm>

#include "crypto/LxApi.h"

namespace Apoyo {

namespace {

const std::string kIasEcc = "A000000077030C60000000FE00000500";
const std::string kAdfPki = "E828BD080FD25047656E65726963";
const std::string kLegacy = "A0000000770100700A1000F100000100";
const std::string kPrefijoSha256 = "3031300D060960864801650304020105000420";

std::string AHex(const Bytes& bytes) {
    return Lx::Api::BinToHex(bytes.data(), bytes.size());
}

Bytes Sw(int sw, Bytes datos = {}) {
    datos.push_back(static_cast<unsigned char>(sw >> 8));
    datos.push_back(static_cast<unsigned char>(sw & 0xFF));
    return datos;
}

Bytes Parte(const Bytes& bytes, size_t desde, size_t n) {
    return Bytes(bytes.data() + desde, bytes.data() + desde + n);
}

}  // namespace

Escenario EscenarioDe(int perfil, bool sinContacto) {
    static constexpr const char* kAtr[3][2] = {
        {"3BDD18008131FE4580F9A0000000770100700A90008B", "3B8A80010031C173C840000090007A"},
        {"3BDC18FF8191FE1FC38073C821136605036351000250", "3B80800101"},
        {"3BFF1800008131FE45006B04050100011101434E5310318065", "3B8F800180738421E0550000"}};
    static constexpr const char* kFids[3][3] = {
        {"3402", "3401", "3403"}, {"001D", "001C", "001B"}, {"CE82", "001C", "001B"}};
    Escenario e;
    e.perfil = perfil;
    e.sinContacto = sinContacto;
    e.atr = kAtr[perfil][sinContacto ? 1 : 0];
    e.claves = {perfil == 0 ? 0x02 : 0x80 + perfil};
    for (int i = 0; i < 3; ++i) e.ficheros[kFids[perfil][i]] = ClaveDe(i == 0 ? "firma" : "otra").cert;
    return e;
}

std::string NombreLector(bool sinContacto) {
    return sinContacto ? "Lector NFC PICC 00 00" : "Lector Chip Contact 00 00";
}

CTarjetaVirtual::Comando CTarjetaVirtual::Separar(const Bytes& apdu) {
    Comando c{apdu[1], apdu[2], apdu[3], {}, false, 0};
    size_t pos = 4;
    if (apdu.size() > 5) {
        const size_t lc = std::min<size_t>(apdu[4], apdu.size() - 5);
        c.datos = Parte(apdu, 5, lc);
        pos = 5 + lc;
    }
    c.conLe = pos < apdu.size();
    if (c.conLe) c.le = apdu[pos] == 0 ? 256 : apdu[pos];
    return c;
}

const Fallo* CTarjetaVirtual::FalloDe(int ins) {
    for (const Fallo& f : e_.fallos) {
        if ((f.ins == -1 || f.ins == ins) && apdus_ >= f.desde && gastados_[&f] < f.veces) {
            ++gastados_[&f];
            return &f;
        }
    }
    return nullptr;
}

Bytes CTarjetaVirtual::Procesar(const Bytes& apdu) {
    if (retirada_ || apdu.size() < 4) return {};
    const Comando c = Separar(apdu);
    const Fallo* fallo = FalloDe(c.ins);
    ++apdus_;
    Bytes respuesta;
    if (fallo == nullptr || fallo->sinGastar) respuesta = Responder(c);
    if (fallo != nullptr) respuesta = Lx::Api::HexToBin(fallo->respuesta);
    if (fallo != nullptr && fallo->retirar) retirada_ = true;
    if (c.ins == 0x20 && !c.datos.empty()) {
        if (rechazado_) ++trasRechazo_;
        ++verificaciones_;
        rechazado_ = rechazado_ || respuesta != Sw(0x9000);
    }
    Anotar(apdu, respuesta);
    return respuesta;
}

Bytes CTarjetaVirtual::Atr() const {
    return Lx::Api::HexToBin(e_.atr);
}

void CTarjetaVirtual::Reiniciar() {
    pinAceptado_ = claveElegida_ = false;
    app_.clear();
    df_.clear();
    ef_ = nullptr;
    pendiente_.clear();
}

Bytes CTarjetaVirtual::Responder(const Comando& c) {
    using Metodo = Bytes (CTarjetaVirtual::*)(const Comando&);
    static const std::map<int, Metodo> kMetodos = {
        {0xA4, &CTarjetaVirtual::Select},     {0xB0, &CTarjetaVirtual::ReadBinary}, {0xB1, &CTarjetaVirtual::ReadDo},
        {0x20, &CTarjetaVirtual::Verify},     {0x22, &CTarjetaVirtual::Mse},        {0x2A, &CTarjetaVirtual::Pso},
        {0xC0, &CTarjetaVirtual::GetResponse}};
    const auto it = kMetodos.find(c.ins);
    const bool falta = (c.ins == 0xB0 && !e_.conBinary) || (c.ins == 0xB1 && !e_.conDo);
    return it == kMetodos.end() || falta ? Sw(0x6D00) : (this->*it->second)(c);
}

Bytes CTarjetaVirtual::Select(const Comando& c) {
    if (e_.exigeLe && !c.conLe) return Sw(0x6700);
    if (c.p1 == 0x04) return SelectAid(c);
    const std::string fid = AHex(c.datos);
    const bool directorio = e_.perfil == 0 && (fid == "3F00" || fid == "5015");
    const auto it = e_.ficheros.find(fid);
    if (!directorio && it == e_.ficheros.end()) return Sw(0x6A82);
    // Version 1 by contact selects from the master file, everything else from the current directory.
    if (c.p1 == 0x00 ? (e_.perfil != 0 || c.p2 != 0x00) : (c.p1 != 0x02 || c.p2 != 0x0C)) return Sw(0x6A86);
    if (directorio) {
        if (fid == "5015" && df_.empty()) return Sw(0x6A82);
        df_ = fid;
        return Sw(0x9000);
    }
    if (e_.perfil == 0 ? df_ != "5015" : app_ != kAdfPki) return Sw(0x6A82);
    ef_ = &it->second;
    return Sw(0x9000);
}

Bytes CTarjetaVirtual::SelectAid(const Comando& c) {
    struct Aplicacion {
        int perfil;
        const std::string& aid;
        int p2;
        bool trasIas;  // only from that application
    };
    const Aplicacion kAplicaciones[] = {{0, kLegacy, e_.sinContacto ? 0x0C : 0x00, false},
                                        {1, kAdfPki, 0x04, false},
                                        {2, kIasEcc, 0x0C, false},
                                        {2, kAdfPki, 0x04, true}};
    const std::string aid = AHex(c.datos);
    for (const Aplicacion& a : kAplicaciones) {
        if (a.perfil != e_.perfil || a.aid != aid) continue;
        if (a.p2 != c.p2) return Sw(0x6A86);
        if (a.trasIas && app_.empty()) return Sw(0x6A82);
        app_ = aid;
        df_.clear();
        ef_ = nullptr;
        return Sw(0x9000);
    }
    return Sw(0x6A82);
}

Bytes CTarjetaVirtual::ReadBinary(const Comando& c) {
    if (ef_ == nullptr) return Sw(0x6986);
    const size_t offset = static_cast<size_t>(c.p1) << 8 | static_cast<size_t>(c.p2);
    if (offset >= ef_->size()) return Sw(0x6B00);
    const size_t quedan = ef_->size() - offset;
    if (quedan < c.le && e_.fin == Escenario::Le6C) return Sw(0x6C00 | static_cast<int>(quedan));
    const size_t n = std::min(quedan, c.le);
    Bytes datos = Parte(*ef_, offset, n);
    if (n < c.le && e_.fin == Escenario::FinDeFichero) return Sw(0x6282, std::move(datos));
    return PorTrozos(std::move(datos));
}

Bytes CTarjetaVirtual::ReadDo(const Comando& c) {
    if (ef_ == nullptr) return Sw(0x6986);
    if (c.datos.size() != 4 || c.datos[0] != 0x54 || c.datos[1] != 0x02) return Sw(0x6A80);
    const size_t offset = static_cast<size_t>(c.datos[2]) << 8 | c.datos[3];
    if (offset >= ef_->size()) return Sw(0x6B00);
    const size_t n = std::min<size_t>(ef_->size() - offset, 240);
    Bytes datos =
        n < 0x80 ? Bytes{0x53, static_cast<unsigned char>(n)} : Bytes{0x53, 0x81, static_cast<unsigned char>(n)};
    datos.insert(datos.end(), ef_->data() + offset, ef_->data() + offset + n);
    return PorTrozos(std::move(datos));
}

Bytes CTarjetaVirtual::Verify(const Comando& c) {
    if (c.p2 != 0x80) return Sw(0x6A88);
    if (intentos_ == 0) return Sw(0x6983);
    if (c.datos.empty()) return Sw(pinAceptado_ ? 0x9000 : 0x63C0 | intentos_);
    pinAceptado_ = std::string(c.datos.begin(), c.datos.end()) == e_.pin;
    if (pinAceptado_) {
        intentos_ = e_.intentos;
        return Sw(0x9000);
    }
    --intentos_;
    return Sw(intentos_ == 0 ? 0x6983 : 0x63C0 | intentos_);
}

Bytes CTarjetaVirtual::Mse(const Comando& c) {
    static constexpr const char* kAntes[] = {"8001118301", "80018A8401", "8401"};
    static constexpr const char* kDespues[] = {"", "", "800142"};
    claveElegida_ = false;
    if (c.p1 != 0x41 || c.p2 != 0xB6) return Sw(0x6A86);
    for (const int clave : e_.claves) {
        const std::string datos = kAntes[e_.perfil] + AHex({static_cast<unsigned char>(clave)}) + kDespues[e_.perfil];
        if (AHex(c.datos) == datos) claveElegida_ = true;
    }
    return Sw(claveElegida_ ? 0x9000 : 0x6A88);
}

Bytes CTarjetaVirtual::Pso(const Comando& c) {
    if (c.p1 != 0x9E || c.p2 != 0x9A) return Sw(0x6A86);
    if (!claveElegida_) return Sw(0x6985);
    if (!pinAceptado_) return Sw(0x6982);
    if (c.datos.size() != 51 || AHex(c.datos).rfind(kPrefijoSha256, 0) != 0) return Sw(0x6A80);
    return PorTrozos(FirmarDigestInfo(ClaveDe(e_.identidad), c.datos));
}

Bytes CTarjetaVirtual::PorTrozos(Bytes datos) {
    if (e_.trozo61 == 0 || datos.size() <= e_.trozo61) return Sw(0x9000, std::move(datos));
    pendiente_ = std::move(datos);
    return Sw(0x6100 | static_cast<int>(e_.trozo61));
}

Bytes CTarjetaVirtual::GetResponse(const Comando& c) {
    if (pendiente_.empty()) return Sw(0x6985);
    const size_t n = std::min(c.le, pendiente_.size());
    Bytes datos = Parte(pendiente_, 0, n);
    pendiente_ = Parte(pendiente_, n, pendiente_.size() - n);
    if (pendiente_.empty()) return Sw(0x9000, std::move(datos));
    return Sw(0x6100 | static_cast<int>(std::min(pendiente_.size(), e_.trozo61)), std::move(datos));
}

void CTarjetaVirtual::Anotar(const Bytes& apdu, const Bytes& respuesta) {
    const bool conPin = apdu[1] == 0x20 && apdu.size() > 5;
    transcripcion_ += "> " + (conPin ? AHex(Bytes(apdu.begin(), apdu.begin() + 5)) + " (PIN)" : AHex(apdu)) + "\n< ";
    const size_t datos = respuesta.size() < 2 ? 0 : respuesta.size() - 2;
    const std::string resumen = datos > 8 ? "(" + std::to_string(datos) + ") " : "";
    transcripcion_ += resumen + AHex(datos > 8 ? Parte(respuesta, datos, 2) : respuesta) + "\n";
}

}  // namespace Apoyo
