// Reading with the program: what it opens, finds, remembers, and shows of a signature.
#include <filesystem>

#include "tests/app/Programa.h"

namespace PruebaCli {

namespace fs = std::filesystem;
using testing::HasSubstr;

// Without a display, and without a window.
TEST_F(Programa, LaLineaDeOrdenes) {
    for (const auto& [orden, codigo, dice] : Apoyo::Filas<std::string, int, std::string>{
             {"--help", 0, "velmora-cli --help"},
             {"--version", 0, "velmora (Velmora) "},
             {"--nada", 2, "No se conoce la opción \"--nada\". Prueba \"velmora --help\"."},
             {"-- --help", 255, ""},
         }) {
        Lanzar("exec env -u DISPLAY $V " + orden);
        EXPECT_EQ(programa_->Esperar(), codigo) << orden;
        EXPECT_THAT(codigo == 0 ? programa_->Texto() : programa_->Errores(), HasSubstr(dice));
    }
}

TEST_F(Programa, BuscaYRecuerda) {
    ASSERT_EQ(Guion("qpdf --empty --pages contrato.pdf contrato.pdf contrato.pdf -- tres.pdf").codigo, 0);
    Abrir("tres.pdf");
    pantalla_.Pulsar("ctrl+f");
    Ve(R"(text.Buscar en el documento\|[A-Z ]*FOCUSED)");
    pantalla_.Teclear("CONTRATO");
    Ve(R"(label.1 de 3\|)");
    pantalla_.Pulsar("shift+Return");
    Ve(R"(label.3 de 3\|)");
    Ve(R"(text\|Página.*\|3 / 3$)");
    pantalla_.Pulsar("Escape");
    Ve(R"(document frame[^|]*\|[^|]*\|[A-Z ]*FOCUSED)");
    // Whatever has the focus, but for what takes text itself.
    Clic(kHoja);
    for (const char* tecla : {"shift+Tab", "ctrl+a", "ctrl+c", "ctrl+f", "ctrl+a", "ctrl+v"}) pantalla_.Pulsar(tecla);
    Ve(R"(text.Buscar en el documento.*\|Contrato de muestra)");
    pantalla_.Pulsar("Escape");
    // A file that another program writes anew.
    ASSERT_EQ(Guion("cp contrato.pdf otro.pdf && mv otro.pdf tres.pdf").codigo, 0);
    Ve("notification.El documento ha cambiado en el disco y se ha vuelto a leer");
    Ve(R"(text\|Página.*\|1 / 1$)");
    ASSERT_EQ(Guion("qpdf --empty --pages contrato.pdf contrato.pdf contrato.pdf -- tres.pdf").codigo, 0);
    Ve(R"(text\|Página.*\|1 / 3$)");
    pantalla_.Pulsar("End");
    Ve(R"(text\|Página.*\|3 / 3$)");
    pantalla_.Pulsar("ctrl+q");
    EXPECT_EQ(programa_->Esperar(), 0);
    Abrir("tres.pdf");
    Ve(R"(text\|Página.*\|3 / 3$)");
    EXPECT_EQ(Guion("find $HOME $XDG_STATE_HOME -newer contrato.pdf -type f | grep -v velmora/recientes").texto, "");
}

// Each document its own window and its own helper; the last one that closes ends the program.
TEST_F(Programa, VariasVentanas) {
    ASSERT_EQ(Guion("cp contrato.pdf a.pdf && qpdf --encrypt para-leer-9 jefe 256 -- contrato.pdf b.pdf").codigo, 0);
    Lanzar("exec $V a.pdf b.pdf");
    Espera("Documento protegido");
    pantalla_.Teclear("mala");
    pantalla_.Pulsar("Return");
    Ve("label.La contraseña no es correcta");
    Espera("Documento protegido");
    pantalla_.Teclear("para-leer-9");
    pantalla_.Pulsar("Return");
    Ve(R"(label.b\.pdf\|)");
    Ve("notification.*protegid");
    EXPECT_FALSE(EstaEnMemoria(programa_->Pid(), "para-leer-9"));
    EXPECT_THAT(Ve(R"(label.a\.pdf\|)"), HasSubstr("1 / 1"));
    Espera("Velmora 2026");
    pantalla_.Pulsar("ctrl+w");
    EXPECT_EQ(programa_->Esperar(700), -1) << "one is left";
    Espera("Velmora 2026");
    pantalla_.Pulsar("ctrl+w");
    EXPECT_EQ(programa_->Esperar(), 0);
}

// The stamp is at the foot of the page: the view goes there, and the notice makes room.
TEST_F(Programa, SeVeLaFirmaHecha) {
    Abrir("contrato.pdf");
    ElegirPkcs12();
    Clic(kFirmar);
    const std::string todo = Ve("notification.Firmado: contrato_firmao.pdf");
    EXPECT_THAT(todo, HasSubstr("label|Firmado ahora por «Ana"));
    EXPECT_THAT(todo, HasSubstr("button|Mostrar en la carpeta"));
    programa_.reset();
    Abrir("contrato_firmao.pdf");
    Ve("label.Contiene 1 firma, sin comprobar: según el documento, de «Ana");
    Ve("notification.El documento ya tiene una firma");
}

}  // namespace PruebaCli
