#include "card/DniePerfiles.h"

namespace Lx::Dnie {

namespace {

constexpr const char* kFirma = "Firma Digital (DNIe)";
constexpr const char* kAutenticacion = "Autenticacion (DNIe)";
constexpr const char* kCifrado = "Cifrado (DNIe)";

size_t Indice(Perfil perfil) {
    return static_cast<size_t>(perfil);
}

}  // namespace

const std::vector<Regla>& Reglas(bool sinContacto) {
    static const std::vector<Regla> kNfc = {
        {kAtrV2Nfc, false, {}, {}, Perfil::V2},         {kAtrV3NfcPref, true, {}, {}, Perfil::V3},
        {{}, false, kAidIasEcc, {0x0C}, Perfil::V3},    {{}, false, kAdfPki, {0x0C, 0x04}, Perfil::V2},
        {{}, false, kAidLegacyPki, {0x0C}, Perfil::V1},
    };
    static const std::vector<Regla> kContacto = {
        {kAtrV1, false, kAidLegacyPki, {0x00}, Perfil::V1}, {kAtrV2, false, {}, {}, Perfil::V2},
        {{}, false, kAidIasEcc, {0x0C}, Perfil::V3},        {{}, false, kAidLegacyPki, {0x00}, Perfil::V1},
        {{}, false, kAdfPki, {0x04}, Perfil::V2},
    };
    return sinContacto ? kNfc : kContacto;
}

const Receta& RecetaDe(Perfil perfil, bool sinContacto) {
    static const std::vector<Fichero> kV1 = {
        {kFirma, kFidSignV1, true}, {kAutenticacion, kFidAuthV1, false}, {kCifrado, kFidEncV1, false}};
    static const std::vector<Fichero> kV2 = {
        {kFirma, kFidSignV2, true}, {kAutenticacion, kFidAuthV2, false}, {kCifrado, kFidEncV2, false}};
    // Some cards keep the signature certificate where version 2.0 had it.
    static const std::vector<Fichero> kV3 = {{kFirma, kFidSignV3, true},
                                             {kAutenticacion, kFidAuthV2, false},
                                             {kCifrado, kFidEncV2, false},
                                             {kFirma, kFidSignV2, true}};
    static const Receta kNfc[] = {
        {{{Apertura::Aid, kAidLegacyPki, 0x04, {0x0C}},
          {Apertura::Fid, kFidMf, 0x02, {0x0C, 0x04}},
          {Apertura::Fid, kDfPkiV1, 0x02, {0x0C, 0x04}}},
         0x02,
         {0x0C, 0x04},
         false,
         true,
         kV1},
        {{{Apertura::Aid, kAdfPki, 0x04, {0x04}}}, 0x02, {0x0C, 0x04}, false, true, kV2},
        {{{Apertura::Aid, kAidIasEcc, 0x04, {0x0C}}, {Apertura::Aid, kAdfPki, 0x04, {0x04}}},
         0x02,
         {0x0C, 0x04},
         false,
         true,
         kV3},
    };
    static const Receta kContacto[] = {
        {{{Apertura::Aid, kAidLegacyPki, 0x04, {0x00}},
          {Apertura::Fid, kFidMf, 0x00, {0x00, 0x04}},
          {Apertura::Fid, kDfPkiV1, 0x00, {0x00, 0x04}}},
         0x00,
         {0x00, 0x04},
         true,
         true,
         kV1},
        {{{Apertura::Aid, kAdfPki, 0x04, {0x04}}}, 0x02, {0x0C, 0x04}, true, false, kV2},
        {{{Apertura::UnaVezYAid, kAidIasEcc, 0x04, {0x0C}}, {Apertura::UnaVezYAid, kAdfPki, 0x04, {0x04}}},
         0x02,
         {0x0C, 0x04},
         true,
         true,
         kV3},
    };
    return (sinContacto ? kNfc : kContacto)[Indice(perfil)];
}

const std::vector<Apertura>& AperturaFirma(Perfil perfil) {
    static const std::vector<Apertura> kAperturas[] = {
        {{Apertura::Fid, kFidMf, 0x00, {0x00, 0x04}, false}, {Apertura::Fid, kDfPkiV1, 0x00, {0x00, 0x04}}},
        {{Apertura::Aid, kAdfPki, 0x04, {0x04}}},
        {{Apertura::Aid, kAidIasEcc, 0x04, {0x0C}, false}, {Apertura::Aid, kAdfPki, 0x04, {0x04}}},
    };
    return kAperturas[Indice(perfil)];
}

const std::vector<int>& ClavesFirma(Perfil perfil) {
    static const std::vector<int> kClaves[] = {{0x02}, {0x81, 0x82}, {0x82, 0x81, 0x83}};
    return kClaves[Indice(perfil)];
}

Bytes DatosMse(Perfil perfil, int clave) {
    static constexpr Cadena kDatos[] = {Hex("800111830100"), Hex("80018A840100"), Hex("840100800142")};
    static constexpr size_t kPosicion[] = {5, 5, 2};
    Bytes datos = kDatos[Indice(perfil)].Valor();
    datos[kPosicion[Indice(perfil)]] = static_cast<unsigned char>(clave);
    return datos;
}

const char* Modelo(Perfil perfil) {
    static constexpr const char* kModelos[] = {"DNIe 1.0 RENIEC", "DNIe 2.0 RENIEC", "DNIe 3.0 RENIEC", ""};
    return kModelos[Indice(perfil)];
}

}  // namespace Lx::Dnie
