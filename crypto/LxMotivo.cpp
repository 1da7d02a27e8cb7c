#include "crypto/LxMotivo.h"

#include <iterator>

namespace Lx {

namespace {

constexpr struct {
    Motivo motivo;
    std::string_view nombre;
    std::string_view consejo;
} kMotivos[] = {
    {Motivo::NoSeLee, "NoSeLee", "comprueba que es un fichero, que existe y que tienes permiso para leerlo."},
    {Motivo::NoEsPdf, "NoEsPdf",
     "comprueba que es el documento que quieres firmar; si una descarga quedó a medias, descárgalo otra vez."},
    {Motivo::Danado, "Danado", ""},
    {Motivo::Ambiguo, "Ambiguo", ""},
    {Motivo::Cifrado, "Cifrado",
     "pide a quien lo hizo una copia sin protección; si te está permitido, también puedes imprimirlo o guardarlo como "
     "un PDF nuevo con el programa que lo abre y firmar el nuevo; las firmas que ya tuviera se pierden."},
    {Motivo::Filtro, "Filtro", ""},
    {Motivo::Excesivo, "Excesivo",
     "pide una versión más pequeña, o firma por separado los documentos en que se pueda dividir."},
    {Motivo::SinPaginas, "SinPaginas", "pide otra copia a quien lo hizo."},
    {Motivo::Certificado, "Certificado", ""},
    {Motivo::Cambiado, "Cambiado",
     "espera a que ningún otro programa lo esté escribiendo, míralo otra vez y fírmalo entonces."},
    {Motivo::PaginasDistintas, "PaginasDistintas",
     "ábrelo de nuevo; si sigue igual, pide otra copia a quien lo hizo: unos programas muestran unas páginas y otros, "
     "otras."},
    {Motivo::CertificadoInutil, "CertificadoInutil",
     "elige otro certificado: la lista dice con cuáles se puede firmar."},
    {Motivo::SinCertificados, "SinCertificados",
     "inserta el DNIe en el lector, o indica un fichero PKCS#12 (.p12, .pfx)."},
    {Motivo::VariosCertificados, "VariosCertificados", ""},
    {Motivo::CertificadoDesconocido, "CertificadoDesconocido", "mira la lista de certificados y elige uno de ellos."},
    {Motivo::Caducado, "Caducado",
     "renueva el certificado, o firma con otro; una firma hecha ahora con él no se dará por válida."},
    {Motivo::AunNoValido, "AunNoValido",
     "comprueba la fecha y la hora del equipo; si son correctas, espera al día en que empieza a valer."},
    {Motivo::CertificadoCa, "CertificadoCa", "elige un certificado personal."},
    {Motivo::UsoAjeno, "UsoAjeno", "elige el certificado que sea para firmar."},
    {Motivo::ClaveNoRsa, "ClaveNoRsa", "firma con un certificado RSA: con los de clave de curva elíptica no se puede."},
    {Motivo::SinClave, "SinClave", "usa el fichero o la tarjeta donde esté la clave privada de ese certificado."},
    {Motivo::NoEsElDeFirma, "NoEsElDeFirma", "elige el certificado de firma de la tarjeta."},
    {Motivo::FirmaNoLeida, "FirmaNoLeida",
     "limpia el chip, inserta la tarjeta otra vez y vuelve a probar; si sigue igual, hay que llevarla a donde se "
     "expidió."},
    {Motivo::SinServicio, "SinServicio", "instala y arranca el servicio de tarjetas: sudo apt install pcscd"},
    {Motivo::SinLector, "SinLector", "conecta un lector de tarjetas."},
    {Motivo::LectorDesconocido, "LectorDesconocido", "conecta ese lector, o elige uno de los que hay."},
    {Motivo::SinTarjeta, "SinTarjeta", "inserta el DNIe en el lector, o déjalo encima si es sin contacto."},
    {Motivo::LectorOcupado, "LectorOcupado", "cierra el otro programa que usa la tarjeta y vuelve a probar."},
    {Motivo::TarjetaMuda, "TarjetaMuda",
     "saca la tarjeta, límpiale el chip, insértala con el chip hacia el lector y vuelve a probar."},
    {Motivo::TarjetaAjena, "TarjetaAjena", "comprueba que es un DNI electrónico y que está bien insertado."},
    {Motivo::TarjetaIlegible, "TarjetaIlegible", "inserta la tarjeta otra vez y vuelve a probar."},
    {Motivo::TarjetaRetirada, "TarjetaRetirada", "deja la tarjeta quieta en el lector y vuelve a firmar."},
    {Motivo::SinAlmacen, "SinAlmacen", ""},
    {Motivo::SinOpenssl, "SinOpenssl", "instala el programa: sudo apt install openssl"},
    {Motivo::Pkcs12NoExiste, "Pkcs12NoExiste", "comprueba la ruta y los permisos del fichero PKCS#12."},
    {Motivo::Pkcs12NoAbre, "Pkcs12NoAbre",
     "escribe la contraseña otra vez; si es la buena, el fichero está dañado: pide otra copia."},
    {Motivo::SinTemporal, "SinTemporal", "libera memoria cerrando programas y vuelve a probar."},
    {Motivo::PinAusente, "PinAusente", "da el PIN cuando se pida."},
    {Motivo::PinInadmisible, "PinInadmisible", "escribe el PIN entero: de 4 a 8 cifras."},
    {Motivo::PinIncorrecto, "PinIncorrecto", "escríbelo con cuidado: al tercer error seguido la tarjeta se bloquea."},
    {Motivo::PinBloqueado, "PinBloqueado",
     "desbloquea el PIN con su código PUK o en los puntos de actualización del DNIe."},
    {Motivo::ClaveNoFirma, "ClaveNoFirma", ""},
    {Motivo::ClaveAjena, "ClaveAjena", "elige el certificado al que pertenece la clave."},
    {Motivo::ClaveDeAlmacen, "ClaveDeAlmacen", "escribe la contraseña del almacén cuando se pida."},
    {Motivo::AlmacenNoFirma, "AlmacenNoFirma", ""},
    {Motivo::NoIntentado, "NoIntentado", "arregla lo que falló con el primer documento y firma los que quedan."},
    {Motivo::Cancelado, "Cancelado", ""},
    {Motivo::SinReserva, "SinReserva", ""},
    {Motivo::SalidaImposible, "SalidaImposible",
     "elige otro nombre, o una carpeta que exista y en la que puedas escribir."},
    {Motivo::SalidaExiste, "SalidaExiste", "elige otro nombre."},
    {Motivo::SalidaAjena, "SalidaAjena", "elige otro nombre: lo que hay con ese no es un fichero normal."},
    {Motivo::SinNombre, "SinNombre", "mueve o borra copias firmadas anteriores, o elige otra carpeta."},
    {Motivo::SalidaIncompleta, "SalidaIncompleta",
     "comprueba que quede espacio en el disco o elige otra carpeta; no se dejó ningún fichero a medias."},
    {Motivo::SalidaEsEntrada, "SalidaEsEntrada",
     "elige otro nombre para la copia firmada; el original se queda como está."},
    {Motivo::Autocomprobacion, "Autocomprobacion",
     "no se dejó ningún fichero: fírmalo otra vez y, si vuelve a pasar, elige una carpeta de otro disco."},
    {Motivo::SinMemoria, "SinMemoria", "cierra programas y vuelve a probar, o firma una versión más pequeña."},
    {Motivo::MalUso, "MalUso", ""},
    {Motivo::PaginasInvalidas, "PaginasInvalidas", ""},
    {Motivo::Reconstruido, "Reconstruido", ""},
    {Motivo::Extrano, "Extrano", ""},
    {Motivo::SelloEnCertificado, "SelloEnCertificado", ""},
    {Motivo::CampoBloqueado, "CampoBloqueado", ""},
    {Motivo::CamposVacios, "CamposVacios", ""},
    {Motivo::DerechosDeUso, "DerechosDeUso", ""},
    {Motivo::FormularioXfa, "FormularioXfa", ""},
};

[[nodiscard]] const auto* FilaDe(Motivo motivo) {
    const auto* fila = &kMotivos[0];
    for (; fila != std::end(kMotivos) && fila->motivo != motivo; ++fila) {
    }
    return fila == std::end(kMotivos) ? nullptr : fila;
}

}  // namespace

std::string_view NombreDe(Motivo motivo) {
    const auto* fila = FilaDe(motivo);
    return fila == nullptr ? std::string_view() : fila->nombre;
}

std::string_view ConsejoDe(Motivo motivo) {
    const auto* fila = FilaDe(motivo);
    return fila == nullptr ? std::string_view() : fila->consejo;
}

const std::vector<Motivo>& TodosLosMotivos() {
    static const std::vector<Motivo> todos = [] {
        std::vector<Motivo> v;
        for (const auto& fila : kMotivos) v.push_back(fila.motivo);
        return v;
    }();
    return todos;
}

std::string ComoFrase(std::string texto) {
    if (texto.empty()) return texto;
    if (texto.front() >= 'a' && texto.front() <= 'z') texto.front() = static_cast<char>(texto.front() - 'a' + 'A');
    if (std::string_view(".!?…").find(texto.back()) == std::string_view::npos) texto += '.';
    return texto;
}

std::string ParaLeer(const Aviso& fallo) {
    const std::string consejo = ComoFrase(std::string(ConsejoDe(fallo.motivo)));
    return ComoFrase(fallo.frase) + (consejo.empty() ? "" : " " + consejo);
}

}  // namespace Lx
