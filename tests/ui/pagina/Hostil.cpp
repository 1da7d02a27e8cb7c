// In the place of velmora-pagina: plays what the document holds, lines of hexadecimal digits. The first one is sent at
// once, the others answer one request each; the one after the last makes it end.
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "ayudante/LxProtocolo.h"

int main() {
    struct stat datos {};
    if (fstat(Lx::Ayudante::kDocumento, &datos) != 0) return 1;
    std::string guion(static_cast<size_t>(datos.st_size), '\0'), mensaje;
    if (pread(Lx::Ayudante::kDocumento, guion.data(), guion.size(), 0) != datos.st_size) return 1;
    char peticion[64];
    bool primera = true;
    for (size_t pos = 0; pos < guion.size(); ++pos) {
        if (guion[pos] != '\n') {
            const char byte[] = {guion[pos], guion[pos + 1], '\0'};
            mensaje += static_cast<char>(std::strtoul(byte, nullptr, 16));
            ++pos;
            continue;
        }
        if (!primera && read(Lx::Ayudante::kCanal, peticion, sizeof peticion) <= 0) return 0;
        primera = false;
        if (send(Lx::Ayudante::kCanal, mensaje.data(), mensaje.size(), 0) < 0) return 1;
        mensaje.clear();
    }
    return read(Lx::Ayudante::kCanal, peticion, sizeof peticion) < 0 ? 1 : 0;
}
