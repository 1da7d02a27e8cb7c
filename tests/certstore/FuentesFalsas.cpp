#include "FuentesFalsas.h"

#include "certstore/Tarjeta.h"

namespace Lx::CertStore {

void ListarSistema(std::vector<Entrada>& lista, std::string& texto) {
    lista.insert(lista.end(), g_fuentes.almacen.begin(), g_fuentes.almacen.end());
    texto = g_fuentes.error;
}

std::vector<unsigned char> FirmarSistema(const X509::Certificado&, const std::vector<unsigned char>&,
                                         const std::string& pin, bool opcion, std::string& error) {
    g_fuentes.llamada = "almacen " + pin + (opcion ? " con" : " sin");
    error = g_fuentes.error;
    return g_fuentes.firma;
}

namespace Tarjeta {

std::vector<std::string> ListarLectores() {
    return g_fuentes.lectores;
}
int PriorizarLector(const std::vector<std::string>&) {
    return g_fuentes.preferido;
}

std::vector<X509::Certificado> LeerCertificados(const std::string& lector, std::string& error) {
    g_fuentes.llamada = "leer " + lector;
    error = g_fuentes.error;
    return g_fuentes.tarjeta;
}

std::vector<unsigned char> Firmar(const std::string& lector, const X509::Certificado&,
                                  const std::vector<unsigned char>&, const std::string& pin, std::string& error) {
    g_fuentes.llamada = "tarjeta " + lector + " " + pin;
    error = g_fuentes.error;
    return g_fuentes.firma;
}

}  // namespace Tarjeta

}  // namespace Lx::CertStore
