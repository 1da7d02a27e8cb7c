// DER written by hand, for certificates that no program would make.
#pragma once

#include <string>

#include "crypto/LxDer.h"

namespace PruebaDer {

inline std::string Elem(int tag, const std::string& contenido) {
    return Lx::Der::Elemento(static_cast<unsigned char>(tag), contenido);
}

inline std::string Sec(const std::string& contenido) {
    return Elem(0x30, contenido);
}

// SET { SEQUENCE { OID, value } }
inline std::string Rdn(const std::string& oid, int tag, const std::string& valor) {
    return Elem(0x31, Sec(Elem(6, oid) + Elem(tag, valor)));
}

struct Partes {
    std::string serie = Elem(0xA0, Elem(2, "\x02")) + Elem(2, "\x01\xAB");
    std::string algoritmo = Sec("");
    std::string emisor = Sec(Rdn("\x55\x04\x03", 12, "Raiz"));
    std::string validez = Sec(Elem(23, "250101000000Z") + Elem(24, "20600101000000Z"));
    std::string sujeto = Sec(Rdn("\x55\x04\x03", 12, "Ana"));
    std::string clave = Sec(Sec("") + Elem(3, std::string(1, '\0') + Sec(Elem(2, "\x0B") + Elem(2, "\x03"))));
    std::string extensiones;  // of the inner SEQUENCE
};

inline std::string Cert(const Partes& p) {
    const std::string ext = p.extensiones.empty() ? "" : Elem(0xA3, Sec(p.extensiones));
    return Sec(Sec(p.serie + p.algoritmo + p.emisor + p.validez + p.sujeto + p.clave + ext) + Sec("") +
               Elem(3, "\x01"));
}

}  // namespace PruebaDer
