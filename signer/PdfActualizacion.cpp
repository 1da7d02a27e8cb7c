#include "signer/PdfActualizacion.h"

#include <algorithm>
#include <cstdio>

#include "crypto/LxApi.h"
#include "pdf/LxSintaxis.h"

namespace LxPdfSigner::Interno {

using namespace LxPdf;

namespace {

constexpr size_t kReservaMinima = 512;
constexpr size_t kHuecoMinimo = 16384;
constexpr std::string_view kByteRangeVacio = "0000000000 0000000000 0000000000 0000000000";

// The array text under a value that stands in a dictionary, with `ref` added.
bool ArrayCon(std::string_view datos, const Mapa& mapa, std::string_view valor, const std::string& ref,
              std::string& nuevo) {
    long num = 0;
    long gen = 0;
    if (valor == "null") {
        nuevo = "[ " + ref + " ]";
        return true;
    }
    if (!LeerReferencia(valor, num, gen)) {
        if (valor.size() < 2 || valor.front() != '[' || valor.back() != ']') return false;
        nuevo.assign(valor.substr(0, valor.size() - 1)).append(" ").append(ref).append(" ]");
        return true;
    }
    std::string_view elementos;
    if (!mapa.Vigente(num) || !ArrayDe(datos, mapa, valor, elementos)) return false;
    // A comment at the end would swallow what follows it on its line.
    const std::string_view separador = elementos.find('%') == std::string_view::npos ? " " : "\n";
    nuevo.assign("[ ").append(elementos).append(separador).append(ref).append(" ]");
    return true;
}

}  // namespace

std::string Ref(long num) {
    return std::to_string(num) + " 0 R";
}

std::string PonerValor(std::string_view dict, std::string_view clave, std::string_view valor) {
    size_t ini = 0;
    size_t fin = 0;
    std::string nuevo;
    nuevo.reserve(dict.size() + clave.size() + valor.size() + 3);
    if (ValorClave(dict, clave, ini, fin)) {
        nuevo.append(dict.substr(0, ini)).append(" ").append(valor).append(dict.substr(fin));
    } else {
        nuevo.append(dict).append(" /").append(clave).append(" ").append(valor);
    }
    return nuevo;
}

bool MeterRef(std::string_view datos, const Mapa& mapa, std::string_view dict, std::string_view clave, long num,
              std::string& nuevo, std::string& error) {
    size_t ini = 0;
    size_t fin = 0;
    std::string array = "[ " + Ref(num) + " ]";
    if (ValorClave(dict, clave, ini, fin) && !ArrayCon(datos, mapa, ValorDe(dict, clave), Ref(num), array)) {
        error = "no se pudo leer " + std::string(clave) + " del PDF: firmar perderia datos.";
        return false;
    }
    nuevo = PonerValor(dict, clave, array);
    return true;
}

std::string Envolver(std::string_view dict) {
    if (dict.empty()) return "<< >>";
    if (dict.starts_with("<<")) return std::string(dict);
    return std::string("<<").append(dict).append(">>");
}

std::string CuerpoSello(const Sello& sello, long fuente) {
    return "<< /Type /XObject /Subtype /Form /FormType 1 /BBox [0 0 " + NumEnto(sello.ancho) + " " +
           NumEnto(kAltoSello) + "] /Resources << /Font << /Ft0 " + Ref(fuente) + " >> >> /Length " +
           std::to_string(sello.contenido.size()) + " >>\nstream\n" + sello.contenido + "endstream";
}

Hueco EscribirFirma(std::string& salida, long num, const Metadatos& meta, const std::string& utc, size_t reserva) {
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

bool Reservar(const Lx::X509::Certificado& cert, size_t pedida, Reserva& reserva, std::string& error) {
    if (!ExtraerSid(cert.der, reserva.sid)) {
        error = "el certificado elegido no es de firma RSA; este motor solo firma con RSA (PKCS#1 v1.5 + SHA-256).";
        return false;
    }
    const std::string atributos = SignedAttributes(std::vector<unsigned char>(32, 0), cert.der, reserva.sid);
    const std::vector<unsigned char> firma(reserva.sid.modLen, 0);
    const size_t prueba = ConstruirCms(cert.der, reserva.sid, atributos, firma).size();
    if (prueba > pedida) {
        error = "el CMS (" + std::to_string(prueba) + " B) no cabe en la reserva de " + std::to_string(pedida) + " B.";
        return false;
    }
    // The caller's figure is only a gate: the hole is never smaller than this, whatever was asked.
    reserva.bytes = std::max(prueba, kHuecoMinimo);
    return true;
}

bool FirmarHueco(std::string& texto, const Hueco& hueco, const std::vector<unsigned char>& digest,
                 const Lx::X509::Certificado& cert, const Sid& sid, const Callback& firmar, std::string& nota,
                 std::string& error) {
    const std::string atributos = SignedAttributes(digest, cert.der, sid);
    std::string dicho;
    const std::vector<unsigned char> firma = firmar({atributos.begin(), atributos.end()}, dicho);
    if (firma.empty()) {
        error = dicho.empty() ? "la tarjeta no firmo." : dicho;
        return false;
    }
    const std::string cms = ConstruirCms(cert.der, sid, atributos, firma);
    std::string hex = Lx::Api::BinToHex(cms.data(), cms.size());
    if (hex.size() > 2 * hueco.reserva) {
        error = "el CMS final (" + std::to_string(hex.size() / 2) + " B) supera la reserva de " +
                std::to_string(hueco.reserva) + " B.";
        return false;
    }
    hex.append(2 * hueco.reserva - hex.size(), '0');
    texto.replace(hueco.abre + 1, hex.size(), hex);
    nota = dicho;
    return true;
}

void Actualizacion::Objeto(long num, std::string_view cuerpo) {
    offsets_[num] = Total();
    Obj(texto_, num, cuerpo);
}

Hueco Actualizacion::Firma(long num, const Metadatos& meta, const std::string& utc, size_t reserva) {
    offsets_[num] = Total();
    return EscribirFirma(texto_, num, meta, utc, reserva);
}

void Actualizacion::Xref(long size, long raiz, std::string_view entradas, size_t previo, const std::string& id0,
                         const std::string& id1) {
    const size_t inicio = Total();
    texto_ += "xref\n0 1\n0000000000 65535 f \n";
    for (const auto& [num, offset] : offsets_) {
        char linea[64];
        snprintf(linea, sizeof linea, "%ld 1\n%010zu 00000 n \n", num, offset);
        texto_ += linea;
    }
    texto_ += "trailer\n<< /Size " + std::to_string(size) + " /Root " + Ref(raiz);
    texto_.append(entradas).append(" /Prev ").append(std::to_string(previo));
    texto_.append(" /ID [<").append(id0).append("> <").append(id1).append(">] >>\n");
    texto_ += "startxref\n" + std::to_string(inicio) + "\n%%EOF\n";
}

}  // namespace LxPdfSigner::Interno
