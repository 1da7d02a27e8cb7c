// Documents made to be read in two ways, and hostile ones. What other programs show of a signed document is what they
// showed before; where that can't be had the document is refused.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <sstream>

#include "signer/LxPdfSigner.h"
#include "tests/apoyo/Apoyo.h"

namespace LxPdfSigner {
namespace {

// Against hanging and hoarding: the figures themselves are measured with the release build.
constexpr double kSegundos = 10;
#ifdef __SANITIZE_ADDRESS__
constexpr long kKilobytes = 4 << 20;
#else
constexpr long kKilobytes = 64 << 10;
#endif

using Textos = std::vector<std::string>;

Textos Partes(const std::string& texto, char separador) {
    std::istringstream flujo(texto);
    Textos partes;
    for (std::string parte; std::getline(flujo, parte, separador);) partes.push_back(parte);
    return partes;
}

// What became of one call of the engine, in a process of its own: an endless loop or a crash is one row's failure.
struct Corrida {
    int estado = 0;
    double segundos = 0;  // of the processor
    long kilobytes = 0;
    Textos lineas;  // whether it signed, the reason, the sentence, the reasons of its warnings
};

Corrida FirmarAparte(const std::string& entrada, const std::string& salida, int modo) {
    const Apoyo::Identidad& identidad = Apoyo::IdentidadComun();
    const std::string informe = salida + ".informe";
    const pid_t pid = fork();
    if (pid == 0) {
        alarm(30);
        Opciones opciones{modo, ""};
        opciones.referencias = true;
        const Resultado r = Firmar(entrada, salida, identidad.certificado, identidad.firmar, {}, opciones);
        std::string texto = (r.firmado && r.escrito ? "si\n" : r.firmado || r.escrito ? "a medias\n" : "no\n");
        texto.append(Lx::NombreDe(r.motivo)).append("\n").append(r.error).append("\n");
        for (const Lx::Aviso& aviso : r.avisos) texto.append(Lx::NombreDe(aviso.motivo)).append("\n");
        Apoyo::EscribirFichero(informe, texto);
        _exit(0);
    }
    Corrida c;
    rusage uso{};
    EXPECT_EQ(wait4(pid, &c.estado, 0, &uso), pid);
    c.segundos = static_cast<double>(uso.ru_utime.tv_sec + uso.ru_stime.tv_sec) +
                 static_cast<double>(uso.ru_utime.tv_usec + uso.ru_stime.tv_usec) / 1e6;
    c.kilobytes = uso.ru_maxrss;
    c.lineas = Partes(Apoyo::LeerFichero(informe), '\n');
    c.lineas.resize(std::max(c.lineas.size(), size_t{3}));
    return c;
}

// What a viewer shows: whether it opens the document, the lines of its pages, its attachments and the first of them.
struct Vista {
    bool abre = false;
    Textos lineas;
    std::string adjuntos;
};

Vista VistaDe(const std::string& ruta) {
    const Apoyo::Salida texto = Apoyo::Ejecutar({"pdftotext", ruta, "-"});
    Vista v{texto.codigo == 0, Partes(texto.texto, '\n'), Apoyo::Ejecutar({"pdfdetach", "-list", ruta}).texto};
    std::erase(v.lineas, "");
    const std::string adjunto = ruta + ".adjunto";
    if (Apoyo::Ejecutar({"pdfdetach", "-save", "1", "-o", adjunto, ruta}).codigo == 0)
        v.adjuntos += Apoyo::LeerFichero(adjunto);
    // A repair may take the line end before "endstream" for a part of it.
    while (v.adjuntos.ends_with('\n')) v.adjuntos.pop_back();
    return v;
}

// Takes the three lines of a stamp out; each must be there once.
void QuitarSello(Textos& lineas) {
    for (const std::string linea : {"Firmado digitalmente por:", "Ana Núñez Peña", "Fecha: "}) {
        const auto es = [&linea](const std::string& otra) { return otra.rfind(linea, 0) == 0; };
        EXPECT_EQ(std::count_if(lineas.begin(), lineas.end(), es), 1) << linea;
        std::erase_if(lineas, es);
    }
}

// 0, 1, 2: nothing to say, warnings, errors.
int GravedadDe(const std::string& ruta) {
    const int codigo = Apoyo::Ejecutar({"qpdf", "--check", ruta}).codigo;
    return codigo == 0 ? 0 : codigo == 3 ? 1 : 2;
}

struct Fila {
    std::string nombre, fin, motivo, aviso, clase;
};

void ComprobarFirmado(const Fila& fila, const std::string& entrada, const std::string& salida, int modo) {
    const std::string original = Apoyo::LeerFichero(entrada), pdf = Apoyo::LeerFichero(salida);
    EXPECT_EQ(pdf.compare(0, original.size(), original), 0);
    const Vista antes = VistaDe(entrada);
    Vista despues = VistaDe(salida);
    EXPECT_TRUE(despues.abre || fila.fin == "igual");
    if (modo != 0 && despues.abre) QuitarSello(despues.lineas);
    // What a viewer can't open, or no page of it, may be mended.
    if (antes.abre && !(antes.lineas.empty() && fila.aviso == "Reconstruido")) {
        EXPECT_EQ(despues.lineas, antes.lineas);
        EXPECT_EQ(despues.adjuntos, antes.adjuntos);
    }
    for (const std::string& linea : despues.lineas) EXPECT_EQ(linea.find("9999"), std::string::npos) << linea;
    if (modo == 0) return;
    const std::vector<Apoyo::FirmaPdf> firmas = Apoyo::FirmasDe(pdf);
    ASSERT_EQ(firmas.size(), 1U);
    EXPECT_EQ(firmas[0].fin, pdf.size());
    const Apoyo::Veredicto v = Apoyo::Juzgar(salida, Apoyo::IdentidadComun());
    EXPECT_TRUE(v.openssl) << v.texto;
    EXPECT_TRUE(!despues.abre || (v.pdfsig && Apoyo::Cuenta(v.texto, "Total document signed") == 1)) << v.texto;
    EXPECT_TRUE(v.qpdf || GravedadDe(salida) <= GravedadDe(entrada)) << v.texto;
    // A form that had a field still has it.
    const std::string cola = pdf.substr(original.size());
    EXPECT_TRUE(!Apoyo::Cuenta(original, "/Fields [12 0 R]") || !Apoyo::Cuenta(cola, "/Fields") ||
                Apoyo::Cuenta(cola, "12 0 R"))
        << cola.substr(0, 2000);
}

void Comprobar(const Fila& fila, const std::string& entrada, const std::string& salida, int modo) {
    const Corrida c = FirmarAparte(entrada, salida, modo);
    EXPECT_EQ(c.estado, 0);
    if (fila.clase == "hostil") {
        EXPECT_LT(c.segundos, kSegundos);
        EXPECT_LT(c.kilobytes, kKilobytes);
    }
    const bool libre = fila.fin == "igual";
    const std::string &firmado = c.lineas[0], &motivo = c.lineas[1], &error = c.lineas[2];
    EXPECT_TRUE(libre || firmado == (fila.fin == "firmado" ? "si" : "no")) << firmado << " " << error;
    if (firmado != "si") {
        EXPECT_EQ(firmado, "no");
        EXPECT_NE(access(salida.c_str(), F_OK), 0);
        EXPECT_GT(error.size(), 10U);
        EXPECT_NE(motivo, "") << error;
        EXPECT_TRUE(fila.fin == "firmado" || fila.motivo == "-" || motivo == fila.motivo) << motivo << error;
        return;
    }
    EXPECT_EQ(error + motivo, "");
    const auto avisa = [&c](const std::string& que) { return std::count(c.lineas.begin() + 3, c.lineas.end(), que); };
    EXPECT_TRUE(libre || avisa("Reconstruido") == (fila.aviso == "Reconstruido")) << avisa("Reconstruido");
    EXPECT_TRUE(fila.aviso == "-" || avisa(fila.aviso) == 1) << fila.aviso;
    ComprobarFirmado(fila, entrada, salida, modo);
}

class Ataques : public testing::TestWithParam<const char*> {};

TEST_P(Ataques, SeFirmaLoQueSeVeONada) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string filas = Apoyo::Exigir({"/usr/bin/python3", "-B", DOCUMENTOS, carpeta.Ruta(), GetParam()});
    ASSERT_NE(filas, "");
    for (const std::string& linea : Partes(filas, '\n')) {
        const Textos columnas = Partes(linea, '\t');
        ASSERT_EQ(columnas.size(), 5U) << linea;
        const Fila fila{columnas[0], columnas[1], columnas[2], columnas[3], columnas[4]};
        const std::string entrada = carpeta / (fila.nombre + ".pdf"), salida = carpeta / "firmado.pdf";
        for (const int modo : {0, 1}) {
            SCOPED_TRACE(fila.nombre + (modo == 0 ? ", invisible" : ", visible"));
            Comprobar(fila, entrada, salida, modo);
            unlink(salida.c_str());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, Ataques,
                         testing::Values("disfraces", "nulos", "hibridas", "cadenas", "principios_y_finales", "tablas",
                                         "secciones_de_flujo", "flujos_de_objetos", "claves_dobles", "hostiles"),
                         [](const auto& familia) { return std::string(familia.param); });

}  // namespace
}  // namespace LxPdfSigner
