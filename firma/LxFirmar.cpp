#include "firma/LxFirmar.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <new>
#include <utility>

#include "crypto/LxDescriptor.h"
#include "crypto/LxExplicar.h"
#include "crypto/LxSecreto.h"
#include "firma/Firmante.h"
#include "firma/LxAptitud.h"

namespace Lx::Firma {

namespace {

// A document that can't be named in an earlier look may have been written over meanwhile, so often at most.
constexpr int kNombres = 20;

[[nodiscard]] Aviso SePuedeLeer(const std::string& ruta) {
    const Api::Descriptor fd(open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!fd) return {Motivo::NoSeLee, "no se pudo leer " + ruta + ". Motivo: " + Api::ExplicarErrno(errno) + "."};
    struct stat st {};
    const bool normal = fstat(fd.Valor(), &st) == 0 && S_ISREG(st.st_mode);
    if (S_ISDIR(st.st_mode)) return {Motivo::NoSeLee, ruta + " es una carpeta."};
    return normal ? Aviso{} : Aviso{Motivo::NoSeLee, ruta + " no es un fichero normal."};
}

// What keeps a file from coming into being there; 0: nothing that can be seen.
[[nodiscard]] int EstorboEn(const std::string& destino) {
    struct stat hay {};
    if (lstat(destino.c_str(), &hay) == 0) return 0;
    if (errno != ENOENT) return errno;
    const size_t barra = destino.rfind('/');
    const std::string carpeta = barra == destino.npos ? "." : destino.substr(0, barra + 1);
    return access(carpeta.c_str(), W_OK | X_OK) == 0 ? 0 : errno;
}

bool Fallo(Hecho& hecho, Aviso fallo) {
    hecho.r.motivo = fallo.motivo;
    hecho.r.error = std::move(fallo.frase);
    return false;
}

[[nodiscard]] bool Pendiente(const Hecho& hecho) {
    return !hecho.r.firmado && hecho.r.motivo == Motivo::Ninguno;
}

}  // namespace

// The engine decides again when it writes; here nothing has been asked of anybody yet.
Aviso RevisarSalida(const std::string& destino, const std::string& entrada, bool reemplazar) {
    struct stat hay {
    }, doc{};
    if (destino.empty())
        return {Motivo::SinNombre, "ya existen todas las copias firmadas de " + entrada +
                                       ", hasta la número 999: no se sustituye ninguna."};
    if (destino.back() == '/') return {Motivo::SalidaImposible, "\"" + destino + "\" no es un nombre de fichero."};
    if (const int numero = EstorboEn(destino); numero != 0)
        return {Motivo::SalidaImposible,
                "no se pudo abrir " + destino + " para escritura. Motivo: " + Api::ExplicarErrno(numero) + "."};
    if (!entrada.empty() && stat(entrada.c_str(), &doc) == 0 && stat(destino.c_str(), &hay) == 0 &&
        doc.st_dev == hay.st_dev && doc.st_ino == hay.st_ino)
        return {Motivo::SalidaEsEntrada, "la salida " + destino + " es el propio documento: no se sustituye nunca."};
    if (lstat(destino.c_str(), &hay) != 0) return {};
    if (!S_ISREG(hay.st_mode)) return {Motivo::SalidaAjena, destino + " ya existe y no es un fichero normal."};
    if (reemplazar) return {};
    return {Motivo::SalidaExiste, "ya existe " + destino + ": no se sustituye."};
}

Aviso Planear(const std::string& entrada, const Encargo& encargo) {
    if (!encargo.texto)
        if (Aviso fallo = SePuedeLeer(entrada)) return fallo;
    if (encargo.salida.empty() && encargo.texto) return {};
    const std::string salida = encargo.salida.empty() ? NombreLibre(entrada, encargo.carpeta) : encargo.salida;
    return RevisarSalida(salida, entrada, encargo.reemplazar);
}

FirmarDocumentos::FirmarDocumentos(Encargo encargo, Preguntas preguntas, Observador observador)
    : encargo_(std::move(encargo)),
      observador_(std::move(observador)),
      firmante_(std::make_unique<Firmante>(encargo_.elegida, encargo_.ctx, std::move(preguntas), control)) {
    const std::vector<std::string> uno = {""};
    for (const std::string& entrada : encargo_.texto ? uno : encargo_.documentos)
        respuesta_.documentos.push_back({entrada, {}});
    LxPdfSigner::Metadatos& meta = encargo_.meta;
    if (meta.nombre.empty()) meta.nombre = encargo_.elegida.cert.subjectCN;
    if (meta.razon.empty()) meta.razon = "Firma de documento";
}

FirmarDocumentos::~FirmarDocumentos() = default;

Aviso FirmarDocumentos::Empezar() {
    for (Hecho& h : respuesta_.documentos)
        if (Aviso fallo = Planear(h.entrada, encargo_)) Fallo(h, std::move(fallo));
    if (std::none_of(respuesta_.documentos.begin(), respuesta_.documentos.end(), Pendiente)) return {};
    const Aptitud aptitud = Juzgar(encargo_.elegida, std::time(nullptr));
    if (!aptitud.Salvada(encargo_.aunque)) return Explicar(encargo_.elegida, aptitud);
    return firmante_->PedirPin(false);
}

void FirmarDocumentos::Hacer() {
    const NoVolcable cerrado;
    respuesta_.fallo = Empezar();
    for (size_t i = 0; i < respuesta_.documentos.size(); ++i) {
        Hecho& hecho = respuesta_.documentos[i];
        if (respuesta_.fallo) {
            if (Pendiente(hecho)) Fallo(hecho, respuesta_.fallo);
            continue;
        }
        if (observador_.alEmpezar) observador_.alEmpezar(i);
        if (Pendiente(hecho)) FirmarUno(hecho);
        if (observador_.alAcabar) observador_.alAcabar(i, hecho);
    }
    respuesta_.intentos = firmante_->Ultima().fallo ? firmante_->Ultima().intentos : -1;
}

void FirmarDocumentos::FirmarUno(Hecho& hecho) {
    if (control.Cancelado()) {
        Fallo(hecho, {Motivo::Cancelado, "no se firmó: se canceló antes."});
    } else if (Aviso parado = firmante_->Parado()) {
        Fallo(hecho, std::move(parado));
    } else {
        try {
            FirmarDocumento(hecho);
        } catch (const std::bad_alloc&) {
            hecho.r = {};
            Fallo(hecho, {Motivo::SinMemoria, "no hay memoria suficiente para firmar " + hecho.entrada + "."});
        }
    }
    control.Soltar();
}

void FirmarDocumentos::FirmarDocumento(Hecho& hecho) {
    const std::string salida = encargo_.salida.empty() ? NombreLibre(hecho.entrada, encargo_.carpeta) : encargo_.salida;
    if (Aviso fallo = RevisarSalida(salida, hecho.entrada, encargo_.reemplazar)) {
        Fallo(hecho, std::move(fallo));
        return;
    }
    for (;;) {
        hecho.r = Intentar(hecho, salida);
        control.Soltar();
        if (hecho.r.firmado || !firmante_->OtroPin()) break;
    }
    if (hecho.r.firmado) return;
    if (hecho.r.motivo == Motivo::ClaveNoFirma && firmante_->Ultima().fallo)
        hecho.r.motivo = firmante_->Ultima().fallo.motivo;
    if (hecho.r.motivo == Motivo::Ninguno) hecho.r.motivo = Motivo::ClaveNoFirma;
    if (hecho.r.error.empty()) hecho.r.error = "No se pudo firmar.";
}

LxPdfSigner::Resultado FirmarDocumentos::Intentar(const Hecho& hecho, const std::string& salida) {
    LxPdfSigner::Opciones opciones{encargo_.modo, encargo_.paginas, true};
    opciones.reemplazar = encargo_.reemplazar;
    opciones.control = &control;
    opciones.paginasVistas = encargo_.paginasVistas;
    if (encargo_.salida.empty()) {
        opciones.otroNombre = [this, &hecho, quedan = kNombres](const std::string&) mutable {
            return quedan-- > 0 ? NombreLibre(hecho.entrada, encargo_.carpeta) : std::string();
        };
    }
    const X509::Certificado& cert = encargo_.elegida.cert;
    bool otro = false;
    LxPdfSigner::Callback clave = firmante_->Callback();
    if (encargo_.esElVisto) {
        clave = [this, &otro, suya = clave](const std::vector<unsigned char>& datos, std::string& mensaje) {
            otro = !encargo_.esElVisto();
            return otro ? std::vector<unsigned char>() : suya(datos, mensaje);
        };
    }
    if (encargo_.texto) return LxPdfSigner::Crear(salida, *encargo_.texto, cert, clave, encargo_.meta, opciones);
    LxPdfSigner::Resultado r = LxPdfSigner::Firmar(hecho.entrada, salida, cert, clave, encargo_.meta, opciones);
    if (otro) {
        r.motivo = Motivo::Cambiado;
        r.error = "No se firma: el documento ha cambiado en el disco después de que se leyera.";
    }
    return r;
}

}  // namespace Lx::Firma
