// Where a helper's files may lie.
#pragma once

namespace Lx::Ayudante {

// Fonts, what fontconfig knows of them, and poppler's character tables. One that isn't there is no loss.
constexpr const char* kCarpetas[] = {"/usr/share/fonts",       "/usr/local/share/fonts", "/usr/share/X11/fonts",
                                     "/usr/share/ghostscript", "/usr/share/texmf",       "/etc/fonts",
                                     "/usr/share/fontconfig",  "/var/cache/fontconfig",  "/usr/share/poppler"};

}  // namespace Lx::Ayudante
