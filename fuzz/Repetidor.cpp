// Stands in for libFuzzer where it isn't built in: feeds every file of the given files and folders to the target once.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

size_t Repetir(const std::filesystem::path& ruta) {
    std::ifstream fichero(ruta, std::ios::binary);
    const std::vector<char> datos{std::istreambuf_iterator<char>(fichero), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(datos.data()), datos.size());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    size_t total = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            total += Repetir(argv[i]);
            continue;
        }
        for (const auto& entrada : std::filesystem::directory_iterator(argv[i])) total += Repetir(entrada.path());
    }
    std::printf("%zu inputs replayed\n", total);
    return total > 0 ? 0 : 1;
}
