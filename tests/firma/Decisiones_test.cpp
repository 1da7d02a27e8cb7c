// Which certificate may sign and which one does, what is remembered, and the names that programs rely on.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include "firma/LxExaminar.h"
#include "firma/LxFirmar.h"
#include "firma/LxListar.h"
#include "firma/LxRecuerdo.h"
#include "tests/apoyo/Apoyo.h"

namespace Lx::Firma {

namespace fs = std::filesystem;
using CertStore::Entrada;
using CertStore::Origen;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// A certificate made by openssl with these extensions.
[[nodiscard]] X509::Certificado Cert(const std::string& nombre, const std::vector<std::string>& extensiones,
                                     const std::string& clave = "rsa:2048") {
    std::vector<std::string> orden = {"openssl", "req",           "-x509",    "-nodes",  "-days",
                                      "30",      "-newkey",       clave,      "-keyout", "/dev/null",
                                      "-subj",   "/CN=" + nombre, "-outform", "DER"};
    if (clave == "ec") orden.insert(orden.end(), {"-pkeyopt", "ec_paramgen_curve:P-256"});
    for (const std::string& e : extensiones) orden.insert(orden.end(), {"-addext", e});
    const std::string der = Apoyo::Exigir(orden);
    X509::Certificado cert;
    EXPECT_TRUE(X509::Parsear({der.begin(), der.end()}, cert)) << nombre;
    return cert;
}

constexpr const char* kPersona = "basicConstraints=CA:FALSE";

struct Certs {
    X509::Certificado sinUso = Cert("Sin Uso", {kPersona});
    X509::Certificado firma = Cert("Firma", {kPersona, "keyUsage=nonRepudiation"});
    X509::Certificado acceso = Cert("Acceso", {kPersona, "keyUsage=digitalSignature"});
    X509::Certificado cifra = Cert("Cifra", {kPersona, "keyUsage=keyEncipherment,dataEncipherment"});
    X509::Certificado acuerdo = Cert("Acuerdo", {kPersona, "keyUsage=keyAgreement,encipherOnly"});
    X509::Certificado ca = Cert("Autoridad", {"basicConstraints=CA:TRUE", "keyUsage=digitalSignature"});
    X509::Certificado ec = Cert("Curva", {kPersona}, "ec");
};
[[nodiscard]] const Certs& LosCerts() {
    static const Certs certs;
    return certs;
}

[[nodiscard]] Entrada De(const X509::Certificado& cert, Origen origen = Origen::Sistema, bool conClave = true) {
    Entrada e;
    e.origen = origen;
    e.cert = cert;
    e.conClave = conClave;
    e.deFirma = origen != Origen::Dnie || cert.subjectCN == "Firma";
    return e;
}

}  // namespace

TEST(Aptitud, CadaImpedimentoPorSuOrden) {
    using enum Motivo;
    const Certs& c = LosCerts();
    const int64_t dia = 86400;
    const Apoyo::Filas<Entrada, int64_t, std::vector<Motivo>, const char*> filas = {
        {De(c.sinUso), 0, {}, ""},
        {De(c.firma), 0, {}, ""},
        {De(c.acceso), 0, {}, ""},
        {De(c.firma, Origen::Dnie), 0, {}, ""},
        {De(c.cifra), 0, {UsoAjeno}, "uso"},
        {De(c.acuerdo), 0, {UsoAjeno}, "uso"},
        {De(c.ca), 0, {CertificadoCa}, "ca"},
        {De(c.ec), 0, {ClaveNoRsa}, nullptr},
        {De(c.ec, Origen::Pkcs12, false), 0, {ClaveNoRsa}, nullptr},
        {De(c.firma, Origen::Pkcs12, false), 0, {SinClave}, nullptr},
        {De(c.acceso, Origen::Dnie), 0, {NoEsElDeFirma}, "uso"},
        {De(c.firma), 31 * dia, {Caducado}, "caducado"},
        {De(c.firma), -dia, {AunNoValido}, "aun_no_valido"},
        {De(c.cifra, Origen::Pkcs12, false), 31 * dia, {SinClave, UsoAjeno, Caducado}, nullptr},
    };
    for (const auto& [entrada, mas, impedimentos, aunque] : filas) {
        const Aptitud a = Juzgar(entrada, entrada.cert.notBefore + mas);
        SCOPED_TRACE(entrada.cert.subjectCN + ": " + EnBreve(a));
        EXPECT_EQ(a.impedimentos, impedimentos);
        EXPECT_EQ(a.Apto(), impedimentos.empty());
        EXPECT_EQ(a.Salvable(), aunque != nullptr);
        EXPECT_EQ(a.Salvada({}), impedimentos.empty());
        EXPECT_EQ(a.Salvada(impedimentos), aunque != nullptr);  // accepting by name what can't be accepted
        EXPECT_EQ(a.Salvada({MotivoDeAunque(aunque == nullptr ? "uso" : aunque)}), aunque != nullptr);
        const bool esCa = impedimentos == std::vector<Motivo>{CertificadoCa};
        EXPECT_EQ(a.Salvada({MotivoDeAunque(esCa ? "uso" : "ca")}), a.Apto());
        EXPECT_EQ(Explicar(entrada, a).motivo, impedimentos.empty() ? Ninguno : impedimentos.front());
    }
    // The profile's certificate for signing without nonRepudiation.
    Entrada raro = De(c.acceso, Origen::Dnie);
    raro.deFirma = true;
    EXPECT_THAT(Juzgar(raro, raro.cert.notBefore).impedimentos, ElementsAre(UsoAjeno));
    EXPECT_EQ(Juzgar(De(c.firma), c.firma.notAfter).impedimentos, std::vector<Motivo>{});
    EXPECT_EQ(MotivoDeAunque(""), Ninguno);
}

TEST(Eleccion, SinNombrarSoloElUnicoQueVale) {
    using enum Motivo;
    const Certs& c = LosCerts();
    const Entrada tarjeta = De(c.firma, Origen::Dnie), otro = De(c.acceso, Origen::Dnie), almacen = De(c.sinUso);
    Entrada perdido = tarjeta, comun = De(c.acceso), fichero = De(c.acceso, Origen::Pkcs12);
    perdido.cert.notAfter = 1;
    comun.enFichero = true;
    comun.conClave = false;
    using Lista = std::vector<Entrada>;
    const std::optional<Origen> nadie, dnie = Origen::Dnie, p12 = Origen::Pkcs12;
    const Apoyo::Filas<Lista, bool, std::optional<Origen>, int, Motivo> filas = {
        {{}, false, nadie, -1, SinCertificados},
        {{tarjeta, otro}, false, nadie, 0, Ninguno},
        {{otro, tarjeta}, false, dnie, 1, Ninguno},
        {{perdido, otro}, false, nadie, -1, Caducado},
        {{otro, perdido}, false, dnie, -1, Caducado},
        {{otro}, true, nadie, -1, FirmaNoLeida},
        {{}, true, dnie, -1, FirmaNoLeida},
        {{otro}, false, nadie, -1, NoEsElDeFirma},
        {{perdido, almacen}, false, nadie, -1, Caducado},  // the card that is there is what is meant
        {{perdido, fichero}, true, p12, 1, Ninguno},
        {{tarjeta, almacen}, false, nadie, -1, VariosCertificados},
        {{tarjeta, almacen}, false, dnie, 0, Ninguno},
        {{De(c.cifra), almacen, De(c.ec)}, false, nadie, 1, Ninguno},
        {{De(c.cifra), De(c.ca)}, false, nadie, -1, CertificadoInutil},
        {{De(c.ec)}, false, nadie, -1, ClaveNoRsa},
        {{almacen, comun}, false, p12, 1, Ninguno},
        {{almacen, comun}, false, nadie, 0, Ninguno},
    };
    for (const auto& [lista, perdida, pedido, indice, motivo] : filas) {
        Certificados cs;
        cs.listado.entradas = lista;
        cs.listado.fuentes = {{}};
        cs.listado.fuentes[0].origen = Origen::Dnie;
        cs.listado.fuentes[0].firmaPerdida = perdida;
        const Eleccion e = Elegir(cs, {std::nullopt, pedido, {}}, c.firma.notBefore + 1000);
        SCOPED_TRACE(std::string(NombreDe(motivo)) + ": " + e.fallo.frase);
        EXPECT_EQ(e.indice, indice);
        EXPECT_EQ(e.fallo.motivo, motivo);
        EXPECT_EQ(e.elegida.origen == Origen::Pkcs12, indice >= 0 && pedido == p12);
    }
}

TEST(Recuerdo, UnPinSoloMientrasSirve) {
    Recuerdo r;
    CertStore::Contexto ctx;
    ctx.lector = "A";
    ctx.pin = "1234";
    const Recuerdo::Reloj::time_point t{};
    r.Guardar(ctx, t);
    EXPECT_EQ(r.Ver(t + std::chrono::seconds(299)).pin, "1234");
    EXPECT_EQ(r.Ver(t + std::chrono::minutes(5)).pin, "");
    EXPECT_EQ(r.Ver(t).lector, "A");
    r.Guardar(ctx, t);
    ctx.lector = "B";
    ctx.pin.clear();
    r.Guardar(ctx, t);
    EXPECT_EQ(r.Ver(t).pin, "");
    // What is left where a record was.
    alignas(CertStore::Contexto) char donde[sizeof(CertStore::Contexto)];
    auto* breve = new (donde) CertStore::Contexto;
    breve->pin = breve->clavePkcs12 = "73519";
    breve->~Contexto();
    EXPECT_EQ(std::string(donde, sizeof donde).find("73519"), std::string::npos);
}

TEST(Nombres, ElPrimeroLibreHastaElUltimo) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string base = carpeta / "a.b";
    const auto libre = [&] { return NombreLibre(base + ".pdf", ""); };
    EXPECT_EQ(NombreLibre("x/a.b/c", ""), "x/a.b/c_firmao.pdf");
    EXPECT_EQ(NombreLibre("x/.pdf", "y"), "y/_firmao.pdf");
    fs::create_symlink("nada", base + "_firmao.pdf");
    ASSERT_EQ(mkfifo((base + "_firmao2.pdf").c_str(), 0600), 0);
    EXPECT_EQ(libre(), base + "_firmao3.pdf");
    for (int n = 3; n <= 998; ++n) Apoyo::EscribirFichero(base + "_firmao" + std::to_string(n) + ".pdf", "");
    EXPECT_EQ(libre(), base + "_firmao999.pdf");
    Apoyo::EscribirFichero(base + "_firmao999.pdf", "");
    EXPECT_EQ(libre(), "");
    // It is known before anybody is asked for anything.
    Apoyo::EscribirFichero(base + ".pdf", "");
    Encargo encargo;
    EXPECT_EQ(Planear(base + ".pdf", encargo).motivo, Motivo::SinNombre);
    encargo.carpeta = "/no/existe";
    EXPECT_EQ(Planear(base + ".pdf", encargo).motivo, Motivo::SalidaImposible);
}

TEST(Firmar, UnTrabajoConUnaClaveDeVerdad) {
    const Apoyo::CarpetaTemporal carpeta;
    const Apoyo::Identidad& id = Apoyo::IdentidadComun();
    Encargo encargo;
    encargo.documentos = {carpeta / "a.pdf"};
    encargo.elegida = De(id.certificado, Origen::Pkcs12);
    encargo.ctx.rutaPkcs12 = id.p12;
    encargo.ctx.clavePkcs12 = id.password;
    Apoyo::EscribirFichero(carpeta / "a.pdf", Apoyo::PdfDe({"<< /Type /Catalog /Pages 2 0 R >>",
                                                            "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                                            "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] >>"}));
    Encargo vieja = encargo, aceptada = encargo;
    vieja.elegida.cert.notAfter = aceptada.elegida.cert.notAfter = 1;
    aceptada.aunque = {Motivo::Caducado};
    Encargo otras = encargo;
    otras.paginasVistas = 2;
    aceptada.paginasVistas = 1;
    aceptada.esElVisto = [] { return true; };
    Encargo cambiado = encargo;
    cambiado.esElVisto = [] { return false; };
    const Apoyo::Filas<Encargo, bool, Motivo> filas = {{vieja, false, Motivo::Caducado},
                                                       {encargo, true, Motivo::Cancelado},
                                                       {otras, false, Motivo::PaginasDistintas},
                                                       {cambiado, false, Motivo::Cambiado},
                                                       {aceptada, false, Motivo::Ninguno}};
    for (const auto& [que, cancelar, motivo] : filas) {
        Control* control = nullptr;
        FirmarDocumentos trabajo(que, {},
                                 {[&, si = cancelar](size_t) { static_cast<void>(si && control->Cancelar()); }, {}});
        control = &trabajo.control;
        trabajo.Hacer();
        const Hecho& hecho = trabajo.Respuesta().documentos.front();
        EXPECT_EQ(hecho.r.motivo, motivo) << hecho.r.error;
        EXPECT_EQ(fs::exists(carpeta / "a_firmao.pdf"), motivo == Motivo::Ninguno);
        EXPECT_EQ(control->Ver().etapa == Etapa::Guardar, motivo == Motivo::Ninguno);
    }
}

// A document of one page with what is added to its catalogue, and objects from 4 on.
std::string Hoja(const std::string& raiz, const std::vector<std::string>& mas = {}, const std::string& trailer = "") {
    std::vector<std::string> objetos = {"<< /Type /Catalog /Pages 2 0 R " + raiz + " >>",
                                        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
                                        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] >>"};
    objetos.insert(objetos.end(), mas.begin(), mas.end());
    return Apoyo::PdfDe(objetos, trailer);
}

TEST(Examen, LoQueSeDiceAlAbrir) {
    using enum Motivo;
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "a.pdf", campo = "/AcroForm << /Fields [4 0 R] >>";
    const auto firma = [](const std::string& dict) {
        return std::vector<std::string>{"<< /FT /Sig /T (S) /Rect [1 1 9 9] /Subtype /Widget /P 3 0 R /V 5 0 R >>",
                                        "<< /Type /Sig " + dict + " >>"};
    };
    const std::string raro = "/Name (Eva\\n\\007[2J) /M (D:20260131",
                      girado =
                          "/Name <FEFF"
                          "0045202E0076"
                          "200F00610020> /SubFilter /ETSI.RFC3161 /M (ayer)";
    const std::string p1 = "/Reference [<< /TransformMethod /DocMDP /TransformParams << /P 1 >> >>]";
    std::string roto = Hoja("");
    roto.replace(roto.rfind("startxref"), 12, "startxref\n7\n");
    using Visto = std::vector<std::string>;
    // Why it can't be signed, what is worth knowing, and how its signatures read.
    const Apoyo::Filas<std::string, Motivo, std::vector<Motivo>, Visto> filas = {
        {Hoja(""), Ninguno, {}, {}},
        {"texto", NoEsPdf, {}, {}},
        {Hoja("", {}, "/Encrypt << >>"), Cifrado, {}, {}},
        {Hoja("/Pages 2 0 R"), Ambiguo, {}, {}},
        {roto, Ninguno, {Reconstruido}, {}},
        {Apoyo::PdfDe({"<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [] /Count 0 >>"}),
         SinPaginas,
         {},
         {}},
        {Hoja(campo, firma(raro + ")")), Ninguno, {}, {"Eva [2J|31/01/2026|0|"}},
        {Hoja(campo, firma(raro + "093015)")), Ninguno, {}, {"Eva [2J|31/01/2026 09:30|0|"}},
        {Hoja(campo, firma(raro + "235959-01'30')")), Ninguno, {}, {"Eva [2J|01/02/2026 01:29|0|"}},
        {Hoja(campo, firma(girado)), Ninguno, {}, {"E v a||0|sello"}},
        {Hoja(campo, firma("/Name (" + std::string(70, 'a') + ") " + p1)),
         Certificado,
         {},
         {std::string(60, 'a') + "…||0|"}},
        {Hoja(campo, {"<< /FT /Sig /T (S) >>"}), Ninguno, {CamposVacios}, {}},
        {Hoja("/NeedsRendering true"), Ninguno, {FormularioXfa}, {}},
    };
    setenv("TZ", "UTC", 1);
    tzset();
    for (const auto& [pdf, impide, avisa, firmas] : filas) {
        Apoyo::EscribirFichero(ruta, pdf);
        Examinar trabajo(ruta);
        trabajo.Hacer();
        const Examen& e = trabajo.Respuesta();
        SCOPED_TRACE(pdf.substr(0, 400) + e.impedimento.frase);
        EXPECT_EQ(e.impedimento.motivo, impide);
        EXPECT_EQ(e.impedimento.frase.starts_with("No se puede firmar. "), impide != Ninguno);
        std::vector<Motivo> dichos;
        for (const Aviso& a : e.avisos) dichos.push_back(a.motivo);
        EXPECT_EQ(dichos, avisa);
        Visto vistas;
        for (const FirmaAnterior& f : e.firmas)
            vistas.push_back(f.nombre + "|" + f.momento + "|" + std::to_string(f.pagina) + (f.sello ? "|sello" : "|"));
        EXPECT_EQ(vistas, firmas);
    }
    for (const std::string& malo : {carpeta / "no.pdf", carpeta.Ruta()}) {
        Examinar trabajo(malo);
        trabajo.Hacer();
        EXPECT_EQ(trabajo.Respuesta().impedimento.motivo, NoSeLee);
        EXPECT_THAT(trabajo.Respuesta().impedimento.frase, testing::ContainsRegex("no existe|es una carpeta"));
    }
    Examinar cancelado(ruta);
    cancelado.control.Cancelar();
    cancelado.Hacer();
    EXPECT_EQ(cancelado.Respuesta().impedimento.motivo, Cancelado);
}

TEST(Examen, LaListaDePaginas) {
    const std::string muchas = "99999999999999999999";
    const Apoyo::Filas<std::string, int32_t, int32_t, std::string> filas = {
        {"2", 9, 1, "1 pagina"},
        {"1, 3, 5-8", 9, 6, "6 paginas"},
        {" 1-3,2 3,, ", 3, 3, "3 paginas"},
        {"7-9", 0, 3, "3 paginas"},
        {"", 9, 0, "Escribe las páginas"},
        {", ", 9, 0, "Escribe las páginas"},
        {"99", 2, 0, "La página 99 no existe: el documento tiene 2 páginas."},
        {"0-1", 1, 0, "La página 0 no existe: el documento tiene 1 página."},
        {"8-10", 9, 0, "La página 10 no existe"},
        {muchas, 9, 0, "La página 99999999999999999999 no existe"},
        {muchas, 0, 0, "La página 99999999999999999999 no existe."},
        {"8-5", 9, 0, "\"8-5\" va al revés"},
        {"1 - 3", 9, 0, "\"-\" no es una página"},
        {"3-", 9, 0, "\"3-\" no es"},
        {"1-2-3", 9, 0, "\"1-2-3\" no es"},
        {"uno", 9, 0, "\"uno\" no es una página. Escribe números y tramos, por ejemplo: 1, 3, 5-8"},
    };
    for (const auto& [texto, total, cuantas, frase] : filas) {
        const ListaPaginas lista = LeerLista(texto, total);
        EXPECT_EQ(lista.cuantas, cuantas) << texto;
        EXPECT_TRUE(cuantas > 0 ? lista.frase == frase : lista.frase.starts_with(frase)) << lista.frase;
    }
}

// Programs act on the names, people look them up.
TEST(Motivos, TodosTienenNombreYEstanEnElManual) {
    const std::string manual = Apoyo::LeerFichero(MANUAL);
    std::set<std::string> nombres;
    for (int i = 1; i <= static_cast<int>(TodosLosMotivos().back()); ++i) {
        const std::string nombre(NombreDe(static_cast<Motivo>(i)));
        EXPECT_NE(nombre, "") << i;
        EXPECT_TRUE(nombres.insert(nombre).second) << nombre;
        EXPECT_THAT(manual, HasSubstr(".B " + nombre + "\n("));
    }
}

}  // namespace Lx::Firma
