// Reasons, for the program: what it does about a failure or a warning hangs on these, never on the sentence that goes
// with them. The names are part of what --json prints and don't change.
#pragma once

#include <string>
#include <string_view>

namespace Lx {

enum class Motivo : unsigned char {
    Ninguno,

    // The document can't be read or isn't one that can be signed.
    NoSeLee,      // the file can't be opened, or its device fails
    NoEsPdf,      // no %PDF- or no startxref
    Danado,       // the structure can't be read, nor be rebuilt
    Ambiguo,      // programs read it in different ways: what one of them shows need not be what gets signed
    Cifrado,      // /Encrypt
    Filtro,       // the structure is compressed by a filter other than FlateDecode
    Excesivo,     // larger, deeper or more than is read
    SinPaginas,   // no page in the tree
    Certificado,  // DocMDP or a signed lock allows no further change
    Cambiado,     // the file was changed while it was read

    // The signature or its file can't be made.
    CertificadoInutil,  // no valid certificate, or no RSA key
    SinReserva,         // the container doesn't fit
    ClaveNoFirma,       // the key's source gave no signature
    SalidaImposible,    // the output can't be opened for writing
    SalidaIncompleta,   // no space, or the device failed
    SalidaEsEntrada,    // the output is the document itself
    Autocomprobacion,   // what was written isn't what was signed

    // Warnings: the document was signed all the same.
    PaginasInvalidas,    // the list of stamp pages names none of the document
    Reconstruido,        // the document is damaged and was rebuilt
    Extrano,             // a fault that readers forgive
    SelloEnCertificado,  // certified for filling in and signing; the stamp is more than some programs allow
    CampoBloqueado,      // an earlier signature locks what the new one adds
    CamposVacios,        // signature fields that wait for a signature
    DerechosDeUso,       // UR3 rights that other programs take back
    FormularioXfa,       // dynamic XFA: other programs draw the form, not the pages
};

// "NoEsPdf"; empty for Ninguno.
[[nodiscard]] std::string_view NombreDe(Motivo motivo);

// A reason with its sentence for the user.
struct Aviso {
    Motivo motivo = Motivo::Ninguno;
    std::string frase;
};

}  // namespace Lx
