// Certificate sources for the windows' own logic: a list, and jobs that go on for as long as the test wants. The whole
// of what the jobs ask below them stands here, so that nothing of the real sources is linked.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "card/LxDnie.h"
#include "certstore/LxCertStore.h"

struct FuentesFalsas {
    std::vector<Lx::CertStore::Entrada> entradas = {};
    std::vector<Lx::CertStore::FuenteListada> fuentes = {};
    // On the job's thread, while it lists, and while it asks the card for its tries or examines it.
    std::function<void(const Lx::CertStore::Contexto&, bool soloTarjeta, Lx::Control&)> alListar = {};
    std::function<void(Lx::Control&)> alConsultar = {};
    // With what the chosen key signs; unset it fails.
    std::function<std::vector<unsigned char>(const std::vector<unsigned char>&, std::string&)> firmar = {};
    Lx::Dnie::Diagnostico diagnostico = {};
    std::function<void()> tarjeta = {};  // a card was put in or taken out: what the last watcher is told
};

inline FuentesFalsas g_fuentes;
