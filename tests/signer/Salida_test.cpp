// The output of a job: whole under a name of its own, or nothing, whatever stands there and whenever it ends.
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <atomic>
#include <thread>

#include "signer/Motor.h"
#include "signer/PdfVigia.h"
#include "tests/signer/Copia.h"

namespace {

std::function<int(int)> g_alDisco;  // what the system answers in place of waiting

}  // namespace

extern "C" int fsync(int fd) {
    return g_alDisco ? g_alDisco(fd) : static_cast<int>(syscall(SYS_fsync, fd));
}

namespace LxPdfSigner::Interno {
namespace {

using testing::IsEmpty;

// The bytes are on the disk before the name is there, then the folder; what the disk refuses leaves nothing.
TEST_F(CopiaTest, AlDiscoAntesQueElNombre) {
    const Apoyo::Filas<int, Motivo, size_t> filas = {{0, Motivo::Ninguno, 2},
                                                     {EINTR, Motivo::Ninguno, 3},
                                                     {EINVAL, Motivo::Ninguno, 2},
                                                     {EIO, Motivo::SalidaIncompleta, 1}};
    for (const auto& [fallo, motivo, esperas] : filas) {
        std::vector<bool> hayNombre, esCarpeta;
        g_alDisco = [&, f = fallo](int fd) {
            struct stat st {};
            esCarpeta.push_back(fstat(fd, &st) == 0 && S_ISDIR(st.st_mode));
            hayNombre.push_back(fs::exists(salida_));
            errno = f;
            return f != 0 && hayNombre.size() == 1 ? -1 : 0;
        };
        EXPECT_EQ(Entera({salida_, true}, true).motivo, motivo);
        g_alDisco = {};
        ASSERT_EQ(hayNombre.size(), esperas) << fallo;
        EXPECT_FALSE(hayNombre.front() || esCarpeta.front());
        EXPECT_TRUE(motivo != Motivo::Ninguno || (hayNombre.back() && esCarpeta.back()));
        EXPECT_EQ(Hay().size(), motivo == Motivo::Ninguno ? 1U : 0U);
        fs::remove(salida_);
    }
}

// What stands under the name, before the copy or since it began, is not followed, opened, or changed, unless it is a
// file and may be replaced.
TEST_F(CopiaTest, LoQueHayConElNombre) {
    const std::string otro = carpeta_ / "otro", enlace = carpeta_ / "enlace", nueva = carpeta_ / "s2.pdf";
    const auto existe = "ya existe " + salida_ + ": no se sustituye.";
    const auto ajena = salida_ + " ya existe y no es un fichero normal.";
    const Apoyo::Filas<const char*, std::function<void()>, Motivo, Motivo> filas = {
        {"nothing", [] {}, Motivo::Ninguno, Motivo::Ninguno},
        {"a file", [&] { Apoyo::EscribirFichero(salida_, "viejo"); }, Motivo::SalidaExiste, Motivo::Ninguno},
        {"a link", [&] { fs::create_symlink(otro, salida_); }, Motivo::SalidaExiste, Motivo::SalidaAjena},
        {"a pipe", [&] { EXPECT_EQ(mkfifo(salida_.c_str(), 0600), 0); }, Motivo::SalidaAjena, Motivo::SalidaAjena},
        {"a folder", [&] { fs::create_directory(salida_); }, Motivo::SalidaAjena, Motivo::SalidaAjena},
    };
    alarm(60);  // a pipe that is opened waits for ever
    for (const auto& [que, poner, sin, con] : filas) {
        for (int caso = 0; caso < 8; ++caso) {
            const bool sinNombre = (caso & 1) != 0, reemplazar = (caso & 2) != 0, antes = (caso & 4) != 0;
            SCOPED_TRACE(std::string(que) + (sinNombre ? ", no name" : "") + (reemplazar ? ", replacing" : "") +
                         (antes ? ", before" : ""));
            // What comes later is only known to be there.
            const Motivo queda = antes || sin == Motivo::Ninguno ? sin : Motivo::SalidaExiste;
            const Motivo motivo = reemplazar ? con : queda;
            const bool hecho = motivo == Motivo::Ninguno;
            Apoyo::EscribirFichero(otro, "de otro");
            fs::create_symlink("no/hay", enlace);
            poner();
            const auto tipo = fs::symlink_status(salida_).type();
            bool puesto = true;
            const FuenteCon fuente(doc_, [&, hacer = poner](uint64_t) {
                if (!std::exchange(puesto, true)) hacer();
                return true;
            });
            const auto copiar = [&](const Destino& d) {
                if (!antes && tipo != fs::file_type::not_found) puesto = !fs::remove(salida_);
                return Copiar(fuente, d, Actualizacion(doc_), {sinNombre});
            };
            const Fin f = copiar({salida_, true, reemplazar});
            EXPECT_EQ(f.motivo, motivo);
            EXPECT_EQ(f.empezada, hecho || !antes) << "it is known before anything is done";
            EXPECT_EQ(f.error, hecho ? "" : motivo == Motivo::SalidaExiste ? existe : ajena);
            EXPECT_EQ(fs::symlink_status(salida_).type(), hecho ? fs::file_type::regular : tipo);
            EXPECT_TRUE(!hecho || Apoyo::LeerFichero(salida_) == entero_);
            // With another name to take there is always an output, but not with the same one again, or none.
            for (const std::string& siempre : {salida_, std::string()}) {
                const auto mismo = [&](const std::string&) { return siempre; };
                EXPECT_EQ(Entera({salida_, true, false, 0666, mismo}, sinNombre).motivo,
                          sin == Motivo::Ninguno ? Motivo::SalidaExiste : sin);
            }
            Nombres preguntas;
            const auto otroNombre = [&](const std::string& ocupado) {
                preguntas.push_back(ocupado);
                return preguntas.size() == 1 ? enlace : nueva;
            };
            const Fin g = copiar({salida_, true, false, 0666, otroNombre});
            EXPECT_EQ(g.ruta, nueva) << g.error;
            EXPECT_THAT(preguntas, ElementsAre(salida_, enlace));
            EXPECT_TRUE(Apoyo::LeerFichero(nueva) == entero_);
            EXPECT_EQ(Apoyo::LeerFichero(otro), "de otro");
            EXPECT_THAT(Hay(), ElementsAre("enlace", "otro", "s.pdf", "s2.pdf"));
            for (const std::string& n : Hay()) fs::remove(carpeta_ / n);
        }
    }
    alarm(0);
}

// A whole job: a document on the disk, a key, the engine.
class SalidaTest : public CopiaTest {
  protected:
    SalidaTest() {
        // Large enough to be copied by threads while it is read.
        const std::string pdf = Apoyo::PdfDe(
            {"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
             "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>", "(" + std::string(4U << 20, 'x') + ")"});
        Apoyo::EscribirFichero(entrada_, pdf);
    }
    Resultado Firmar(const Opciones& pedidas, const Callback& firmar) const {
        Opciones opciones = pedidas;
        opciones.referencias = true;
        return LxPdfSigner::Firmar(entrada_, firmada_, identidad_.certificado, firmar, {}, opciones);
    }
    [[nodiscard]] Callback Tras(std::function<void()> hacer) const {
        return [this, hacer](const auto& datos, std::string& nota) {
            hacer();
            return identidad_.firmar(datos, nota);
        };
    }
    void Vaciar() const {
        for (const std::string& n : Hay())
            if (n != "doc.pdf") fs::remove(carpeta_ / n);
    }

    const Apoyo::Identidad& identidad_ = Apoyo::IdentidadComun();
    const std::string entrada_ = carpeta_ / "doc.pdf", firmada_ = carpeta_ / "doc_firmao.pdf";
};

TEST_F(SalidaTest, Permisos) {
    const Apoyo::Filas<mode_t, mode_t, mode_t, mode_t> filas = {
        // document, umask, what is replaced or 0, output
        {0644, 022, 0, 0644},    {0600, 022, 0, 0600},    {0666, 027, 0, 0640},    {0440, 022, 0, 0440},
        {0644, 022, 0604, 0604}, {0600, 022, 0644, 0644}, {0644, 077, 0664, 0664}, {0644, 022, 0400, 0400},
    };
    for (const auto& [documento, mascara, viejo, esperado] : filas) {
        ASSERT_EQ(chmod(entrada_.c_str(), documento), 0);
        if (viejo != 0) Apoyo::EscribirFichero(firmada_, "viejo");
        ASSERT_EQ(viejo != 0 ? chmod(firmada_.c_str(), viejo) : 0, 0);
        const mode_t antes = umask(mascara);
        const Resultado r = Firmar({0, "", true, viejo != 0}, identidad_.firmar);
        umask(antes);
        EXPECT_TRUE(r.firmado) << r.error;
        EXPECT_EQ(r.salida, firmada_);
        EXPECT_EQ(CopiaTest::Permisos(firmada_), esperado) << std::oct << documento << " " << mascara << " " << viejo;
        EXPECT_THAT(Hay(), ElementsAre("doc.pdf", "doc_firmao.pdf"));
        int firmas = 0;
        EXPECT_EQ(Firmar({0, "", true}, Tras([&] { ++firmas; })).motivo, Motivo::SalidaExiste);
        EXPECT_EQ(firmas, 0) << "a key was used for nothing";
        Vaciar();
    }
}

// Killed at any moment: whole, or nothing but what the next run in that folder takes away.
TEST_F(SalidaTest, MatadoEnCualquierMomento) {
    const std::string documento = Apoyo::LeerFichero(entrada_);
    std::mt19937 azar(7);
    for (const bool reemplazar : {false, true}) {
        const auto inicio = std::chrono::steady_clock::now();
        ASSERT_TRUE(Firmar({1, "", true, reemplazar}, identidad_.firmar).firmado);
        const auto dura = (std::chrono::steady_clock::now() - inicio) / std::chrono::microseconds(1);
        for (int i = 0; i < 12; ++i) {
            Vaciar();
            if (reemplazar) Apoyo::EscribirFichero(firmada_, "viejo");
            const pid_t hijo = fork();
            if (hijo == 0) {
                static_cast<void>(Firmar({1, "", true, reemplazar}, identidad_.firmar));
                _exit(0);
            }
            usleep(static_cast<useconds_t>(static_cast<long>(azar()) % dura));
            kill(hijo, SIGKILL);
            ASSERT_EQ(waitpid(hijo, nullptr, 0), hijo);
            for (const std::string& nombre : Hay()) {
                if (nombre == "doc.pdf") continue;
                const std::string queda = Apoyo::LeerFichero(carpeta_ / nombre);
                const auto firmas = Apoyo::FirmasDe(queda);
                EXPECT_TRUE(nombre == "doc_firmao.pdf" || (reemplazar && nombre.starts_with(".velmora_"))) << nombre;
                if (reemplazar && queda == "viejo") continue;
                EXPECT_TRUE(queda.starts_with(documento) && firmas.size() == 1 && firmas[0].fin == queda.size()) << i;
            }
        }
        EXPECT_TRUE(Firmar({1, "", true, true}, identidad_.firmar).firmado);
        EXPECT_THAT(Hay(), ElementsAre("doc.pdf", "doc_firmao.pdf"));
        EXPECT_TRUE(Apoyo::PdfValido(firmada_, identidad_));
        Vaciar();
    }
}

// Where the system has no nameless files a kill leaves a dot file; another program's run takes it away.
TEST_F(SalidaTest, LoQueQuedaConPunto) {
    const auto morir = [&] {
        const FuenteCon fuente(doc_, [&](uint64_t pos) { return pos == 0 || raise(SIGKILL) == 0; });
        return Copiar(fuente, {firmada_, true}, Actualizacion(doc_), {false}).acabada;
    };
    EXPECT_EQ(Aparte(morir), 128 + SIGKILL);
    EXPECT_EQ(Hay().size(), 2U);
    EXPECT_TRUE(Entera({firmada_, true}, true).acabada);
    EXPECT_THAT(Hay(), ElementsAre("doc.pdf", "doc_firmao.pdf"));
}

// The stages in their order, and a cancel in each: up to the key's turn nothing comes of it, afterwards all does.
TEST_F(SalidaTest, EtapasYCancelar) {
    using E = Lx::Etapa;
    const Apoyo::Filas<const char*, bool, const char*, Motivo, std::vector<E>> filas = {
        // when, the name was taken before, what the key says instead of signing
        {"before", false, nullptr, Motivo::Cancelado, {}},
        {"when the copy begins", true, nullptr, Motivo::Cancelado, {E::Documento}},
        {"by the key, which then signs", false, nullptr, Motivo::Ninguno, {E::Clave, E::Guardar}},
        {"by the key, which gives nothing", false, "", Motivo::Cancelado, {E::Clave}},
        {"by the key, which says why", false, "PIN bloqueado.", Motivo::ClaveNoFirma, {E::Clave}},
    };
    for (const auto& [que, habia, dicho, motivo, vistas] : filas) {
        SCOPED_TRACE(que);
        Lx::Control control;
        std::vector<E> etapas;
        const auto otroNombre = [&](const std::string&) {
            etapas.push_back(control.Ver().etapa);
            control.Cancelar();
            return RutaSalida(entrada_);
        };
        const auto firmar = [&, no = dicho](const auto& datos, std::string& nota) {
            etapas.push_back(control.Ver().etapa);
            control.Cancelar();
            Apoyo::EscribirFichero(firmada_, "de otro");
            nota = no != nullptr ? no : "";
            return no != nullptr ? std::vector<unsigned char>() : identidad_.firmar(datos, nota);
        };
        if (que == std::get<0>(filas.front())) control.Cancelar();
        if (habia) Apoyo::EscribirFichero(firmada_, "de otro");
        const Resultado r = Firmar({1, "", true, false, otroNombre, &control}, firmar);
        EXPECT_EQ(r.motivo, motivo) << r.error;
        EXPECT_EQ(r.firmado && r.escrito, motivo == Motivo::Ninguno);
        EXPECT_EQ(r.error == "Se canceló la firma.", motivo == Motivo::Cancelado);
        EXPECT_EQ(etapas, vistas);
        const std::string otra = carpeta_ / "doc_firmao2.pdf";
        EXPECT_EQ(r.salida, r.firmado ? otra : "");
        EXPECT_TRUE(r.firmado ? Apoyo::PdfValido(otra, identidad_) : testing::AssertionResult(!fs::exists(otra)));
        Vaciar();
    }
}

TEST_F(SalidaTest, UnCanceladoNoLeeNiFirma) {
    Lx::Control control;
    int firmas = 0;
    const Callback firmar = [&](const auto&, std::string&) {
        return std::vector<unsigned char>(static_cast<size_t>(++firmas));
    };
    Turno turno(firmar, control);
    const auto fuente = Cancelable(LxPdf::AbrirFichero(entrada_), control);
    std::string nota;
    char byte = 0;
    for (const bool puede : {true, false}) {
        EXPECT_EQ(fuente->Leer(0, 1, &byte), puede);
        EXPECT_EQ(turno.Funcion()({}, nota).size(), puede ? 1U : 0U);
        control.Cancelar();
    }
    EXPECT_EQ(firmas, 1);
}

// The document has room, its update doesn't: that is known before the key is used.
TEST_F(SalidaTest, SinSitioNoSeFirma) {
    const std::string disco = carpeta_ / "disco";
    fs::create_directory(disco);
    if (Aparte([&] { return Montar(disco, "size=1m"); }) != 0) GTEST_SKIP() << "mounts are refused";
    const std::string cabe = "size=" + std::to_string(fs::file_size(entrada_) + 8192);
    const auto firmar = [&] {
        int firmas = 0;
        if (!Montar(disco, cabe.c_str())) return false;
        const Resultado r = LxPdfSigner::Firmar(entrada_, disco + "/s.pdf", identidad_.certificado,
                                                Tras([&] { ++firmas; }), {}, Opciones{1, "", true});
        return r.motivo == Motivo::SalidaIncompleta && firmas == 0 && fs::is_empty(disco);
    };
    EXPECT_EQ(Aparte(firmar), 0);
}

// In the middle of a copy that would take longer, cancelled or given up: it ends at the next piece, on all threads.
TEST_F(CopiaTest, CancelarLaCopia) {
    for (const auto& [hilos, sinNombre, cancelar] :
         Apoyo::Filas<unsigned, bool, bool>{{0, true, true}, {2, true, true}, {2, false, true}, {2, false, false}}) {
        Lx::Control control;
        std::atomic<uint64_t> leidos = 0;
        const FuenteCon fuente(Bytes(6'000'000), [&, cancelar = cancelar](uint64_t pos) {
            leidos = pos + kPieza;
            if (!cancelar) std::this_thread::sleep_for(std::chrono::milliseconds(5));
            if (cancelar && pos == 8 * kPieza) control.Cancelar();
            return true;
        });
        {
            Copia copia({sinNombre, hilos});
            Fin f;
            Lx::Api::Interno::Sha256Ctx hash;
            ASSERT_TRUE(copia.Empezar(fuente, {salida_, true}, control, f.motivo, f.error));
            EXPECT_EQ(Hay().size(), sinNombre ? 0U : 1U);
            if (cancelar) {
                EXPECT_FALSE(copia.Esperar(hash, f.motivo, f.error));
                EXPECT_EQ(f.motivo, Motivo::Cancelado);
                EXPECT_EQ(leidos, 9 * kPieza);
                EXPECT_EQ(control.Ver().etapa, Lx::Etapa::Copia);
                EXPECT_EQ(control.Ver().total, 6'000'000U);
                EXPECT_FALSE(copia.Reservar(7'000'000, f.motivo, f.error)) << "it goes on after a cancel";
            }
        }
        EXPECT_LT(leidos, 5'000'000U) << "it went on to the end";
        EXPECT_EQ(Escondido(), -1);
        EXPECT_THAT(Hay(), IsEmpty());
    }
    EXPECT_THAT(Hay(), IsEmpty());
    EXPECT_TRUE(Entera({salida_, true}, true).acabada);
    EXPECT_EQ(control_.Ver().hechos, doc_.size());
}

TEST_F(CopiaTest, SiguienteNombre) {
    const std::string doc = carpeta_ / "x.v2.pdf", base = carpeta_ / "x.v2_firmao";
    EXPECT_EQ(RutaSalida(doc), base + ".pdf");
    ASSERT_EQ(mkfifo((base + ".pdf").c_str(), 0600), 0);
    alarm(60);
    EXPECT_EQ(RutaSalida(doc), base + "2.pdf");
    alarm(0);
    EXPECT_EQ(RutaSalida("a.b/c"), "a.b/c_firmao.pdf");
    EXPECT_EQ(RutaSalida(""), "documento_firmao.pdf");
}

}  // namespace
}  // namespace LxPdfSigner::Interno
