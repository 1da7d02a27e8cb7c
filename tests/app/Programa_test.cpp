// The program on a display of the test's own, from its start to the signed file: real mouse, real keys, real openssl,
// NSS and card service. What the windows say is read as an assistive tool reads it.
#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/app/Programa.h"

namespace PruebaCli {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

constexpr int kDistintos =
    40;  // squares of a picture that may look otherwise: a button has more, another font makes less

bool EstaEnMemoria(pid_t pid, const std::string& texto) {
    constexpr unsigned long long kMucho = 1ULL << 30;
    const std::string carpeta = "/proc/" + std::to_string(pid);
    std::ifstream mapa(carpeta + "/maps"), memoria(carpeta + "/mem", std::ios::binary);
    for (std::string linea; std::getline(mapa, linea);) {
        unsigned long long desde = 0, hasta = 0;
        char permisos[5] = "";
        if (std::sscanf(linea.c_str(), "%llx-%llx %4s", &desde, &hasta, permisos) != 3 || permisos[1] != 'w') continue;
        if (hasta - desde > kMucho) continue;  // a sanitizer's own
        std::string trozo(hasta - desde, '\0');
        memoria.clear();
        memoria.seekg(static_cast<std::streamoff>(desde));
        memoria.read(trozo.data(), static_cast<std::streamsize>(trozo.size()));
        if (trozo.find(texto) != trozo.npos) return true;
    }
    return false;
}

TEST_F(Programa, PasaLasHojas) {
    ASSERT_EQ(Guion("qpdf --empty --pages contrato.pdf contrato.pdf contrato.pdf -- tres.pdf").codigo, 0);
    Abrir("tres.pdf");
    const Apoyo::Filas<std::string, std::string, std::string> filas = {
        {R"(button.>\|)", "", "2 / 3"},  {R"(button.>>\|)", "", "3 / 3"}, {R"(button.<\|)", "", "2 / 3"},
        {R"(button.<<\|)", "", "1 / 3"}, {kHoja, "9", "3 / 3"},           {kHoja, "x", "3 / 3"},
    };
    for (const auto& [donde, escribe, queda] : filas) {
        Clic(donde);
        if (!escribe.empty()) Escribir(escribe);
        Ve(R"(text\|.*\|)" + queda + "$");
    }
    Ve(R"(button.>\|\|)");
    Clic(R"(button.<\|ENABLED)");
    // The button that was clicked has the focus; the keys still turn pages.
    pantalla_.Pulsar("Home");
    Ve(R"(text\|.*\|1 / 3$)");
    Ve(R"(button.<<\|\|)");
    pantalla_.Pulsar("ctrl+q");
    EXPECT_EQ(programa_->Esperar(), 0);
}

TEST_F(Programa, ComoEmpieza) {
    Escribir("roto.pdf", "%PDF-1.7\nnada");
    const std::string roto = "Error al abrir roto.pdf: No se pudo abrir el PDF (archivo inexistente o dañado).";
    Lanzar("exec $V roto.pdf");
    EXPECT_THAT(Ve(R"(label.Error al abrir)"), HasSubstr("label|" + roto));
    Lanzar("exec $V");
    Ve(R"(label./.*/Velmora\.pdf\|)");
    Ve(R"(text\|.*\|1 / 2$)");
    ASSERT_EQ(Guion("mkdir solo && cp $(dirname $CLI)/velmora solo").codigo, 0);
    Lanzar("exec solo/velmora");
    Ve("label.Pulsa 'Abrir PDF' para cargar un documento");
    Espera("Velmora 2026");
    Clic(kFirmar);
    Ve("label.No hay ningun documento abierto");
    // A page program that says nothing doesn't keep the window from appearing.
    ASSERT_EQ(Guion("printf '#!/bin/sh\nexec sleep 60' > solo/velmora-pagina && chmod +x solo/velmora-pagina").codigo,
              0);
    Lanzar("exec solo/velmora contrato.pdf");
    Espera("Velmora 2026");
    const auto visible = std::chrono::steady_clock::now();
    Ve("label.Error al abrir contrato.pdf: .*velmora-pagina");
    EXPECT_GT(std::chrono::steady_clock::now() - visible, std::chrono::seconds(2));
    Lanzar("exec env -u DISPLAY $V contrato.pdf");
    EXPECT_EQ(programa_->Esperar(), 255);
    EXPECT_EQ(Apoyo::Cuenta(programa_->Errores(), "\n"), 1U) << programa_->Errores();
}

// What it is told to end by, and at which moment. It is gone within a second, and nothing of it is left.
TEST_F(Programa, LoTerminaUnaSenal) {
    ASSERT_TRUE(Insertar({Dnie()}));
    const Apoyo::Filas<int, std::function<void()>> filas = {
        {SIGTERM, [] {}},
        {SIGINT, [this] { Elegir(); }},
        {SIGHUP, [this] { FirmarConElPrimero(), ElPin(); }},
        {SIGTERM, [this] { pantalla_.Pulsar("ctrl+o"), Espera("Abrir documento PDF"); }},
    };
    for (const auto& [senal, antes] : filas) {
        SCOPED_TRACE(senal);
        Lanzar("exec $V contrato.pdf 0<&- 2>&-");
        Espera("Velmora 2026");
        Ve("label.contrato.pdf");
        const std::string proceso = "/proc/" + std::to_string(programa_->Pid());
        for (const char* cerrado : {"/fd/0", "/fd/2"}) EXPECT_EQ(fs::read_symlink(proceso + cerrado), "/dev/null");
        EXPECT_THAT(Apoyo::LeerFichero(proceso + "/limits"), testing::ContainsRegex("core file size +0 +0 "));
        antes();
        const auto inicio = std::chrono::steady_clock::now();
        kill(programa_->Pid(), senal);
        EXPECT_EQ(programa_->Esperar(), 128 + senal);
        EXPECT_LT(std::chrono::steady_clock::now() - inicio, std::chrono::milliseconds(1500));
    }
    EXPECT_EQ(Guion("ls -A $XDG_RUNTIME_DIR").texto, "");
    EXPECT_FALSE(fs::exists(En("contrato_firmao.pdf")));
}

TEST_F(Programa, ElDiagnosticoNoNecesitaPantalla) {
    Lanzar("exec env -u DISPLAY $V --diagnostico");
    EXPECT_EQ(programa_->Esperar(), 1);
    EXPECT_THAT(programa_->Texto(), HasSubstr("No se puede firmar"));
    ASSERT_TRUE(Insertar({Dnie()}));
    Lanzar("exec env -u DISPLAY $V --diagnostico");
    EXPECT_EQ(programa_->Esperar(), 0);
    EXPECT_THAT(programa_->Texto(), HasSubstr("Se puede firmar con esta tarjeta"));
    EXPECT_THAT(programa_->Texto(), Not(HasSubstr("TITULAR")));
}

// A card that goes takes the remembered PIN with it; the dialog that is open sees it come and go.
TEST_F(Programa, LaTarjetaVaYViene) {
    ASSERT_TRUE(Insertar({Dnie()}));
    Abrir("contrato.pdf");
    FirmarConElPrimero();
    DarPin(kBueno);
    Ve("label.contrato_firmao.pdf", 40);
    EXPECT_TRUE(EstaEnMemoria(programa_->Pid(), kBueno));
    Elegir();
    Ve(R"(list item.PRUEBA TITULAR)");
    Retirar();
    Ve(R"(label.*No hay ningun certificado)");
    EXPECT_FALSE(EstaEnMemoria(programa_->Pid(), kBueno));
    Meter(Dnie());
    Ve(R"(list item.PRUEBA TITULAR[^|]*\|[A-Z ]*SELECTED)");
    pantalla_.Pulsar("Escape");
    ASSERT_TRUE(pantalla_.EsperarCierre("Selecciona"));
    Clic("button.Menú");
    usleep(500'000);
    for (const char* tecla : {"Up", "Up", "Up", "Up", "Return"}) pantalla_.Pulsar(tecla);
    Ve("label.Se puede firmar con esta tarjeta");
    Retirar();
    Ve("label.Todavía no se puede firmar con tarjeta");
    Ve("label.No hay tarjeta en el lector");
    Meter(Dnie());
    Ve("label.Se puede firmar con esta tarjeta");
}

TEST_F(Programa, DosFirmasConUnFichero) {
    Escribir("contrato_firmao.pdf", "ocupado");
    Abrir("contrato.pdf");
    Elegir();
    pantalla_.Pulsar("Escape");
    ASSERT_TRUE(pantalla_.EsperarCierre("Selecciona"));
    Ve("label.contrato.pdf");
    Elegir();
    Clic(kRuta);
    pantalla_.Teclear(identidad_->p12);
    Clic(kClave);
    Escribir("mala");
    Ve(R"(label.*contraseña incorrecta o fichero dañado\).*No hay ningun certificado)");
    Clic(kClave);
    Escribir(identidad_->password);
    Ve(R"(list item.Ana.*PKCS#12.*del fichero)");
    Clic(kFirmar);
    Ve("label.contrato_firmao2.pdf");
    Ve(R"(notification.Firmado: contrato_firmao2.pdf  \(\d+ bytes\))");
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao2.pdf"), *identidad_));
    // File and password are remembered. A name that is taken is asked about before it is replaced.
    Elegir();
    Ve("label.Se guardará como contrato_firmao2_firmao.pdf");
    Clic("button.Guardar como");
    Espera("Guardar el documento firmado");
    Escribir("contrato_firmao.pdf");
    Ve("label.Ya existe contrato_firmao.pdf");
    pantalla_.Pulsar("alt+s");
    Ve("label.Sustituirá a contrato_firmao.pdf");
    EXPECT_EQ(Leer("contrato_firmao.pdf"), "ocupado");
    Clic(kFirmar);
    Ve("label.*/contrato_firmao.pdf");
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *identidad_, 2));
}

TEST_F(Programa, CadaSello) {
    ASSERT_EQ(
        Guion("qpdf --empty --object-streams=disable --pages contrato.pdf contrato.pdf contrato.pdf -- t.pdf").codigo,
        0);
    Abrir("t.pdf");
    // Presses of Down in the list of stamps, and the pages that get one.
    const Apoyo::Filas<int, std::string> filas = {{0, "1"}, {1, "123"}, {2, "3"}, {3, "13"}, {4, ""}};
    std::string entrada = "t";
    for (const auto& [abajo, paginas] : filas) {
        SCOPED_TRACE(abajo);
        abajo == 0 ? ElegirPkcs12() : static_cast<void>(Elegir());
        Clic(kSello);
        for (int i = 0; i < abajo; ++i) pantalla_.Pulsar("Down");
        pantalla_.Pulsar("Return");
        if (abajo == 3) pantalla_.Teclear("1, 3");
        Clic(kFirmar);
        entrada += "_firmao";
        Ve("label." + entrada + ".pdf");
        const std::string nuevo = Leer(entrada + ".pdf");
        const std::string antes = Leer(entrada.substr(0, entrada.size() - 7) + ".pdf");
        ASSERT_TRUE(Apoyo::PdfValido(En(entrada + ".pdf"), *identidad_, static_cast<size_t>(abajo) + 1));
        EXPECT_EQ(Apoyo::Cuenta(nuevo.substr(antes.size()), "/AP <<"), paginas.size());
    }
}

TEST_F(Programa, ElAlmacenPideSuClave) {
    EscribirSecreto("buena", "la Buena 1!");
    ASSERT_EQ(Guion("B=$HOME/.pki/nssdb; mkdir -p $B && certutil -N -d sql:$B -f buena && "
                    "pk12util -i $P12 -d sql:$B -k buena -w clave")
                  .codigo,
              0);
    Abrir("contrato.pdf");
    Elegir();
    Ve(R"(list item.Ana.*NSS)");
    pantalla_.Pulsar("Return");
    Espera("Contraseña del almacén");
    pantalla_.Teclear("mala");
    pantalla_.Pulsar("Return");
    Ve("label.La contraseña no es correcta");
    Espera("Contraseña del almacén");
    pantalla_.Teclear("la Buena 1!");
    pantalla_.Pulsar("Return");
    Ve("label.contrato_firmao.pdf");
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *identidad_));
    FirmarConElPrimero();
    Espera("Contraseña del almacén");
    pantalla_.Pulsar("Escape");
    Ve("notification.Firma cancelada por el usuario");
    EXPECT_FALSE(fs::exists(En("contrato_firmao_firmao.pdf")));
}

TEST_F(Programa, CadaTarjeta) {
    for (int perfil = 0; perfil < 3; ++perfil) {
        SCOPED_TRACE(perfil);
        fs::remove(En("contrato_firmao.pdf"));
        ASSERT_TRUE(Insertar({Dnie(perfil, perfil % 2 == 1)}));
        std::atomic<bool> visto = false;
        Abrir("contrato.pdf");
        Elegir();
        Ve(R"(list item.PRUEBA TITULAR.*DNIe)");
        Clic(kFirmar);
        ElPin();
        Ve("label.Quedan 3 intentos");
        pantalla_.Teclear(kBueno);
        // From here on only the program knows it: the keyboard's is gone.
        AntesDe([&](int) { visto = visto || LoMuestraAlgunProceso(kBueno); });
        pantalla_.Pulsar("Return");
        Ve("label.contrato_firmao.pdf", 40);
        EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *titular_));
        EXPECT_EQ(Tarjeta().Verificaciones(), 1);
        EXPECT_FALSE(visto);
    }
}

TEST_F(Programa, UnPinMaloCuestaUnIntento) {
    Apoyo::Escenario e = Dnie();
    e.intentos = 2;
    ASSERT_TRUE(Insertar({e}));
    Abrir("contrato.pdf");
    FirmarConElPrimero();
    ElPin();
    Ve("label.Quedan 2 intentos");
    pantalla_.Pulsar("Escape");
    ASSERT_TRUE(pantalla_.EsperarCierre("PIN del DNI"));
    // One that isn't sent was not refused: it isn't asked for again.
    FirmarConElPrimero();
    DarPin("741");
    Ve("label.El PIN debe tener");
    EXPECT_EQ(pantalla_.EsperarVentana("PIN del DNI", 700), "");
    EXPECT_EQ(Tarjeta().Verificaciones(), 0);
    FirmarConElPrimero();
    DarPin(kMalo);
    // The status line says why, the dialog that comes back what the card counts.
    EXPECT_THAT(Ve("label.PIN incorrecto. Queda 1 intento: si fallas, el DNIe se bloquea"),
                HasSubstr("label|El PIN no era correcto: queda 1 intento."));
    EXPECT_EQ(Tarjeta().Verificaciones(), 1);
    EXPECT_FALSE(EstaEnMemoria(programa_->Pid(), kMalo));
    EXPECT_TRUE(EstaEnMemoria(programa_->Pid(), "PRUEBA TITULAR"));  // the search does find
    ElPin();
    pantalla_.Teclear(kBueno);
    Clic("button.Aceptar");
    Ve("label.Es el último intento");
    EXPECT_EQ(Tarjeta().Verificaciones(), 1);
    usleep(600'000);
    Clic("button.Aceptar");
    Ve("label.contrato_firmao.pdf");
    EXPECT_EQ(Tarjeta().Verificaciones(), 2);
    EXPECT_TRUE(Apoyo::PdfValido(En("contrato_firmao.pdf"), *titular_));
    // While the card still accepts the PIN of before, it does not count.
    FirmarConElPrimero();
    DarPin(kMalo);
    Ve("label.PIN incorrecto. Queda 1 intento");
    EXPECT_EQ(Tarjeta().Verificaciones(), 3);
}

TEST_F(Programa, UnPinBloqueadoYUnaTarjetaQueSeVa) {
    Apoyo::Escenario bloqueada = Dnie(), fugaz = Dnie();
    bloqueada.intentos = 0;
    fugaz.fallos = {{.ins = 0x2A, .retirar = true}};  // PERFORM SECURITY OPERATION
    for (const Apoyo::Escenario& e : {bloqueada, fugaz}) {
        ASSERT_TRUE(Insertar({e}));
        Abrir("contrato.pdf");
        FirmarConElPrimero();
        Ve(e.intentos == 0 ? "label.El PIN del DNIe está bloqueado." : "label.Quedan 3 intentos");
        DarPin(kBueno);
        Ve(e.intentos == 0 ? "label.*PIN bloqueado: hay que desbloquearlo con el codigo PUK"
                           : "label.No se pudo firmar",
           40);
        EXPECT_EQ(Tarjeta().Verificaciones(), e.intentos == 0 ? 0 : 1);
        EXPECT_FALSE(fs::exists(En("contrato_firmao.pdf")));
    }
}

TEST_F(Programa, LoQueNoSePuedeEscribirNiFirmar) {
    // A page with a /Rotate twice is shown, and not by all alike.
    ASSERT_EQ(Guion("qpdf --encrypt '' jefe 256 -- contrato.pdf cifrado.pdf; cp contrato.pdf ido.pdf; "
                    "sed 's|/Contents 4 0 R|/Rotate 0/Rotate 0|' contrato.pdf > doble.pdf")
                  .codigo,
              0);
    for (const auto& [nombre, antes, frase] : Apoyo::Filas<std::string, std::string, std::string>{
             {"cifrado", "", "El documento está protegido: se puede leer, pero no firmar"},
             {"doble", "", ".*dato del PDF está dos veces"},
             {"ido", "rm ido.pdf", "El documento ya no está en su sitio"},
         }) {
        Abrir(nombre + ".pdf");
        Ve(R"(text\|.*\|1 / 1$)");
        ASSERT_EQ(Guion(antes).codigo, 0);
        Clic(kFirmar);
        Ve("notification." + frase);
        EXPECT_EQ(pantalla_.EsperarVentana("Selecciona", 300), "") << "before anything is asked for";
    }
}

// The guide's pictures, of which the windows may only differ by what another font makes of a text: they are compared
// in squares of eight pixels. VELMORA_IMAGENES=1 takes them anew.
TEST_F(Programa, SeVeComoEnLaGuia) {
    Apoyo::Escenario e = Dnie();
    std::erase_if(e.ficheros, [this](const auto& f) { return f.second != titular_->certificado.der; });
    ASSERT_TRUE(Insertar({e}));
    ASSERT_EQ(Guion("cp $(dirname $CLI)/Velmora.pdf . && cp $P12 ana.p12").codigo, 0);
    const bool nuevas = std::getenv("VELMORA_IMAGENES") != nullptr;
    const auto comparar = [&](const std::string& ventana, const std::string& nombre) {
        const std::string captura = En("captura.png"), guia = IMAGENES + nombre + ".png";
        Apoyo::Salida s;
        bool igual = false;
        for (int i = 0; i < 20 && (nuevas || !igual); ++i) {
            usleep(200'000);
            pantalla_.EjecutarAqui({"import", "-silent", "-window", ventana, captura});
            s = Apoyo::Ejecutar({"convert", captura, guia, "-scale", "12.5%", "-fuzz", "12%", "-metric", "AE",
                                 "-compare", "-format", "%[distortion]", "info:"});
            igual = s.codigo == 0 && std::atoi(s.texto.c_str()) <= kDistintos;
        }
        if (nuevas) Apoyo::Exigir({"convert", captura, "+dither", "-colors", "96", "-strip", "png8:" + guia});
        EXPECT_TRUE(nuevas || igual) << nombre << ": " << s.texto << " squares differ. " << s.errores;
    };
    Abrir("Velmora.pdf");
    comparar(ventana_, "ventana");
    std::string dialogo = Elegir();
    Clic(kRuta);
    pantalla_.Teclear("ana.p12");
    Clic(kClave);
    Escribir(identidad_->password);
    Ve("list item.*PKCS#12.*del fichero");
    Clic("list item.PRUEBA");
    Senalar("label.Documento");
    comparar(dialogo, "certificados");
    Clic(kFirmar);
    dialogo = ElPin();
    Ve("label.Quedan 3 intentos");
    pantalla_.Teclear(kBueno);
    comparar(dialogo, "pin");
    ASSERT_EQ(Guion("d=${XDG_CONFIG_HOME:-$HOME/.config}/velmora; mkdir -p $d && echo tema=oscuro > $d/preferencias && "
                    "qpdf --empty --pages Velmora.pdf contrato.pdf contrato.pdf -- lectura.pdf")
                  .codigo,
              0);
    Abrir("lectura.pdf");
    pantalla_.Pulsar("F9");
    Ve("Miniaturas");
    comparar(ventana_, "oscuro");
}

// Tab goes through what each window can do, from where it starts, and around.
TEST_F(Programa, ElTeclado) {
    ASSERT_TRUE(Insertar({Dnie()}));
    Escribir("otro.pdf", Pdf());
    ASSERT_EQ(Guion("qpdf --empty --pages contrato.pdf contrato.pdf -- dos.pdf").codigo, 0);
    Abrir("dos.pdf");
    const auto recorrer = [this](const Nombres& sitios) {
        for (const std::string& sitio : sitios) {
            Ve("^" + sitio + R"([^|]*\|[A-Z ]*FOCUSED)");
            pantalla_.Pulsar("Tab");
        }
        Ve("^" + sitios[0] + R"([^|]*\|[A-Z ]*FOCUSED)");
    };
    recorrer({"document frame.", "push button.Abrir PDF", "push button.Firmar", "push button.Menú", "text.",
              "push button.>", "push button.>>"});
    for (const char* tecla : {"Tab", "Tab", "space"}) pantalla_.Pulsar(tecla);
    Espera("Selecciona el certificado digital");
    recorrer({"list.", "push button.Actualizar lista", "combo box.", "push button.Guardar como", "push button.Firmar",
              "push button.Cancelar", "text.PKCS#12", "push button.Examinar", "password text.Contraseña"});
    pantalla_.Pulsar("Return");
    ElPin();
    recorrer({"password text.", "push button.Aceptar", "push button.Cancelar"});
    for (const char* tecla : {"Tab", "Tab", "Return"}) pantalla_.Pulsar(tecla);
    ASSERT_TRUE(pantalla_.EsperarCierre("PIN del DNI"));
    pantalla_.Pulsar("ctrl+o");
    Espera("Abrir documento PDF");
    pantalla_.Pulsar("Escape");
    ASSERT_TRUE(pantalla_.EsperarCierre("Abrir documento PDF"));
    pantalla_.Pulsar("ctrl+o");
    Espera("Abrir documento PDF");
    pantalla_.Teclear("otro.pdf");
    pantalla_.Pulsar("Return");
    Ve(R"(label./.*/otro.pdf\|)");
    pantalla_.Pulsar("ctrl+w");
    EXPECT_EQ(programa_->Esperar(), 0);
}

}  // namespace PruebaCli
