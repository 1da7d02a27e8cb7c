// A card and a system store that do what the test says.
#pragma once

#include <string>
#include <vector>

#include "card/LxTarjeta.h"
#include "certstore/LxCertStore.h"

struct FuentesFalsas {
    Lx::Dnie::Lectura tarjeta = {};
    std::vector<Lx::CertStore::Entrada> almacen = {};
    Lx::Aviso fallo = {};                   // of the store, and of whichever signs
    std::vector<unsigned char> firma = {};  // what either of them signs
    std::string llamada = {};               // the last call, with its arguments
};

inline FuentesFalsas g_fuentes;
