// Temporary files that hold secrets for the openssl program (password, private key) and what makes sure that none of
// them outlives the process.
//
// Every file that is made here stays in a process-wide register until it is removed; what is left there when the
// process ends is removed by exit() and, once a CarpetaPrivada was made, by a deadly signal too. A forked child never
// removes its parent's files.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace Lx::CertStore {

// A name that this process has not used yet, in $TEMP, $TMP, $TMPDIR or /tmp, the first that is set and not empty. It
// makes no file: the name can be foreseen by others, so whoever opens it must insist on a new file.
[[nodiscard]] std::string RutaTemporal(const std::string& sufijo);

// Removes all files of the register now; their owners find them gone.
void QuitarTemporales();

// One temporary file, mode 0600, removed by the destructor.
class FicheroTemporal {
  public:
    FicheroTemporal() = default;
    // Takes over the removal of a file that Soltar() gave away.
    explicit FicheroTemporal(std::string ruta) : ruta_(std::move(ruta)) {}
    ~FicheroTemporal() { Quitar(); }
    FicheroTemporal(const FicheroTemporal&) = delete;
    FicheroTemporal& operator=(const FicheroTemporal&) = delete;

    // Makes the file under a new name and writes the pieces one after the other. It never follows a link nor opens a
    // file that was there: a name that is taken is passed over for the next one. On false there is no file.
    [[nodiscard]] bool Crear(const std::string& sufijo, std::initializer_list<std::string_view> trozos = {});
    [[nodiscard]] const std::string& Ruta() const { return ruta_; }
    // Hands the path to the caller. The file stays in the register, so it goes with the process at the latest.
    [[nodiscard]] std::string Soltar();
    void Quitar();

  private:
    std::string ruta_;
};

// A folder for this process alone (mode 0700) that the temporary files of the whole process go to: in XDG_RUNTIME_DIR
// when that is the user's own, else in the temporary folder. A program makes one, first thing in main, and keeps it.
//
// While it exists $TEMP names it; the destructor, exit() or a deadly signal (SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM)
// removes it with all that is in it. A signal that the program ignores or handles itself is left to it. What a process
// that was killed outright has left is removed by the next one that makes its folder in the same place.
//
// An ignored SIGCHLD, which a launcher may hand down and which hides a child's exit status, is set back to the default.
class CarpetaPrivada {
  public:
    CarpetaPrivada();
    ~CarpetaPrivada();
    CarpetaPrivada(const CarpetaPrivada&) = delete;
    CarpetaPrivada& operator=(const CarpetaPrivada&) = delete;

    // Empty when no folder could be made: $TEMP is then as it was, and files go where they always went.
    [[nodiscard]] const std::string& Ruta() const { return ruta_; }

  private:
    std::string ruta_;
    std::string tempAnterior_;
    bool habiaTemp_ = false;
    int cerrojo_ = -1;
};

}  // namespace Lx::CertStore
