#include "cli/Firma.h"

#include "certstore/LxTarjeta.h"
#include "cli/Clave.h"

namespace Cli {

namespace {

using Lx::CertStore::Origen;

// A key in a file needs nothing presented that could wear out.
constexpr struct {
    Origen origen;
    const char* resto;
} kUnaSolaVez[] = {
    {Origen::Dnie, "no se intentó: la tarjeta ya falló en esta ejecución y el PIN no se envía otra vez."},
    {Origen::Sistema, "no se intentó: el almacén del sistema ya se negó a firmar en esta ejecución."},
    {Origen::Personal, "no se intentó: el almacén del sistema ya se negó a firmar en esta ejecución."},
};

[[nodiscard]] const char* RestoDe(Origen origen) {
    for (const auto& fila : kUnaSolaVez)
        if (fila.origen == origen) return fila.resto;
    return nullptr;
}

}  // namespace

LxPdfSigner::Callback Firmante::Callback() {
    return [this](const std::vector<unsigned char>& datos, std::string& mensaje) {
        std::vector<unsigned char> firma;
        if (Parado(mensaje) || Lx::CertStore::Firmar(elegida_, ctx_, datos, firma, mensaje)) return firma;
        firma.clear();
        if (RestoDe(elegida_.origen) == nullptr) return firma;
        parado_ = true;
        Olvidar();
        return firma;
    };
}

bool Firmante::Parado(std::string& motivo) const {
    if (parado_) motivo = RestoDe(elegida_.origen);
    return parado_;
}

std::string Firmante::Epilogo() const {
    if (!parado_ || elegida_.origen != Origen::Dnie) return {};
    std::string mensaje;
    const int intentos = Lx::CertStore::IntentosPin(elegida_.lector, mensaje);
    if (intentos < 0) return {};
    return intentos == 0 ? "El PIN del DNIe está bloqueado."
                         : "Intentos que le quedan al PIN del DNIe: " + std::to_string(intentos) + ".";
}

void Firmante::Olvidar() {
    Limpiar(ctx_.pin);
}

LxPdfSigner::Metadatos MetadatosDe(const Argumentos& a, const Lx::CertStore::Entrada& elegida) {
    return {a.nombre.value_or(elegida.cert.subjectCN), a.ubicacion.value_or(""),
            a.razon.value_or("Firma de documento")};
}

std::string ConNombreFinal(std::string frase, const std::string& parcial, const std::string& destino) {
    if (const size_t i = frase.find(parcial); i != frase.npos) frase.replace(i, parcial.size(), destino);
    return frase;
}

}  // namespace Cli
