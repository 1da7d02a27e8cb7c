// The texts that name a piece of the operating system: everything else is the same everywhere.
#pragma once

namespace Lx::Plataforma {

struct Textos {
    const char* nombreSistema;    // the system's name in a sentence
    const char* ayudaServicio;    // how to get the card service going
    const char* faltaPcsc;        // the card service's library isn't there
    const char* nombreAlmacen;    // display name of the system store
    const char* etiquetaAlmacen;  // what stands before a name in the list
    const char* elAlmacen;        // the store inside a sentence
    const char* alAlmacen;        // the same after the preposition that joins its article
    const char* consejoPcsc;      // what to do about a missing library
    const char* consejoServicio;  // what to do about a service that doesn't answer
};

inline constexpr Textos kTextos = {
    "Linux",
    "en Linux: comprueba que el servicio pcscd está instalado y en marcha (paquete 'pcscd') y que el lector tiene "
    "driver.",
    "No se encontro libpcsclite.so.1 (instale el paquete 'libpcsclite1').",
    "NSS (Linux)",
    "NSS · ",
    "el almacén NSS",
    "al almacén NSS",
    "Instala la biblioteca y el servicio: sudo apt install libpcsclite1 pcscd",
    "Arranca el servicio: sudo systemctl start pcscd.socket (si no existe: sudo apt install pcscd).",
};

}  // namespace Lx::Plataforma
