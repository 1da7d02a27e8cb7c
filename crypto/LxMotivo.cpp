#include "crypto/LxMotivo.h"

namespace Lx {

namespace {

constexpr struct {
    Motivo motivo;
    std::string_view nombre;
} kNombres[] = {
    {Motivo::NoSeLee, "NoSeLee"},
    {Motivo::NoEsPdf, "NoEsPdf"},
    {Motivo::Danado, "Danado"},
    {Motivo::Ambiguo, "Ambiguo"},
    {Motivo::Cifrado, "Cifrado"},
    {Motivo::Filtro, "Filtro"},
    {Motivo::Excesivo, "Excesivo"},
    {Motivo::SinPaginas, "SinPaginas"},
    {Motivo::Certificado, "Certificado"},
    {Motivo::Cambiado, "Cambiado"},
    {Motivo::CertificadoInutil, "CertificadoInutil"},
    {Motivo::SinReserva, "SinReserva"},
    {Motivo::ClaveNoFirma, "ClaveNoFirma"},
    {Motivo::SalidaImposible, "SalidaImposible"},
    {Motivo::SalidaIncompleta, "SalidaIncompleta"},
    {Motivo::SalidaEsEntrada, "SalidaEsEntrada"},
    {Motivo::Autocomprobacion, "Autocomprobacion"},
    {Motivo::PaginasInvalidas, "PaginasInvalidas"},
    {Motivo::Reconstruido, "Reconstruido"},
    {Motivo::Extrano, "Extrano"},
    {Motivo::SelloEnCertificado, "SelloEnCertificado"},
    {Motivo::CampoBloqueado, "CampoBloqueado"},
    {Motivo::CamposVacios, "CamposVacios"},
    {Motivo::DerechosDeUso, "DerechosDeUso"},
    {Motivo::FormularioXfa, "FormularioXfa"},
};

}  // namespace

std::string_view NombreDe(Motivo motivo) {
    for (const auto& fila : kNombres)
        if (fila.motivo == motivo) return fila.nombre;
    return {};
}

}  // namespace Lx
