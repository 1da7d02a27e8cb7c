#include <string_view>

#include "crypto/X509Interno.h"

namespace Lx::X509::Interno {
namespace {

constexpr uint8_t kUtcTime = 23;
constexpr uint8_t kGeneralizedTime = 24;

bool EsBlanco(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// A decimal number as the first thing of the field, after blanks and one sign, whatever follows it: what scanf's "%d"
// takes, but whatever the locale. Leaves `valor` as it is when there is none.
bool LeerNumero(std::string_view campo, int& valor) {
    size_t i = 0;
    while (i < campo.size() && EsBlanco(campo[i])) ++i;
    const bool negativo = i < campo.size() && campo[i] == '-';
    if (i < campo.size() && (campo[i] == '-' || campo[i] == '+')) ++i;
    const size_t primera = i;
    int numero = 0;
    for (; i < campo.size() && campo[i] >= '0' && campo[i] <= '9'; ++i) numero = numero * 10 + (campo[i] - '0');
    if (i == primera) return false;
    valor = negativo ? -numero : numero;
    return true;
}

// Days from 1970-01-01 in the proleptic Gregorian calendar. Years are counted from March, so that the leap day is the
// last one, in eras of 400 years, which all have 146097 days.
int64_t DiasDesdeCivil(int64_t anio, int mes, int dia) {
    const int64_t y = mes <= 2 ? anio - 1 : anio;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t anioDeEra = y - era * 400;
    const int64_t mesDesdeMarzo = (mes + 9) % 12;
    const int64_t diaDeAnio = (153 * mesDesdeMarzo + 2) / 5 + dia - 1;
    const int64_t diaDeEra = anioDeEra * 365 + anioDeEra / 4 - anioDeEra / 100 + diaDeAnio;
    constexpr int64_t kDiasHasta1970 = 719468;
    return era * 146097 + diaDeEra - kDiasHasta1970;
}

// Seconds to add for the zone. The sign is looked for at one fixed place from the end, where none of the forms of
// RFC 5280 has it; only an unusual text is shifted.
int64_t Desfase(std::string_view texto) {
    if (texto.size() < 14) return 0;
    const char signo = texto[texto.size() - 13];
    if (signo != '+' && signo != '-') return 0;
    int horas = 0;
    int minutos = 0;
    (void)LeerNumero(texto.substr(texto.size() - 12, 2), horas);
    (void)LeerNumero(texto.substr(texto.size() - 10, 2), minutos);
    const int64_t segundos = horas * 3600 + minutos * 60;
    return signo == '-' ? segundos : -segundos;
}

}  // namespace

int64_t TiempoAEpoch(const unsigned char* buf, const Der::Tlv& tlv) {
    if (tlv.tag != kUtcTime && tlv.tag != kGeneralizedTime) return 0;
    const std::string_view texto(reinterpret_cast<const char*>(buf) + tlv.contenido, tlv.longitud);
    const size_t cifras = tlv.tag == kUtcTime ? 2 : 4;  // of the year
    if (texto.size() < cifras + 8) return 0;
    int anio = 0;
    if (!LeerNumero(texto.substr(0, cifras), anio)) return 0;
    if (tlv.tag == kUtcTime) anio += anio < 50 ? 2000 : 1900;
    int campos[5] = {1, 1, 0, 0, 0};  // month, day, hour, minute, second
    for (size_t i = 0; i < 5; ++i) {
        const size_t desde = cifras + 2 * i;
        if (desde + 2 <= texto.size()) (void)LeerNumero(texto.substr(desde, 2), campos[i]);
    }
    const auto [mes, dia, hora, minuto, segundo] = campos;
    if (mes < 1 || mes > 12 || dia < 1 || dia > 31) return 0;
    return DiasDesdeCivil(anio, mes, dia) * 86400 + hora * 3600 + minuto * 60 + segundo + Desfase(texto);
}

}  // namespace Lx::X509::Interno
