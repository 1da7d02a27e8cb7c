// What the tests of the output's way to its name share: documents with an update, sources that misbehave, and the copy.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "crypto/LxApi.h"
#include "signer/PdfCopia.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdfSigner::Interno {
namespace fs = std::filesystem;
using Apoyo::Aparte;
using Lx::Motivo;
using testing::ElementsAre;
using Nombres = std::vector<std::string>;

constexpr size_t kPieza = 256U << 10;

inline std::string Bytes(size_t n) {
    static const std::string todos = [] {
        std::mt19937_64 azar(1);
        std::string t(6U << 20, '\0');
        for (char& c : t) c = static_cast<char>(azar());
        return t;
    }();
    return todos.substr(0, n);
}

// What gets appended, and the digest of all that its /ByteRange covers: the four numbers may be others than the right
// ones.
struct Actualizacion {
    std::string texto;
    std::vector<unsigned char> digest;

    explicit Actualizacion(const std::string& doc, std::optional<std::array<size_t, 4>> otros = {}) {
        const std::string hueco(1000, '0'), cola = "\n%%EOF\n";
        const size_t abre = doc.size() + 60, tras = abre + hueco.size();
        const auto r = otros.value_or(std::array<size_t, 4>{0, abre, tras, cola.size()});
        texto = "\n/ByteRange [1 1 1 1] /ByteRange [";
        for (const size_t n : r) texto += std::to_string(n) + " ";
        texto += "]";
        texto.resize(60, ' ');
        digest = Lx::Api::Sha256(doc + texto + cola);
        texto += hueco + cola;
    }
    void Rehacer(const std::string& cubierto) { digest = Lx::Api::Sha256(cubierto); }
};

// A source that does something each time it is read; false from it makes the reading fail.
class FuenteCon final : public LxPdf::Fuente {
  public:
    FuenteCon(std::string datos, std::function<bool(uint64_t)> alLeer)
        : datos_(std::move(datos)), alLeer_(std::move(alLeer)) {}
    [[nodiscard]] uint64_t Longitud() const override { return datos_.size(); }
    [[nodiscard]] bool Leer(uint64_t pos, size_t n, char* destino) const override {
        datos_.copy(destino, n, pos);
        return alLeer_(pos);
    }
    [[nodiscard]] bool HaCambiado() const override { return false; }

  private:
    std::string datos_;
    std::function<bool(uint64_t)> alLeer_;
};

class CopiaTest : public testing::Test {
  protected:
    struct Fin {
        Motivo motivo = Motivo::Ninguno;
        std::string error;
        bool empezada = false;
        bool copiada = false;
        bool acabada = false;
        std::string ruta;
    };
    Fin Copiar(const LxPdf::Fuente& fuente, const Destino& destino, const Actualizacion& act,
               const Copia::Ajustes& ajustes = {}) {
        Fin f;
        Copia copia(ajustes);
        Lx::Api::Interno::Sha256Ctx hash;
        f.empezada = copia.Empezar(fuente, destino, control_, f.motivo, f.error);
        f.copiada = f.empezada && copia.Esperar(hash, f.motivo, f.error) &&
                    copia.Reservar(fuente.Longitud() + act.texto.size(), f.motivo, f.error);
        if (f.copiada) hash_ = Lx::Api::Interno::Sha256Fin(hash);
        f.acabada = f.copiada && copia.Acabar(act.texto, act.digest, f.motivo, f.error);
        f.ruta = copia.Ruta();
        return f;
    }
    Fin Copiar(const std::string& doc, const std::string& salida, const Copia::Ajustes& ajustes = {}) {
        return Copiar(*LxPdf::AbrirMemoria(doc), {salida}, Actualizacion(doc), ajustes);
    }
    // Whole or not at all, under this very name.
    Fin Entera(Destino destino, bool sinNombre) {
        destino.entero = true;
        return Copiar(*LxPdf::AbrirMemoria(doc_), destino, Actualizacion(doc_), {sinNombre});
    }
    [[nodiscard]] Nombres Hay() const {
        Nombres n;
        for (const auto& e : fs::directory_iterator(carpeta_.Ruta())) n.push_back(e.path().filename());
        std::sort(n.begin(), n.end());
        return n;
    }
    static mode_t Permisos(const std::string& ruta) {
        struct stat st {};
        return stat(ruta.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
    }
    // The open file in the folder that has no name, or only a dot name.
    [[nodiscard]] int Escondido() const {
        for (const auto& e : fs::directory_iterator("/proc/self/fd")) {
            std::error_code no;
            const std::string a = fs::read_symlink(e.path(), no);
            if (a.starts_with(carpeta_.Ruta() + "/")) return std::stoi(e.path().filename());
        }
        return -1;
    }

    Apoyo::CarpetaTemporal carpeta_;
    const std::string salida_ = carpeta_ / "s.pdf";
    const std::string doc_ = Bytes(1'300'000);
    const std::string entero_ = doc_ + Actualizacion(doc_).texto;
    std::vector<unsigned char> hash_;
    Lx::Control control_;
};

// Nobody else sees what this process mounts.
inline bool Montar(const std::string& donde, const char* opciones) {
    return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("disco", donde.c_str(), "tmpfs", 0, opciones) == 0;
}

}  // namespace LxPdfSigner::Interno
