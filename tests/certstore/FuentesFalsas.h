// A card and a system store that do what the test says.
#pragma once

#include <string>
#include <vector>

#include "certstore/LxCertStore.h"

struct FuentesFalsas {
    std::vector<std::string> lectores = {};
    int preferido = 0;
    std::vector<Lx::X509::Certificado> tarjeta = {};
    std::vector<Lx::CertStore::Entrada> almacen = {};
    std::string error = {};                 // of whichever is asked
    std::vector<unsigned char> firma = {};  // what either of them signs
    std::string llamada = {};               // the last call, with its arguments
};

inline FuentesFalsas g_fuentes;
