// Turning to a page: what poppler itself takes to draw it in this process, what the page program takes from the request
// to the raster, and the same when the page was drawn ahead. Prints one JSON object: medians over all turns, in
// seconds.
//
//     bench_pagina WIDTH ROUNDS FILE
#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-image.h>
#include <poppler/cpp/poppler-page-renderer.h>
#include <poppler/cpp/poppler-page.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ui/LxPdf.h"

namespace {

using Reloj = std::chrono::steady_clock;

template <class Funcion>
double Segundos(Funcion hacer) {
    const auto inicio = Reloj::now();
    hacer();
    return std::chrono::duration<double>(Reloj::now() - inicio).count();
}

double Mediana(std::vector<double> tiempos) {
    std::sort(tiempos.begin(), tiempos.end());
    return tiempos[tiempos.size() / 2];
}

[[noreturn]] void Acabar(const std::string& motivo) {
    std::fprintf(stderr, "%s\n", motivo.c_str());
    std::exit(1);
}

// Only pages that aren't rotated: their size is their box.
void ConPoppler(const poppler::document& doc, int pagina, int ancho) {
    const std::unique_ptr<poppler::page> hoja(doc.create_page(pagina));
    const poppler::rectf caja = hoja->page_rect();
    const int alto = static_cast<int>(std::lround(caja.height() * ancho / caja.width()));
    poppler::page_renderer pintor;
    pintor.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
    const poppler::image imagen =
        pintor.render_page(hoja.get(), 72.0 * ancho / caja.width(), 72.0 * alto / caja.height(), 0, 0, ancho, alto);
    if (imagen.width() != ancho || imagen.height() != alto) Acabar("poppler drew nothing");
}

void Pasar(Lx::Pdf::IDocument& doc, int pagina, int ancho) {
    Lx::Pdf::Raster raster;
    std::string error;
    if (!doc.RenderPage(pagina, ancho, raster, error)) Acabar(error);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) Acabar("bench_pagina WIDTH ROUNDS FILE");
    const int ancho = std::atoi(argv[1]), vueltas = std::atoi(argv[2]);
    std::string error;
    const std::unique_ptr<poppler::document> propio(poppler::document::load_from_file(argv[3]));
    std::unique_ptr<Lx::Pdf::IDocument> doc;
    const double apertura = Segundos([&] { doc.reset(Lx::Pdf::Open(argv[3], error)); });
    if (!doc || !propio) Acabar(error);

    std::vector<double> poppler, enFrio, adelantada;
    for (int vuelta = 0; vuelta <= vueltas; ++vuelta) {
        for (int pagina = 0; pagina < doc->GetPageCount(); ++pagina) {
            const double suyo = Segundos([&] { ConPoppler(*propio, pagina, ancho); });
            const double frio = Segundos([&] { Pasar(*doc, pagina, ancho); });
            doc->RenderAhead(pagina, ancho);
            // As while a person reads: nobody asks whether it is done.
            std::this_thread::sleep_for(std::chrono::duration<double>(2 * frio + 0.05));
            const double hecha = Segundos([&] { Pasar(*doc, pagina, ancho); });
            if (vuelta == 0) continue;  // fonts and caches are warm from here on, on both sides
            poppler.push_back(suyo);
            enFrio.push_back(frio);
            adelantada.push_back(hecha);
        }
    }
    std::printf("{\"open\": %.6f, \"poppler\": %.6f, \"cold\": %.6f, \"ahead\": %.6f}\n", apertura, Mediana(poppler),
                Mediana(enFrio), Mediana(adelantada));
    return 0;
}
