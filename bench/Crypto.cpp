// The inner parts of crypto: each compression function of SHA-256 that this processor has, codecs, certificates, RSA.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "crypto/LxX509.h"
#include "crypto/Sha256Compresion.h"

namespace {

using namespace Lx;
using Bytes = std::vector<unsigned char>;

void Octetos(benchmark::State& state, size_t porVuelta) {
    state.SetBytesProcessed(static_cast<int64_t>(porVuelta) * static_cast<int64_t>(state.iterations()));
}

void Comprimir(benchmark::State& state, Api::Interno::Compresion funcion) {
    const Bytes datos(static_cast<size_t>(state.range(0)), 0x5A);
    uint32_t estado[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    for (auto _ : state) {
        funcion(estado, datos.data(), datos.size() / 64);
        benchmark::DoNotOptimize(estado);
    }
    Octetos(state, datos.size());
}

void Sha256(benchmark::State& state) {
    const Bytes datos(static_cast<size_t>(state.range(0)), 0x5A);
    for (auto _ : state) benchmark::DoNotOptimize(Api::Sha256(datos.data(), datos.size()));
    Octetos(state, datos.size());
}
BENCHMARK(Sha256)->Arg(64)->Arg(16 << 10)->Arg(1 << 20);

void BinToHex(benchmark::State& state) {
    const Bytes datos(16 << 10, 0x5A);
    for (auto _ : state) benchmark::DoNotOptimize(Api::BinToHex(datos.data(), datos.size()));
    Octetos(state, datos.size());
}
BENCHMARK(BinToHex);

void HexToBin(benchmark::State& state) {
    const std::string texto(32 << 10, 'A');
    for (auto _ : state) benchmark::DoNotOptimize(Api::HexToBin(texto));
    Octetos(state, texto.size());
}
BENCHMARK(HexToBin);

void Base64Encode(benchmark::State& state) {
    const std::string datos(16 << 10, 'x');
    for (auto _ : state) benchmark::DoNotOptimize(Api::Base64Encode(datos));
    Octetos(state, datos.size());
}
BENCHMARK(Base64Encode);

void Base64Decode(benchmark::State& state) {
    const std::string texto = Api::Base64Encode(std::string(16 << 10, 'x'));
    std::string datos;
    for (auto _ : state) benchmark::DoNotOptimize(Api::Base64Decode(texto, datos));
    Octetos(state, texto.size());
}
BENCHMARK(Base64Decode);

// The check costs the same whether it succeeds or not: an odd modulus of so many bits, exponent 65537.
void RsaFirmaValida(benchmark::State& state) {
    Bytes n(static_cast<size_t>(state.range(0)) / 8);
    for (size_t i = 0; i < n.size(); ++i) n[i] = static_cast<unsigned char>((i * 37 + 129) | 1);
    Bytes firma = n;
    firma[0] = 0x40;
    const Bytes e = {1, 0, 1};
    for (auto _ : state) benchmark::DoNotOptimize(Api::RsaFirmaValida(n, e, firma, "x", 1));
}
BENCHMARK(RsaFirmaValida)->Arg(1024)->Arg(2048)->Arg(4096)->Unit(benchmark::kMicrosecond);

struct Cierra {
    void operator()(FILE* f) const { (void)std::fclose(f); }
};

// The fuzzers' seed: a certificate of openssl with an RSA key of 1024 bits.
Bytes Certificado() {
    const std::unique_ptr<FILE, Cierra> fichero(std::fopen(SEMILLAS "/fuzz_certificado/rsa", "rb"));
    Bytes der(4096);
    der.resize(fichero != nullptr ? std::fread(der.data(), 1, der.size(), fichero.get()) : 0);
    return der;
}

void Parsear(benchmark::State& state) {
    const Bytes der = Certificado();
    X509::Certificado c;
    for (auto _ : state) {
        if (!X509::Parsear(der, c)) return state.SkipWithError("no certificate");
    }
}
BENCHMARK(Parsear);

// 64 KiB of a card's or a tool's output without a certificate in it, all of it possible starts.
void ExtraerDeNada(benchmark::State& state) {
    const Bytes datos(64 << 10, 0x30);
    X509::Certificado c;
    for (auto _ : state) benchmark::DoNotOptimize(X509::ExtraerDe(datos, c));
    Octetos(state, datos.size());
}
BENCHMARK(ExtraerDeNada);

}  // namespace

int main(int argc, char** argv) {
    for (const auto& candidata : Api::Interno::Candidatas()) {
        if (!candidata.disponible()) continue;
        const std::string nombre = std::string("Comprimir/") + candidata.nombre;
        benchmark::RegisterBenchmark(nombre.c_str(), &Comprimir, candidata.funcion)
            ->Arg(64)
            ->Arg(16 << 10)
            ->Arg(1 << 20);
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
