// Run by the tests in a process of its own: says where it is, and what a post to the given address within the
// given milliseconds gives.
#include <cstdio>
#include <cstdlib>

#include "crypto/LxApi.h"

int main(int argc, char** argv) {
    std::printf("%s\n%s\n%s\n", Lx::Api::GetCurrentSelfPath().c_str(), Lx::Api::ExeDirectory().c_str(),
                Lx::Api::ExeName().c_str());
    if (argc < 3) return 0;
    const auto r = Lx::Api::PostJson(argv[1], "{}", std::atoi(argv[2]));
    std::printf("%d|%s|%s\n", r.status, r.body.c_str(), r.error.c_str());
    return 0;
}
