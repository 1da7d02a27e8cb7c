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

// What stands under the name is not followed, opened, or changed, unless it is a file and may be replaced.
TEST_F(CopiaTest, LoQueHayConElNombre) {
    const std::string otro = carpeta_ / "otro", nueva = carpeta_ / "s2.pdf";
    const auto existe = "ya existe " + salida_ + ": no se sustituye.";
    const auto ajena = salida_ + " ya existe y no es un fichero normal.";
    const Apoyo::Filas<const char*, std::function<void()>, Motivo, Motivo> filas = {
        {"nothing", [] {}, Motivo::Ninguno, Motivo::Ninguno},
        {"a file", [&] { Apoyo::EscribirFichero(salida_, "viejo"); }, Motivo::SalidaExiste, Motivo::Ninguno},
        {"a link", [&] { fs::create_symlink(otro, salida_); }, Motivo::SalidaExiste, Motivo::SalidaAjena},
        {"a link to nothing", [&] { fs::create_symlink("no/hay", salida_); }, Motivo::SalidaExiste,
         Motivo::SalidaAjena},
        {"a pipe", [&] { ASSERT_EQ(mkfifo(salida_.c_str(), 0600), 0); }, Motivo::SalidaAjena, Motivo::SalidaAjena},
        {"a folder", [&] { fs::create_directory(salida_); }, Motivo::SalidaAjena, Motivo::SalidaAjena},
    };
    alarm(60);  // a pipe that is opened waits for ever
    for (const auto& [que, poner, sin, con] : filas) {
        for (const auto& [sinNombre, reemplazar] :
             Apoyo::Filas<bool, bool>{{true, false}, {true, true}, {false, false}, {false, true}}) {
            SCOPED_TRACE(std::string(que) + (sinNombre ? ", no name" : "") + (reemplazar ? ", replacing" : ""));
            const Motivo motivo = reemplazar ? con : sin;
            const bool hecho = motivo == Motivo::Ninguno;
            Apoyo::EscribirFichero(otro, "de otro");
            poner();
            const auto antes = fs::symlink_status(salida_);
            const Fin f = Entera({salida_, true, reemplazar}, sinNombre);
            EXPECT_EQ(f.motivo, motivo);
            EXPECT_EQ(f.empezada, hecho) << "it is known before anything is done";
            EXPECT_EQ(f.error, hecho ? "" : motivo == Motivo::SalidaExiste ? existe : ajena);
            EXPECT_EQ(fs::symlink_status(salida_).type(), hecho ? fs::file_type::regular : antes.type());
            EXPECT_TRUE(!hecho || Apoyo::LeerFichero(salida_) == entero_);
            // With another name to take there is always an output.
            const Fin g = Entera({salida_, true, false, 0666, [&](const std::string&) { return nueva; }}, sinNombre);
            EXPECT_TRUE(g.acabada) << g.error;
            EXPECT_EQ(g.ruta, nueva);
            EXPECT_TRUE(Apoyo::LeerFichero(nueva) == entero_);
            EXPECT_EQ(Apoyo::LeerFichero(otro), "de otro");
            EXPECT_THAT(Hay(), ElementsAre("otro", "s.pdf", "s2.pdf"));
            for (const std::string& n : Hay()) fs::remove(carpeta_ / n);
        }
    }
    alarm(0);
}

// The name is taken while the document is copied, by a file and by what is none.
TEST_F(CopiaTest, ElNombreSeOcupaDespues) {
    for (const bool sinNombre : {true, false}) {
        for (const bool tubo : {false, true}) {
            const FuenteCon fuente(doc_, [&](uint64_t) {
                if (!tubo) Apoyo::EscribirFichero(salida_, "de otro");
                return !tubo || mkfifo(salida_.c_str(), 0600) == 0 || errno == EEXIST;
            });
            int preguntas = 0;
            const auto otro = [&](const std::string& ocupado) {
                EXPECT_EQ(ocupado, preguntas == 0 ? salida_ : carpeta_ / "enlace");
                return ++preguntas == 1 ? carpeta_ / "enlace" : carpeta_ / "s2.pdf";
            };
            fs::create_symlink("no/hay", carpeta_ / "enlace");
            const auto copiar = [&](const Destino& d) { return Copiar(fuente, d, Actualizacion(doc_), {sinNombre}); };
            EXPECT_EQ(copiar({salida_, true}).motivo, Motivo::SalidaExiste);
            fs::remove(salida_);
            const Fin f = copiar({salida_, true, false, 0666, otro});
            EXPECT_EQ(f.ruta, carpeta_ / "s2.pdf") << f.error;
            EXPECT_TRUE(Apoyo::LeerFichero(f.ruta) == entero_);
            EXPECT_EQ(preguntas, 2);
            fs::remove(salida_);
            const Fin g = copiar({salida_, true, true});
            EXPECT_EQ(g.motivo, tubo ? Motivo::SalidaAjena : Motivo::Ninguno);
            EXPECT_TRUE(tubo || Apoyo::LeerFichero(salida_) == entero_);
            if (!tubo) fs::remove(salida_);
            EXPECT_EQ(tubo || copiar({salida_}).acabada, true) << "in place of whatever is there";
            // Always the same name, or none: there is an end.
            for (const std::string& siempre : {salida_, std::string()}) {
                const auto mismo = [&](const std::string&) { return siempre; };
                EXPECT_EQ(Entera({salida_, true, false, 0666, mismo}, sinNombre).motivo,
                          tubo ? Motivo::SalidaAjena : Motivo::SalidaExiste);
            }
            EXPECT_THAT(Hay(), ElementsAre("enlace", "s.pdf", "s2.pdf"));
            for (const std::string& n : Hay()) fs::remove(carpeta_ / n);
        }
    }
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
    const std::function<std::string(const std::string&)> siguiente_ = [this](const auto&) {
        return RutaSalida(entrada_);
    };
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
        Vaciar();
    }
}

// Two programs with the same document and the same name, the second as the first is about to use its key.
TEST_F(SalidaTest, DosALaVez) {
    Resultado segundo;
    int firmas = 0;
    const Callback contar = Tras([&] { ++firmas; });
    const Opciones opciones{1, "", true, false, siguiente_};
    const Resultado primero =
        Firmar(opciones, Tras([&] { EXPECT_EQ(Aparte([&] { return Firmar(opciones, contar).firmado; }), 0); }));
    EXPECT_EQ(primero.salida, carpeta_ / "doc_firmao2.pdf") << primero.error;
    EXPECT_EQ(primero.motivo, Motivo::Ninguno);
    for (const std::string& ruta : {firmada_, primero.salida}) EXPECT_TRUE(Apoyo::PdfValido(ruta, identidad_)) << ruta;
    EXPECT_THAT(Hay(), ElementsAre("doc.pdf", "doc_firmao.pdf", "doc_firmao2.pdf"));
    // Without another name the first one's work stands, and the second leaves nothing.
    const std::string antes = Apoyo::LeerFichero(firmada_);
    const Resultado tercero = Firmar({1, "", true}, contar);
    EXPECT_EQ(tercero.motivo, Motivo::SalidaExiste);
    EXPECT_EQ(firmas, 0) << "a key was used for nothing";
    EXPECT_TRUE(Apoyo::LeerFichero(firmada_) == antes);
}

// Killed at any moment: whole, or nothing but what the next run in that folder takes away.
TEST_F(SalidaTest, MatadoEnCualquierMomento) {
    const std::string documento = Apoyo::LeerFichero(entrada_);
    std::mt19937 azar(7);
    for (const bool reemplazar : {false, true}) {
        const auto inicio = std::chrono::steady_clock::now();
        ASSERT_TRUE(Firmar({1, "", true, reemplazar}, identidad_.firmar).firmado);
        const auto dura =
            std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - inicio);
        std::uniform_int_distribution<long> momento(0, dura.count());
        for (int i = 0; i < 12; ++i) {
            Vaciar();
            if (reemplazar) Apoyo::EscribirFichero(firmada_, "viejo");
            const pid_t hijo = fork();
            if (hijo == 0) {
                static_cast<void>(Firmar({1, "", true, reemplazar}, identidad_.firmar));
                _exit(0);
            }
            usleep(static_cast<useconds_t>(momento(azar)));
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
        EXPECT_EQ(fs::exists(carpeta_ / "doc_firmao2.pdf"), r.firmado);
        Vaciar();
    }
}

TEST_F(SalidaTest, UnCanceladoNoLeeNiFirma) {
    Lx::Control control;
    int firmas = 0;
    const Callback firmar = [&](const auto&, std::string&) { return std::vector<unsigned char>(++firmas); };
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
                EXPECT_EQ(f.error, "Se canceló la firma.");
                EXPECT_EQ(leidos, 9 * kPieza);
                EXPECT_EQ(control.Ver().etapa, Lx::Etapa::Copia);
                EXPECT_EQ(control.Ver().total, 6'000'000U);
                EXPECT_LE(control.Ver().hechos, leidos);
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
    for (int n = 2; n < 999; ++n) Apoyo::EscribirFichero(base + std::to_string(n) + ".pdf", "");
    EXPECT_EQ(RutaSalida(doc), base + "999.pdf");
    Apoyo::EscribirFichero(base + "999.pdf", "");
    EXPECT_EQ(RutaSalida(doc), base + "999.pdf");
    EXPECT_EQ(RutaSalida("a.b/c"), "a.b/c_firmao.pdf");
    EXPECT_EQ(RutaSalida(""), "documento_firmao.pdf");
}

}  // namespace
}  // namespace LxPdfSigner::Interno
