// Run by the tests in a process of its own: says where it is.
#include <cstdio>

#include "crypto/LxApi.h"

int main() {
    std::printf("%s\n%s\n%s\n", Lx::Api::GetCurrentSelfPath().c_str(), Lx::Api::ExeDirectory().c_str(),
                Lx::Api::ExeName().c_str());
    return 0;
}
