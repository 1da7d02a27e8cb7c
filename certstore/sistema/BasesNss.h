// Where the user's NSS databases are: the shared one and the profiles of browsers and mail programs.
#pragma once

#include <string>
#include <vector>

namespace Lx::CertStore {

// Folders that hold a cert9.db, as canonical paths, each once, in the order in which they are asked.
[[nodiscard]] std::vector<std::string> CarpetasNss();

// Major version of the browser that last wrote the profile; 0 when the folder doesn't say.
[[nodiscard]] int VersionDePerfil(const std::string& carpeta);

}  // namespace Lx::CertStore
