#include "signer/PdfCopia.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "crypto/LxFichero.h"
#include "signer/PdfFichero.h"
#include "signer/PdfVigia.h"

namespace LxPdfSigner::Interno {

using Lx::Motivo;
using Lx::Api::Descriptor;
using Lx::Api::Interno::Sha256Ctx;
using Lx::Api::Interno::Sha256Update;
using Lx::Api::Interno::Sha256UpdateDos;

namespace {

// Pieces small enough that the second core finds them in its cache, large enough that a call of the system costs
// nothing beside them.
constexpr size_t kPieza = 256U << 10;
constexpr size_t kAnillo = 8;
constexpr uint64_t kVolcado = 16;  // pieces that are sent to the disk together
// Below it a thread costs more than it saves.
constexpr uint64_t kParaleloDesde = 2U << 20;

}  // namespace

Copia::~Copia() {
    Parar();
}

void Copia::Parar() {
    {
        const std::lock_guard guarda(cerrojo_);
        parar_ = true;
    }
    cambio_.notify_all();
    for (std::thread& hilo : hilos_) hilo.join();
    hilos_.clear();
}

bool Copia::Fallo(Motivo causa, Motivo& motivo, std::string& error) const {
    motivo = causa;
    switch (causa) {
        case Motivo::SalidaImposible:
            error = "no se pudo abrir " + salida_ + " para escritura.";
            break;
        case Motivo::SalidaIncompleta:
            error = "escritura incompleta de " + salida_ + ".";
            break;
        case Motivo::SalidaExiste:
            error = "ya existe " + nuevo_.Ruta() + ": no se sustituye.";
            break;
        case Motivo::SalidaAjena:
            error = nuevo_.Ruta() + " ya existe y no es un fichero normal.";
            break;
        case Motivo::Cancelado:
            error = kFraseCancelado;
            break;
        case Motivo::Cambiado:
            error = "no se pudo leer el documento hasta el final: puede que otro programa lo haya cambiado.";
            break;
        default:
            error = "autocomprobacion del ByteRange fallida: no se escribe el PDF firmado.";
    }
    return false;
}

bool Copia::Empezar(const LxPdf::Fuente& fuente, Destino destino, Lx::Control& control, Motivo& motivo,
                    std::string& error) {
    fuente_ = &fuente;
    control_ = &control;
    salida_ = destino.ruta;
    reservar_ = destino.entero;
    const Motivo causa = nuevo_.Abrir(std::move(destino), ajustes_.sinNombre);
    if (causa != Motivo::Ninguno) return Fallo(causa, motivo, error);
    const uint64_t total = fuente.Longitud();
    if (!Reservar(total, motivo, error)) return false;
    piezas_ = (total + kPieza - 1) / kPieza;
    const size_t largo = static_cast<size_t>(std::min<uint64_t>(total, kPieza));
    leidas_.assign(static_cast<size_t>(std::min<uint64_t>(piezas_, kAnillo)), std::string(largo, '\0'));
    if (nuevo_.Directa())
        hechas_[kComprobar] = piezas_;  // nothing is there to be read back
    else
        releida_.assign(largo, '\0');
    juntos_ = ajustes_.deDosEnDos && !nuevo_.Directa() && Lx::Api::Interno::Sha256DosALaVez();
    if (juntos_) hechas_[kComprobar] = piezas_;
    if (total < kParaleloDesde) return true;
    hilos_.reserve(ajustes_.hilos);
    try {
        while (hilos_.size() < ajustes_.hilos) hilos_.emplace_back(&Copia::Trabajar, this);
    } catch (const std::system_error&) {
        return true;  // those that could be made, or else the caller's, do it all
    }
    return true;
}

size_t Copia::Largo(uint64_t pieza) const {
    return static_cast<size_t>(std::min<uint64_t>(kPieza, fuente_->Longitud() - pieza * kPieza));
}

bool Copia::Posible(size_t tarea) const {
    const uint64_t n = hechas_[tarea];
    if (ocupada_[tarea] || n == piezas_) return false;
    if (tarea == kMover) return n - std::min(hechas_[kCubrir], hechas_[kComprobar]) < leidas_.size();
    return n < hechas_[kMover];
}

// The one that is furthest behind: alone, a thread does all with a piece while it is in its cache.
size_t Copia::Elegir() const {
    size_t elegida = kTareas;
    for (size_t t = 0; t < kTareas; ++t)
        if (Posible(t) && (elegida == kTareas || hechas_[t] < hechas_[elegida])) elegida = t;
    return elegida;
}

bool Copia::Hecho() const {
    return std::all_of(hechas_.begin(), hechas_.end(), [this](uint64_t n) { return n == piezas_; });
}

// What every thread does until there is nothing left to do.
void Copia::Trabajar() {
    std::unique_lock cerrado(cerrojo_);
    for (;;) {
        size_t tarea = kTareas;
        cambio_.wait(cerrado, [&] { return parar_ || Hecho() || (tarea = Elegir()) != kTareas; });
        if (parar_ || Hecho()) return;
        ocupada_[tarea] = true;
        const uint64_t pieza = hechas_[tarea];
        cerrado.unlock();
        const Motivo causa = Hacer(tarea, pieza);
        cerrado.lock();
        ocupada_[tarea] = false;
        if (causa == Motivo::Ninguno) {
            ++hechas_[tarea];
            Contar();
        } else {
            causa_ = causa;
            parar_ = true;
        }
        cambio_.notify_all();
    }
}

void Copia::Contar() {
    const uint64_t hechas = *std::min_element(hechas_.begin(), hechas_.end());
    if (contar_) control_->Avanzar(std::min(hechas * kPieza, fuente_->Longitud()));
}

bool Copia::Releer(uint64_t pieza) {
    const auto largo = static_cast<ssize_t>(Largo(pieza));
    return Lx::Api::LeerEn(nuevo_.Fd(), releida_.data(), Largo(pieza), static_cast<off_t>(pieza * kPieza)) == largo;
}

Motivo Copia::Hacer(size_t tarea, uint64_t pieza) {
    const size_t largo = Largo(pieza);
    std::string& leida = leidas_[static_cast<size_t>(pieza % leidas_.size())];
    switch (tarea) {
        case kMover:
            if (control_->Cancelado()) return Motivo::Cancelado;
            if (!fuente_->Leer(pieza * kPieza, largo, leida.data())) return Motivo::Cambiado;
            if (nuevo_.Directa()) return Motivo::Ninguno;
            if (!Lx::Api::EscribirTodo(nuevo_.Fd(), {leida.data(), largo})) return Motivo::SalidaIncompleta;
            if ((pieza + 1) % kVolcado == 0)
                EmpezarAVolcar(nuevo_.Fd(), (pieza + 1 - kVolcado) * kPieza, kVolcado * kPieza);
            return Motivo::Ninguno;
        case kCubrir:
            if (!juntos_) {
                Sha256Update(cubierto_, leida.data(), largo);
                return Motivo::Ninguno;
            }
            if (!Releer(pieza)) return Motivo::Autocomprobacion;
            Sha256UpdateDos(cubierto_, leida.data(), comprobado_, releida_.data(), largo);
            return Motivo::Ninguno;
        default:
            if (!Releer(pieza)) return Motivo::Autocomprobacion;
            Sha256Update(comprobado_, releida_.data(), largo);
            return Motivo::Ninguno;
    }
}

bool Copia::Esperar(Sha256Ctx& hash, Motivo& motivo, std::string& error) {
    {
        const std::lock_guard guarda(cerrojo_);
        contar_ = true;
        control_->Pasar(Lx::Etapa::Copia, fuente_->Longitud());
        Contar();
    }
    if (hilos_.empty()) Trabajar();
    for (std::thread& hilo : hilos_) hilo.join();
    hilos_.clear();
    if (causa_ != Motivo::Ninguno) return Fallo(causa_, motivo, error);
    hash = cubierto_;
    return true;
}

bool Copia::Reservar(uint64_t total, Motivo& motivo, std::string& error) {
    // In parts: some file systems take their time, and the person may give up.
    constexpr uint64_t kParte = 256U << 20;
    while (reservar_ && reservados_ < total) {
        if (control_->Cancelado()) return Fallo(Motivo::Cancelado, motivo, error);
        const uint64_t hasta = std::min(total, reservados_ + kParte);
        if (!ReservarEspacio(nuevo_.Fd(), reservados_, hasta)) {
            motivo = Motivo::SalidaIncompleta;
            error = "no queda espacio en el disco para " + nuevo_.Ruta() + ".";
            return false;
        }
        reservados_ = hasta;
    }
    return true;
}

bool Copia::Acabar(std::string_view actualizacion, const std::vector<unsigned char>& digest, Motivo& motivo,
                   std::string& error) {
    const Motivo causa = nuevo_.Directa() ? EscribirDirecta(actualizacion, digest) : Anadir(actualizacion, digest);
    return causa == Motivo::Ninguno || Fallo(causa, motivo, error);
}

Motivo Copia::Anadir(std::string_view actualizacion, const std::vector<unsigned char>& digest) {
    if (!Lx::Api::EscribirTodo(nuevo_.Fd(), actualizacion)) return Motivo::SalidaIncompleta;
    if (!Comprobar(nuevo_.Fd(), fuente_->Longitud(), comprobado_, digest)) return Motivo::Autocomprobacion;
    if (!AsegurarEnDisco(nuevo_.Fd())) return Motivo::SalidaIncompleta;
    return nuevo_.Nombrar();
}

Motivo Copia::EscribirDirecta(std::string_view actualizacion, const std::vector<unsigned char>& digest) {
    Descriptor fd(open(salida_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC | O_NOCTTY));
    struct stat info = {};
    if (!fd || fstat(fd.Valor(), &info) != 0) return Motivo::SalidaImposible;
    const auto llenar = [&] {
        for (uint64_t pieza = 0; pieza < piezas_; ++pieza) {
            if (!fuente_->Leer(pieza * kPieza, Largo(pieza), leidas_[0].data())) return Motivo::Cambiado;
            if (!Lx::Api::EscribirTodo(fd.Valor(), {leidas_[0].data(), Largo(pieza)})) return Motivo::SalidaIncompleta;
        }
        if (!Lx::Api::EscribirTodo(fd.Valor(), actualizacion) || !AsegurarEnDisco(fd.Valor()))
            return Motivo::SalidaIncompleta;
        // A device or a pipe has no bytes that could be read back, and fails.
        return Verificar(salida_, digest) ? Motivo::Ninguno : Motivo::Autocomprobacion;
    };
    Motivo causa = llenar();
    // Nothing that looks like a document may stay.
    if (causa != Motivo::Ninguno && S_ISREG(info.st_mode)) static_cast<void>(ftruncate(fd.Valor(), 0) == 0);
    if (!fd.Cerrar() && causa == Motivo::Ninguno) causa = Motivo::SalidaIncompleta;
    return causa;
}

}  // namespace LxPdfSigner::Interno
