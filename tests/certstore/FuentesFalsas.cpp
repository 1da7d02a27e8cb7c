#include "FuentesFalsas.h"

namespace Lx {

namespace CertStore {

ListadoSistema LeerSistema(std::vector<Entrada>& lista, Control&) {
    g_fuentes.llamada += "almacen";
    lista.insert(lista.end(), g_fuentes.almacen.begin(), g_fuentes.almacen.end());
    return {g_fuentes.fallo.frase, g_fuentes.fallo};
}

FirmaSistema FirmarEnSistema(const X509::Certificado&, const std::vector<unsigned char>&, const PreguntaClave& pregunta,
                             Control&) {
    g_fuentes.llamada = pregunta ? "almacen con pregunta" : "almacen";
    return {g_fuentes.firma, g_fuentes.fallo};
}

}  // namespace CertStore

namespace Dnie {

Lectura LeerTarjeta(const std::string& lector, Control&) {
    g_fuentes.llamada = "leer " + lector + " ";
    return g_fuentes.tarjeta;
}

Firmado FirmarConTarjeta(const std::string& lector, const X509::Certificado&, const std::vector<unsigned char>&,
                         const std::string& pin, const CertStore::PreguntaClave&, Control&) {
    g_fuentes.llamada = "tarjeta " + lector + " " + pin;
    return {g_fuentes.firma, g_fuentes.fallo ? "" : "nota", g_fuentes.fallo, 2, true};
}

}  // namespace Dnie

}  // namespace Lx
