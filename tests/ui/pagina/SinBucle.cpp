// No window system: documents are attended to by who waits for them.
#include "ui/LxBackend.h"

Lx::CAppBackend* Lx::CreatePlatformBackend() {
    return nullptr;
}
Lx::CWindowImpl* Lx::CreatePlatformWindowImpl() {
    return nullptr;
}
