#include "tests/app/Fuentes.h"

#include "card/LxTarjeta.h"

namespace Lx::CertStore {

const char* NombreOrigen(Origen origen) {
    constexpr const char* kNombres[] = {"DNIe", "personal", "almacén", "PKCS#12"};
    return kNombres[static_cast<size_t>(origen)];
}

const FuenteListada* Listado::De(Origen origen) const {
    for (const FuenteListada& f : fuentes)
        if (f.origen == origen) return &f;
    return nullptr;
}

Listado ListarFuentes(const Contexto& ctx, Control& control, const Listado* anterior) {
    // A copy: the test may change it meanwhile.
    const auto hacer = g_fuentes.alListar;
    if (hacer) hacer(ctx, anterior != nullptr, control);
    return {g_fuentes.entradas, g_fuentes.fuentes, "resumen"};
}

FirmaHecha FirmarCon(const Entrada&, const Contexto&, const std::vector<unsigned char>& datos, const PreguntaClave&,
                     Control& control) {
    FirmaHecha hecha;
    if (g_fuentes.firmar && control.Comprometer()) hecha.firma = g_fuentes.firmar(datos, hecha.nota);
    return hecha;
}

}  // namespace Lx::CertStore

namespace Lx::Dnie {

Intentos ConsultarIntentos(const std::string&, Control& control) {
    if (g_fuentes.alConsultar) g_fuentes.alConsultar(control);
    return {3, {}};
}

Diagnostico Diagnosticar(const std::string&, Control& control) {
    if (g_fuentes.alConsultar) g_fuentes.alConsultar(control);
    return g_fuentes.diagnostico;
}

bool CDnie::PinAdmisible(const std::string&, std::string&) {
    return true;
}

struct Vigilante::Estado {};

Vigilante::Vigilante(std::function<void()> aviso) {
    g_fuentes.tarjeta = std::move(aviso);
}

Vigilante::~Vigilante() = default;

}  // namespace Lx::Dnie
