// Inner parts of the signer on a document of 100,000 small objects and on the bytes of one large stream.
#include <benchmark/benchmark.h>

#include <random>
#include <string>

#include "pdf/LxActualizacion.h"
#include "pdf/LxBarrido.h"
#include "pdf/LxSintaxis.h"

namespace {

using namespace LxPdf;

const std::string& MuchosObjetos() {
    static const std::string texto = [] {
        std::string t;
        for (int n = 1; n <= 100000; ++n) {
            Obj(t, n,
                "<< /Type /Annot /Subtype /Link /Rect [72 700 200 712] /A << /S /URI /URI (http://ejemplo.org/) >> "
                "/Border [0 0 0] >>");
        }
        return t;
    }();
    return texto;
}

const std::string& Flujo() {
    static const std::string texto = [] {
        std::mt19937_64 azar(1);
        std::string t(64 << 20, '\0');
        for (char& c : t) c = static_cast<char>(azar());
        return t;
    }();
    return texto;
}

void Barrer(benchmark::State& estado, const std::string& texto) {
    for (auto _ : estado) benchmark::DoNotOptimize(Barrido(texto).Objetos().size());
    estado.SetBytesProcessed(estado.iterations() * static_cast<int64_t>(texto.size()));
}

void BarridoDeObjetos(benchmark::State& estado) {
    Barrer(estado, MuchosObjetos());
}
void BarridoDeUnFlujo(benchmark::State& estado) {
    Barrer(estado, Flujo());
}

void LeerLosCampos(benchmark::State& estado) {
    for (auto _ : estado) {
        estado.PauseTiming();
        Barrido doc(MuchosObjetos());
        Campos campos;
        Fallo fallo;
        estado.ResumeTiming();
        benchmark::DoNotOptimize(doc.LeerCampos({}, campos, fallo));
    }
}

void Literal(benchmark::State& estado) {
    const std::string_view texto(MuchosObjetos());
    for (auto _ : estado) {
        size_t pos = 0;
        while (pos < texto.size()) pos = FinLiteral(texto, pos);
    }
    estado.SetBytesProcessed(estado.iterations() * static_cast<int64_t>(texto.size()));
}

void MeterEnMilAnotaciones(benchmark::State& estado) {
    std::string dict = "/Type /Page /Annots [";
    for (int n = 1; n <= 1000; ++n) dict += std::to_string(n) + " 0 R ";
    dict += "] /MediaBox [0 0 595 842]";
    const Barrido doc{std::string()};
    std::string nuevo;
    for (auto _ : estado) benchmark::DoNotOptimize(MeterRef(doc, dict, "Annots", {2000, 0}, nuevo));
}

BENCHMARK(BarridoDeObjetos)->Unit(benchmark::kMillisecond);
BENCHMARK(BarridoDeUnFlujo)->Unit(benchmark::kMillisecond);
BENCHMARK(LeerLosCampos)->Unit(benchmark::kMillisecond);
BENCHMARK(Literal)->Unit(benchmark::kMillisecond);
BENCHMARK(MeterEnMilAnotaciones)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
