// Any bytes as the container of a signature: the signer's certificate is one that lies in it.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "cms/LxCmsFirmante.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view cms(reinterpret_cast<const char*>(data), size);
    const std::vector<unsigned char> cert = LxCms::CertificadoDelFirmante(cms);
    if (cert.empty()) return 0;
    if (std::search(data, data + size, cert.begin(), cert.end()) == data + size) std::abort();
    return 0;
}
