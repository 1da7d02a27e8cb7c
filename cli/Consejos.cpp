#include "cli/Consejos.h"

namespace Cli {

namespace {

using Lx::Motivo;

// The sentences of the other reasons say themselves what to do.
constexpr struct {
    Motivo motivo;
    const char* consejo;
} kConsejos[] = {
    {Motivo::NoSeLee, "comprueba que es un fichero, que existe y que tienes permiso para leerlo."},
    {Motivo::NoEsPdf,
     "comprueba que es el documento que quieres firmar; si una descarga quedó a medias, descárgalo otra vez."},
    {Motivo::Cifrado,
     "pide a quien lo hizo una copia sin protección; si te está permitido, también puedes imprimirlo o guardarlo como "
     "un PDF nuevo con el programa que lo abre y firmar el nuevo; las firmas que ya tuviera se pierden."},
    {Motivo::Excesivo, "pide una versión más pequeña, o firma por separado los documentos en que se pueda dividir."},
    {Motivo::SinPaginas, "pide otra copia a quien lo hizo."},
    {Motivo::Cambiado, "espera a que ningún otro programa lo esté escribiendo, míralo otra vez y fírmalo entonces."},
    {Motivo::CertificadoInutil,
     "\"velmora-cli certificados\" muestra con cuáles se puede firmar; elige uno con --certificado."},
    {Motivo::SalidaImposible,
     "elige otro nombre, o una carpeta que exista y en la que puedas escribir; lo que ya existe solo se sustituye con "
     "--salida y --forzar."},
    {Motivo::SalidaIncompleta,
     "comprueba que quede espacio en el disco o elige otra carpeta; no se dejó ningún fichero a medias."},
    {Motivo::SalidaEsEntrada, "elige otro nombre para la copia firmada; el original se queda como está."},
    {Motivo::Autocomprobacion,
     "no se dejó ningún fichero: fírmalo otra vez y, si vuelve a pasar, elige una carpeta de otro disco."},
};

}  // namespace

std::string ConsejoPara(Motivo motivo) {
    for (const auto& c : kConsejos)
        if (c.motivo == motivo) return c.consejo;
    return {};
}

}  // namespace Cli
