#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "crypto/LxApi.h"
#include "crypto/RutaInterna.h"
#include "tests/apoyo/Apoyo.h"

namespace {

using namespace Lx::Api;

TEST(Servicios, RegistroQueSoloCrece) {
    const Apoyo::CarpetaTemporal carpeta;
    const std::string ruta = carpeta / "registro con ñ.log";
    EXPECT_FALSE(FileExists(ruta) || FileExists(""));
    EXPECT_TRUE(AppendLog(ruta, "uno"));
    EXPECT_TRUE(AppendLog(ruta, std::string("d\0s\n", 4)));
    EXPECT_EQ(Apoyo::LeerFichero(ruta), std::string("uno\nd\0s\n\n", 9));
    EXPECT_TRUE(FileExists(ruta) && FileExists(carpeta.Ruta()));
    ASSERT_EQ(mkfifo((carpeta / "tubo").c_str(), 0600), 0);
    const int vigia = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(vigia, (carpeta / "tubo").c_str(), IN_OPEN), 0);
    EXPECT_TRUE(FileExists(carpeta / "tubo"));
    char suceso[256];
    EXPECT_LT(read(vigia, suceso, sizeof suceso), 0) << "it was opened";
    close(vigia);
    EXPECT_FALSE(AppendLog(carpeta / "no/existe", "x"));
    EXPECT_FALSE(AppendLog("/dev/full", "x")) << "a disk without room";
}

TEST(Servicios, HoraLocal) {
    EXPECT_THAT(TimestampNow(), testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}"));
    for (const size_t largo : {size_t{127}, size_t{128}})
        EXPECT_EQ(TimestampNow(std::string(largo, 'x').c_str()), std::string(largo < 128 ? largo : 0, 'x'));
    setenv("TZ", "<+23>-23", 1);
    tzset();
    EXPECT_EQ(TimestampNow("%z"), "+2300");
    unsetenv("TZ");
    tzset();
}

TEST(Servicios, CarpetaYNombreDelPrograma) {
    const Apoyo::Filas<const char*, const char*, const char*> filas = {
        {"/Applications/App/bin/prog", "/Applications/App/bin", "prog"},
        {"/prog", "/", "prog"},
        {"prog", ".", "prog"},
        {"", ".", ""},
        {"/a/", "/a", ""}};
    for (const auto& [ruta, carpeta, nombre] : filas) {
        SCOPED_TRACE(ruta);
        EXPECT_EQ(Interno::CarpetaDe(ruta), carpeta);
        EXPECT_EQ(Interno::NombreDe(ruta), nombre);
    }
    const Apoyo::CarpetaTemporal carpeta;
    const std::filesystem::path real = std::filesystem::canonical(AYUDANTE_CRYPTO);
    std::filesystem::create_symlink(real, carpeta / "enlace");
    EXPECT_EQ(Apoyo::Ejecutar({carpeta / "enlace"}).texto,
              real.string() + "\n" + real.parent_path().string() + "\n" + real.filename().string() + "\n");
}

}  // namespace
