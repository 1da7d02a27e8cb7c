#include "ui/platform/pdf/Documento.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>

namespace Lx::Pdf {
namespace {

using std::chrono::milliseconds;

constexpr const char* kNoSePudoAbrir = "No se pudo abrir el PDF (archivo inexistente o dañado).";
constexpr const char* kSinMemoria = "Sin memoria para rasterizar la pagina.";
constexpr const char* kTamanoInvalido = "La pagina tiene un tamano invalido.";
constexpr const char* kSinDibujar = "No se pudo dibujar la pagina.";
constexpr const char* kProgramaCerrado = "No se pudo dibujar la pagina: el programa que la dibuja se ha cerrado.";
constexpr const char* kSinPrograma = "No se pudo iniciar el programa que dibuja las paginas (velmora-pagina).";

// A page nobody wants any more may still be in the works. It is waited for as long as starting again would cost, which
// is the opening of the document and never less than this; then the process is ended, the only way to stop it.
constexpr milliseconds kPaciencia{250};

constexpr size_t kBytesQueSeGuardan = size_t{64} << 20;

milliseconds Desde(Documento::Reloj::time_point inicio, Documento::Reloj::time_point ahora) {
    return std::chrono::duration_cast<milliseconds>(ahora - inicio);
}

Descriptor Memoria(const char* nombre) {
    return Descriptor(memfd_create(nombre, MFD_CLOEXEC | MFD_ALLOW_SEALING));
}

bool Sellar(const Descriptor& memoria, int sellos) {
    return fcntl(memoria.Numero(), F_ADD_SEALS, sellos | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0;
}

bool EscribirTodo(int fd, const char* datos, size_t cuantos) {
    while (cuantos > 0) {
        const ssize_t n = write(fd, datos, cuantos);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        datos += n;
        cuantos -= static_cast<size_t>(n);
    }
    return true;
}

// The file as it is now, in memory that nobody can change: what is shown doesn't depend on what becomes of the file.
Descriptor Copia(const std::string& ruta) {
    // A pipe in the place of a file must not make the window wait for who writes into it.
    const Descriptor fichero(open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat datos {};
    if (!fichero.Vale() || fstat(fichero.Numero(), &datos) != 0 || !S_ISREG(datos.st_mode)) return Descriptor();
    Descriptor memoria = Memoria("documento");
    if (!memoria.Vale()) return Descriptor();
    std::vector<char> trozo(1 << 20);
    int64_t total = 0;
    while (true) {
        const ssize_t n = read(fichero.Numero(), trozo.data(), trozo.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return Descriptor();
        if (n == 0) break;
        total += n;
        if (total > INT_MAX || !EscribirTodo(memoria.Numero(), trozo.data(), static_cast<size_t>(n)))
            return Descriptor();
    }
    if (total == 0 || !Sellar(memoria, F_SEAL_WRITE)) return Descriptor();
    return memoria;
}

// Its size never changes, so reading it can't fail whatever the other process does.
Descriptor LugarParaPixeles() {
    Descriptor memoria = Memoria("pixeles");
    if (!memoria.Vale() || ftruncate(memoria.Numero(), kBytesPixeles) != 0 || !Sellar(memoria, 0)) return Descriptor();
    return memoria;
}

const char* Frase(Estado estado) {
    switch (estado) {
        case Estado::TamanoInvalido:
            return kTamanoInvalido;
        case Estado::SinMemoria:
            return kSinMemoria;
        default:
            return kSinDibujar;
    }
}

}  // namespace

Documento::Documento(Descriptor contenido, Descriptor pixeles, milliseconds plazo)
    : contenido_(std::move(contenido)), pixeles_(std::move(pixeles)), plazo_(plazo) {}

std::unique_ptr<Documento> Documento::Abrir(const std::string& ruta, std::string& error, milliseconds plazo) {
    error.clear();
    if (ruta.empty()) {
        error = "Ruta de archivo invalida.";
        return nullptr;
    }
    Descriptor contenido = Copia(ruta);
    Descriptor pixeles = LugarParaPixeles();
    if (!contenido.Vale() || !pixeles.Vale()) {
        error = kNoSePudoAbrir;
        return nullptr;
    }
    std::unique_ptr<Documento> doc(new Documento(std::move(contenido), std::move(pixeles), plazo));
    if (!doc->EsperarApertura(error)) return nullptr;
    return doc;
}

bool Documento::EsperarApertura(std::string& error) {
    desde_ = Reloj::now();
    ayudante_ = Ayudante::Arrancar(contenido_, pixeles_);
    if (!ayudante_) {
        error = kSinPrograma;
        return false;
    }
    Respuesta respuesta;
    Ayudante::Lectura lectura = Ayudante::Lectura::Nada;
    while (lectura == Ayudante::Lectura::Nada) {
        apertura_ = Desde(desde_, Reloj::now());
        if (apertura_ >= plazo_) {
            error = "El PDF tarda demasiado en abrirse.";
            return false;
        }
        lectura = ayudante_->Leer(respuesta, plazo_ - apertura_);
    }
    const bool valida = lectura == Ayudante::Lectura::Respuesta && respuesta.numero == 0;
    if (valida && respuesta.estado == Estado::Protegido)
        error = "El PDF esta protegido con contraseña.";
    else if (!valida || respuesta.estado != Estado::Bien || respuesta.ancho < 1)
        error = kNoSePudoAbrir;
    paginas_ = respuesta.ancho;
    return error.empty();
}

bool Documento::Admite(int pagina, int ancho, std::string& error) const {
    if (pagina < 0 || pagina >= paginas_)
        error =
            "Pagina fuera de rango (" + std::to_string(int64_t{pagina} + 1) + " de " + std::to_string(paginas_) + ").";
    else if (ancho < 1)
        error = kTamanoInvalido;
    return error.empty();
}

bool Documento::RenderPage(int page, int width, Raster& out, std::string& error) {
    error.clear();
    out = {};
    if (!Admite(page, width, error)) return false;
    while (!WaitForPage(page, width, static_cast<int>(plazo_.count()))) {
    }
    error = std::move(hecha_->error);
    out = std::move(hecha_->raster);
    hecha_.reset();
    return error.empty();
}

bool Documento::WaitForPage(int page, int width, int ms) {
    std::string error;
    if (!Admite(page, width, error)) return true;
    const Hoja hoja{page, width};
    const auto limite = Reloj::now() + milliseconds(std::max(ms, 0));
    while (true) {
        // What was drawn ahead may be answered since: then the process is free, however long ago it was asked.
        if (enCurso_ && *enCurso_ != hoja) Atender(milliseconds(0));
        if (hecha_ && hecha_->hoja == hoja) return true;
        const auto ahora = Reloj::now();
        if (enCurso_ && Estorba(hoja, ahora)) Abandonar();
        if (!enCurso_) {
            Pedir(hoja);
            continue;
        }
        // Looked at once even without time to wait: it may be there.
        auto espera = std::max(Desde(ahora, limite), milliseconds(0));
        if (*enCurso_ != hoja) espera = std::min(espera, std::max(kPaciencia, apertura_));
        Atender(espera);
        if (enCurso_ && Reloj::now() >= limite) return false;
    }
}

void Documento::RenderAhead(int page, int width) {
    const Hoja hoja{page, width};
    std::string error;
    if (!Admite(page, width, error) || enCurso_ || (hecha_ && hecha_->hoja == hoja)) return;
    Pedir(hoja);
}

bool Documento::Estorba(const Hoja& hoja, Reloj::time_point ahora) const {
    return *enCurso_ != hoja && !abriendo_ && Desde(desde_, ahora) >= std::max(kPaciencia, apertura_);
}

// Either it is being drawn afterwards or `hecha_` says why not.
void Documento::Pedir(const Hoja& hoja) {
    hecha_.reset();
    enCurso_ = hoja;
    desde_ = Reloj::now();
    const Peticion peticion{++numero_, hoja.pagina, hoja.ancho};
    // A process that ended while it had nothing to do is no fault of this page.
    if (ayudante_ && ayudante_->Enviar(peticion)) return;
    ayudante_ = Ayudante::Arrancar(contenido_, pixeles_);
    abriendo_ = true;
    if (!ayudante_)
        Fallar(kSinPrograma);
    else if (!ayudante_->Enviar(peticion))
        FallarPorMuerte();
}

void Documento::Abandonar() {
    ayudante_.reset();
    enCurso_.reset();
}

void Documento::Atender(milliseconds espera) {
    const auto queda = std::max(plazo_ - Desde(desde_, Reloj::now()), milliseconds(0));
    Respuesta respuesta;
    switch (ayudante_->Leer(respuesta, std::min(espera, queda))) {
        case Ayudante::Lectura::Respuesta:
            Recibir(respuesta);
            break;
        case Ayudante::Lectura::Fin:
            FallarPorMuerte();
            break;
        case Ayudante::Lectura::Nada:
            if (Desde(desde_, Reloj::now()) < plazo_) break;
            ayudante_.reset();
            Fallar("La pagina tarda demasiado en dibujarse.");
    }
}

void Documento::Recibir(const Respuesta& respuesta) {
    if (abriendo_ && respuesta.numero == 0 && respuesta.estado == Estado::Bien) {
        abriendo_ = false;
        desde_ = Reloj::now();
        return;
    }
    if (abriendo_ || respuesta.numero != numero_) return FallarPorMuerte();
    if (respuesta.estado != Estado::Bien) return Fallar(Frase(respuesta.estado));
    Raster raster;
    if (!Copiar(respuesta, raster)) return FallarPorMuerte();
    hecha_ = Hecha{*enCurso_, {}, std::move(raster)};
    enCurso_.reset();
}

void Documento::Fallar(std::string frase) {
    hecha_ = Hecha{*enCurso_, std::move(frase), {}};
    enCurso_.reset();
}

// Of a process that says nonsense too: it isn't ours any more.
void Documento::FallarPorMuerte() {
    const int salida = ayudante_->Acabar();
    ayudante_.reset();
    Fallar(salida == kSalidaSinMemoria ? kSinMemoria : kProgramaCerrado);
}

// What the answer says is believed only as far as it fits what was asked and the memory that both see.
bool Documento::Copiar(const Respuesta& respuesta, Raster& raster) const {
    if (respuesta.ancho != enCurso_->ancho || respuesta.alto < 1 || respuesta.alto > kMaxPixeles / respuesta.ancho)
        return false;
    const size_t bytes = static_cast<size_t>(respuesta.ancho) * static_cast<size_t>(respuesta.alto) * 4;
    void* const vista = mmap(nullptr, bytes, PROT_READ, MAP_SHARED | MAP_POPULATE, pixeles_.Numero(), 0);
    if (vista == MAP_FAILED) return false;
    const auto* const pixeles = static_cast<const unsigned char*>(vista);
    raster.width = respuesta.ancho;
    raster.height = respuesta.alto;
    raster.pixels.assign(pixeles, pixeles + bytes);
    munmap(vista, bytes);
    // What a page of usual size takes is kept for the next one.
    if (bytes > kBytesQueSeGuardan)
        fallocate(pixeles_.Numero(), FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, 0, kBytesPixeles);
    return true;
}

IDocument* Open(const std::string& path, std::string& error) {
    return Documento::Abrir(path, error).release();
}

}  // namespace Lx::Pdf
