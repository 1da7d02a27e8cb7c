// Documents as the view gets them: later, from processes apart.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <codecvt>
#include <cstring>
#include <filesystem>
#include <locale>
#include <numeric>
#include <thread>

#include "tests/apoyo/Apoyo.h"
#include "tests/ui/pagina/Procesos.h"
#include "ui/platform/pdf/Pages.h"

namespace {

using namespace std::chrono_literals;
using namespace Lx::Pdf;
using Lx::Rect;

class Documento : public testing::Test {
  protected:
    // Attends to it until `hecho`, 10 s at most.
    bool Esperar(const std::function<bool()>& hecho) {
        const auto fin = std::chrono::steady_clock::now() + 10s;
        while (!hecho() && std::chrono::steady_clock::now() < fin) {
            pollfd mirado{doc->Fd(), POLLIN, 0};
            if (poll(&mirado, 1, 100) > 0) doc->Attend();
        }
        return hecho();
    }
    const Opened& Abrir(const std::string& pdf, int adelanto = 0, const Crew::Limits& limites = {}) {
        Apoyo::EscribirFichero(ruta, pdf);
        doc = std::make_unique<Pages>(ruta, adelanto, limites);
        int veces = 0;
        doc->Tell([&veces](const Opened&) { ++veces; });
        EXPECT_EQ(veces, 0) << "told from within";
        EXPECT_TRUE(Esperar([&] { return veces > 0; }));
        EXPECT_EQ(veces, 1);
        return doc->State();
    }
    // The answer, waited for.
    template <class T, class Preguntar>
    std::pair<Outcome, T> Pedir(Preguntar preguntar) {
        std::optional<std::pair<Outcome, T>> respuesta;
        preguntar([&](Outcome como, T que) { respuesta.emplace(como, std::move(que)); });
        EXPECT_FALSE(respuesta.has_value()) << "told from within";
        EXPECT_TRUE(Esperar([&] { return respuesta.has_value(); }));
        return respuesta.value_or(std::pair<Outcome, T>{Outcome::Slow, {}});
    }
    std::pair<Outcome, Picture> Dibujar(const TileSpec& trozo) {
        return Pedir<Picture>([&](auto hecho) { doc->Draw(trozo, hecho); });
    }

    Apoyo::CarpetaTemporal carpeta;
    std::string ruta = carpeta / "documento.pdf";
    std::unique_ptr<Pages> doc;
};

// Once it has ended; its parent hasn't seen it yet.
void Matar(pid_t pid) {
    siginfo_t info;
    kill(pid, SIGKILL);
    waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
}

// One page with these letters to write with, /F and /H (its "a" is an alef, and so on); other objects come from 7 on.
std::string UnaHoja(const std::string& entradas, const std::string& contenido, const std::string& catalogo = {},
                    const std::vector<std::string>& otros = {}) {
    std::vector<std::string> objetos{
        "<< /Type /Catalog /Pages 2 0 R " + catalogo + " >>",
        "<< /Type /Pages /Count 1 /Kids [3 0 R] >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents 4 0 R /Resources << /Font << /F << /Type /Font "
        "/Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >> /H 5 0 R >> >> " +
            entradas + " >>",
        Flujo(contenido),
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode 6 0 R >>",
        Flujo("begincmap 1 begincodespacerange <00> <FF> endcodespacerange 1 beginbfrange <61> <7A> <05D0> endbfrange "
              "endcmap")};
    objetos.insert(objetos.end(), otros.begin(), otros.end());
    return Apoyo::PdfDe(objetos);
}

std::string Utf8(const PageText& texto, size_t desde = 0, size_t cuantos = SIZE_MAX) {
    std::u32string letras;
    for (size_t i = desde; i < texto.glyphs.size() && i - desde < cuantos; ++i) letras += texto.glyphs[i].code;
    return std::wstring_convert<std::codecvt_utf8<char32_t>, char32_t>().to_bytes(letras);
}

// 0xffRRGGBB
uint32_t Punto(const Picture& p, int x, int y) {
    uint32_t punto = 0;
    std::memcpy(&punto, p.data + y * p.stride + x * 4, 4);
    return punto;
}

TEST_F(Documento, LoAdelantadoSeEntregaAunqueSePidaMas) {
    std::string lenta = "1 0 0 rg ";
    for (int i = 0; i < 20'000; ++i) lenta += "0 0 200 100 re f ";
    ASSERT_EQ(Abrir(UnaHoja("", lenta), 400).outcome, Outcome::Good);
    std::string entregas;
    doc->Draw({0, 400, 0, {0, 0, 400, 200}}, [&](Outcome, const Picture& foto) { entregas += foto ? "a" : "-"; });
    doc->Draw({0, 200, 0, {0, 0, 200, 100}}, [&](Outcome, const Picture& foto) { entregas += foto ? "b" : "-"; });
    EXPECT_TRUE(Esperar([&] { return entregas == "ab"; })) << entregas;
}

TEST_F(Documento, DaCadaTrozoDeUnaHojaGirada) {
    // Left half red, right half green, the lower quarter blue; a black stamp that isn't printed.
    const Opened& abierto =
        Abrir(UnaHoja("/Annots [<< /Type /Annot /Subtype /Stamp /Rect [110 60 120 70] /AP << /N 7 0 R >> >>]",
                      "1 0 0 rg 0 0 100 100 re f 0 1 0 rg 100 0 100 100 re f 0 0 1 rg 0 0 200 25 re f", "",
                      {"<< /Subtype /Form /BBox [0 0 9 9]" + Flujo("0 0 9 9 re f").substr(2)}),
              400);
    ASSERT_EQ(abierto.outcome, Outcome::Good);
    EXPECT_EQ(abierto.pages, 1);
    EXPECT_EQ(abierto.sizes, std::vector<PageSize>({{200, 100}}));
    const uint32_t rojo = 0xffff0000, verde = 0xff00ff00, azul = 0xff0000ff, negro = 0xff000000;
    const Rect parte{222, 62, 16, 16};
    const Apoyo::Filas<TileSpec, uint32_t, uint32_t> casos{
        // Of the same page what is recorded isn't.
        {{0, 400, 0, parte, false}, negro, negro},
        {{0, 400, 0, parte, true}, verde, verde},
        {{0, 800, 0, parte, true}, rojo, rojo},
        {{0, 800, 2, parte, true}, azul, azul},
        // What was drawn ahead, and a slice of the same; the corners top left and bottom right.
        {{0, 400, 0, {0, 0, 400, 200}, false}, rojo, azul},
        {{0, 400, 0, {150, 0, 100, 100}, false}, rojo, verde},
        {{0, 200, 1, {0, 0, 200, 400}, false}, azul, verde},
        {{0, 400, 2, {0, 0, 400, 200}, false}, azul, rojo},
        {{0, 200, 3, {0, 0, 200, 400}, false}, verde, azul},
        {{0, 200, 3, {0, 220, 140, 100}, true}, rojo, rojo},
    };
    for (const auto& [trozo, arriba, abajo] : casos) {
        SCOPED_TRACE(trozo.turn);
        const auto [como, foto] = Dibujar(trozo);
        ASSERT_EQ(como, Outcome::Good);
        ASSERT_TRUE(foto.width == trozo.area.w && foto.height == trozo.area.h);
        EXPECT_EQ(Punto(foto, 1, 1), arriba);
        EXPECT_EQ(Punto(foto, foto.width - 2, foto.height - 2), abajo);
    }
    for (const auto& [trozo, espera] :
         Apoyo::Filas<TileSpec, Outcome>{{{1, 10, 0, {0, 0, 10, 5}}, Outcome::NotDrawn},
                                         {{0, 10, 0, {0, 0, 0, 5}}, Outcome::BadSize},
                                         {{0, 90'000, 0, {0, 0, 20'000, 9'000}}, Outcome::NoMemory}})
        EXPECT_EQ(Dibujar(trozo).first, espera);
}

// Where letters stand on a page as it is seen, whatever way it is kept.
TEST_F(Documento, CadaLetraEstaDondeSeVe) {
    // The "l" is at (50, 70) of user space, 4 points wide and about 20 high.
    const Apoyo::Filas<std::string, Box> casos{
        {"", {50, 15, 54, 35}},
        {"/CropBox [40 20 140 90]", {10, 5, 14, 25}},
        {"/Rotate 90 /CropBox [40 20 140 90]", {45, 10, 65, 14}},
        {"/Rotate 180", {146, 65, 150, 85}},
        {"/Rotate 270", {15, 146, 35, 150}},
    };
    for (const auto& [entradas, caja] : casos) {
        SCOPED_TRACE(entradas);
        Abrir(UnaHoja(entradas, "BT /F 20 Tf 50 70 Td (ll ajos) Tj ET"));
        const auto [como, texto] = Pedir<PageText>([&](auto hecho) { doc->Text(0, hecho); });
        ASSERT_EQ(Utf8(texto), "ll ajos\n");
        EXPECT_EQ(texto.glyphs.back().box, Box{});
        const Box &hay = texto.glyphs[0].box, &blanco = texto.glyphs[2].box;
        for (const float Box::*lado : {&Box::left, &Box::top, &Box::right, &Box::bottom})
            EXPECT_NEAR(hay.*lado, caja.*lado, 5);
        // The blank begins where the letter ends.
        EXPECT_LT(std::abs((blanco.right - blanco.left) * (blanco.bottom - blanco.top)), 200);
    }
}

TEST_F(Documento, SeLeeEnSuOrden) {
    const Apoyo::Filas<std::string, std::string> casos{
        // From the right, with words from the left among them.
        {"BT /H 20 Tf 10 60 Td (dcba) Tj /F 20 Tf ( un dos ) Tj /H 20 Tf (hgfe) Tj 0 -30 Td (ba) Tj ET",
         "הוזח un dos אבגד\nאב\n"},
        {"BT /F 12 Tf 5 60 Td (el ) Tj /H 12 Tf (ba) Tj /F 12 Tf ( ) Tj /H 12 Tf (dc) Tj /F 12 Tf ( siempre largo) Tj "
         "ET",
         "el גד אב siempre largo\n"},
        // Two columns, written line by line.
        {"BT /F 9 Tf 5 80 Td (uno) Tj 120 0 Td (tres) Tj -120 -10 Td (dos) Tj 120 0 Td (cuatro) Tj ET",
         "uno\ndos\ntres\ncuatro\n"},
        // Written on its side and turned.
        {"BT /F 9 Tf 0 1 -1 0 20 10 Tm (uno dos) Tj 0 -20 Td (tres) Tj 50 0 Td (cua) Tj ET", "uno dos\ntres\ncua\n"},
    };
    for (const auto& [contenido, espera] : casos) {
        Abrir(UnaHoja(contenido.find("Tm") < 99 ? "/Rotate 90" : "", contenido));
        const auto [como, texto] = Pedir<PageText>([&](auto hecho) { doc->Text(0, hecho); });
        EXPECT_EQ(Utf8(texto), espera);
        // Letters of a word that is read from the right stand ever farther left.
        for (size_t i = 1; i < texto.glyphs.size(); ++i) {
            const Glyph &antes = texto.glyphs[i - 1], &esta = texto.glyphs[i];
            EXPECT_TRUE(antes.code < 0x5D0 || esta.code < 0x5D0 || esta.box.left < antes.box.left);
        }
    }
}

TEST_F(Documento, BuscaComoTeclea) {
    const std::string hoja = UnaHoja("",
                                     "BT /F 9 Tf 5 80 Td (La P\\341gina de Espa\\361a en una pa-) Tj 0 -10 Td "
                                     "(labra: Stra\\337e, y otra p\\301GINA. A-) Tj 0 -10 Td (B) Tj ET");
    Abrir(hoja);
    const auto [como, texto] = Pedir<PageText>([&](auto hecho) { doc->Text(0, hecho); });
    using Halladas = std::vector<std::string>;
    const Apoyo::Filas<std::string, bool, Halladas> casos{
        {"pagina", false, {"Página", "pÁGINA"}},
        {"PÁGINA", false, {"Página", "pÁGINA"}},
        {"Pa\u0301gina", true, {"Página"}},
        {"pagina", true, {}},
        {"espana", false, {"España"}},
        {"palabra", false, {"pa-\nlabra"}},
        {"STRASSE", false, {"Straße"}},
        {"asse,", false, {"aße,"}},
        {"a-b", false, {}},
        {"a- b", false, {"A-\nB"}},
        {"\u0301", false, {}},
        {std::string(2000, 'a'), false, {}},
    };
    for (const auto& [patron, exacta, espera] : casos) {
        SCOPED_TRACE(patron);
        for (int vez = 0; vez < 2; ++vez) {
            const SearchSpec busqueda{patron, exacta, 0};
            const auto [como2, noticia] = Pedir<SearchNews>([&](auto hecho) { doc->Search(busqueda, hecho); });
            Halladas halladas;
            for (const Hit& h : noticia.hits)
                halladas.push_back(Utf8(texto, static_cast<size_t>(h.first), static_cast<size_t>(h.count)));
            EXPECT_EQ(halladas, espera);
            EXPECT_TRUE(noticia.finished && noticia.pagesDone == 1);
        }
    }
}

TEST_F(Documento, SoloOfreceLoQueLlevaAAlgunSitio) {
    const auto enlace = [](const std::string& accion, int x) {
        return "<< /Type /Annot /Subtype /Link /Rect [" + std::to_string(x) + " 10 " + std::to_string(x + 10) +
               " 20] " + accion + " >>";
    };
    const std::string catalogo =
        "/Outlines 7 0 R /Dests << /Alli [3 0 R /XYZ 0 60 null] >> /Names << /EmbeddedFiles << "
        "/Names [(a) 10 0 R (b) 12 0 R] >> >>";
    const std::string hoja = "/CropBox [10 10 190 90] /Annots [" + enlace("/Dest /Alli", 20) +
                             enlace("/A << /S /URI /URI (https://ejemplo.es/a) >>", 40) +
                             enlace("/A << /S /Launch /F (/bin/sh) >>", 60) +
                             enlace("/A << /S /JavaScript /JS (app.alert\\(1\\)) >>", 80) +
                             enlace("/A << /S /GoToR /F (otro.pdf) /D [0 /Fit] >>", 100) + "]";
    Abrir(UnaHoja(hoja, "", catalogo,
                  {"<< /Type /Outlines /First 8 0 R /Last 8 0 R >>",
                   // Its own parent, child and next.
                   "<< /Title (Uno) /Dest [3 0 R /FitH 80] /Parent 7 0 R /First 9 0 R /Last 9 0 R /Next 8 0 R >>",
                   "<< /Title (Do\\007s) /Dest (nada) /Parent 8 0 R /First 8 0 R /Last 8 0 R >>",
                   "<< /Type /Filespec /F <FEFF002E002E002F002E00620061007300680007007200F1> /EF << /F 11 0 R >> >>",
                   Flujo("contenido"), "<< /Type /Filespec /F (/) /EF << /F 99 0 R >> >>"}));
    const auto enlaces = Pedir<std::vector<Link>>([&](auto hecho) { doc->Links(0, hecho); }).second;
    ASSERT_EQ(enlaces.size(), 2U);
    EXPECT_EQ(enlaces[1].box, (Box{10, 70, 20, 80}));
    EXPECT_TRUE(enlaces[1].target.kind == Target::Kind::Page && enlaces[1].target.page == 0);
    EXPECT_NEAR(enlaces[1].target.top, 30, 0.1);
    EXPECT_EQ(enlaces[0].target.address, "https://ejemplo.es/a");

    const auto indice = Pedir<std::vector<OutlineItem>>([&](auto hecho) { doc->Outline(hecho); }).second;
    ASSERT_GE(indice.size(), 2U);
    EXPECT_LT(indice.size(), 100U);
    EXPECT_TRUE(indice[0].title == "Uno" && indice[0].depth == 0 && indice[0].target.top == 10);
    EXPECT_TRUE(indice[1].title == "Dos" && indice[1].depth == 1 && indice[1].target.kind == Target::Kind::None);

    const auto adjuntos = Pedir<std::vector<Attachment>>([&](auto hecho) { doc->Attachments(hecho); }).second;
    ASSERT_GE(adjuntos.size(), 1U);
    EXPECT_EQ(adjuntos[0].name, "bashrñ");
    const std::string destino = carpeta / "adjunto";
    const auto guardar = [&](int cual) {
        return Pedir<std::string>([&](auto hecho) { doc->SaveAttachment(cual, destino, hecho); });
    };
    EXPECT_NE(guardar(7).first, Outcome::Good);
    EXPECT_FALSE(std::filesystem::exists(destino));
    EXPECT_EQ(guardar(0), std::pair(Outcome::Good, std::string()));
    EXPECT_EQ(Apoyo::LeerFichero(destino), "contenido");
    EXPECT_EQ(std::filesystem::status(destino).permissions(), std::filesystem::perms{0600});
    EXPECT_EQ(guardar(0).first, Outcome::Unreadable) << "written over";
}

// Where a destination is seen; and an outline goes no deeper than anyone reads.
TEST_F(Documento, LlevaAlSitioQueSeVe) {
    std::vector<std::string> indice{"<< /First 8 0 R >>"};
    for (int i = 8; i < 68; ++i)
        indice.push_back("<< /Title (a) /Dest /Alli /First " + std::to_string(i + 1) + " 0 R >>");
    const Apoyo::Filas<std::string, std::string, float> casos{{"", "/XYZ 50 60 null", 30},
                                                              {"/Rotate 90", "/XYZ 50 60 null", 40},
                                                              {"/Rotate 180", "/XYZ 50 60 null", 50},
                                                              {"/Rotate -90", "/XYZ 50 60 null", 140},
                                                              {"/Rotate 90", "/FitH 60", -1},
                                                              {"/Rotate 90", "/FitV 50", 40},
                                                              {"", "/FitV 50", -1},
                                                              {"/Rotate 180", "/FitR 20 30 60 70", 20},
                                                              {"/Rotate 270", "/FitR 20 30 60 70", 130}};
    for (const auto& [giro, destino, arriba] : casos) {
        SCOPED_TRACE(giro + destino);
        Abrir(UnaHoja("/CropBox [10 10 190 90] " + giro, "",
                      "/Outlines 7 0 R /Dests << /Alli [3 0 R " + destino + "] >>", indice));
        const auto entradas = Pedir<std::vector<OutlineItem>>([&](auto hecho) { doc->Outline(hecho); }).second;
        ASSERT_EQ(entradas.size(), 33U);
        EXPECT_EQ(entradas[0].target.top, arriba);
    }
}

TEST_F(Documento, AbreConContrasena) {
    const std::string rojo = UnaHoja("", "1 0 0 rg 0 0 200 100 re f", "/Outlines 7 0 R",
                                     {"<< /First 8 0 R >>", "<< /Title (a) /Dest [3 0 R /XYZ 0 60 null] >>"});
    Apoyo::EscribirFichero(carpeta / "clara.pdf", rojo);
    using Opciones = std::vector<std::string>;
    const std::string tipo = "--allow-weak-crypto";
    // The password's bytes in the document, what is typed, qpdf's way to encrypt it.
    const Apoyo::Filas<std::string, std::string, Opciones> casos{
        {"clave", "clave", {"40"}},
        {"a\xf1o\x80", "año•", {"128", "--use-aes=n"}},
        {"a\xf1o\xa0", "año€", {"128", "--use-aes=y"}},
        {"año•ж", "año•ж", {"256", "--force-R5"}},
        {"año•ж", "año•ж", {"256"}},
        {"", "", {"256", "--print=none"}},
        {"", "", {"128", "--use-aes=y", "--print=low"}},
    };
    for (const auto& [guardada, tecleada, opciones] : casos) {
        SCOPED_TRACE(tecleada + " " + opciones[0]);
        Opciones orden{"qpdf", tipo, "--password-mode=bytes", "--encrypt", guardada, "manda"};
        orden.insert(orden.end(), opciones.begin(), opciones.end());
        orden.insert(orden.end(), {"--", carpeta / "clara.pdf", carpeta / "cifrada.pdf"});
        Apoyo::Exigir(orden);
        const Opened& abierto = Abrir(Apoyo::LeerFichero(carpeta / "cifrada.pdf"), 0, {.rest = 1ms, .spare = true});
        EXPECT_EQ(abierto.outcome, tecleada.empty() ? Outcome::Good : Outcome::Locked);
        const auto probar = [&](const std::string& clave) {
            int veces = 0;
            doc->Tell([&veces](const Opened&) { ++veces; });
            EXPECT_TRUE(Esperar([&] { return veces > 0; }));
            veces = 0;
            doc->Unlock(clave);
            EXPECT_TRUE(Esperar([&] { return veces > 0; }));
        };
        if (!tecleada.empty()) {
            probar("otra");
            EXPECT_EQ(abierto.sentence, "La contraseña no es correcta.");
            probar(tecleada);
        }
        ASSERT_EQ(abierto.outcome, Outcome::Good);
        EXPECT_TRUE(abierto.isProtected);
        EXPECT_EQ(abierto.mayPrint, opciones.back() != "--print=none");
        EXPECT_EQ(abierto.mayPrintWell, opciones.back().substr(0, 7) != "--print");
        EXPECT_EQ(Pedir<std::vector<OutlineItem>>([&](auto h) { doc->Outline(h); }).second.at(0).target.top, 40);
        // The one that reads has it too, and who follows the one that draws.
        EXPECT_EQ(Pedir<PageText>([&](auto hecho) { doc->Text(0, hecho); }).first, Outcome::Good);
        for (int vez = 0; vez < 2; ++vez) {
            const auto [como, foto] = Dibujar({0, 20, 0, {0, 0, 20, 10}});
            ASSERT_EQ(como, Outcome::Good);
            EXPECT_EQ(Punto(foto, 3, 3), 0xffff0000);
            for (const pid_t hijo : Hijos()) Matar(hijo);
        }
    }
}

// The first page takes longer than anybody lives, the others are red and each a point wider.
std::string LentaYRojas(int rojas) {
    constexpr int kNiveles = 12, kPrimera = 5;
    std::string hijas = "3 0 R", diez;
    for (int i = 0; i < 10; ++i) diez += "/F Do ";
    std::vector<std::string> objetos{"<< /Type /Catalog /Pages 2 0 R >>", "",
                                     "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 200 100] /Contents " +
                                         std::to_string(kPrimera + kNiveles) +
                                         " 0 R /Resources << /XObject << /F 5 0 R >> >> >>",
                                     Flujo("1 0 0 rg 0 0 5000 100 re f BT /F 9 Tf 5 5 Td (lupa) Tj ET")};
    for (int i = 0; i < kNiveles; ++i) {
        const std::string dibujo = i + 1 < kNiveles ? diez : "0 0 200 100 re f";
        objetos.push_back("<< /Type /XObject /Subtype /Form /BBox [0 0 200 100] /Resources << /XObject << /F " +
                          std::to_string(kPrimera + i + 1) + " 0 R >> >>" + Flujo(dibujo).substr(2));
    }
    objetos.push_back(Flujo("/F Do"));
    for (int i = 0; i < rojas; ++i) {
        objetos.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + std::to_string(201 + i) +
                          " 100] /Contents 4 0 R /Resources << /Font << /F << /Type /Font /Subtype /Type1 /BaseFont "
                          "/Helvetica >> >> >> >>");
        hijas += " " + std::to_string(objetos.size()) + " 0 R";
    }
    objetos[1] = "<< /Type /Pages /Count " + std::to_string(rojas + 1) + " /Kids [" + hijas + "] >>";
    return Apoyo::PdfDe(objetos);
}

TEST_F(Documento, LoQueNadieQuiereSeDeja) {
    const TileSpec lenta{0, 200, 0, {0, 0, 200, 100}}, roja{1, 201, 0, {0, 0, 201, 100}};
    Abrir(LentaYRojas(1), 0, {.work = 2000ms, .rest = 1ms, .spare = true});
    Picture guardada = Dibujar(roja).second;
    ASSERT_TRUE(Esperar([] { return Hijos().size() == 2; })) << "no spare";
    const std::vector<pid_t> antes = Hijos();
    bool llamada = false;
    const auto nunca = [&llamada](Outcome, const Picture&) { llamada = true; };
    const IPages::Id primera = doc->Draw(lenta, nunca);
    const IPages::Id segunda = doc->Draw({0, 100, 0, {0, 0, 100, 50}}, nunca);
    std::this_thread::sleep_for(50ms);
    const auto inicio = std::chrono::steady_clock::now();
    doc->Cancel(primera);
    doc->Cancel(segunda);
    doc->Cancel(77);
    doc->Cancel(doc->Draw({9, 9, 0, {0, 0, 9, 9}}, nunca));
    EXPECT_EQ(Dibujar(roja).first, Outcome::Good);
    const auto pasado = std::chrono::steady_clock::now() - inicio;
    EXPECT_TRUE(pasado >= 100ms && pasado < 700ms);
    EXPECT_FALSE(llamada);
    // The spare has taken over, and has one of its own.
    EXPECT_EQ(Hijos().at(0), antes.at(1));
    EXPECT_TRUE(Esperar([] { return Hijos().size() == 2; }));

    // What holds up all others is ended, and tells so; so does who dies at it.
    EXPECT_EQ(Dibujar(lenta).first, Outcome::Slow);
    EXPECT_EQ(Dibujar(roja).first, Outcome::Good);
    const auto [como, foto] = Pedir<Picture>([&](auto hecho) {
        doc->Draw(lenta, hecho);
        std::this_thread::sleep_for(50ms);
        Matar(Hijos().at(0));
    });
    EXPECT_EQ(como, Outcome::NoProgram);
    EXPECT_EQ(Dibujar(roja).first, Outcome::Good);
    EXPECT_EQ(Dibujar(lenta).first, Outcome::NotDrawn) << "a third process was given it";
    doc.reset();
    EXPECT_TRUE(Hijos().empty());
    EXPECT_EQ(Punto(guardada, 100, 50), 0xffff0000);
}

TEST_F(Documento, LaMemoriaTieneFondo) {
    EXPECT_EQ(Abrir("").outcome, Outcome::Unreadable);
    // What a page drawn ahead doesn't take is free.
    Abrir(UnaHoja("", ""), 200, {.slots = size_t{33} << 20});
    const Picture adelantada = Dibujar({0, 200, 0, {0, 0, 200, 100}}).second;
    EXPECT_EQ(Dibujar({0, 2000, 0, {0, 0, 2000, 1000}}).first, Outcome::Good);
    Abrir(LentaYRojas(600) + std::string(5 << 20, '\n'), 0, {.slots = size_t{4} << 20});
    // The last page ends where the other goes on.
    Dibujar({600, 800, 0, {0, 0, 9, 9}});
    EXPECT_EQ(Punto(Dibujar({1, 800, 0, {0, 300, 9, 9}}).second, 4, 4), 0xffff0000);
    const TileSpec grande{1, 1000, 0, {0, 0, 1000, 500}};
    std::vector<Picture> fotos;
    Outcome como = Outcome::Good;
    while (como == Outcome::Good && fotos.size() < 9) {
        auto [esta, foto] = Dibujar(grande);
        como = esta;
        fotos.push_back(foto);
    }
    EXPECT_TRUE(como == Outcome::NoMemory && fotos.size() == 3);
    fotos.clear();
    doc->Shrink();
    EXPECT_EQ(Dibujar(grande).first, Outcome::Good);
    EXPECT_EQ(Pedir<PageText>([&](auto hecho) { doc->Text(1, hecho); }).first, Outcome::NoMemory);

    // Who rests gives back what it took to get so far, and comes again.
    Abrir(LentaYRojas(600), 0, {.rest = 1ms, .idle = 50ms, .manyPages = 600, .spare = true});
    for (int vez = 0; vez < 2; ++vez) {
        EXPECT_EQ(Dibujar({600, 800, 0, {0, 0, 9, 9}}).first, Outcome::Good);
        EXPECT_TRUE(Esperar([] { return Hijos().empty(); }));
    }

    // Sizes come in blocks; what isn't there isn't told.
    using Medidas = std::vector<PageSize>;
    for (const auto& [primera, pedidas, hay] :
         Apoyo::Filas<int, int, size_t>{{300, 500, 256}, {500, 500, 101}, {9999, 5, 1}}) {
        const Medidas medidas =
            Pedir<Medidas>([&, p = primera, n = pedidas](auto hecho) { doc->Sizes(p, n, hecho); }).second;
        ASSERT_EQ(medidas.size(), hay);
        EXPECT_EQ(medidas.back().width, 200 + std::min(primera + static_cast<int>(hay) - 1, 600));
    }
}

// On two processes, each page once and whatever one of them does.
TEST_F(Documento, BuscaEnTodasLasHojas) {
    Abrir(LentaYRojas(400), 0, {.work = 300ms});
    std::vector<int> hojas, todas(400);
    int noticias = 0, hechas = 0;
    bool acabada = false;
    const auto oir = [&](Outcome, const SearchNews& noticia) {
        for (const Hit& h : noticia.hits) hojas.push_back(h.page);
        ++noticias;
        hechas = noticia.pagesDone;
        acabada = noticia.finished;
    };
    doc->Search({"LUPA", false, 100}, oir);
    ASSERT_TRUE(Esperar([&] { return acabada; }));
    EXPECT_EQ(hechas, 401);
    EXPECT_GT(noticias, 3);
    EXPECT_TRUE(hojas.at(0) >= 100 && hojas.at(0) < 192) << "not from there on";
    std::sort(hojas.begin(), hojas.end());
    std::iota(todas.begin(), todas.end(), 1);
    EXPECT_EQ(hojas, todas);

    const int antes = noticias;
    doc->Cancel(doc->Search({"lupa", false, 0}, oir));
    EXPECT_EQ(Pedir<PageText>([&](auto hecho) { doc->Text(1, hecho); }).first, Outcome::Good);
    EXPECT_EQ(noticias, antes);
}

}  // namespace
