// The gallery on displays of the test's own, with a real mouse and a real keyboard. It writes what its handlers saw.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/apoyo/pantalla/Pantalla.h"

namespace {

using namespace Apoyo;
using testing::HasSubstr;

constexpr const char* kTitulo = "Galería de controles";
constexpr const char* kDialogo = "Diálogo de muestra";

Variables Con(Variables entorno, const Variables& mas) {
    entorno.insert(entorno.end(), mas.begin(), mas.end());
    return entorno;
}

void Pausa(int ms) {
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

class Galeria : public CPantalla, public CPrograma {
  public:
    explicit Galeria(bool bus = false) : CPantalla(bus), CPrograma({GALERIA, "--registro"}, Entorno()) {
        EXPECT_EQ(CPantalla::Error(), "");
        ventana = EsperarVentana(kTitulo);
        EXPECT_NE(ventana, "") << Errores();
        EXPECT_TRUE(Ve("activa"));
    }

    // Whether the line is written, after what was seen before.
    bool Ve(const std::string& linea, int ms = 8000) {
        for (int i = 0; i * 30 < ms; ++i, Pausa(30)) {
            const size_t donde = Texto().find(linea + "\n", visto_);
            if (donde == std::string::npos) continue;
            visto_ = donde + linea.size() + 1;
            return true;
        }
        return false;
    }
    bool Calla(const std::string& linea) { return !Ve(linea, 400); }
    std::string Resto() const { return Texto().substr(visto_); }

    std::string ventana;

  private:
    size_t visto_ = 0;
};

TEST(Ventana, EntregaRatonYTeclado) {
    Galeria g;
    const std::string& v = g.ventana;
    EXPECT_THAT(g.Texto(), HasSubstr("inicio\nmedida 1180 700\n"));
    const auto ve = [&](const std::vector<const char*>& lineas) {
        for (const char* linea : lineas) EXPECT_TRUE(g.Ve(linea)) << linea << " not in:\n" << g.Resto();
    };
    g.Clic(v, 90, 64);
    ve({"pulsado"});
    g.Clic(v, 630, 20, 1, 3);
    ve({"abajo 630 20", "doble 630 20", "doble 630 20"});
    g.Clic(v, 630, 20, 3);
    ve({"derecho 630 20"});
    g.Raton({"click", "4", "click", "4", "click", "5"});
    ve({"rueda 1 0", "rueda 1 0", "rueda -1 0"});
    g.Clic(v, 200, 224);
    const Filas<std::vector<const char*>, std::vector<const char*>> teclas = {
        {{"a", "space", "ntilde", "ISO_Level3_Shift+e"}, {"texto a", "texto a ", "texto a ñ", "texto a ñ€"}},
        {{"dead_acute", "e"}, {"texto a ñ€é"}},
        {{"ctrl+a", "ctrl+x", "ctrl+v", "shift+Insert"}, {"texto ", "texto a ñ€é", "texto a ñ€éa ñ€é"}},
        {{"ctrl+z"}, {"texto a ñ€é"}},
        {{"ctrl+o"}, {"tecla 0 2", "atajo O 2"}},
        {{"F12", "alt+shift+Escape"}, {"tecla 293 0", "suelta 293", "tecla 27 5"}},
        {{"F2"}, {"reloj 7", "reloj 7", "reloj 7"}},
        {{"F3", "F5"}, {"tecla 286 0"}},  // a handler throws
        {{"ctrl+plus", "ctrl+KP_Add", "ctrl+equal", "ctrl+minus", "ctrl+KP_Subtract", "ctrl+0"},
         {"atajo + 2", "atajo + 2", "atajo + 3", "atajo - 2", "atajo - 2", "atajo 0 2"}},
        {{"ctrl+j"}, {"avisado"}},
        {{"ctrl+k", "ctrl+a", "ctrl+v"}, {"texto del portapapeles"}},
        {{"F11"}, {"medida 1280 960"}},
        {{"F11"}, {"medida 1180 700"}},
    };
    for (const auto& [pulsadas, lineas] : teclas) {
        for (const char* tecla : pulsadas) g.Pulsar(tecla);
        ve(lineas);
    }
    // Over what scrolls; its far half lets the wheel through.
    g.Mover(v, 530, 340);
    g.Raton({"click", "4", "mousemove_relative", "60", "0", "click", "5", "mousemove_relative", "--", "-60", "0"});
    ve({"desplaza 0 120", "desplaza 0 -120", "rueda -1 0"});
    EXPECT_EQ(Cuenta(g.Texto(), "rueda 1 0"), 2) << "what scrolled hears no notch";
    g.Raton({"keydown", "space", "click", "2", "keyup", "space", "click", "2"});
    ve({"toca 16", "toca 0"});
    g.Clic(v, 90, 64);
    ve({"pulsado"});
    g.Pulsar("Menu");
    g.Pulsar("shift+F10");
    ve({"menu 90 64", "menu 90 64"});
    g.Mover(v, 630, 20);
    g.Mover(v, 630, -40);
    ve({"fuera"});
    g.Raton({"windowsize", "--sync", v, "900", "600"});
    ve({"medida 900 600"});
    EXPECT_TRUE(g.Calla("reloj 7"));
    g.Arrastrar(v, 630, 20, 630, -40);
    EXPECT_TRUE(g.Ve("fuera"));
    EXPECT_EQ(g.Resto(), "") << "the leaving comes last, after the release";
}

TEST(Ventana, UnDialogoBloqueaYElCierrePuedeNegarse) {
    Galeria g;
    g.Clic(g.ventana, 390, 104);
    const std::string dialogo = g.EsperarVentana(kDialogo);
    g.Clic(g.ventana, 90, 64);
    EXPECT_TRUE(g.Calla("pulsado"));
    g.Cerrar(dialogo);
    EXPECT_TRUE(g.Ve("dialogo cierre "));
    g.Teclear("vale");
    g.Cerrar(dialogo);
    EXPECT_TRUE(g.Ve("dialogo cierre vale"));
    EXPECT_TRUE(g.Ve("dialogo 0"));
    g.Clic(g.ventana, 390, 104);
    EXPECT_NE(g.EsperarVentana(kDialogo), "");
    g.Pulsar("Return");
    EXPECT_TRUE(g.Ve("dialogo 1"));
    EXPECT_TRUE(g.EsperarCierre(kDialogo));
    g.Clic(g.ventana, 90, 64);
    EXPECT_TRUE(g.Ve("pulsado"));
    g.Pulsar("F4");
    g.Cerrar(g.ventana);
    EXPECT_TRUE(g.Ve("cierre negado"));
    g.Pulsar("F4");
    g.Pulsar("ctrl+q");
    EXPECT_TRUE(g.Ve("cierre concedido"));
    EXPECT_EQ(g.Esperar(), 0) << g.Errores();
    EXPECT_THAT(g.Texto(), testing::EndsWith("cierre concedido\nfin\nborrada\n"));
}

TEST(Ventana, LaUltimaQueSeCierraAcabaElPrograma) {
    Galeria g;
    g.Pulsar("ctrl+n");
    EXPECT_TRUE(g.Ve("ventanas 1 2"));
    const std::string otra = g.EsperarVentana("Otra galería");
    g.Cerrar(g.ventana);
    EXPECT_TRUE(g.Ve("fin\nborrada"));
    g.Clic(otra, 90, 64);
    EXPECT_TRUE(g.Ve("pulsado"));
    g.Pulsar("ctrl+t");
    EXPECT_TRUE(g.Ve("tema"));
    g.Cerrar(otra);
    EXPECT_EQ(g.Esperar(), 0) << g.Errores();
    EXPECT_THAT(g.Texto(), testing::EndsWith("cierre concedido\nfin\nborrada\n"));
}

// A chessboard of single pixels is grey where it is moved or scaled by a part of one.
TEST(Ventana, LosPuntosCaenDondeSePonenACualquierEscala) {
    for (const char* escala : {"1", "1.25", "1.5", "2"}) {
        SCOPED_TRACE(escala);
        const CPantalla p;
        CPrograma galeria({GALERIA, "--registro"}, Con(p.Entorno(), {"QT_SCALE_FACTOR=" + std::string(escala)}));
        const std::string ventana = p.EsperarVentana(kTitulo);
        int x = 0, y = 0;
        for (int i = 0; i < 200 && x == 0; ++i, Pausa(30)) {
            const std::string texto = galeria.Texto();
            const size_t donde = texto.find("muestra ");
            if (donde != std::string::npos) std::sscanf(texto.c_str() + donde, "muestra %d %d", &x, &y);
        }
        Pausa(300);
        // One pixel outside of the control, fifteen of the board, the gap, one white square made larger.
        const std::string recorte = "40x2+" + std::to_string(x - 1) + "+" + std::to_string(y);
        std::string fila = p.EjecutarAqui({"convert", "x:" + ventana, "-crop", recorte, "-depth", "8", "gray:-"}).texto;
        for (char& c : fila) c = c == '\0' ? '#' : c == '\xff' ? '.' : '-';
        EXPECT_EQ(fila,
                  "-#.#.#.#.#.#.#.#----................----"
                  "-.#.#.#.#.#.#.#.----................----");
    }
}

TEST(Ventana, ElDialogoDeFicherosEligeYCancela) {
    Galeria g;
    const CarpetaTemporal carpeta;
    EscribirFichero(carpeta / "Acta.PdF", "%PDF-1.4\n");
    EscribirFichero(carpeta / "nota.txt", "");
    g.Clic(g.ventana, 540, 104);
    EXPECT_NE(g.EsperarVentana("Elegir documento"), "");
    g.Teclear(carpeta / "Acta.PdF");
    g.Pulsar("Return");
    EXPECT_TRUE(g.Ve("fichero 1 " + carpeta / "Acta.PdF")) << g.Resto();
    EXPECT_TRUE(g.EsperarCierre("Elegir documento"));
    g.Clic(g.ventana, 540, 104);
    EXPECT_NE(g.EsperarVentana("Elegir documento"), "");
    g.Pulsar("Escape");
    EXPECT_TRUE(g.Ve("fichero 2 "));
    g.Pulsar("F7");
    EXPECT_NE(g.EsperarVentana("Guardar como"), "");
    g.Teclear(carpeta / "nuevo.pdf");
    g.Pulsar("Return");
    EXPECT_TRUE(g.Ve("fichero 1 " + carpeta / "nuevo.pdf")) << g.Resto();
    EXPECT_TRUE(g.EsperarCierre("Guardar como"));
    g.Pulsar("ctrl+p");
    EXPECT_NE(g.EsperarVentana("Imprimir"), "");
    g.Pulsar("alt+a");  // "Archivo de salida"
    g.Teclear(carpeta / "impreso.pdf");
    g.Pulsar("Return");
    EXPECT_TRUE(g.Ve("impresa 3 1\nimprimir 1")) << g.Resto();
    EXPECT_GT(std::filesystem::file_size(carpeta / "impreso.pdf"), 500U);
    g.Cerrar(g.ventana);
    EXPECT_EQ(g.Esperar(), 0);
    EXPECT_EQ(g.EjecutarAqui({"sh", "-c", "find $HOME -type f ! -path '*/openbox/*'"}).texto, "")
        << "no history of what was opened";
}

TEST(Ventana, ElMenuDaLaOrdenElegidaYSeVaConSuVentana) {
    Galeria g;
    const Filas<std::vector<const char*>, const char*> casos = {
        {{"F6", "Down", "Return"}, "menu 1"},
        {{"F6", "Down", "Down", "Right", "Return"}, "menu 2"},
        {{"F6", "Up", "Return"}, "menu 4"},
        {{"F6", "Up", "Up", "Return", "Escape", "Escape"}, "menu 0"},  // what is disabled can't be chosen
    };
    for (const auto& [teclas, linea] : casos) {
        for (const char* tecla : teclas) {
            g.Pulsar(tecla);
            Pausa(150);
        }
        EXPECT_TRUE(g.Ve(linea)) << g.Resto();
    }
    g.Pulsar("F6");
    Pausa(300);
    g.Cerrar(g.ventana);
    EXPECT_TRUE(g.Ve("menu 0")) << g.Resto();
    EXPECT_EQ(g.Esperar(), 0);
}

TEST(Ventana, LasAyudasTecnicasVenYActuan) {
    Galeria g(true);
    const auto arbol = [&g](std::vector<std::string> ordenes) {
        ordenes.insert(ordenes.begin(), {"button.Principal", "15"});
        const Salida s = g.Textos(ordenes);
        EXPECT_EQ(s.codigo, 0) << s.errores;
        return s.texto;
    };
    const std::string visto =
        arbol({"press=Marcable", "text=Texto y elección=hóla €", "press=María Quispe, Emisor: Autoridad 3",
               "press=Última página", "press=Deshabilitado", "focus=Principal"});
    for (const char* linea : {"frame|Galería de controles|", "push button|Principal|ENABLED FOCUSABLE FOCUSED|",
                              "push button|Marcable|CHECKED ENABLED FOCUSABLE|", "push button|Deshabilitado||",
                              "text|Texto y elección|EDITABLE ENABLED FOCUSABLE|hóla €", "label|Listas|ENABLED|",
                              "list item|María Quispe, Emisor: Autoridad 3|ENABLED FOCUSABLE SELECTED|",
                              "combo box||ENABLED FOCUSABLE|Última página"}) {
        EXPECT_THAT(visto, HasSubstr(std::string(linea) + (linea[0] == 'f' ? "" : "\n")));
    }
    const auto tras = [&visto](const char* uno, const char* otro) { return visto.find(otro) > visto.find(uno); };
    EXPECT_TRUE(tras("|Botones|", "|Página|") && tras("|Página|", "|Normal|")) << "read as it stands:\n" << visto;
    for (const char* linea : {"marcado 1", "texto hóla €", "fila 2", "combo 2"}) EXPECT_TRUE(g.Ve(linea)) << linea;
    EXPECT_THAT(visto, HasSubstr("password text||EDITABLE ENABLED FOCUSABLE|\n")) << "a secret is not told";
    EXPECT_THAT(arbol({"press=Diálogo…", "press=Normal"}),
                testing::ContainsRegex("dialog\\|Diálogo de muestra\\|[A-Z ]*MODAL"));
    EXPECT_TRUE(g.Calla("pulsado")) << "the window below a dialog is blocked";
    arbol({"press=Aceptar", "press=Normal"});
    EXPECT_TRUE(g.Ve("dialogo 1"));
    EXPECT_TRUE(g.Ve("pulsado"));
    std::istringstream sitio(g.Textos({"item.María Quispe, Emisor: Autoridad 3", "5", "donde"}).texto);
    std::string x, y;
    sitio >> x >> y;
    g.Raton({"mousemove", x, y, "click", "1"});
    EXPECT_TRUE(g.Ve("fila 2")) << "a row says where it is: " << x << " " << y;
    CPrograma oyente = g.Oyente("Aviso de muestra", 15);
    for (int i = 0; i < 300 && oyente.Texto().empty(); ++i) Pausa(30);
    g.Pulsar("F10");
    EXPECT_EQ(oyente.Esperar(20000), 0) << oyente.Errores();
    EXPECT_THAT(oyente.Texto(), HasSubstr("notification|Aviso de muestra, que"));
    std::istringstream aviso(g.Textos({"notification.Aviso", "5", "donde"}).texto);
    aviso >> x >> y;
    g.Raton({"mousemove", x, y, "sleep", "0.2", "mousemove_relative", "2", "1"});
    EXPECT_EQ(g.Textos({"tool tip.Aviso de muestra, que no cabe <b>entero</b> en su sitio", "10"}).codigo, 0);
}

TEST(Ventana, SigueLosColoresDelEscritorio) {
    const CPantalla p(true);
    const CPrograma portal = p.Portal();
    const auto espera = [](const CPrograma& programa, const std::string& texto) {
        for (int i = 0; i < 300 && programa.Texto().find(texto) == std::string::npos; ++i) Pausa(30);
        return programa.Texto();
    };
    EXPECT_THAT(espera(portal, "listo"), HasSubstr("listo")) << portal.Errores();
    const std::vector<std::string> orden = {GALERIA, "--registro", "--escritorio"};
    const CPrograma galeria(orden, p.Entorno());
    EXPECT_THAT(espera(galeria, "tema"), HasSubstr("tema oscuro\n")) << galeria.Errores();
    kill(portal.Pid(), SIGUSR1);
    EXPECT_THAT(espera(galeria, "claro"), HasSubstr("tema claro\n"));
    const CPrograma sola(orden, Con(p.Entorno(), {"DBUS_SESSION_BUS_ADDRESS"}));
    EXPECT_THAT(espera(sola, "tema"), HasSubstr("tema claro\n")) << "without a bus, by Qt's palette";
}

TEST(Ventana, SeAbreEnWayland) {
    const CPantalla p;
    // What Qt's plug-in leaks can't be told from our own: it is unloaded before the question.
    Variables entorno = Con(p.Entorno(), {"DISPLAY", "WAYLAND_DISPLAY=prueba", "LSAN_OPTIONS=detect_leaks=0"});
    const CPrograma weston({"weston", "--backend=headless-backend.so", "--socket=prueba", "--idle-time=0"}, entorno);
    std::string zocalo;
    for (const std::string& v : entorno) {
        if (v.rfind("XDG_RUNTIME_DIR=", 0) == 0) zocalo = v.substr(16) + "/prueba";
    }
    for (int i = 0; i < 300 && !std::filesystem::exists(zocalo); ++i) Pausa(30);
    CPrograma galeria({GALERIA, "--registro", "--cerrar"}, entorno);
    EXPECT_EQ(galeria.Esperar(20000), 0) << galeria.Errores() << weston.Errores();
    EXPECT_THAT(galeria.Texto(), testing::StartsWith("inicio\nmedida "));
    EXPECT_THAT(galeria.Texto(), testing::EndsWith("cierre concedido\nfin\nborrada\n"));
}

TEST(Ventana, SinPantallaDiceUnaLinea) {
    const Filas<Variables, int, const char*> casos = {
        {{"DISPLAY", "WAYLAND_DISPLAY"}, 1, "No hay pantalla: "},
        {{"DISPLAY", "QT_QPA_PLATFORM=xcb"}, 1, "No hay pantalla: "},
        {{"DISPLAY", "QT_QPA_PLATFORM=wayland;offscreen"}, 0, ""},
        {{"DISPLAY", "QT_QPA_PLATFORM=offscreen"}, 0, ""},
    };
    const CarpetaTemporal carpeta;
    for (const auto& [variables, codigo, principio] : casos) {
        SCOPED_TRACE(testing::PrintToString(variables));
        Variables entorno = Con({"WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "XDG_RUNTIME_DIR=" + carpeta.Ruta()}, variables);
        CPrograma galeria({GALERIA, "--cerrar", "no_esta.pdf"}, entorno);
        EXPECT_EQ(galeria.Esperar(20000), codigo);
        EXPECT_THAT(galeria.Errores(), testing::StartsWith(principio));
        EXPECT_TRUE(codigo == 0 || Cuenta(galeria.Errores(), "\n") == 1) << galeria.Errores();
    }
}

}  // namespace
