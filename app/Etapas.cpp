#include "app/Etapas.h"

#include <algorithm>

namespace Orvanta {

namespace {

using Lx::Etapa;

constexpr struct {
    Etapa etapa;
    const char* frase;
} kFrases[] = {
    {Etapa::Ninguna, "Preparando…"},
    {Etapa::Lector, "Buscando la tarjeta…"},
    {Etapa::Tarjeta, "Leyendo la tarjeta…"},
    {Etapa::Almacen, "Consultando el almacén de certificados…"},
    {Etapa::Pkcs12, "Abriendo el fichero PKCS#12…"},
    {Etapa::Persona, ""},
    {Etapa::Documento, "Leyendo el documento…"},
    {Etapa::Copia, "Firmando"},
    {Etapa::Clave, "Firmando con la clave…"},
    {Etapa::Guardar, "Guardando el documento firmado…"},
};

}  // namespace

std::string FraseDe(const Lx::Control::Estado& estado) {
    if (estado.etapa == Etapa::Persona) return {};
    if (estado.cancelado)
        return estado.comprometido ? "La clave ya se está usando: se acaba esta firma…" : "Cancelando…";
    if (estado.ocupado) return "Otra aplicación usa el lector…";
    std::string frase;
    for (const auto& fila : kFrases)
        if (fila.etapa == estado.etapa) frase = fila.frase;
    if (estado.etapa != Etapa::Copia) return frase;
    const double parte = ParteDe(estado);
    return parte < 0 ? frase + "…" : frase + " " + std::to_string(static_cast<int>(parte * 100)) + " %";
}

double ParteDe(const Lx::Control::Estado& estado) {
    if (estado.total == 0) return -1;
    return std::min(1.0, static_cast<double>(estado.hechos) / static_cast<double>(estado.total));
}

}  // namespace Orvanta
