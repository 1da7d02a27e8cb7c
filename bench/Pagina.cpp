// Turning to a page: what poppler itself takes to draw it in this process, what the page program takes from the request
// to the raster, and the same when the page was drawn ahead. Prints one JSON object: medians over all turns, in
// seconds.
//
//     bench_pagina WIDTH ROUNDS FILE, with its whole path
#include <cairo.h>
#include <poppler.h>

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

void ConPoppler(PopplerDocument* doc, int pagina, int ancho) {
    PopplerPage* const hoja = poppler_document_get_page(doc, pagina);
    double largo = 0, alto = 0;
    poppler_page_get_size(hoja, &largo, &alto);
    const double escala = ancho / largo;
    cairo_surface_t* const imagen =
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, ancho, static_cast<int>(std::lround(alto * escala)));
    cairo_t* const cairo = cairo_create(imagen);
    cairo_set_source_rgb(cairo, 1, 1, 1);
    cairo_paint(cairo);
    cairo_scale(cairo, escala, escala);
    poppler_page_render(hoja, cairo);
    if (cairo_status(cairo) != CAIRO_STATUS_SUCCESS) Acabar("poppler drew nothing");
    cairo_destroy(cairo);
    cairo_surface_destroy(imagen);
    g_object_unref(hoja);
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
    char* const uri = g_filename_to_uri(argv[3], nullptr, nullptr);
    PopplerDocument* const propio = uri ? poppler_document_new_from_file(uri, nullptr, nullptr) : nullptr;
    std::unique_ptr<Lx::Pdf::IDocument> doc;
    const double apertura = Segundos([&] { doc.reset(Lx::Pdf::Open(argv[3], error)); });
    if (!doc || !propio) Acabar(error);

    std::vector<double> poppler, enFrio, adelantada;
    for (int vuelta = 0; vuelta <= vueltas; ++vuelta) {
        for (int pagina = 0; pagina < doc->GetPageCount(); ++pagina) {
            const double suyo = Segundos([&] { ConPoppler(propio, pagina, ancho); });
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
