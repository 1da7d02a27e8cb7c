#include "signer/PdfHueco.h"

#include <algorithm>
#include <cstdio>

#include "crypto/LxApi.h"
#include "signer/PdfSello.h"

namespace LxPdfSigner::Interno {

namespace {

constexpr size_t kReservaMinima = 512;
constexpr size_t kHuecoMinimo = 16384;
constexpr std::string_view kByteRangeVacio = "0000000000 0000000000 0000000000 0000000000";

}  // namespace

Hueco EscribirFirma(std::string& salida, uint32_t num, const Metadatos& meta, const std::string& utc, size_t reserva) {
    Hueco hueco;
    hueco.reserva = reserva;
    salida += std::to_string(num) + " 0 obj\n<<\n/Type /Sig\n/Filter /Adobe.PPKLite\n/SubFilter /ETSI.CAdES.detached\n";
    salida += "/Name " + TextoPdf(meta.nombre) + "\n/Location " + TextoPdfUtf16(meta.ubicacion) + "\n/Reason " +
              TextoPdfUtf16(meta.razon) + "\n/M (" + PdfFechaDesdeUtc(utc) + ")\n/ByteRange [";
    hueco.byteRange = salida.size();
    salida.append(kByteRangeVacio).append("]\n/Contents ");
    hueco.abre = salida.size();
    salida.append("<").append(2 * reserva, '0').append(">\n>>\nendobj\n");
    return hueco;
}

std::string TextoByteRange(size_t abre, size_t tras, size_t total) {
    char texto[96];
    snprintf(texto, sizeof texto, "%010lu %010lu %010lu %010lu", 0UL, static_cast<unsigned long>(abre),
             static_cast<unsigned long>(tras), static_cast<unsigned long>(total - tras));
    return texto;
}

bool PuedeFirmar(const Lx::X509::Certificado& cert, size_t reserva, const Callback& firmar) {
    return cert.valid && firmar && reserva >= kReservaMinima && !cert.der.empty();
}

bool Reservar(const Lx::X509::Certificado& cert, size_t pedida, Reserva& reserva, Lx::Motivo& motivo,
              std::string& error) {
    if (!LxCms::ExtraerSid(cert.der, reserva.sid)) {
        motivo = Lx::Motivo::CertificadoInutil;
        error = "el certificado elegido no es de firma RSA; este motor solo firma con RSA (PKCS#1 v1.5 + SHA-256).";
        return false;
    }
    const std::string atributos = LxCms::SignedAttributes(std::vector<unsigned char>(32, 0), cert.der, reserva.sid);
    const std::vector<unsigned char> firma(reserva.sid.modLen, 0);
    const size_t prueba = LxCms::ConstruirCms(cert.der, reserva.sid, atributos, firma).size();
    if (prueba > pedida) {
        motivo = Lx::Motivo::SinReserva;
        error = "el CMS (" + std::to_string(prueba) + " B) no cabe en la reserva de " + std::to_string(pedida) + " B.";
        return false;
    }
    // The caller's figure is only a gate: the hole is never smaller than this, whatever was asked.
    reserva.bytes = std::max(prueba, kHuecoMinimo);
    return true;
}

bool FirmarHueco(std::string& texto, const Hueco& hueco, const std::vector<unsigned char>& digest,
                 const Lx::X509::Certificado& cert, const LxCms::Sid& sid, const Callback& firmar, std::string& nota,
                 Lx::Motivo& motivo, std::string& error) {
    const std::string atributos = LxCms::SignedAttributes(digest, cert.der, sid);
    std::string dicho;
    const std::vector<unsigned char> firma = firmar({atributos.begin(), atributos.end()}, dicho);
    if (firma.empty()) {
        motivo = Lx::Motivo::ClaveNoFirma;
        error = dicho.empty() ? "la tarjeta no firmo." : dicho;
        return false;
    }
    const std::string cms = LxCms::ConstruirCms(cert.der, sid, atributos, firma);
    std::string hex = Lx::Api::BinToHex(cms.data(), cms.size());
    if (hex.size() > 2 * hueco.reserva) {
        motivo = Lx::Motivo::SinReserva;
        error = "el CMS final (" + std::to_string(hex.size() / 2) + " B) supera la reserva de " +
                std::to_string(hueco.reserva) + " B.";
        return false;
    }
    hex.append(2 * hueco.reserva - hex.size(), '0');
    texto.replace(hueco.abre + 1, hex.size(), hex);
    nota = dicho;
    return true;
}

}  // namespace LxPdfSigner::Interno
