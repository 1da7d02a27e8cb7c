#include "pdf/LxFuente.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace LxPdf {

namespace {

class FuenteFichero final : public Fuente {
  public:
    FuenteFichero(std::string ruta, Lx::Api::Descriptor fd, const struct stat& info)
        : ruta_(std::move(ruta)), fd_(std::move(fd)), info_(info) {}

    [[nodiscard]] uint64_t Longitud() const override { return static_cast<uint64_t>(info_.st_size); }
    [[nodiscard]] bool Leer(uint64_t pos, size_t n, char* destino) const override {
        if (pos > Longitud() || n > Longitud() - pos) return false;
        return Lx::Api::LeerEn(fd_.Valor(), destino, n, static_cast<off_t>(pos)) == static_cast<ssize_t>(n);
    }
    // The name may meanwhile lead to another file, and the open one may have been written to.
    [[nodiscard]] bool HaCambiado() const override {
        struct stat nombre = {};
        struct stat abierto = {};
        return stat(ruta_.c_str(), &nombre) != 0 || fstat(fd_.Valor(), &abierto) != 0 || !Igual(nombre) ||
               !Igual(abierto);
    }
    [[nodiscard]] int Descriptor() const override { return fd_.Valor(); }

  private:
    [[nodiscard]] bool Igual(const struct stat& otra) const {
        const auto instante = [](const timespec& t) { return std::pair(t.tv_sec, t.tv_nsec); };
        return otra.st_dev == info_.st_dev && otra.st_ino == info_.st_ino && otra.st_size == info_.st_size &&
               instante(otra.st_mtim) == instante(info_.st_mtim) && instante(otra.st_ctim) == instante(info_.st_ctim);
    }

    std::string ruta_;
    Lx::Api::Descriptor fd_;
    struct stat info_;
};

class FuenteMemoria final : public Fuente {
  public:
    explicit FuenteMemoria(std::string_view datos) : datos_(datos) {}

    [[nodiscard]] uint64_t Longitud() const override { return datos_.size(); }
    [[nodiscard]] bool Leer(uint64_t pos, size_t n, char* destino) const override {
        if (pos > datos_.size() || n > datos_.size() - pos) return false;
        datos_.copy(destino, n, pos);
        return true;
    }
    [[nodiscard]] bool HaCambiado() const override { return false; }

  private:
    std::string_view datos_;
};

}  // namespace

std::unique_ptr<Fuente> AbrirFichero(const std::string& ruta) {
    // A pipe without a writer would keep an open without O_NONBLOCK waiting.
    Lx::Api::Descriptor fd(open(ruta.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat info = {};
    if (!fd || fstat(fd.Valor(), &info) != 0) return nullptr;
    if (!S_ISREG(info.st_mode)) {
        errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        return nullptr;
    }
    return std::make_unique<FuenteFichero>(ruta, std::move(fd), info);
}

std::unique_ptr<Fuente> AbrirMemoria(std::string_view datos) {
    return std::make_unique<FuenteMemoria>(datos);
}

std::string_view Ventana::Ver(uint64_t pos, size_t minimo) {
    const uint64_t total = fuente_.Longitud();
    if (pos >= total) return {};
    minimo = static_cast<size_t>(std::min<uint64_t>(minimo, total - pos));
    if (pos < inicio_ || pos + minimo > inicio_ + datos_.size()) {
        const auto cuanto = static_cast<size_t>(std::min<uint64_t>(std::max(minimo, bloque_), total - pos));
        inicio_ = pos;
        datos_.resize(cuanto);
        if (!fuente_.Leer(pos, cuanto, datos_.data())) datos_.clear();
    }
    return std::string_view(datos_).substr(std::min<size_t>(static_cast<size_t>(pos - inicio_), datos_.size()));
}

}  // namespace LxPdf
