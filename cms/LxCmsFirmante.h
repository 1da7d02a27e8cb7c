// Who a signature's container names as its signer.
#pragma once

#include <string_view>
#include <vector>

namespace LxCms {

// The certificate (complete element) that the first SignerInfo (RFC 5652, 5.3) refers to, of those in the container;
// empty when there is none or the container isn't DER. Nothing is checked: it says who claims to have signed. What
// follows the container is ignored.
[[nodiscard]] std::vector<unsigned char> CertificadoDelFirmante(std::string_view cms);

}  // namespace LxCms
