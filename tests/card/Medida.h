// How long a job took, and when it said that it waits.
#pragma once

#include <chrono>
#include <cstdio>
#include <future>
#include <thread>

#include "crypto/LxControlTrabajo.h"

struct Medida {
    double total = 0;
    double palabra = -1;  // never
};

// Runs a job beside. With `cancelar` it is asked to end after so many seconds.
template <class F>
Medida Medir(Lx::Control& control, F&& trabajo, double cancelar = 1e9) {
    const auto inicio = std::chrono::steady_clock::now();
    const auto pasado = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - inicio).count();
    };
    Medida m;
    auto hilo = std::async(std::launch::async, trabajo);
    while (hilo.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
        if (m.palabra < 0 && control.Ver().ocupado) m.palabra = pasado();
        if (pasado() >= cancelar) control.Cancelar();
    }
    hilo.get();
    m.total = pasado();
    std::printf("    %.2f s, said after %.2f s\n", m.total, m.palabra);
    return m;
}

// Whether it comes about within ten seconds.
template <class F>
bool Esperar(F&& condicion) {
    for (int i = 0; i < 500 && !condicion(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return condicion();
}
