// A document's way to its file: byte for byte, in place of whatever was there, and without a trace of what failed.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include "tests/signer/Copia.h"

namespace LxPdfSigner::Interno {
namespace {

// As another user than root, who may do everything.
class ComoCualquiera {
  public:
    ComoCualquiera() { EXPECT_EQ(antes_ == 0 ? seteuid(65534) : 0, 0); }
    ~ComoCualquiera() { EXPECT_EQ(seteuid(antes_), 0); }

  private:
    uid_t antes_ = geteuid();
};

// Every size around a piece and around what makes threads worth while, with and without threads and names.
TEST_F(CopiaTest, ByteAByteDeCualquierTamano) {
    const mode_t antes = umask(026);
    for (const size_t n : {size_t{0}, size_t{1}, size_t{100}, kPieza - 1, kPieza, kPieza + 1, 8 * kPieza - 1,
                           8 * kPieza, size_t{6'000'001}}) {
        const std::string doc = Bytes(n);
        for (const Copia::Ajustes& a :
             {Copia::Ajustes{}, {true, 0}, {true, 1}, {true, 5}, {false, 2}, {true, 2, false}, {true, 0, false}}) {
            SCOPED_TRACE(std::to_string(n) + " bytes, " + std::to_string(a.hilos) + " threads");
            const Fin f = Copiar(doc, salida_, a);
            ASSERT_TRUE(f.acabada) << f.error;
            EXPECT_EQ(f.error, "");
            EXPECT_EQ(hash_, Lx::Api::Sha256(doc));
            EXPECT_TRUE(Apoyo::LeerFichero(salida_) == doc + Actualizacion(doc).texto);
            EXPECT_THAT(Hay(), ElementsAre("s.pdf"));
            EXPECT_EQ(Permisos(salida_), 0640U);
            fs::remove(salida_);
        }
    }
    umask(antes);
}

TEST_F(CopiaTest, LoQueHabiaSeSustituyeDeUnaVez) {
    fs::create_directory(carpeta_ / "otra");
    fs::create_symlink("otra/real.pdf", carpeta_ / "enlace");
    fs::create_symlink(carpeta_ / "enlace", carpeta_ / "otra/vuelta");
    for (const bool sinNombre : {true, false}) {
        for (const bool habia : {true, false}) {
            SCOPED_TRACE(std::to_string(sinNombre) + std::to_string(habia));
            const std::string real = carpeta_ / "otra/real.pdf";
            if (habia) {
                Apoyo::EscribirFichero(real, "viejo");
                ASSERT_EQ(chmod(real.c_str(), 0604), 0);
                fs::create_hard_link(real, carpeta_ / "viejo");
            }
            const Fin f = Copiar(doc_, carpeta_ / "otra/vuelta", {sinNombre});
            ASSERT_TRUE(f.acabada) << f.error;
            EXPECT_TRUE(fs::is_symlink(carpeta_ / "otra/vuelta") && fs::is_symlink(carpeta_ / "enlace"));
            EXPECT_TRUE(Apoyo::LeerFichero(real) == entero_);
            EXPECT_EQ(Apoyo::LeerFichero(carpeta_ / "viejo"), habia ? "viejo" : "") << "it was written over";
            EXPECT_TRUE(!habia || Permisos(real) == 0604) << Permisos(real);
            fs::remove(carpeta_ / "viejo");
            fs::remove(real);
            EXPECT_THAT(Hay(), ElementsAre("enlace", "otra"));
        }
    }
}

TEST_F(CopiaTest, LaAutocomprobacionMiraLosCuatroNumeros) {
    const size_t n = doc_.size(), abre = n + 60, tras = abre + 1000, total = entero_.size();
    const std::string cola = entero_.substr(tras);
    const auto con = [&](std::array<size_t, 4> rangos) { return Actualizacion(doc_, rangos); };
    Actualizacion otroDigest(doc_), sinRangos(doc_), dentro = con({0, n - 1, tras, total - tras});
    otroDigest.digest[31] ^= 1;
    sinRangos.texto = std::string(sinRangos.texto.size(), ' ');
    dentro.Rehacer(doc_ + cola);
    Actualizacion alReves = con({0, abre, abre - 1, total - abre + 1});
    alReves.Rehacer(doc_ + alReves.texto.substr(0, 60) + alReves.texto.substr(59));
    const Apoyo::Filas<const char*, Actualizacion> filas = {
        {"another digest", otroDigest},
        {"no ranges", sinRangos},
        {"a hole that begins inside the document", dentro},
        {"a first range that begins late", con({1, abre, tras, total - tras})},
        {"a second range that begins before the first ends", alReves},
        {"one byte less than all", con({0, abre, tras, total - tras - 1})},
        {"one byte more than all", con({0, abre, tras, total - tras + 1})},
        {"a number out of all bounds", con({0, abre, SIZE_MAX, 2})},
    };
    Apoyo::EscribirFichero(salida_, "viejo");
    for (const auto& [que, act] : filas) {
        for (const bool sinNombre : {true, false}) {
            SCOPED_TRACE(que);
            const Fin f = Copiar(*LxPdf::AbrirMemoria(doc_), {salida_}, act, {sinNombre});
            EXPECT_TRUE(f.copiada && !f.acabada);
            EXPECT_EQ(f.motivo, Motivo::Autocomprobacion);
            EXPECT_EQ(f.error, "autocomprobacion del ByteRange fallida: no se escribe el PDF firmado.");
            EXPECT_EQ(Apoyo::LeerFichero(salida_), "viejo");
            EXPECT_THAT(Hay(), ElementsAre("s.pdf"));
        }
    }
}

// One piece comes a byte too early to the file, as if the disk had mistaken its place; all sizes are right.
TEST_F(CopiaTest, LaAutocomprobacionLeeElFichero) {
    const std::string doc = Bytes(8 * kPieza);
    for (const auto& [hilos, deDosEnDos] : Apoyo::Filas<unsigned, bool>{{0, true}, {2, true}, {2, false}}) {
        const FuenteCon fuente(doc, [&](uint64_t pos) {
            if (pos == 0 && ftruncate(Escondido(), static_cast<off_t>(doc.size())) != 0) return false;
            if (pos == 2 * kPieza) lseek(Escondido(), -1, SEEK_CUR);
            if (pos == 3 * kPieza) lseek(Escondido(), 1, SEEK_CUR);
            return true;
        });
        const Fin f = Copiar(fuente, {salida_}, Actualizacion(doc), {true, hilos, deDosEnDos});
        EXPECT_EQ(f.motivo, Motivo::Autocomprobacion) << hilos << deDosEnDos;
        EXPECT_EQ(hash_, Lx::Api::Sha256(doc));
        EXPECT_THAT(Hay(), ElementsAre());
    }
}

TEST_F(CopiaTest, ElDocumentoSeAcorta) {
    for (const auto& [n, sinNombre] : Apoyo::Filas<size_t, bool>{{1'000'000, true}, {6'000'000, false}}) {
        const FuenteCon fuente(Bytes(n), [n = n](uint64_t pos) { return pos < n - kPieza; });
        const Fin f = Copiar(fuente, {salida_}, Actualizacion(Bytes(n)), {sinNombre});
        EXPECT_TRUE(f.empezada && !f.copiada);
        EXPECT_EQ(f.motivo, Motivo::Cambiado);
        EXPECT_EQ(f.error, "no se pudo leer el documento hasta el final: puede que otro programa lo haya cambiado.");
        EXPECT_THAT(Hay(), ElementsAre());
    }
}

// Devices are written to, not replaced, and not before the end.
TEST_F(CopiaTest, LoQueNoEsUnFichero) {
    ASSERT_EQ(mkdir((carpeta_ / "c").c_str(), 0700), 0);
    fs::create_symlink("vuelta", carpeta_ / "vuelta");
    for (const std::string& s :
         {carpeta_ / "c", carpeta_ / "nueva/", carpeta_ / "no/hay.pdf", carpeta_ / "vuelta", std::string()}) {
        const Fin f = Copiar(doc_, s);
        EXPECT_FALSE(f.empezada);
        EXPECT_EQ(f.motivo, Motivo::SalidaImposible);
        EXPECT_EQ(f.error, "no se pudo abrir " + s + " para escritura.");
    }
    const Fin f = Copiar(doc_, "/dev/full");
    EXPECT_TRUE(f.copiada && !f.acabada);
    EXPECT_EQ(f.motivo, Motivo::SalidaIncompleta);
    EXPECT_EQ(f.error, "escritura incompleta de /dev/full.");
    EXPECT_EQ(Copiar(doc_, "/dev/null").motivo, Motivo::Autocomprobacion);
    EXPECT_THAT(Hay(), ElementsAre("c", "vuelta"));
}

// Places where nothing can be replaced, but the file itself can be written.
TEST_F(CopiaTest, EnElMismoFichero) {
    const int fd = memfd_create("salida", 0);
    const std::string memoria = "/proc/self/fd/" + std::to_string(fd);
    EXPECT_TRUE(Copiar(doc_, memoria).acabada);
    EXPECT_TRUE(Apoyo::LeerFichero(memoria) == entero_);
    Actualizacion malo(doc_);
    malo.digest[0] ^= 1;
    EXPECT_EQ(Copiar(*LxPdf::AbrirMemoria(doc_), {memoria}, malo).motivo, Motivo::Autocomprobacion);
    EXPECT_EQ(lseek(fd, 0, SEEK_END), 0) << "half a document was left";
    close(fd);
    // What the system calls this file, once it is gone, is another one's name.
    const int ido = open(salida_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    fs::remove(salida_);
    Apoyo::EscribirFichero(salida_ + " (deleted)", "de otro");
    EXPECT_TRUE(Copiar(doc_, "/proc/self/fd/" + std::to_string(ido)).acabada);
    EXPECT_EQ(Apoyo::LeerFichero(salida_ + " (deleted)"), "de otro");
    close(ido);
}

TEST_F(CopiaTest, PermisosDeLaCarpeta) {
    // Neither where nothing may be made, nor where only owners may replace, but where anybody may.
    for (const auto& [modo, sustituye] : Apoyo::Filas<mode_t, bool>{{0555, false}, {01777, false}, {0777, true}}) {
        if (modo == 01777 && geteuid() != 0) continue;  // the folder is one's own
        Apoyo::EscribirFichero(salida_, "viejo");
        ASSERT_TRUE(chmod(salida_.c_str(), 0666) == 0 && chmod(carpeta_.Ruta().c_str(), modo) == 0);
        struct stat antes {
        }, despues{};
        ASSERT_EQ(stat(salida_.c_str(), &antes), 0);
        const ComoCualquiera yo;
        const Fin f = Copiar(doc_, salida_);
        EXPECT_TRUE(f.acabada) << f.error;
        EXPECT_TRUE(Apoyo::LeerFichero(salida_) == entero_);
        ASSERT_EQ(stat(salida_.c_str(), &despues), 0);
        EXPECT_EQ(despues.st_ino != antes.st_ino, sustituye) << modo;
    }
    Apoyo::EscribirFichero(salida_, "viejo");
    ASSERT_EQ(chmod(salida_.c_str(), 0444), 0);
    const ComoCualquiera yo;
    EXPECT_FALSE(Copiar(doc_, salida_).empezada) << "a protected file";
}

// 2 MB of room, one page of it the old file's: 511 pages of 4 kB hold a document, but not its update too. What is whole
// or nothing asks for room first, and counts to the last byte.
TEST_F(CopiaTest, DiscoLleno) {
    if (Aparte([&] { return Montar(carpeta_.Ruta(), "size=2m"); }) != 0) GTEST_SKIP() << "mounts are refused";
    constexpr size_t kCabe = 511 * 4096;
    const Apoyo::Filas<size_t, bool, bool, bool, bool> filas = {
        // bytes, whole, begun, copied, finished
        {kCabe + 1, false, true, false, false}, {6'000'000, false, true, false, false},
        {kCabe, false, true, true, false},      {kCabe + 1, true, false, false, false},
        {kCabe, true, true, false, false},      {kCabe - 4096, true, true, true, true},
    };
    for (const auto& [n, entera, empezada, copiada, acabada] : filas) {
        for (const bool sinNombre : {true, false}) {
            const auto lleno = [&, n = n, entera = entera, empezada = empezada, copiada = copiada, acabada = acabada] {
                if (!Montar(carpeta_.Ruta(), "size=2m")) return false;
                Apoyo::EscribirFichero(salida_, "viejo");
                const std::string doc = Bytes(n);
                const Fin f =
                    Copiar(*LxPdf::AbrirMemoria(doc), {salida_, entera, true}, Actualizacion(doc), {sinNombre});
                const std::string dice = entera ? "no queda espacio en el disco para " : "escritura incompleta de ";
                return f.empezada == empezada && f.copiada == copiada && f.acabada == acabada &&
                       f.motivo == (acabada ? Motivo::Ninguno : Motivo::SalidaIncompleta) &&
                       f.error == (acabada ? "" : dice + salida_ + ".") &&
                       (Apoyo::LeerFichero(salida_) == "viejo") != acabada && Hay() == Nombres{"s.pdf"};
            };
            EXPECT_EQ(Aparte(lleno), 0) << n << entera << sinNombre;
        }
    }
}

TEST_F(CopiaTest, SinHilosQueDar) {
    ASSERT_EQ(chmod(carpeta_.Ruta().c_str(), 0777), 0);
    const std::string doc = Bytes(6'000'000);
    const auto solo = [&] {
        const rlimit ninguno{0, 0};
        if ((getuid() == 0 && setuid(65534) != 0) || setrlimit(RLIMIT_NPROC, &ninguno) != 0) return false;
        return Copiar(doc, salida_).acabada;
    };
    EXPECT_EQ(Aparte(solo), 0);
    EXPECT_TRUE(Apoyo::LeerFichero(salida_) == doc + Actualizacion(doc).texto);
}

}  // namespace
}  // namespace LxPdfSigner::Interno
