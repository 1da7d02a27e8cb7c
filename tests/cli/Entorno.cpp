#include "tests/cli/Entorno.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace PruebaCli {

namespace fs = std::filesystem;

const std::string& Pdf() {
    static const std::string pdf = Apoyo::Exigir({"bash", DOCUMENTO});
    return pdf;
}

std::string DeJson(const std::string& json, const std::string& expresion) {
    const Apoyo::Salida s = Apoyo::Ejecutar(
        {"python3", "-c", "import json,sys\nd=json.load(sys.stdin.buffer)\nprint(" + expresion + ")"}, json);
    if (s.codigo != 0) return "no es JSON: " + json + s.errores;
    return s.texto.substr(0, s.texto.size() - 1);
}

bool LoMuestraAlgunProceso(const std::string& secreto) {
    std::error_code fallo;
    for (const auto& proceso : fs::directory_iterator("/proc", fallo))
        for (const char* fichero : {"/cmdline", "/environ"})
            if (Apoyo::Cuenta(Apoyo::LeerFichero(proceso.path().string() + fichero), secreto) > 0) return true;
    return false;
}

void Cli::SetUp() {
    // A shell that runs the tests in the background hands these down as ignored.
    for (const int senal : {SIGHUP, SIGINT, SIGQUIT}) std::signal(senal, SIG_DFL);
    camino_ = std::getenv("PATH");
    Escribir("contrato.pdf", Pdf());
    EscribirSecreto("clave", identidad_->password);
    for (const char* nombre : {"tmp", "run"}) {
        fs::create_directory(temporales_ / nombre);
        fs::permissions(temporales_ / nombre, fs::perms::owner_all);
    }
}

void Cli::TearDown() {
    for (const char* nombre : {"tmp", "run"})
        for (const auto& resto : fs::recursive_directory_iterator(temporales_ / nombre))
            ADD_FAILURE() << "quedó " << resto.path();
}

std::vector<std::string> Cli::Comando() const {
    const std::string carpeta = temporales_.Ruta(), &p12 = identidad_->p12;
    const std::string guion = "cd " + carpeta_.Ruta() + "; unset TEMP TMP; export HOME=" + carpeta +
                              " TMPDIR=" + carpeta + "/tmp XDG_RUNTIME_DIR=" + carpeta + "/run PATH=" + camino_ +
                              " PCSCLITE_CSOCK_NAME=" + servicio_ + " CLI=" VELMORA_CLI " P12=" + p12 +
                              " ID='--pkcs12=" + p12 + " --clave-desde=clave'; exec \"$@\"";
    return {"sh", "-c", guion, "sh"};
}

Apoyo::Salida Cli::Guion(const std::string& guion, std::string_view entrada) const {
    std::vector<std::string> todo = Comando();
    todo.insert(todo.end(), {"setsid", "-w", "sh", "-c", guion});
    return Apoyo::Ejecutar(todo, entrada);
}

Apoyo::Salida Cli::Correr(int codigo, const std::string& orden, const std::string& dice,
                          std::string_view entrada) const {
    Apoyo::Salida s = Guion("exec $CLI " + orden, entrada);
    EXPECT_EQ(s.codigo, codigo) << orden << "\n" << s.errores;
    EXPECT_NE(s.errores.find(dice), s.errores.npos) << orden << "\n" << s.errores << "does not tell: " << dice;
    return s;
}

Terminal Cli::EnTerminal(const std::string& guion, unsigned short columnas) const {
    std::vector<std::string> todo = Comando();
    todo.insert(todo.end(), {"env", "TERM=xterm", "sh", "-c", guion});
    return Terminal(todo, columnas);
}

void Cli::PonerOpenssl(const std::string& guion) {
    const Apoyo::Salida real = Apoyo::Ejecutar({"sh", "-c", "command -v openssl"});
    const std::string ruta = temporales_ / "bin";
    fs::create_directory(ruta);
    Apoyo::EscribirFichero(ruta + "/openssl", "#!/bin/sh\nREAL=" + real.texto + "\n" + guion + "\n");
    fs::permissions(ruta + "/openssl", fs::perms::owner_all);
    camino_ = ruta + ":" + camino_;
}

void Cli::EscribirSecreto(std::string_view nombre, const std::string& secreto) const {
    Escribir(nombre, secreto + "\n");
    fs::permissions(En(nombre), fs::perms::owner_read | fs::perms::owner_write);
}

Nombres Cli::Nuevos() const {
    Nombres nombres;
    for (const auto& e : fs::directory_iterator(carpeta_.Ruta()))
        if (const std::string n = e.path().filename(); n != "contrato.pdf" && n != "clave") nombres.push_back(n);
    std::sort(nombres.begin(), nombres.end());
    return nombres;
}

}  // namespace PruebaCli
