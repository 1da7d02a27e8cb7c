// Reasons, for the program: what it does about a failure or a warning hangs on these, never on the sentence that goes
// with them. The names are part of what --json prints and don't change.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Lx {

enum class Motivo : unsigned char {
    Ninguno,

    // The document can't be read or isn't one that can be signed.
    NoSeLee,           // the file can't be opened, or its device fails
    NoEsPdf,           // no %PDF- or no startxref
    Danado,            // the structure can't be read, nor be rebuilt
    Ambiguo,           // programs read it in different ways: what one of them shows need not be what gets signed
    Cifrado,           // /Encrypt
    Filtro,            // the structure is compressed by a filter other than FlateDecode
    Excesivo,          // larger, deeper or more than is read
    SinPaginas,        // no page in the tree
    Certificado,       // DocMDP or a signed lock allows no further change
    Cambiado,          // the file was changed while it was read
    PaginasDistintas,  // the signer finds another number of pages than the person was shown

    // No certificate to sign with.
    CertificadoInutil,       // no valid certificate, or one that the engine can't sign with
    SinCertificados,         // no source has any
    VariosCertificados,      // several could sign, and none was chosen
    CertificadoDesconocido,  // none in the list is the one that was named
    Caducado,                // the certificate has expired
    AunNoValido,             // the certificate's time has not come yet
    CertificadoCa,           // the certificate belongs to a certification authority
    UsoAjeno,                // the certificate's key usage is another one than signing
    ClaveNoRsa,              // the certificate's key is not RSA
    SinClave,                // the source has no private key for it
    NoEsElDeFirma,           // a certificate of the card that is for other ends than signing
    FirmaNoLeida,            // the card's certificate for signing could not be read

    // A source of certificates gave nothing.
    SinServicio,        // no card service
    SinLector,          // no reader
    LectorDesconocido,  // the reader that was named is not there
    SinTarjeta,         // no card in the reader
    LectorOcupado,      // another program holds the reader
    TarjetaMuda,        // the card or its reader doesn't answer
    TarjetaAjena,       // not an identity card
    TarjetaIlegible,    // the card answers and gives no certificate
    TarjetaRetirada,    // the card was taken out or reset meanwhile
    SinAlmacen,         // the system's store can't be read
    SinOpenssl,         // no openssl program that can be trusted
    Pkcs12NoExiste,     // no such file, or it can't be opened
    Pkcs12NoAbre,       // wrong password, or the file is damaged
    SinTemporal,        // no room for what openssl needs

    // The key didn't sign.
    PinAusente,      // no PIN was given
    PinInadmisible,  // a PIN of a length that no card takes; it was not sent
    PinIncorrecto,   // the card refused the PIN: one try less
    PinBloqueado,    // no tries are left
    ClaveNoFirma,    // the key's source gave no signature
    ClaveAjena,      // the signature is not the chosen certificate's
    ClaveDeAlmacen,  // the store's password is wrong or was not given
    AlmacenNoFirma,  // the system's store refused
    NoIntentado,     // the key failed for an earlier document and is not asked again
    Cancelado,       // the person, or a signal, ended it

    // The signature or its file can't be made.
    SinReserva,        // the container doesn't fit
    SalidaImposible,   // the output can't be opened for writing
    SalidaExiste,      // the name is taken and may not be replaced
    SalidaAjena,       // what has the name is no regular file
    SinNombre,         // all names for the signed copy are taken
    SalidaIncompleta,  // no space, or the device failed
    SalidaEsEntrada,   // the output is the document itself
    Autocomprobacion,  // what was written isn't what was signed
    SinMemoria,        // memory ran out
    MalUso,            // the command line says something that it can't

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
// What to do about it, one sentence that begins in lower case; empty where the failure's own sentence says it.
[[nodiscard]] std::string_view ConsejoDe(Motivo motivo);
// All of them but Ninguno, in their order.
[[nodiscard]] const std::vector<Motivo>& TodosLosMotivos();

// A reason with its sentence for the user.
struct Aviso {
    Motivo motivo = Motivo::Ninguno;
    std::string frase;

    // Something went wrong.
    [[nodiscard]] explicit operator bool() const { return motivo != Motivo::Ninguno; }
};

// A text of people's: with a capital at its beginning (of what begins in ASCII) and a full stop at its end.
[[nodiscard]] std::string ComoFrase(std::string texto);
// What went wrong and what to do about it, as sentences.
[[nodiscard]] std::string ParaLeer(const Aviso& fallo);

}  // namespace Lx
